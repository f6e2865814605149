// The planes of a classic picture: memory, rows, columns, and copies.
#include "qor/texsmith/image.h"

#include "qor/texsmith/raw/allocator.h"
#include "raw/frame/check.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <utility>

namespace qor::Texsmith {
namespace {

constexpr char kSourcePath[] = "image";
constexpr unsigned kPixelAlignment = 256;
constexpr std::uint64_t kMaxBytes = std::numeric_limits<unsigned>::max();
constexpr float kZero = 0.0f;

constexpr std::uint64_t roundUpTo4(std::uint64_t size) { return (size + 3) & ~std::uint64_t{3}; }

void copyStrided(float* destination, std::size_t destinationStride, const float* source,
                 std::size_t sourceStride, unsigned count) {
    for (std::size_t i = 0; i < count; ++i) {
        destination[i * destinationStride] = source[i * sourceStride];
    }
}

bool isInside(bool inside, const char* message) {
    if (!inside) {
        toolsAssert(kSourcePath, __LINE__, "%s", message);
    }
    return inside;
}

} // namespace

float Image::Plane::getValue() const {
    if (m_type != kTypeConstant) {
        toolsAssert(kSourcePath, __LINE__, "getValue() is only allowed on planes of kTypeConstant");
    }
    float value;
    std::memcpy(&value, &m_data, sizeof(value));
    return value;
}

void Image::Plane::setValue(float value) {
    if (m_type != kTypeConstant) {
        toolsAssert(kSourcePath, __LINE__, "setValue() is only allowed on plances of kTypeConstant");
    }
    std::memcpy(&m_data, &value, sizeof(value)); // deliberately also over a pointer
    if (m_image != nullptr) {
        m_image->deleteRawData();
    }
}

void Image::Plane::getScanline(float* destination, unsigned count, unsigned y) const {
    if (m_image == nullptr || destination == nullptr || y >= m_image->m_height) {
        return;
    }
    const PlanePixels pixels = m_image->pixelsOf(*this);
    const std::size_t first = std::size_t{y} * m_image->m_width * pixels.m_stride;
    copyStrided(destination, 1, pixels.m_first + first, pixels.m_stride, std::min(count, m_image->m_width));
}

void Image::Plane::setScanline(const float* source, unsigned count, unsigned y) {
    if (m_image == nullptr || source == nullptr || y >= m_image->m_height) {
        return;
    }
    if (m_image->hasPixels(*this)) {
        const std::size_t stride = m_image->m_pixelStride;
        copyStrided(m_data.m_pixels + std::size_t{y} * m_image->m_width * stride, stride, source, 1,
                    std::min(count, m_image->m_width));
    }
}

Image::Image(unsigned width, unsigned height, unsigned planes, Plane::Type type)
    : VexTextureGen(kImageTypeImage), m_width(width), m_height(height),
      m_numPlanes(std::clamp(planes, 1u, kMaxPlanes)) {
    initializeUncompressedMemory(type);
}

Image::~Image() {
    deleteRawData();
    deleteData();
}

void Image::initializeUncompressedMemory(Plane::Type type) {
    deleteData();
    for (unsigned p = 0; p < kMaxPlanes; ++p) {
        m_planes[p].m_type = type == Plane::kTypeInterleaved ? type : Plane::kTypeConstant;
        m_planes[p].m_image = this;
        m_planes[p].m_data = {};
    }
    if (type != Plane::kTypeInterleaved) {
        m_pixelStride = 0;
        for (unsigned p = 0; p < kMaxPlanes; ++p) {
            m_planes[p].m_data.m_value = p == kChannelAlpha ? 1.0f : 0.0f;
        }
        return;
    }
    m_pixelStride = m_numPlanes;
    const std::uint64_t pixels = std::uint64_t{m_width} * m_height;
    const bool fits = pixels <= kMaxBytes / (m_numPlanes * sizeof(float));
    const std::uint64_t bytes = fits ? pixels * m_numPlanes * sizeof(float) : kMaxBytes;
    if (bytes == 0) {
        return;
    }
    m_pixels = fits ? static_cast<float*>(toolsSystemAllocate(static_cast<unsigned>(bytes), kPixelAlignment))
                    : nullptr;
    if (m_pixels == nullptr) {
        toolsAssert(kSourcePath, __LINE__, "failed to allocate memory for image! buffer size needed  was %i",
                    static_cast<int>(bytes));
        return;
    }
    std::memset(m_pixels, 0, static_cast<std::size_t>(bytes));
    m_pixelFloats = bytes / sizeof(float);
    for (unsigned p = 0; p < m_numPlanes; ++p) {
        m_planes[p].m_data.m_pixels = m_pixels + p;
    }
}

// A plane's pointer may have been overwritten by a value: it is believed only if all pixels lie in the
// buffer.
bool Image::hasPixels(const Plane& plane) const {
    const std::less<const float*> below;
    const float* first = plane.m_data.m_pixels;
    if (plane.m_type != Plane::kTypeInterleaved || m_pixels == nullptr || below(first, m_pixels) ||
        !below(first, m_pixels + m_pixelFloats)) {
        return false;
    }
    const auto offset = reinterpret_cast<std::uintptr_t>(first) - reinterpret_cast<std::uintptr_t>(m_pixels);
    const std::uint64_t pixels = std::uint64_t{m_width} * m_height;
    return offset % sizeof(float) == 0 &&
           (pixels == 0 || offset / sizeof(float) + (pixels - 1) * m_pixelStride < m_pixelFloats);
}

Image::PlanePixels Image::pixelsOf(const Plane& plane) const {
    if (plane.m_type == Plane::kTypeConstant) {
        return {&plane.m_data.m_value, 0};
    }
    return hasPixels(plane) ? PlanePixels{plane.m_data.m_pixels, m_pixelStride} : PlanePixels{&kZero, 0};
}

Image::PlanePixels Image::getPlanePixels(unsigned plane) const {
    return plane < m_numPlanes ? pixelsOf(m_planes[plane]) : PlanePixels{&kZero, 0};
}

float* Image::getWritablePixels(unsigned plane) {
    return plane < m_numPlanes && hasPixels(m_planes[plane]) ? m_planes[plane].m_data.m_pixels : nullptr;
}

int Image::findChannel(Channel channel) const {
    return channel < m_numPlanes ? static_cast<int>(channel) : -1;
}

unsigned Image::getNumPixelsRequired(bool blockPadded) const {
    const std::uint64_t width = blockPadded ? roundUpTo4(m_width) : m_width;
    const std::uint64_t height = blockPadded ? roundUpTo4(m_height) : m_height;
    return static_cast<unsigned>(std::min(width * height, kMaxBytes));
}

unsigned Image::getBufferSizeRequired(Vex::DataFormat format) const {
    const std::uint64_t pixels = getNumPixelsRequired(format.isBlockCompressedFormat());
    if (pixels == kMaxBytes) {
        return static_cast<unsigned>(kMaxBytes);
    }
    return static_cast<unsigned>(std::min(pixels * format.getBitsPerElement() / 8, kMaxBytes));
}

void Image::getScanline(float* destination, unsigned count, unsigned y, unsigned plane) const {
    getScanline(destination, count, y, plane, 0);
}

void Image::getScanline(float* destination, unsigned count, unsigned y, unsigned plane, unsigned x) const {
    if (!isInside(y < m_height && plane < m_numPlanes && (x < m_width || x == 0),
                  "Coordinates for getScanline() are out of range.") ||
        destination == nullptr) {
        return;
    }
    const PlanePixels pixels = getPlanePixels(plane);
    const std::size_t first = (std::size_t{y} * m_width + x) * pixels.m_stride;
    copyStrided(destination, 1, pixels.m_first + first, pixels.m_stride, std::min(count, m_width - x));
}

void Image::setScanline(const float* source, unsigned count, unsigned y, unsigned plane) {
    if (!isInside(y < m_height && plane < m_numPlanes,
                  "Coordinates for getScanline() are out of range.")) { // deliberately the getter's text
        return;
    }
    m_planes[plane].setScanline(source, count, y);
    deleteRawData();
}

void Image::getColumn(float* destination, unsigned count, unsigned x, unsigned plane) const {
    if (!isInside(x < m_width && plane < m_numPlanes, "Coordinates for getColumn() are out of range.") ||
        destination == nullptr) {
        return;
    }
    const PlanePixels pixels = getPlanePixels(plane);
    copyStrided(destination, 1, pixels.m_first + x * pixels.m_stride, pixels.m_stride * m_width,
                std::min(count, m_height));
}

void Image::setColumn(const float* source, unsigned count, unsigned x, unsigned plane) {
    if (!isInside(x < m_width && plane < m_numPlanes, "Coordinates for setColumn() are out of range.")) {
        return;
    }
    float* pixels = getWritablePixels(plane);
    if (pixels != nullptr && source != nullptr) {
        copyStrided(pixels + std::size_t{x} * m_pixelStride, std::size_t{m_pixelStride} * m_width, source, 1,
                    std::min(count, m_height));
    }
    deleteRawData();
}

Raw::Half Image::getPixelF16(unsigned x, unsigned y, int plane) const {
    if (x >= m_width || y >= m_height || plane < 0) {
        return Raw::Half(0.0f);
    }
    const PlanePixels pixels = getPlanePixels(static_cast<unsigned>(plane));
    return Raw::Half(pixels.m_first[(std::size_t{y} * m_width + x) * pixels.m_stride]);
}

void Image::setWidth(unsigned width) {
    if (width == 0 || width >= m_width) {
        return;
    }
    if (m_pixels != nullptr) {
        const std::size_t from = std::size_t{m_width} * m_numPlanes, to = std::size_t{width} * m_numPlanes;
        for (std::size_t y = 1; y < m_height; ++y) {
            std::memmove(m_pixels + y * to, m_pixels + y * from, to * sizeof(float));
        }
    }
    m_width = width;
    deleteRawData();
}

void Image::setHeight(unsigned height) {
    if (height < m_height) {
        m_height = height;
        deleteRawData(); // it is larger than what callers now make room for
    }
}

void Image::swapPlanes(unsigned a, unsigned b) {
    if (a < m_numPlanes && b < m_numPlanes && a != b) {
        std::swap(m_planes[a].m_data, m_planes[b].m_data);
        std::swap(m_planes[a].m_type, m_planes[b].m_type);
        deleteRawData();
    }
}

// Null when memory is short, which is the caller's to report.
std::uint8_t* Image::reserveRawData(Vex::DataFormat format) {
    const unsigned size = getBufferSizeRequired(format);
    if (m_rawData == nullptr || size != m_rawDataSize) {
        deleteRawData();
        m_rawData = size == kMaxBytes
                        ? nullptr
                        : static_cast<std::uint8_t*>(toolsSystemAllocate(std::max(size, 1u), 16));
        if (m_rawData == nullptr) {
            return nullptr;
        }
    }
    m_rawDataFormat = format;
    m_rawDataSize = size;
    return m_rawData;
}

std::uint8_t* Image::allocateRawData(Vex::DataFormat format) {
    std::uint8_t* data = reserveRawData(format);
    if (data == nullptr) {
        toolsAssert(kSourcePath, __LINE__, "failed to allocate memory for rawData! rawSize was %i",
                    static_cast<int>(getBufferSizeRequired(format)));
    }
    return data;
}

void Image::setRawData(const void* source, Vex::DataFormat format) {
    if (source == nullptr) {
        deleteRawData();
    } else if (std::uint8_t* data = allocateRawData(format); data != nullptr) {
        std::memmove(data, source, m_rawDataSize);
    }
}

void Image::deleteRawData() {
    toolsSystemRelease(m_rawData);
    m_rawData = nullptr;
    m_rawDataFormat = {0};
    m_rawDataSize = 0;
}

void Image::deleteData() {
    for (Plane& plane : m_planes) {
        if (hasPixels(plane)) {
            plane.m_data = {};
        }
    }
    toolsSystemRelease(m_pixels);
    m_pixels = nullptr;
    m_pixelFloats = 0;
}

Image* Image::clone() const {
    const Plane::Type type = m_pixelStride != 0 ? Plane::kTypeInterleaved : Plane::kTypeConstant;
    std::unique_ptr<Image> image(new (std::nothrow) Image(m_width, m_height, m_numPlanes, type));
    if (image == nullptr || (m_pixels != nullptr && image->m_pixels == nullptr)) {
        return nullptr;
    }
    image->m_imageType = m_imageType;
    image->copy(this);
    if (m_pixelStride == 0) { // copy takes no raw data beside constant planes
        image->setRawData(m_rawData, m_rawDataFormat);
    }
    return m_rawData == nullptr || image->m_rawData != nullptr ? image.release() : nullptr;
}

int Image::copy(const Image* other) {
    if (other == nullptr || m_width != other->m_width || m_height != other->m_height ||
        m_numPlanes != other->m_numPlanes || m_imageType != other->m_imageType) {
        return -1;
    }
    if (other == this) {
        return 0;
    }
    // Clients may set the type of single planes: what counts is whether there are pixels at all.
    const bool isInterleaved = other->m_pixelStride != 0;
    const std::uint64_t floats = std::uint64_t{m_width} * m_height * other->m_pixelStride;
    if (isInterleaved != (m_pixelStride != 0) || m_pixelFloats < floats) {
        initializeUncompressedMemory(isInterleaved ? Plane::kTypeInterleaved : Plane::kTypeConstant);
    }
    for (unsigned p = 0; p < m_numPlanes; ++p) {
        m_planes[p].m_type = other->m_planes[p].m_type;
        m_planes[p].m_data = other->m_planes[p].m_data;
        if (m_pixels != nullptr && other->hasPixels(other->m_planes[p])) {
            m_planes[p].m_data.m_pixels = m_pixels + (other->m_planes[p].m_data.m_pixels - other->m_pixels);
        }
    }
    if (floats != 0 && m_pixelFloats >= floats && other->m_pixelFloats >= floats) {
        std::memcpy(m_pixels, other->m_pixels, static_cast<std::size_t>(floats) * sizeof(float));
    }
    setRawData(isInterleaved ? other->m_rawData : nullptr, other->m_rawDataFormat);
    VexTextureGen::operator=(*other);
    return 0;
}

} // namespace qor::Texsmith
