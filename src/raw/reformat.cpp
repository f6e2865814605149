#include "qor/texsmith/raw/reformat.h"

#include "raw/pertile/reformatpertile.h"
#include "raw/pertile/reformatpertile8.h"
#include "raw/reformat_arguments.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\reformat";

bool transformsNothing(const ElementProvider& source, const ElementProvider& destination,
                       const Configuration& configuration) {
    return source.getModifiers().m_decode.isNop() &&
           configuration.m_decoderConfiguration.m_transform.isNop() &&
           destination.getModifiers().m_encode.isNop() &&
           configuration.m_encoderConfiguration.m_transform.isNop();
}

Error runOverTiles(const ElementProvider* source, PerTile* perTile, Configuration* configuration) {
    PerTileJob job(source, perTile, configuration);
    return configuration->m_jobManager->submitAndStall(&job);
}

} // namespace

Error reformat(const ElementProvider* source, ElementProvider* destination, Configuration* configuration) {
    if (!checkReformatArguments(source, destination, configuration, kSourcePath)) {
        return kErrorFailed;
    }
    const bool keepsValues = transformsNothing(*source, *destination, *configuration);
    if (keepsValues && source->getDataFormat() == destination->getDataFormat()) {
        return copy(destination, source, configuration);
    }
    if (keepsValues && ReformatPerTile8::canReformat(source, destination)) {
        ReformatPerTile8 perTile(source, destination, configuration);
        return runOverTiles(source, &perTile, configuration);
    }
    if (!ReformatPerTile::canReformat(source, destination)) {
        return kErrorFailed;
    }
    ReformatPerTile perTile(source, destination, configuration);
    return runOverTiles(source, &perTile, configuration);
}

} // namespace qor::Texsmith::Raw
