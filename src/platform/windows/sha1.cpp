#include "platform/platform.h"
#include "platform/windows/win32.h"

#include <bcrypt.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace qor::Texsmith::Platform {

namespace {

// The provider stays open: opening it costs more than most digests.
struct Provider {
    BCRYPT_ALG_HANDLE m_algorithm = nullptr;
    ULONG m_objectBytes = 0;
    ULONG m_digestBytes = 0;

    Provider() {
        if (BCRYPT_SUCCESS(BCryptOpenAlgorithmProvider(&m_algorithm, BCRYPT_SHA1_ALGORITHM, nullptr, 0))) {
            m_objectBytes = property(BCRYPT_OBJECT_LENGTH);
            m_digestBytes = property(BCRYPT_HASH_LENGTH);
        }
    }
    ULONG property(const wchar_t* name) const {
        ULONG value = 0;
        ULONG written = 0;
        BCryptGetProperty(m_algorithm, name, reinterpret_cast<PUCHAR>(&value), sizeof value, &written, 0);
        return value;
    }
};

const Provider& provider() {
    static const Provider s_provider;
    return s_provider;
}

// The system counts in 32 bits.
bool hashAll(BCRYPT_HASH_HANDLE hash, const std::uint8_t* data, std::size_t bytes) {
    constexpr std::size_t kChunk = 1u << 30;
    bool hashed = true;
    for (std::size_t position = 0; position < bytes && hashed; position += kChunk) {
        const auto chunk = static_cast<ULONG>(std::min(kChunk, bytes - position));
        hashed = BCRYPT_SUCCESS(BCryptHashData(hash, const_cast<PUCHAR>(data + position), chunk, 0));
    }
    return hashed;
}

} // namespace

void sha1(const void* data, std::size_t bytes, std::uint8_t digest[kSha1Bytes]) {
    std::memset(digest, 0, kSha1Bytes);
    const Provider& sha = provider();
    std::vector<UCHAR> object(sha.m_objectBytes);
    BCRYPT_HASH_HANDLE hash = nullptr;
    if (sha.m_digestBytes != kSha1Bytes ||
        !BCRYPT_SUCCESS(
            BCryptCreateHash(sha.m_algorithm, &hash, object.data(), sha.m_objectBytes, nullptr, 0, 0))) {
        return;
    }
    if (hashAll(hash, static_cast<const std::uint8_t*>(data), bytes)) {
        BCryptFinishHash(hash, digest, kSha1Bytes, 0);
    }
    BCryptDestroyHash(hash);
}

} // namespace qor::Texsmith::Platform
