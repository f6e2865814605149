// One surface of a tiled texture in memory.
#include "qor/texsmith/raw/view.h"
#include "raw/frame/check.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\elementprovider\\textureassurfaceelementprovider";

} // namespace

TextureAsSurfaceElementProvider::TextureAsSurfaceElementProvider(const Texture* texture,
                                                                 const SurfaceIndex* surfaceIndex) {
    setTarget(texture, surfaceIndex);
}

TextureAsSurfaceElementProvider::TextureAsSurfaceElementProvider(const TextureAsSurfaceElementProvider& other)
    : AsSurfaceElementProvider(other), m_textureProvider(other.m_textureProvider) {
    pointToOwn(other);
}

TextureAsSurfaceElementProvider&
TextureAsSurfaceElementProvider::operator=(const TextureAsSurfaceElementProvider& other) {
    AsSurfaceElementProvider::operator=(other);
    m_textureProvider = other.m_textureProvider;
    pointToOwn(other);
    return *this;
}

// Copying has copied the pointer to the other's provider.
void TextureAsSurfaceElementProvider::pointToOwn(const TextureAsSurfaceElementProvider& other) {
    if (other.getProxied() != nullptr) {
        replaceProxied(&m_textureProvider);
    }
}

void TextureAsSurfaceElementProvider::setTarget(const Texture* texture, const SurfaceIndex* surfaceIndex) {
    replaceProxied(nullptr);
    const bool hasTexture = checkNotNull(texture, kSourcePath, "texture must not be NULL.");
    if (!checkNotNull(surfaceIndex, kSourcePath, "surfaceIndex must not be NULL.") || !hasTexture) {
        return;
    }
    m_textureProvider = TextureElementProvider(texture);
    AsSurfaceElementProvider::setTarget(&m_textureProvider, surfaceIndex);
}

const std::type_info* TextureAsSurfaceElementProvider::doGetRowsClass() const {
    return &typeid(TextureAsSurfaceElementProvider);
}

} // namespace qor::Texsmith::Raw
