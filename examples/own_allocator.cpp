// Gives the library an allocator that counts, and tells how much memory a conversion to BC1 took.
#include <qor/texsmith/texsmith.h>

#include <atomic>
#include <cstdio>

using namespace qor;
using namespace qor::Texsmith;

namespace {

struct Account { // the library's threads allocate, too
    std::atomic<unsigned long long> m_bytes{0};
    std::atomic<int> m_blocks{0};
};

void* allocate(void* context, unsigned long long size, unsigned long long alignment) {
    auto& account = *static_cast<Account*>(context);
    void* const block = Raw::defaultAllocate(nullptr, size, alignment);
    if (block != nullptr) { // otherwise the call that asked fails, and says so
        account.m_bytes += size;
        ++account.m_blocks;
    }
    return block;
}

void release(void* context, void* block) {
    --static_cast<Account*>(context)->m_blocks;
    Raw::defaultRelease(nullptr, block);
}

Raw::Error compress(const char* source, const char* destination, Configuration* configuration) {
    Raw::AllocatedMemory pictureMemory(configuration->m_allocator), textureMemory(configuration->m_allocator);
    Raw::ReallocatableImage picture(&pictureMemory), texture(&textureMemory);
    Raw::Error error = Raw::loadWithResult(&picture, source, configuration, 0);
    if (error == Raw::kErrorNone) {
        Raw::reallocate(&texture, &picture, Vex::kDataFormatBc1UnormNoAlpha);
        error = Raw::reformat(&picture, &texture, configuration);
    }
    return error == Raw::kErrorNone ? Raw::saveWithResult(&texture, destination, configuration) : error;
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
    const Raw::Error error = compress(argv[1], argv[2], &configuration);
    std::printf("%llu bytes in all, %d blocks still held\n", account.m_bytes.load(), account.m_blocks.load());
    return error == Raw::kErrorNone ? 0 : 1;
}
