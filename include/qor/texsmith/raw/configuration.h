// Per-call settings, filled by the caller and passed by pointer.
//
//     Configuration configuration;                        // works as it is
//     volatile unsigned stop = 0;                         // another thread sets it to stop the work
//     configuration.m_abort = &stop;
//     Raw::SerialJobManager serial;
//     configuration.m_jobManager = &serial;               // everything on the calling thread
//     configuration.m_encoderConfiguration.m_bc6Quality.setFromQuality(4.0f);
//     Raw::convertWithResult("a.png", "a.vxf", &configuration);
//
// A configuration belongs to one call at a time; while the call runs, nobody changes it. Everything it points
// at stays the caller's and outlives the call.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/allocator.h"
#include "qor/texsmith/raw/reading_options.h"
#include "qor/texsmith/raw/texture.h"
#include "qor/texsmith/raw/transform.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

class JobManager;                 // in job_manager.h
struct ExternalCompressor;        // table of a compressor that the machine may bring; null entries here
struct ExternalCompressorProfile; // one of its settings

// How hard the encoder of half-float blocks (BC6H) searches. Fill it with setFromQuality; the fields are for
// those who tune a single one. Blocks of a small spread of exponents are smooth, all others wide.
struct QOR_TEXSMITH_API Bc6QualitySettings {
    // Smooth blocks.
    float partitionCutoffSmooth; // a partition is tried while its estimate is below this times the best error
    float partitionScaleSmooth;  // divides that estimate, after its compression; larger tries more
    float modeCutoffSmooth;      // a mode is refined while its error is below this times the best error
    float modeScaleSmooth;       // divides that error, after its compression; larger refines more
    // Wide blocks: the same four.
    float partitionCutoffWide;
    float partitionScaleWide;
    float modeCutoffWide;
    float modeScaleWide;
    float refineBelow;            // a block whose error is below this is searched to depth 1 instead of 2
    float indexRetryAbove;        // a texel's index is tried again where 16 times its error is above this
    float indexRetryBothAbove;    // and both neighbours of it where 16 times its error is above this
    std::int32_t searchDepth;     // of the local search of endpoints: 0 none, 1 or 2
    std::int32_t indexRetryLevel; // 0 no index is tried again, 1 on one side, 2 on both
    std::int32_t reservedCount;   // 0, and carried along
    float quality;                // the value that setFromQuality was given

    // Fills the record from a table of 17 rows with keys 0.3 (fast) to 50 (slow); 1 is where a configuration
    // begins. Outside the keys, and for a NaN, the first or last row is taken and `quality` deliberately
    // keeps what it held. A negative value is reported.
    void setFromQuality(float value);
};

// How long the encoders of blocks may search, from the quickest to the best: fast, normal, high, best. An
// encoder without one of these takes the next slower one that it has, or else normal. The result is the same
// on every machine. PNG files are compressed quickly by fast and normal, and further by high and best.
enum EncoderEffort : std::uint32_t {
    kEncoderEffortNormal = 0, // the default
    kEncoderEffortFast = 1,   // for previews and large batches
    kEncoderEffortHigh = 2,
    kEncoderEffortBest = 3,
};

// How texels are read. Functions that convert make a copy, set the texture there to that of the surface they
// read, and put the surface's own transform before this one. Read-only while jobs run.
struct QOR_TEXSMITH_API DecoderConfiguration {
    Texture m_texture;         // shape, format and memory of what is read
    Transform m_transform;     // applied to each texel; the identity at first
    bool m_formatUsesChannelW; // set by setTexture: one of the four selects is W
    bool m_srgbAsLinear;       // take sRGB texels as they are stored; false at first

    DecoderConfiguration();
    // Null is reported and changes nothing. With m_srgbAsLinear set, an sRGB texture is taken as UNorm.
    void setTexture(const Raw::Texture* texture);
    void setTexture(const Vex::Texture* texture);

    const Raw::Texture* getTexture() const { return &m_texture; }
    bool isSigned() const; // the channel type is SNorm, SScaled, SInt or SNormNoZero

private:
    void textureChanged();
};

// How texels are written: all that reading has, and the encoders' settings.
struct QOR_TEXSMITH_API EncoderConfiguration : DecoderConfiguration {
    unsigned m_externalCompressorLevel; // 1 to 20 the slowest and best, 81 to 100, as at first, the fastest
    const ExternalCompressor* m_externalCompressor; // null, as at first: the library's own encoders
    const ExternalCompressorProfile* m_externalProfile;
    const ExternalCompressorProfile* m_externalBc6hProfile;
    Bc6QualitySettings m_bc6Quality;
    bool m_mipsFromPreviousMip; // make each mip from the one before it, as at first, and not from the top one
    bool m_renormalizeFlag;     // read by renormalize alone, for BC1 to BC3; false at first
    EncoderEffort m_effort;     // other numbers than those of the enumeration count as normal

    EncoderConfiguration();
    void setTexture(const Raw::Texture* texture);
    void setTexture(const Vex::Texture* texture);
    // Only for machines that have the external compressor: its table is not checked later.
    void setExternalCompressor(bool use);

private:
    void updateExternalCompressor();
};

// A plain value: it may be copied by assignment. One that is made without arguments serves for every call:
// work on all cores, UNorm texels, no transforms.
//
// The tile mode of a new texture is no setting of a call: it is part of a descriptor. Readers and
// changeDataFormat choose one (see image.h); a copy of the descriptor with another one goes to reallocate.
struct QOR_TEXSMITH_API Configuration {
    unsigned m_version;                           // of this structure, 250; not that of the library
    volatile unsigned* m_abort;                   // a nonzero word stops work; null, as at first: none does
    IAllocator m_allocator;                       // working memory of the call
    JobManager* m_jobManager;                     // where the call's jobs run; at first the library's pool
    Vex::TextureChannelType m_textureChannelType; // what readers of file formats take texels for
    DecoderConfiguration m_decoderConfiguration;
    EncoderConfiguration m_encoderConfiguration;
    unsigned m_callbacksPerJob;     // when nonzero, the default number of callbacks of a job, in place of 32
    std::uint32_t m_readingOptions; // bits of ReadingOption; kReadLiterally at first
    // Writers of PNG mark pictures of sRGB types as sRGB, and with this all pictures, whose numbers then are
    // sRGB in a format that does not say so; false at first.
    bool m_numbersAreSrgb;

    Configuration();
    unsigned getVersion() const { return m_version; }
};

} // namespace qor::Texsmith::Raw

namespace qor::Texsmith {
using Raw::Configuration;
}
