// Per-call settings, filled by the caller and passed by pointer.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/allocator.h"
#include "qor/texsmith/raw/job_manager.h"
#include "qor/texsmith/raw/texture.h"
#include "qor/texsmith/raw/transform.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

struct ExternalCompressor;        // table of a compressor that the machine may bring; null entries here
struct ExternalCompressorProfile; // one of its settings

// How hard the encoder of half-float blocks searches.
struct QOR_TEXSMITH_API Bc6QualitySettings {
    float partitionCutoffSmooth;
    float partitionScaleSmooth;
    float modeCutoffSmooth;
    float modeScaleSmooth;
    float partitionCutoffWide;
    float partitionScaleWide;
    float modeCutoffWide;
    float modeScaleWide;
    float refineBelow;
    float indexRetryAbove;
    float indexRetryBothAbove;
    std::int32_t searchDepth;
    std::int32_t indexRetryLevel;
    std::int32_t reservedCount;
    float quality;

    // Fills the record from a table of 17 rows with keys 0.3 to 50. Outside the keys, and for a NaN, the
    // first or last row is taken and `quality` deliberately keeps what it held. A negative value is reported.
    void setFromQuality(float value);
};

// How long the encoders of blocks may search, from the quickest to the best: fast, normal, high, best. An
// encoder without one of these takes the next slower one that it has, or else normal. The result is the same
// on every machine.
enum EncoderEffort : std::uint32_t {
    kEncoderEffortNormal = 0, // the default
    kEncoderEffortFast = 1,   // for previews and large batches
    kEncoderEffortHigh = 2,
    kEncoderEffortBest = 3,
};

// How texels are read. Read-only while jobs run.
struct QOR_TEXSMITH_API DecoderConfiguration {
    Texture m_texture;
    Transform m_transform;
    bool m_formatUsesChannelW;
    bool m_srgbAsLinear;

    DecoderConfiguration();
    // Null is reported and changes nothing. With m_srgbAsLinear set, an sRGB texture is taken as UNorm.
    void setTexture(const Raw::Texture* texture);
    void setTexture(const Vex::Texture* texture);
    const Raw::Texture* getTexture() const { return &m_texture; }
    bool isSigned() const; // the channel type is SNorm, SScaled, SInt or SNormNoZero

private:
    void textureChanged();
};

// How texels are written.
struct QOR_TEXSMITH_API EncoderConfiguration : DecoderConfiguration {
    unsigned m_externalCompressorLevel;
    const ExternalCompressor* m_externalCompressor;
    const ExternalCompressorProfile* m_externalProfile;
    const ExternalCompressorProfile* m_externalBc6hProfile;
    Bc6QualitySettings m_bc6Quality;
    bool m_mipsFromPreviousMip; // make each mip from the one before it
    bool m_renormalizeFlag;
    EncoderEffort m_effort; // other numbers than those of the enumeration count as normal

    EncoderConfiguration();
    void setTexture(const Raw::Texture* texture);
    void setTexture(const Vex::Texture* texture);
    // Only for machines that have the external compressor: its table is not checked later.
    void setExternalCompressor(bool use);

private:
    void updateExternalCompressor();
};

// A plain value: it may be copied by assignment. Everything it points at stays the caller's.
struct QOR_TEXSMITH_API Configuration {
    unsigned m_version;
    volatile unsigned* m_abort;                   // a nonzero word stops work; null: no cancellation
    IAllocator m_allocator;                       // working memory of the call
    JobManager* m_jobManager;                     // where the call's jobs run; at first the library's pool
    Vex::TextureChannelType m_textureChannelType; // what readers of file formats take texels for
    DecoderConfiguration m_decoderConfiguration;
    EncoderConfiguration m_encoderConfiguration;
    unsigned m_callbacksPerJob; // when nonzero, the default number of callbacks of a job, in place of 32

    Configuration();
    unsigned getVersion() const { return m_version; }
};

} // namespace qor::Texsmith::Raw

namespace qor::Texsmith {
using Raw::Configuration;
}
