// The door to the packing of surfaces into channels, and back.
#include "qor/texsmith/raw/channel_packing.h"
#include "raw/configuration/check_configuration.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\channelpacking";
constexpr int kMostChannels = 4;

Error runOver(const ElementProvider* walked, PerTile* perTile, Configuration* configuration) {
    PerTileJob job(walked, perTile, configuration);
    return configuration->m_jobManager->submitAndStall(&job);
}

} // namespace

Error channelpack(ElementProvider* destination, ElementProvider** sources, int sourceCount,
                  Configuration* configuration) {
    const bool hasDestination = checkNotNull(destination, kSourcePath, "destination must not be NULL.");
    const bool hasSources = checkNotNull(sources, kSourcePath, "source must not be NULL.");
    const bool hasManager = checkJobManager(configuration, kSourcePath);
    const bool hasRoom =
        check(sourceCount > 0 && sourceCount <= kMostChannels, kSourcePath, "sources > 0 && sources <= 4");
    if (!hasDestination || !hasSources || !hasManager || !hasRoom) {
        return kErrorFailed;
    }
    ChannelPackPerTile perTile(destination, sources, sourceCount, configuration);
    const Error error = runOver(destination, &perTile, configuration);
    return perTile.areAlike() ? error : kErrorFailed;
}

Error channelunpack(ElementProvider** destinations, int destinationCount, ElementProvider* source,
                    Configuration* configuration) {
    const bool hasDestinations = checkNotNull(destinations, kSourcePath, "destination must not be NULL.");
    const bool hasSource = checkNotNull(source, kSourcePath, "source must not be NULL.");
    const bool hasManager = checkJobManager(configuration, kSourcePath);
    const bool hasRoom = check(destinationCount > 0 && destinationCount <= kMostChannels, kSourcePath,
                               "destinations > 0 && destinations <= 4");
    if (!hasDestinations || !hasSource || !hasManager || !hasRoom) {
        return kErrorFailed;
    }
    ChannelUnpackPerTile perTile(destinations, destinationCount, source, configuration);
    const Error error = runOver(source, &perTile, configuration);
    return perTile.areAlike() ? error : kErrorFailed;
}

} // namespace qor::Texsmith::Raw
