// Mip chains, level after level: which surface each mip is made from, and by how many threads.
#include "qor/texsmith/raw/mip_maps.h"

#include "qor/texsmith/raw/per_tile.h"
#include "qor/texsmith/raw/view.h"
#include "raw/configuration/check_configuration.h"
#include "raw/frame/shared_word.h"
#include "raw/job_manager/run_job.h"
#include "raw/mips/choose_downsample.h"
#include "raw/pertile/reformatpertile.h"

#include <algorithm>
#include <bit>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\mips\\mip_maps";

constexpr unsigned kFewCallbacks = 2; // for so few, whole mips are left to one callback
constexpr char kNoMsaa[] = "can't make mips for an MSAA texture.";
constexpr std::uint32_t kCarriedBitsOfRegister6 = 0xFFFFF;

class MipMaker {
public:
    MipMaker(ElementProvider* source, ElementProvider* destination, Configuration* configuration,
             volatile unsigned* progress)
        : m_source(source), m_destination(destination), m_configuration(configuration), m_progress(progress),
          m_mips(destination->getSurfaceCount().mips),
          m_isVolume(destination->getTexture().getTextureType() == Vex::kTextureType3d),
          m_copies(source->getDataFormat() == destination->getDataFormat() &&
                   source->getModifiers().m_decode.isNop() && destination->getModifiers().m_encode.isNop()) {}

    Error run() const {
        const SurfaceCount count = m_destination->getSurfaceCount();
        SurfaceIndex top;
        for (top.arrayEntry = 0; top.arrayEntry < count.arrayEntries; ++top.arrayEntry) {
            for (top.face = 0; top.face < count.faces; ++top.face) {
                const Error error = makeChain(top);
                if (error != kErrorNone) {
                    return error;
                }
            }
        }
        return kErrorNone;
    }

private:
    Error makeChain(const SurfaceIndex& top) const {
        Error error = kErrorNone;
        const bool madeTwo = m_copies && !m_isVolume && m_mips > 1 &&
                             copyAndDownsample2d(&error, m_source, m_destination, top, m_configuration);
        if (madeTwo && error == kErrorNone) {
            incrementSharedWord(m_progress);
            incrementSharedWord(m_progress);
        } else if (!madeTwo) {
            error = overSlices(top, [this](const SurfaceIndex& slice) { return makeTop(slice); });
        }
        SurfaceIndex index = top;
        for (index.mip = madeTwo ? 2 : 1; index.mip < m_mips && error == kErrorNone; ++index.mip) {
            if (callbacksWorth(*m_destination, index.mip) <= kFewCallbacks) {
                const LastMipsJob rest(*this, index);
                return resultOfJob(runJob(m_configuration->m_jobManager, &rest, 0), *m_configuration);
            }
            error = makeMip(index, m_configuration);
        }
        return error;
    }

    Error makeMip(const SurfaceIndex& index, Configuration* configuration) const {
        const bool fromPrevious =
            index.mip > 1 && configuration->m_encoderConfiguration.m_mipsFromPreviousMip;
        ElementProvider* from = fromPrevious ? m_destination : m_source;
        SurfaceIndex fromIndex = index;
        fromIndex.mip = fromPrevious ? index.mip - 1 : 0;
        const auto downsample = m_isVolume ? &surfaceDownsample3d : &surfaceDownsample2d;
        return overSlices(index, [&](const SurfaceIndex& slice) {
            return static_cast<Error>(downsample(from, fromIndex, m_destination, slice, configuration));
        });
    }

    // The last mips are too small for many threads: one callback makes them all.
    class LastMipsJob : public Job {
    public:
        LastMipsJob(const MipMaker& maker, const SurfaceIndex& first)
            : Job(maker.m_configuration, 1), m_maker(maker), m_first(first) {
            setName("LastMipsJob");
        }

    private:
        Error doCallback(unsigned) const override {
            SerialJobManager serial;
            Configuration configuration = *m_maker.m_configuration;
            configuration.m_jobManager = &serial;
            Error error = kErrorNone;
            SurfaceIndex index = m_first;
            for (; index.mip < m_maker.m_mips && error == kErrorNone; ++index.mip) {
                error = m_maker.makeMip(index, &configuration);
            }
            return error;
        }

        const MipMaker& m_maker;
        SurfaceIndex m_first;
    };

    // All depth slices of a mip, which then counts as finished.
    template <typename Make> Error overSlices(SurfaceIndex index, Make make) const {
        const unsigned depth = getDepthOfMip(m_destination->getTexture(), index.mip);
        for (index.depth = 0; index.depth < depth; ++index.depth) {
            const Error error = make(index);
            if (error != kErrorNone) {
                return error;
            }
        }
        incrementSharedWord(m_progress);
        return kErrorNone;
    }

