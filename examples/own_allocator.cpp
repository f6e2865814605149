// Gives the library an allocator that counts, and tells how much memory a conversion to BC1 held at most.
#include <qor/texsmith/texsmith.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <mutex>

using namespace qor;
using namespace qor::Texsmith;

namespace {

struct Account {
    std::mutex m_mutex; // the library's threads allocate, too
    std::map<void*, unsigned long long> m_sizes;
    unsigned long long m_held = 0, m_most = 0;
};

void* allocate(void* context, unsigned long long size, unsigned long long alignment) {
    auto& account = *static_cast<Account*>(context);
    void* const block = Raw::defaultAllocate(nullptr, size, alignment);
    if (block != nullptr) { // otherwise the call that asked fails, and says so
        const std::lock_guard lock(account.m_mutex);
        account.m_sizes[block] = size;
        account.m_held += size;
        account.m_most = std::max(account.m_most, account.m_held);
    }
    return block;
}

void release(void* context, void* block) {
    auto& account = *static_cast<Account*>(context);
    {
        const std::lock_guard lock(account.m_mutex);
        account.m_held -= account.m_sizes[block];
        account.m_sizes.erase(block);
    }
    Raw::defaultRelease(nullptr, block);
}

} // namespace

// own_allocator SOURCE DESTINATION
int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: own_allocator SOURCE DESTINATION\n");
        return 2;
    }
    Account account;
    Configuration configuration;
    configuration.m_allocator = {&account, &allocate, &release};
    Raw::Error error;
    {
        Raw::AllocatedMemory pictureMemory(configuration.m_allocator),
            textureMemory(configuration.m_allocator);
        Raw::ReallocatableImage picture(&pictureMemory), texture(&textureMemory);
        error = Raw::loadWithResult(&picture, argv[1], &configuration, 0);
        if (error == Raw::kErrorNone) {
            Raw::reallocate(&texture, &picture, Vex::kDataFormatBc1UnormNoAlpha);
            error = Raw::reformat(&picture, &texture, &configuration);
        }
        if (error == Raw::kErrorNone) {
            error = Raw::saveWithResult(&texture, argv[2], &configuration);
        }
    }
    std::printf("%llu bytes at most, %llu still held\n", account.m_most, account.m_held);
    return error == Raw::kErrorNone ? 0 : 1;
}
