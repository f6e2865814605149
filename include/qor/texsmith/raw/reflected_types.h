// Converters of the library's own vocabulary: the hardware's enumerations under their short names,
// descriptors, and the small numeric structures.
//
//     Json::Node node(g_mallocAllocator);
//     ReflectedTypes::g_vexTexture.toJson(&node, &texture);       // {"DataFormat" : {...}, "Width" : 256,
//     ...} node("Width").copyFromNumber(128); ReflectedTypes::g_vexTexture.fromJson(&texture, &node);
//
// Descriptors are patched by reading: keys that are absent leave their fields as they were, and keys are
// taken in the object's own order. Names are compared without regard to case. All objects here are constant
// and ready before any other code; any thread may use them.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/reflection.h"

namespace qor::Texsmith::Raw::ReflectedTypes {

// Vex::DataFormat, written on one line: SurfaceFormat, ChannelType, X, Y, Z, W.
class QOR_TEXSMITH_API VexDataFormatConverter final : public Reflection::Converter {
private:
    void doFromJson(void* data, Json::Node* node) const override;
    void doToJson(Json::Node* node, void* data) const override;
    unsigned doSize() const override { return 4; }
};

// Vex::Buffer: DataFormat, NumElements, Stride, ResourceMemoryType.
class QOR_TEXSMITH_API VexBufferConverter final : public Reflection::Converter {
private:
    void doFromJson(void* data, Json::Node* node) const override;
    void doToJson(Json::Node* node, void* data) const override;
    unsigned doSize() const override { return 16; }
};

// Vex::Texture: DataFormat, Width, Pitch, Height and Depth in pixels (one above the stored fields),
// ResourceMemoryType, TextureType, NumFragments, TileMode, BaseMipLevel, LastMipLevel, MinLodClamp (the raw
// field), BaseArraySliceIndex, LastArraySliceIndex.
class QOR_TEXSMITH_API VexTextureConverter final : public Reflection::Converter {
private:
    void doFromJson(void* data, Json::Node* node) const override;
    void doToJson(Json::Node* node, void* data) const override;
    unsigned doSize() const override { return 32; }
};

// VectorFloat, written on one line: X, Y, Z, W.
class QOR_TEXSMITH_API GpuFormatVectorConverter final : public Reflection::Converter {
private:
    void doFromJson(void* data, Json::Node* node) const override;
    void doToJson(Json::Node* node, void* data) const override;
    unsigned doSize() const override { return 16; }
};

QOR_TEXSMITH_API extern const Reflection::EnumConverter g_vexSurfaceFormat;
QOR_TEXSMITH_API extern const Reflection::EnumConverter g_vexTextureChannelType;
QOR_TEXSMITH_API extern const Reflection::EnumConverter g_vexTextureChannel;
QOR_TEXSMITH_API extern const Reflection::EnumConverter g_vexTileMode;
QOR_TEXSMITH_API extern const Reflection::EnumConverter g_vexTextureType;
QOR_TEXSMITH_API extern const Reflection::EnumConverter g_vexResourceMemoryType;
QOR_TEXSMITH_API extern const Reflection::EnumConverter g_vexNumSamples;
QOR_TEXSMITH_API extern const Reflection::EnumConverter g_vexNumFragments;
QOR_TEXSMITH_API extern const Reflection::EnumConverter g_propertyName;

QOR_TEXSMITH_API extern const VexDataFormatConverter g_vexDataFormat;
QOR_TEXSMITH_API extern const VexBufferConverter g_vexBuffer;
QOR_TEXSMITH_API extern const VexTextureConverter g_vexTexture;

QOR_TEXSMITH_API extern const GpuFormatVectorConverter g_gpuFormatVector;
QOR_TEXSMITH_API extern const Reflection::StructConverter g_gpuFormatMatrix;
QOR_TEXSMITH_API extern const Reflection::StructConverter g_gpuFormatMadd;
QOR_TEXSMITH_API extern const Reflection::StructConverter g_gpuFormatTransform;
// Both members deliberately lie at offset 0: the decode transform is written twice, and `Encode` reads into
// it.
QOR_TEXSMITH_API extern const Reflection::StructConverter g_gpuFormatModifiers;
QOR_TEXSMITH_API extern const Reflection::StructConverter g_gpuFormatCalculatedError;

} // namespace qor::Texsmith::Raw::ReflectedTypes