    Error makeTop(const SurfaceIndex& index) const {
        const AsSurfaceElementProvider source(m_source, &index), destination(m_destination, &index);
        if (m_copies) {
            copy(&destination, &source,
                 m_configuration); // fails only when aborted, and then the rest does too
            return isAborted(*m_configuration) ? kErrorAborted : kErrorNone;
        }
        if (!ReformatPerTile::canReformat(&source, &destination)) {
            return kErrorFailed;
        }
        ReformatPerTile perTile(&source, &destination, m_configuration);
        const PerTileJob job(&source, &perTile, m_configuration);
        return resultOfJob(m_configuration->m_jobManager->submitAndStall(&job), *m_configuration);
    }

    ElementProvider* m_source;
    ElementProvider* m_destination;
    Configuration* m_configuration;
    volatile unsigned* m_progress; // written by this thread, or by the one callback of the last mips
    unsigned m_mips;
    bool m_isVolume;
    bool m_copies; // the top level is copied as it is stored
};

// A texture of one fragment, made anew: nothing but type and size is carried along.
Vex::Texture withMips(const Texture& source, Vex::DataFormat format) {
    const unsigned largest = std::max({source.getWidth(), source.getHeight(), getDepthOfMip(source, 0)});
    Vex::Texture shape = source;
    shape.setMipLevelRange(0, static_cast<unsigned>(std::bit_width(largest)) - 1);
    shape.setMinLodClamp(0);
    shape.m_regs[6] &= ~kCarriedBitsOfRegister6;
    return changeDataFormat(shape, format);
}

bool isMsaa(const Vex::Texture& texture) {
    const Vex::TextureType type = texture.getTextureType();
    return type == Vex::kTextureType2dMsaa || type == Vex::kTextureType2dArrayMsaa;
}

bool checkSamples(const ElementProvider& provider) {
    const bool hasOne = provider.getFragments() == 1 && !isMsaa(provider.getTexture());
    if (!hasOne) {
        toolsAssert(kSourcePath, __LINE__, kNoMsaa);
    }
    return hasOne;
}

// The source must show no texels of the destination's memory, which is about to be given away.
bool checkApart(const ElementProvider& source, const ReallocatableImage& destination) {
    const SurfaceIndex first;
    const std::uint8_t* rows = source.getElementRows(&first).m_memory;
    const bool areApart =
        &source != &destination && (rows == nullptr || !destination.getMemoryRegion().contains(rows));
    if (!areApart) {
        toolsAssert(kSourcePath, __LINE__, "source and destination must not be the same image.");
    }
    return areApart;
}

} // namespace

int reallocateAndAddMips(ElementProvider* source, ReallocatableImage* destination, Vex::DataFormat format) {
    const bool hasSource = checkNotNull(source, kSourcePath, "source must not be NULL.");
    const bool hasDestination = checkNotNull(destination, kSourcePath, "destination must not be NULL.");
    if (!hasSource || !hasDestination || !checkApart(*source, *destination)) {
        return kErrorNone; // as the interface has it, whatever was reported
    }
    Vex::Texture texture;
    if (isMsaa(source->getTexture())) {
        toolsAssert(kSourcePath, __LINE__, kNoMsaa);
    } else {
        texture = withMips(source->getTexture(), format);
    }
    destination->reallocate(&texture);
    return kErrorNone;
}

int makeMipMaps(ElementProvider* source, ElementProvider* destination, Configuration* configuration,
                volatile unsigned* progress) {
    const bool hasSource = checkNotNull(source, kSourcePath, "source must not be NULL.");
    const bool hasDestination = checkNotNull(destination, kSourcePath, "destination must not be NULL.");
    const bool hasManager = checkJobManager(configuration, kSourcePath);
    if (!hasSource || !hasDestination || !hasManager) {
        return static_cast<int>(kErrorFailed);
    }
    if (!dimensionsAreIdenticalExceptMips(source, destination)) {
        toolsAssert(kSourcePath, __LINE__,
                    "source and destination must have same dimensions, except for mips");
        return static_cast<int>(kErrorFailed); // there is nothing sensible to fill
    }
    if (!checkSamples(*source) || !checkSamples(*destination)) {
        return static_cast<int>(kErrorFailed);
    }
    unsigned own = 0;
    const MipMaker maker(source, destination, configuration, progress != nullptr ? progress : &own);
    return static_cast<int>(maker.run());
}

int makeMipMaps(ElementProvider* source, ElementProvider* destination, Configuration* configuration) {
    return makeMipMaps(source, destination, configuration, nullptr);
}

int makeMipMaps(ElementProvider* source, ReallocatableImage* destination, Vex::DataFormat format,
                Configuration* configuration, volatile unsigned* progress) {
    if (source != nullptr && destination != nullptr) {
        if (!checkSamples(*source) || !checkApart(*source, *destination)) {
            return static_cast<int>(kErrorFailed);
        }
    }
    reallocateAndAddMips(source, destination, format);
    return makeMipMaps(source, destination, configuration, progress);
}

int makeMipMaps(ElementProvider* source, ReallocatableImage* destination, Vex::DataFormat format,
                Configuration* configuration) {
    return makeMipMaps(source, destination, format, configuration, nullptr);
}

} // namespace qor::Texsmith::Raw
