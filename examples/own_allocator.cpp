// Copies a file through memory from an allocator of the program's own, and tells how much that was.
#include <qor/texsmith/texsmith.h>

#include <atomic>
#include <cstdio>

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
    Raw::Error error = Raw::kErrorNone;
    {
        Raw::AllocatedMemory memory(configuration.m_allocator); // gives back at its end what the image has
        Raw::ReallocatableImage image(&memory);
        error = Raw::loadWithResult(&image, argv[1], &configuration, 0);
        if (error == Raw::kErrorNone) {
            error = Raw::saveWithResult(&image, argv[2], &configuration);
        }
    }
    std::printf("%llu bytes in all, %d blocks still held\n", account.m_bytes.load(), account.m_blocks.load());
    return error == Raw::kErrorNone ? 0 : 1;
}
