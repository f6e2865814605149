// The door to thumbnails and info tips.
#include "qor/texsmith/raw/thumbnail.h"

#include "platform/platform.h"
#include "qor/texsmith/raw/dds.h"
#include "qor/texsmith/raw/image.h"
#include "qor/texsmith/raw/json.h"
#include "qor/texsmith/raw/reflected_types.h"
#include "qor/texsmith/raw/reformat.h"
#include "qor/texsmith/raw/tga.h"
#include "qor/texsmith/raw/view.h"
#include "qor/texsmith/raw/vxf.h"
#include "qor/vex/data_formats.h"
#include "raw/configuration/check_configuration.h"
#include "raw/frame/out_of_memory.h"

#include <memory>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\thumbnail";

struct FreeBitmap {
    using pointer = HBITMAP;
    void operator()(HBITMAP bitmap) const { freeBitmap(bitmap); }
};
using OwnedBitmap = std::unique_ptr<HBITMAP__, FreeBitmap>;

// An unknown format deliberately leaves the image empty, and is no error.
Error loadImage(ReallocatableImage* image, MemoryRegion* source, ThumbnailFormat format,
                Configuration* configuration) {
    switch (format) {
    case kThumbnailFormatVxf:
        return convertFromVxf(source, image, configuration, 0);
    case kThumbnailFormatDds:
        return convertFromDds(source, image, configuration);
    case kThumbnailFormatTga:
        return convertFromTga(source, image, configuration);
    }
    return kErrorNone;
}

OwnedBitmap draw(const ElementProvider& canvas, bool srgb, Configuration* configuration) {
    OwnedBitmap bitmap(makeBitmap(canvas.getPixelsWide(0), canvas.getPixelsTall(0)));
    BitmapSection section;
    if (!getBitmapSection(bitmap.get(), &section)) {
        return {};
    }
    Raster raster;
    raster.begin = section.bits;
    raster.end = raster.begin + std::size_t{section.pitch} * section.height;
    raster.dataFormat = srgb ? Vex::kDataFormatB8G8R8X8UnormSrgb : Vex::kDataFormatB8G8R8X8Unorm;
    raster.width = section.width;
    raster.height = section.height;
    raster.pitch = section.pitch;
    RasterElementProvider picture(&raster);
    reformat(&canvas, &picture, configuration); // what cannot be converted stays black
    return bitmap;
}

} // namespace

HBITMAP makeThumbnail(MemoryRegion* source, ThumbnailFormat format, bool srgb, Configuration* configuration) {
    const bool hasSource = checkNotNull(source, kSourcePath, "source must not be NULL.");
    if (!checkJobManager(configuration, kSourcePath) || !hasSource) {
        return nullptr;
    }
    OwnedBitmap bitmap;
    failWithoutMemory(kSourcePath, [&] {
        MappedMemory memory;
        ReallocatableImage image(&memory);
        const Error error = loadImage(&image, source, format, configuration);
        if (error == kErrorNone) {
            if (!srgb && image.getDataFormat().getTextureChannelType() == Vex::kTextureChannelTypeSrgb) {
                image.setTextureChannelType(Vex::kTextureChannelTypeUNorm);
            }
            bitmap = draw(AsCanvasElementProvider(&image), srgb, configuration);
        }
        return error;
    });
    return bitmap.release();
}

HBITMAP makeBitmap(unsigned width, unsigned height) {
    return static_cast<HBITMAP>(Platform::createBitmap(width, height));
}

bool getBitmapSection(HBITMAP bitmap, BitmapSection* section) {
    Platform::BitmapBits bits = {};
    if (!checkNotNull(section, kSourcePath, "section must not be NULL.") ||
        !Platform::getBitmapBits(bitmap, &bits)) {
        return false;
    }
    *section = {bits.m_width, bits.m_height, bits.m_pitch, bits.m_bits};
    return true;
}

void freeBitmap(HBITMAP bitmap) {
    if (bitmap != nullptr) {
        Platform::deleteBitmap(bitmap);
    }
}

void getInfoTip(char* buffer, unsigned int size, const Vex::Texture* texture, Configuration* configuration) {
    const bool hasBuffer = checkNotNull(buffer, kSourcePath, "buffer must not be NULL.") &&
                           check(size > 0, kSourcePath, "size > 0");
    const bool hasTexture = checkNotNull(texture, kSourcePath, "texture must not be NULL.");
    const bool hasSettings = checkNotNull(configuration, kSourcePath, "configuration must not be NULL.");
    if (!hasBuffer) {
        return;
    }
    buffer[0] = buffer[size - 1] = 0; // for callers whose handler throws
    if (!hasTexture || !hasSettings) {
        return;
    }
    failWithoutMemory(kSourcePath, [&] {
        Json::Node node(configuration->m_allocator);
        Vex::Texture own = *texture;
        ReflectedTypes::g_vexTexture.toJson(&node, &own);
        node.deleteKey("Encoder");
        node.deleteKey("Decoder");
        Json::Writer writer;
        writer.init(buffer, size - 1);
        Json::write(&node, &writer);
        buffer[writer.offset()] = 0;
        return kErrorNone;
    });
}

void getInfoTip(char* buffer, unsigned int size, const Texture* texture, Configuration* configuration) {
    getInfoTip(buffer, size, static_cast<const Vex::Texture*>(texture), configuration);
}

} // namespace qor::Texsmith::Raw
