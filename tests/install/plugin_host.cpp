// plugin_host PLUGIN: loads it, runs its job, and unloads it while threads of the library's pool still live.

#include <chrono>
#include <cstdio>
#include <dlfcn.h>
#include <thread>

int main(int, char** argv) {
    for (int round = 0; round < 2; ++round) {
        void* const plugin = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
        if (plugin == nullptr) {
            std::fprintf(stderr, "%s\n", dlerror());
            return 1;
        }
        const auto runJob = reinterpret_cast<int (*)()>(dlsym(plugin, "runJob"));
        if (runJob == nullptr || runJob() == 0) {
            return 2;
        }
        dlclose(plugin);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return 0;
}
