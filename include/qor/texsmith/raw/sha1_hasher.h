// Sha1Hasher: the process-wide service that computes SHA-1 digests (FIPS 180-4).
//
// SHA-1 names files by their contents here; it protects nothing against an attacker.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/singleton.h"

#include <cstddef>
#include <cstdint>

namespace qor::Texsmith::Raw {

// Never made by a client: instance() gives it.
class QOR_TEXSMITH_API Sha1Hasher : public Singleton {
public:
    static constexpr std::size_t kDigestBytes = 20;

    // The one object of the process, which is never destroyed.
    static Sha1Hasher& instance();

    // Digests `bytes` bytes at `data`, which may be null for none. Starts the service at first use; safe from
    // any thread. kErrorFailed, after a report, when the system has no SHA-1 to give: the digest is then
    // unset.
    Error hash(const void* data, std::size_t bytes, std::uint8_t digest[kDigestBytes]);

private:
    template <class T> friend union NeverDestroyed;
    constexpr Sha1Hasher() = default;
    Error doInitialize() override;
};

} // namespace qor::Texsmith::Raw
