// SHA-1 by the system's own provider.

#include "platform/platform.h"
#include "platform/windows/win32.h"

#include <bcrypt.h>

#include <algorithm>
#include <vector>

namespace qor::Texsmith::Platform {

namespace {

// The provider stays open: opening it costs more than most digests.
struct Provider {
    BCRYPT_ALG_HANDLE m_algorithm;
    ULONG m_objectBytes;
    ULONG m_digestBytes;
};

constinit Provider s_provider = {};

ULONG propertyOf(BCRYPT_ALG_HANDLE algorithm, const wchar_t* name) {
    ULONG value = 0;
    ULONG written = 0;
    BCryptGetProperty(algorithm, name, reinterpret_cast<PUCHAR>(&value), sizeof value, &written, 0);
    return value;
}

// These calls hand back their failure instead of leaving it to GetLastError.
bool succeeded(NTSTATUS status) {
    if (!BCRYPT_SUCCESS(status)) {
        SetLastError(static_cast<DWORD>(status));
    }
    return BCRYPT_SUCCESS(status);
}

// The system counts in 32 bits.
bool hashAll(BCRYPT_HASH_HANDLE hash, const std::uint8_t* data, std::size_t bytes) {
    constexpr std::size_t kChunk = 1u << 30;
    bool hashed = true;
    for (std::size_t position = 0; position < bytes && hashed; position += kChunk) {
        const auto chunk = static_cast<ULONG>(std::min(kChunk, bytes - position));
        hashed = succeeded(BCryptHashData(hash, const_cast<PUCHAR>(data + position), chunk, 0));
    }
    return hashed;
}

} // namespace

bool startSha1() {
    BCRYPT_ALG_HANDLE algorithm = nullptr;
    if (!succeeded(BCryptOpenAlgorithmProvider(&algorithm, BCRYPT_SHA1_ALGORITHM, nullptr, 0))) {
        return false;
    }
    s_provider = {algorithm, propertyOf(algorithm, BCRYPT_OBJECT_LENGTH),
                  propertyOf(algorithm, BCRYPT_HASH_LENGTH)};
    return s_provider.m_digestBytes == kSha1Bytes;
}

bool sha1(const void* data, std::size_t bytes, std::uint8_t digest[kSha1Bytes]) {
    std::vector<UCHAR> object(s_provider.m_objectBytes);
    BCRYPT_HASH_HANDLE hash = nullptr;
    if (!succeeded(BCryptCreateHash(s_provider.m_algorithm, &hash, object.data(), s_provider.m_objectBytes,
                                    nullptr, 0, 0))) {
        return false;
    }
    const bool isHashed = hashAll(hash, static_cast<const std::uint8_t*>(data), bytes) &&
                          succeeded(BCryptFinishHash(hash, digest, kSha1Bytes, 0));
    BCryptDestroyHash(hash);
    return isHashed;
}

} // namespace qor::Texsmith::Platform
