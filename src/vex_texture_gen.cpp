// Encodes all surfaces of a classic picture into tiled memory.
#include "qor/texsmith/vex_texture_gen.h"

#include "qor/gpu_address/gpu_address.h"
#include "qor/texsmith/multi_image_encoder_job.h"
#include "raw/frame/out_of_memory.h"

#include <cstring>
#include <vector>

namespace qor::Texsmith {
namespace {

constexpr char kSourcePath[] = "vex_texture_gen";

// The depth slices of one mip of one slice, which are tiled as one.
struct Surface {
    Raw::SurfaceIndex m_index;
    std::vector<Image*> m_images;
};

void collect(Image* image, const Raw::SurfaceIndex& index, void* context) {
    auto& surfaces = *static_cast<std::vector<Surface>*>(context);
    const bool continues = !surfaces.empty() && surfaces.back().m_index.mip == index.mip &&
                           surfaces.back().m_index.arrayEntry == index.arrayEntry &&
                           surfaces.back().m_index.face == index.face;
    if (!continues) {
        surfaces.push_back({index, {}});
    }
    surfaces.back().m_images.push_back(image);
}

// One after another at `linear`, as many at once as a job takes. Pictures that hold the format already are
// copied.
template <typename Encoder>
Raw::Error encodeImages(std::uint8_t* linear, std::uint64_t imageBytes, const std::vector<Image*>& images,
                        Vex::DataFormat format, JobManager* jobManager) {
    constexpr unsigned kAtOnce = MultiImageEncoderJob<Encoder>::kMaxImages;
    std::vector<Encoder> encoders;
    for (std::size_t first = 0; first < images.size(); first += kAtOnce) {
        encoders.clear();
        encoders.reserve(kAtOnce); // the job points at them
        MultiImageEncoderJob<Encoder> job;
        for (std::size_t i = first; i < images.size() && i < first + kAtOnce; ++i) {
            std::uint8_t* const destination = linear + i * imageBytes;
            if (images[i]->getRawData() != nullptr && images[i]->getRawDataFormat() == format) {
                std::memcpy(destination, images[i]->getRawData(), static_cast<std::size_t>(imageBytes));
            } else {
                job.addImage(&encoders.emplace_back(destination, images[i], format));
            }
        }
        const Raw::Error error = jobManager->submitAndStall(&job);
        if (error != Raw::kErrorNone) {
            return error;
        }
    }
    return Raw::kErrorNone;
}

Raw::Error encodeSurface(std::uint8_t* destination, std::uint64_t size, const Vex::Texture& texture,
                         const Surface& surface, JobManager* jobManager) {
    const Vex::DataFormat format = texture.getDataFormat();
    const unsigned mip = surface.m_index.mip;
    const unsigned slice =
        surface.m_index.arrayEntry * Raw::SurfaceCount(texture).faces + surface.m_index.face;
    GpuAddress::TilingParameters parameters;
    std::uint64_t offset = 0, stride = 0, tiledBytes = 0, linearBytes = 0;
    unsigned alignment = 0;
    if (parameters.initFromTexture(&texture, mip, slice) != GpuAddress::kStatusSuccess ||
        GpuAddress::computeTextureSurfaceOffsetAndSize(&offset, &stride, &texture, mip, slice) !=
            GpuAddress::kStatusSuccess ||
        GpuAddress::computeTiledSurfaceSize(&tiledBytes, &alignment, &parameters) !=
            GpuAddress::kStatusSuccess ||
        GpuAddress::computeUntiledSurfaceSize(&linearBytes, &alignment, &parameters) !=
            GpuAddress::kStatusSuccess ||
        offset > size || tiledBytes > size - offset) {
        return Raw::kErrorFailed;
    }
    const std::uint64_t imageBytes = linearBytes / parameters.m_depth;
    for (const Image* image : surface.m_images) {
        if (image == nullptr || image->getWidth() != parameters.m_width ||
            image->getHeight() != parameters.m_height || image->getBufferSizeRequired(format) != imageBytes) {
            return Raw::kErrorFailed;
        }
    }
    if (surface.m_images.size() != parameters.m_depth) {
        return Raw::kErrorFailed;
    }
    std::vector<std::uint8_t> linear(static_cast<std::size_t>(linearBytes));
    const auto encode = format.isBlockCompressedFormat() ? &encodeImages<CpuBlockEncoder>
                                                         : &encodeImages<PerImagePixelEncoder>;
    const Raw::Error error = encode(linear.data(), imageBytes, surface.m_images, format, jobManager);
    if (error != Raw::kErrorNone) {
        return error;
    }
    const int status = GpuAddress::tileSurface(destination + offset, linear.data(), &parameters);
    return status == GpuAddress::kStatusSuccess ? Raw::kErrorNone : Raw::kErrorFailed;
}

} // namespace

bool VexTextureGen::encodeSurfaces(void* destination, std::uint64_t size, const Vex::Texture& texture,
                                   JobManager* jobManager) {
    if (destination == nullptr) {
        return false;
    }
    return Raw::failWithoutMemory(kSourcePath, [&] {
               Raw::SerialJobManager onThisThread;
               std::vector<Surface> surfaces;
               enumerateImages(&collect, &surfaces);
               for (const Surface& surface : surfaces) {
                   const Raw::Error error =
                       encodeSurface(static_cast<std::uint8_t*>(destination), size, texture, surface,
                                     jobManager != nullptr ? jobManager : &onThisThread);
                   if (error != Raw::kErrorNone) {
                       return error;
                   }
               }
               return Raw::Error(Raw::kErrorNone);
           }) == Raw::kErrorNone;
}

} // namespace qor::Texsmith
