#include "resizing.h"

#include "failure.h"

#include "qor/texsmith/image_helper.h"
#include "qor/texsmith/raw/format.h"
#include "qor/texsmith/raw/reformat.h"
#include "qor/texsmith/raw/texture.h"
#include "qor/texsmith/raw/view.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

constexpr unsigned kMaxSize = 16384, kPlanes = 4;
constexpr std::uint64_t kMaxPixels = 0xFFFFFFFF / (kPlanes * sizeof(float)); // as four floats each
constexpr unsigned kLargestStep = 3; // the filters leave samples out where they reduce by more at once

const Filters::BoxFilter kBox;
const Filters::TriangleFilter kTriangle;
const Filters::CubicFilter kCubic(-0.5f);
const Filters::LanczosFilter kLanczos;

struct NamedFilter {
    const char* m_name;
    const Filters::IFilter* m_filter;
};
constexpr NamedFilter kFilters[] = {
    {"box", &kBox}, {"triangle", &kTriangle}, {"cubic", &kCubic}, {"lanczos", &kLanczos}};

const Filters::IFilter& filterNamed(const std::string& name) {
    for (const NamedFilter& filter : kFilters) {
        if (name == filter.m_name) {
            return *filter.m_filter;
        }
    }
    return kLanczos;
}

// One surface as floats.
class FloatSurface {
public:
    // As large as the surface that it stands for.
    FloatSurface(const Raw::ElementProvider& surface, Configuration* configuration) {
        Vex::DataFormat format = {};
        Raw::makeDataFormat(&format, "R32G32B32A32Float", configuration);
        const Vex::Texture texture = Raw::changeDataFormat(surface.getTexture(), format);
        m_image.reallocate(&texture);
    }
    Raw::MemoryMappedImage& image() { return m_image; }
    std::uint8_t* texels() { return m_image.getMemoryRegion().begin; }
    std::size_t bytes() const { return m_image.getMemoryRegion().length(); }

private:
    Raw::MemoryMappedImage m_image;
};

void checkMemory(bool isThere) {
    if (!isThere) {
        throw Failure("there is not enough memory to resize the picture");
    }
}

// In steps of at most 3 to 1.
std::unique_ptr<Texsmith::Image> resizedPlanes(std::unique_ptr<Texsmith::Image> planes, Size to,
                                               const Filters::IFilter& filter, JobManager* jobManager) {
    const auto next = [](unsigned from, unsigned wanted) {
        return std::max(wanted, (from + kLargestStep - 1) / kLargestStep);
    };
    while (planes->getWidth() != to.m_width || planes->getHeight() != to.m_height) {
        auto step = std::make_unique<Texsmith::Image>(next(planes->getWidth(), to.m_width),
                                                      next(planes->getHeight(), to.m_height), kPlanes);
        checkMemory(step->getWritablePixels(0) != nullptr);
        ImageHelper::resizeImage(*planes, step.get(), filter, jobManager);
        planes = std::move(step);
    }
    return planes;
}

void resizeSurface(const Raw::ElementProvider& source, Raw::ElementProvider* destination, Size from, Size to,
                   const Filters::IFilter& filter, Configuration* configuration) {
    FloatSurface before(source, configuration), after(*destination, configuration);
    if (Raw::reformat(&source, &before.image(), configuration) != Raw::kErrorNone) {
        throw Failure("cannot resize pictures of this format");
    }
    auto planes = std::make_unique<Texsmith::Image>(from.m_width, from.m_height, kPlanes);
    checkMemory(planes->getWritablePixels(0) != nullptr && before.texels() != nullptr &&
                after.texels() != nullptr);
    std::memcpy(planes->getWritablePixels(0), before.texels(), before.bytes()); // both hold R, G, B, A
    planes = resizedPlanes(std::move(planes), to, filter, configuration->m_jobManager);
    std::memcpy(after.texels(), planes->getPlanePixels(0).m_first, after.bytes());
    if (Raw::reformat(&after.image(), destination, configuration) != Raw::kErrorNone) {
        throw Failure("cannot make pictures of this format");
    }
}

} // namespace

Size readSize(const std::string& text, const std::string& option) {
    Size size;
    const char* const end = text.data() + text.size();
    const auto width = std::from_chars(text.data(), end, size.m_width);
    const bool hasCross = width.ec == std::errc() && width.ptr != end && *width.ptr == 'x';
    const auto height = std::from_chars(hasCross ? width.ptr + 1 : end, end, size.m_height);
    if (!hasCross || height.ec != std::errc() || height.ptr != end || size.m_width == 0 ||
        size.m_height == 0 || size.m_width > kMaxSize || size.m_height > kMaxSize) {
        throw UsageFailure(option + " takes a size such as 256x128, up to 16384x16384, and not '" + text +
                           "'");
    }
    return size;
}

std::unique_ptr<Raw::MemoryMappedImage> resized(const Raw::MemoryMappedImage& picture, Size size,
                                                const std::string& filter, Configuration* configuration) {
    const Raw::SurfaceCount count = picture.getSurfaceCount();
    if (count.fragments > 1) {
        throw Failure("textures of several samples cannot be resized");
    }
    if (count.faces > 1 && size.m_width != size.m_height) {
        throw Failure("the faces of a cubemap are squares: give --resize the same number twice");
    }
    Vex::Texture texture = *picture.getVexTexture();
    const Size from = {texture.getWidth(), texture.getHeight()};
    const unsigned depth = Raw::getDepthOfMip(texture, 0);
    for (const Size& each : {from, size}) {
        if (std::uint64_t{each.m_width} * each.m_height > kMaxPixels) {
            throw Failure("pictures of 2^28 pixels and more cannot be resized");
        }
    }
    texture.setWidthMinus1(size.m_width - 1);
    texture.setHeightMinus1(size.m_height - 1);
    texture.setMipLevelRange(0, 0);
    auto result = std::make_unique<Raw::MemoryMappedImage>();
    result->reallocate(&texture);
    Raw::SurfaceIndex index;
    for (index.arrayEntry = 0; index.arrayEntry < count.arrayEntries; ++index.arrayEntry) {
        for (index.face = 0; index.face < count.faces; ++index.face) {
            for (index.depth = 0; index.depth < depth; ++index.depth) {
                const Raw::AsSurfaceElementProvider source(&picture, &index);
                Raw::AsSurfaceElementProvider destination(result.get(), &index);
                resizeSurface(source, &destination, from, size, filterNamed(filter), configuration);
            }
        }
    }
    result->setModifiers(picture.getModifiers());
    return result;
}

} // namespace Tool
