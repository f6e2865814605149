// Finds who describes a file.
#include "raw/files/describe.h"

#include "qor/texsmith/raw/bithacks.h"
#include "qor/texsmith/raw/format.h"
#include "raw/frame/check.h"
#include "raw/frame/out_of_memory.h"

#include <algorithm>
#include <iterator>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\helpers";

struct Describer {
    FileType m_type;
    bool (*m_describe)(FileDescription* description, const DescribedFile& file);
};

constexpr Describer kDescribers[] = {
    {makeFileType(".DDS"), &describeDds},  {makeFileType(".VXF"), &describeVxf},
    {makeFileType(".TGA"), &describeTga},  {makeFileType(".BMP"), &describeBmp},
    {makeFileType(".HDR"), &describeHdr},  {makeFileType(".PFM"), &describePfm},
    {makeFileType(".TSH"), &describeTsh},  {makeFileType(".PNG"), &describePng},
    {makeFileType(".JPG"), &describeJpeg},
};

// Of all surfaces, in rows.
std::uint64_t imageBytesOf(const FileDescription& file) {
    const Vex::SurfaceFormat surfaceFormat = file.m_format.getSurfaceFormat();
    if (surfaceFormat >= Vex::kSurfaceFormatCount) {
        return 0;
    }
    const std::uint64_t texels = file.m_format.isBlockCompressedFormat() ? 4 : 1; // across an element
    std::uint64_t bytes = 0;
    for (unsigned mip = 0; mip < std::min(file.m_mips, 32u); ++mip) {
        const auto sizeOf = [mip](unsigned size) { return std::uint64_t{std::max(1u, size >> mip)}; };
        const auto elements = [&](unsigned size) { return (sizeOf(size) + texels - 1) / texels; };
        bytes = checkedSum(bytes, checkedSize(getSurfaceFormatInfo(surfaceFormat).bytesPerElement,
                                              elements(file.m_width), elements(file.m_height),
                                              sizeOf(file.m_depth)));
    }
    return checkedSize(bytes, file.m_faces, file.m_arrayEntries, file.m_fragments);
}

Error describe(FileDescription* description, const DescribedFile& file) {
    const auto* describer =
        std::find_if(std::begin(kDescribers), std::end(kDescribers),
                     [description](const Describer& row) { return row.m_type == description->m_type; });
    const bool isWhole = describer != std::end(kDescribers) && describer->m_describe(description, file);
    if (description->m_texelBytes == 0 && description->m_width != 0) {
        description->m_texelBytes = imageBytesOf(*description);
    }
    return isWhole ? kErrorNone : kErrorFailed;
}

} // namespace

Error describeFile(FileDescription* description, const MemoryRegion* source, const char* extension,
                   const Configuration* configuration, int index) {
    bool good = checkNotNull(description, kSourcePath, "description must not be NULL.");
    good &= checkNotNull(source, kSourcePath, "source must not be NULL.");
    good &= checkNotNull(extension, kSourcePath, "extension must not be NULL.");
    good &= checkNotNull(configuration, kSourcePath, "configuration must not be NULL.");
    if (!good) {
        return kErrorFailed;
    }
    return failWithoutMemory(kSourcePath, [=] {
        const std::uint32_t options = configuration->m_readingOptions;
        *description = FileDescription();
        description->m_type = getFileTypeFromExtension(extension);
        if (description->m_type == 0) {
            description->m_type = getFileTypeFromContents(source, options);
            const bool isByOption =
                description->m_type != 0 && getFileTypeFromContents(source) != description->m_type;
            description->m_readingOptions = isByOption ? options & kReadPngBySignature : kReadLiterally;
        }
        return describe(description, {*source, configuration, index});
    });
}

} // namespace qor::Texsmith::Raw
