// The settings of a call: their defaults, and what follows from the texture that is read or written.

#include "qor/texsmith/raw/configuration.h"

#include "qor/texsmith/raw/singleton.h"
#include "raw/configuration/default_job_manager.h"
#include "raw/configuration/external_compressor.h"
#include "raw/frame/check.h"
#include "raw/frame/never_destroyed.h"

#include <algorithm>
#include <cstdint>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\configuration";

constexpr unsigned kVersion = 250;
constexpr unsigned kDefaultExternalLevel = 100;
constexpr float kDefaultBc6Quality = 1.0f;

// Nothing is loaded: the entries stay null, as on a machine without the compressor.
class ExternalCompressorSetup : public Singleton {
public:
    constexpr ExternalCompressorSetup() = default;
    const ExternalCompressor* getTable() const { return &m_table; }

private:
    Error doInitialize() override { return kErrorNone; }

    ExternalCompressor m_table = {};
};

constinit NeverDestroyed<ExternalCompressorSetup> s_externalCompressorSetup;

bool usesChannelW(Vex::DataFormat format) {
    for (unsigned lane = 0; lane < 4; ++lane) {
        if (format.getChannel(lane) == Vex::kTextureChannelW) {
            return true;
        }
    }
    return false;
}

// 1 to 20 give 0, 81 to 100 and above give the last.
int profileOfLevel(unsigned level) {
    const std::int64_t profile = (std::int64_t{level} - 1) / 20;
    return static_cast<int>(std::clamp<std::int64_t>(profile, 0, kExternalLevels - 1));
}

} // namespace

DecoderConfiguration::DecoderConfiguration() : m_formatUsesChannelW(false), m_srgbAsLinear(false) {
    m_transform.Init();
}

void DecoderConfiguration::setTexture(const Raw::Texture* texture) {
    if (checkNotNull(texture, kSourcePath, "texture must not be NULL.")) {
        m_texture = *texture;
        textureChanged();
    }
}

void DecoderConfiguration::setTexture(const Vex::Texture* texture) {
    if (checkNotNull(texture, kSourcePath, "vexTexture must not be NULL.")) {
        static_cast<Vex::Texture&>(m_texture) = *texture;
        textureChanged();
    }
}

void DecoderConfiguration::textureChanged() {
    const Vex::DataFormat format = m_texture.getDataFormat();
    m_formatUsesChannelW = usesChannelW(format);
    if (m_srgbAsLinear && format.getTextureChannelType() == Vex::kTextureChannelTypeSrgb) {
        static_cast<Vex::Texture&>(m_texture) = changeChannelType(m_texture, Vex::kTextureChannelTypeUNorm);
    }
}

bool DecoderConfiguration::isSigned() const {
    switch (m_texture.getDataFormat().getTextureChannelType()) {
    case Vex::kTextureChannelTypeSNorm:
    case Vex::kTextureChannelTypeSScaled:
    case Vex::kTextureChannelTypeSInt:
    case Vex::kTextureChannelTypeSNormNoZero:
        return true;
    default:
        return false;
    }
}

EncoderConfiguration::EncoderConfiguration()
    : m_externalCompressorLevel(kDefaultExternalLevel), m_externalCompressor(nullptr),
      m_externalProfile(nullptr), m_externalBc6hProfile(nullptr), m_bc6Quality{}, m_mipsFromPreviousMip(true),
      m_renormalizeFlag(false), m_effort(kEncoderEffortNormal) {
    m_bc6Quality.setFromQuality(kDefaultBc6Quality);
}

void EncoderConfiguration::setTexture(const Raw::Texture* texture) {
    DecoderConfiguration::setTexture(texture);
    updateExternalCompressor();
}

void EncoderConfiguration::setTexture(const Vex::Texture* texture) {
    DecoderConfiguration::setTexture(texture);
    updateExternalCompressor();
}

void EncoderConfiguration::setExternalCompressor(bool use) {
    if (use) {
        s_externalCompressorSetup.m_object.initialize();
    }
    m_externalCompressor = use ? s_externalCompressorSetup.m_object.getTable() : nullptr;
    updateExternalCompressor();
}

void EncoderConfiguration::updateExternalCompressor() {
    m_externalProfile = nullptr;
    m_externalBc6hProfile = nullptr;
    if (m_externalCompressor == nullptr) {
        return;
    }
    const ExternalCompressor& table = *m_externalCompressor;
    const int profile = profileOfLevel(m_externalCompressorLevel);
    m_externalProfile = (m_formatUsesChannelW ? table.m_alphaProfiles : table.m_plainProfiles)[profile];
    if (m_texture.getTextureChannelType() == Vex::kTextureChannelTypeUNorm) {
        m_externalBc6hProfile = table.m_bc6hProfiles[profile];
    }
}

Configuration::Configuration()
    : m_version(kVersion), m_abort(nullptr), m_allocator(g_mallocAllocator),
      m_jobManager(defaultJobManager()), m_textureChannelType(Vex::kTextureChannelTypeUNorm),
      m_callbacksPerJob(0), m_readingOptions(kReadLiterally), m_numbersAreSrgb(false) {}

} // namespace qor::Texsmith::Raw
