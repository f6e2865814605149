// Converters between JSON and the descriptors of formats, buffers and textures.

#include "qor/texsmith/raw/names.h"
#include "qor/texsmith/raw/reflected_types.h"
#include "qor/texsmith/raw/vector_math.h"
#include "qor/vex/buffer.h"
#include "qor/vex/texture.h"

#include <cstring>

namespace qor::Texsmith::Raw::ReflectedTypes {
namespace {

using Reflection::Converter;

// A field that takes part as a word of 32 bits.
template <typename Descriptor> struct WordField {
    const char* m_key;
    const Converter* m_converter;
    unsigned (*m_get)(const Descriptor& descriptor);
    void (*m_set)(Descriptor& descriptor, unsigned value);
};

// Descriptors may lie anywhere, so that they are worked on as copies.
template <typename Descriptor, std::size_t kCount>
void readFields(void* data, Json::Node* node, const WordField<Descriptor> (&fields)[kCount]) {
    Descriptor descriptor;
    std::memcpy(static_cast<void*>(&descriptor), data, sizeof descriptor);
    for (std::size_t pair = 0; pair < node->getKeyValuePairs(); ++pair) {
        for (const WordField<Descriptor>& field : fields) {
            if (strcmpCaseInsensitive(node->getKey(pair)->copyToString(), field.m_key) == 0) {
                unsigned word = field.m_get(descriptor);
                field.m_converter->fromJson(&word, node->getValue(pair));
                field.m_set(descriptor, word);
            }
        }
    }
    std::memcpy(data, static_cast<const void*>(&descriptor), sizeof descriptor);
}

template <typename Descriptor, std::size_t kCount>
void writeFields(Json::Node* node, const void* data, const WordField<Descriptor> (&fields)[kCount]) {
    Descriptor descriptor;
    std::memcpy(static_cast<void*>(&descriptor), data, sizeof descriptor);
    node->setType(Json::kTypeObject);
    for (const WordField<Descriptor>& field : fields) {
        unsigned word = field.m_get(descriptor);
        field.m_converter->toJson(&(*node)(field.m_key), &word);
    }
}

template <unsigned kShift, unsigned kBits>
constexpr WordField<Vex::DataFormat> bitsOf(const char* key, const Converter* converter) {
    constexpr unsigned kMask = (1u << kBits) - 1;
    return {key, converter, [](const Vex::DataFormat& format) { return format.m_word >> kShift & kMask; },
            [](Vex::DataFormat& format, unsigned value) {
                format.m_word = (format.m_word & ~(kMask << kShift)) | (value & kMask) << kShift;
            }};
}

constexpr WordField<Vex::DataFormat> kDataFormat[] = {
    bitsOf<0, 8>("SurfaceFormat", &g_vexSurfaceFormat), bitsOf<8, 4>("ChannelType", &g_vexTextureChannelType),
    bitsOf<12, 3>("X", &g_vexTextureChannel),           bitsOf<15, 3>("Y", &g_vexTextureChannel),
    bitsOf<18, 3>("Z", &g_vexTextureChannel),           bitsOf<21, 3>("W", &g_vexTextureChannel),
};

using Vex::Buffer;
constexpr WordField<Buffer> kBuffer[] = {
    {"DataFormat", &g_vexDataFormat, [](const Buffer& b) { return b.getDataFormat().m_word; },
     [](Buffer& b, unsigned v) { b.setFormat({v}); }},
    {"NumElements", &Reflection::g_uint32Converter, [](const Buffer& b) { return b.getNumElements(); },
     [](Buffer& b, unsigned v) { b.setNumElements(v); }},
    {"Stride", &Reflection::g_uint32Converter, [](const Buffer& b) { return b.getStride(); },
     [](Buffer& b, unsigned v) { b.setStride(v); }},
    {"ResourceMemoryType", &g_vexResourceMemoryType,
     [](const Buffer& b) { return unsigned{b.getResourceMemoryType()}; },
     [](Buffer& b, unsigned v) { b.setResourceMemoryType(Vex::ResourceMemoryType(v)); }},
};

using Vex::Texture;
constexpr const Converter* kNumber = &Reflection::g_uint32Converter;
constexpr WordField<Texture> kTexture[] = {
    {"DataFormat", &g_vexDataFormat, [](const Texture& t) { return t.getDataFormat().m_word; },
     [](Texture& t, unsigned v) { t.setDataFormat({v}); }},
    {"Width", kNumber, [](const Texture& t) { return t.getWidth(); },
     [](Texture& t, unsigned v) { t.setWidthMinus1(v - 1); }},
    {"Pitch", kNumber, [](const Texture& t) { return t.getPitch(); },
     [](Texture& t, unsigned v) { t.setPitchMinus1(v - 1); }},
    {"Height", kNumber, [](const Texture& t) { return t.getHeight(); },
     [](Texture& t, unsigned v) { t.setHeightMinus1(v - 1); }},
    {"Depth", kNumber, [](const Texture& t) { return t.getDepth(); },
     [](Texture& t, unsigned v) { t.setDepthMinus1(v - 1); }},
    {"ResourceMemoryType", &g_vexResourceMemoryType,
     [](const Texture& t) { return unsigned{t.getResourceMemoryType()}; },
     [](Texture& t, unsigned v) { t.setResourceMemoryType(Vex::ResourceMemoryType(v)); }},
    {"TextureType", &g_vexTextureType, [](const Texture& t) { return unsigned{t.getTextureType()}; },
     [](Texture& t, unsigned v) { t.setTextureType(Vex::TextureType(v)); }},
    {"NumFragments", &g_vexNumFragments, [](const Texture& t) { return unsigned{t.getNumFragments()}; },
     [](Texture& t, unsigned v) { t.setNumFragments(Vex::NumFragments(v)); }},
    {"TileMode", &g_vexTileMode, [](const Texture& t) { return unsigned{t.getTileMode()}; },
     [](Texture& t, unsigned v) { t.setTileMode(Vex::TileMode(v)); }},
    {"BaseMipLevel", kNumber, [](const Texture& t) { return t.getBaseMipLevel(); },
     [](Texture& t, unsigned v) { t.setMipLevelRange(v, t.getLastMipLevel()); }},
    {"LastMipLevel", kNumber, [](const Texture& t) { return t.getLastMipLevel(); },
     [](Texture& t, unsigned v) { t.setMipLevelRange(t.getBaseMipLevel(), v); }},
    {"MinLodClamp", kNumber, [](const Texture& t) { return t.getMinLodClamp(); },
     [](Texture& t, unsigned v) { t.setMinLodClamp(v); }},
    {"BaseArraySliceIndex", kNumber, [](const Texture& t) { return t.getBaseArraySlice(); },
     [](Texture& t, unsigned v) { t.setArrayView(v, t.getLastArraySlice()); }},
    {"LastArraySliceIndex", kNumber, [](const Texture& t) { return t.getLastArraySlice(); },
     [](Texture& t, unsigned v) { t.setArrayView(t.getBaseArraySlice(), v); }},
};

constexpr Reflection::StructConverter::Member kLanes[] = {{"X", 0, &Reflection::g_floatConverter},
                                                          {"Y", 4, &Reflection::g_floatConverter},
                                                          {"Z", 8, &Reflection::g_floatConverter},
                                                          {"W", 12, &Reflection::g_floatConverter}};
constexpr Reflection::StructConverter kVector(kLanes, 4, sizeof(VectorFloat));

} // namespace

void VexDataFormatConverter::doFromJson(void* data, Json::Node* node) const {
    readFields(data, node, kDataFormat);
}

void VexDataFormatConverter::doToJson(Json::Node* node, void* data) const {
    writeFields(node, data, kDataFormat);
    node->setMultiline(false);
}

void VexBufferConverter::doFromJson(void* data, Json::Node* node) const { readFields(data, node, kBuffer); }
void VexBufferConverter::doToJson(Json::Node* node, void* data) const { writeFields(node, data, kBuffer); }

void VexTextureConverter::doFromJson(void* data, Json::Node* node) const { readFields(data, node, kTexture); }
void VexTextureConverter::doToJson(Json::Node* node, void* data) const { writeFields(node, data, kTexture); }

void GpuFormatVectorConverter::doFromJson(void* data, Json::Node* node) const {
    kVector.fromJson(data, node);
}

void GpuFormatVectorConverter::doToJson(Json::Node* node, void* data) const {
    kVector.toJson(node, data);
    node->setMultiline(false);
}

constinit const VexDataFormatConverter g_vexDataFormat;
constinit const VexBufferConverter g_vexBuffer;
constinit const VexTextureConverter g_vexTexture;
constinit const GpuFormatVectorConverter g_gpuFormatVector;

} // namespace qor::Texsmith::Raw::ReflectedTypes
