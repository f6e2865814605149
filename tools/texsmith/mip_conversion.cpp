#include "mip_conversion.h"

#include "failure.h"
#include "progress_bar.h"

#include "qor/texsmith/raw/helpers.h"
#include "qor/texsmith/raw/mip_maps.h"

namespace Tool {

using namespace qor::Texsmith;

void checkHoldsMips(const std::string& destination) {
    if (Raw::getFileTypeFromExtension(destination.c_str()) != Raw::makeFileType(".VXF")) {
        throw UsageFailure(destination + ": only .vxf files hold mips");
    }
}

Raw::Error convertWithMips(MemoryRegion* source, const std::string& sourceName,
                           Raw::ResizableMemoryRegion* destination, const std::string& destinationName,
                           Configuration* configuration) {
    Raw::MemoryMappedImage image, chain;
    const Raw::Error loaded = Raw::loadWithResult(&image, source, sourceName.c_str(), configuration, 0);
    if (loaded != Raw::kErrorNone) {
        return loaded;
    }
    Raw::reallocateAndAddMips(&image, &chain, image.getDataFormat());
    chain.setModifiers(image.getModifiers());
    // Made from one another, compressed mips would gather the losses of all above them.
    Configuration mips = *configuration;
    mips.m_encoderConfiguration.m_mipsFromPreviousMip = !image.getDataFormat().isBlockCompressedFormat();
    const Raw::SurfaceCount count = chain.getSurfaceCount();
    int error = 0;
    {
        ProgressBar progress("mips", count.mips * count.faces * count.arrayEntries);
        error = Raw::makeMipMaps(&image, &chain, &mips, progress.counter());
    }
    if (error == 0) {
        error = Raw::save(&chain, destination, destinationName.c_str(), configuration);
    }
    return static_cast<Raw::Error>(error);
}

} // namespace Tool
