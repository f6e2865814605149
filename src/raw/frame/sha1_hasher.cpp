// The process-wide SHA-1 service, on that of the system.

#include "qor/texsmith/raw/sha1_hasher.h"

#include "platform/platform.h"
#include "raw/frame/check.h"
#include "raw/frame/never_destroyed.h"
#include "raw/frame/system_report.h"

namespace qor::Texsmith::Raw {

namespace {

constexpr char kSourcePath[] = "raw\\frame\\sha1_hasher";

constinit NeverDestroyed<Sha1Hasher> g_sha1Hasher;

} // namespace

static_assert(Sha1Hasher::kDigestBytes == Platform::kSha1Bytes);

Sha1Hasher& Sha1Hasher::instance() { return g_sha1Hasher.m_object; }

Error Sha1Hasher::doInitialize() { return Platform::startSha1() ? kErrorNone : kErrorFailed; }

Error Sha1Hasher::hash(const void* data, std::size_t bytes, std::uint8_t digest[kDigestBytes]) {
    if (initialize() == kErrorNone && Platform::sha1(data, bytes, digest)) {
        return kErrorNone;
    }
    toolsAssert(kSourcePath, __LINE__, "SHA-1 failed: %s.", SystemReport().c_str());
    return kErrorFailed;
}

} // namespace qor::Texsmith::Raw
