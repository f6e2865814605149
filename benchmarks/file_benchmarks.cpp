#include "file_benchmarks.h"

#include "ratio_reporter.h"
#include "surface_benchmarks.h"

#include <stb/stb_image.h>

#include <cmath>
#include <cstring>
#include <vector>

namespace Bench {
namespace {

using namespace qor;
using namespace qor::Texsmith;

using Bytes = std::vector<std::uint8_t>;
using Reader = Raw::Error (*)(MemoryRegion*, Raw::ReallocatableImage*, Configuration*);

constexpr unsigned kSize = 2048;

// A picture of smooth bytes with a little noise, which come in runs where the noise is cut off.
std::uint8_t sample(unsigned x, unsigned y, unsigned channel) {
    const float wave =
        120 + 100 * std::sin(0.011f * float(x) * float(channel + 1)) * std::cos(0.007f * float(y));
    const unsigned noise = (x * 2654435761u ^ y * 40503u) >> 13 & 3;
    return static_cast<std::uint8_t>(static_cast<unsigned>(wave) + ((x >> 6) % 2 != 0 ? noise : 0));
}

void append(Bytes& file, const Bytes& bytes) { file.insert(file.end(), bytes.begin(), bytes.end()); }
void append(Bytes& file, const char* text) { file.insert(file.end(), text, text + std::strlen(text)); }

// One component of a line: runs of four and more, and literals between them.
void packComponent(Bytes& file, const Bytes& line) {
    for (std::size_t x = 0; x < line.size();) {
        const auto runAt = [&](std::size_t from) {
            std::size_t count = 1;
            while (count < 127 && from + count < line.size() && line[from + count] == line[from]) {
                ++count;
            }
            return count;
        };
        if (const std::size_t run = runAt(x); run >= 4) {
            append(file, Bytes{std::uint8_t(128 + run), line[x]});
            x += run;
            continue;
        }
        std::size_t end = x;
        while (end < line.size() && end - x < 128 && runAt(end) < 4) {
            ++end;
        }
        file.push_back(std::uint8_t(end - x));
        file.insert(file.end(), line.begin() + std::ptrdiff_t(x), line.begin() + std::ptrdiff_t(end));
        x = end;
    }
}

Bytes makeHdr() {
    Bytes file;
    append(file, "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 2048 +X 2048\n");
    for (unsigned y = 0; y < kSize; ++y) {
        append(file, Bytes{2, 2, kSize >> 8, kSize & 0xFF});
        for (unsigned channel = 0; channel < 4; ++channel) {
            Bytes line(kSize);
            for (unsigned x = 0; x < kSize; ++x) {
                line[x] = channel < 3 ? sample(x, y, channel) : std::uint8_t(126 + (x >> 7) % 4);
            }
            packComponent(file, line);
        }
    }
    return file;
}

Bytes makeTga(bool isRunLength) {
    Bytes file = {
        0,  0,   std::uint8_t(isRunLength ? 10 : 2), 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, kSize >> 8, 0, kSize >> 8,
        32, 0x28};
    for (unsigned y = 0; y < kSize; ++y) {
        for (unsigned x = 0; x < kSize; x += 8) { // one packet each, every other of them a run
            const bool isRun = (x >> 3) % 2 == 0;
            if (isRunLength) {
                file.push_back(isRun ? 0x87 : 0x07);
            }
            for (unsigned i = 0; i < (isRun && isRunLength ? 1u : 8u); ++i) {
                append(file, Bytes{sample(x + i, y, 0), sample(x + i, y, 1), sample(x + i, y, 2),
                                   sample(x + i, y, 3)});
            }
        }
    }
    return file;
}

Bytes makeSaved(const char* format, const char* extension, unsigned size) {
    Configuration configuration;
    Raw::AllocatedMemory file;
    const auto image = makeImage(format, size);
    Raw::save(image.get(), &file, extension, &configuration);
    return Bytes(file.begin, file.end);
}

void addReader(const std::string& name, const std::shared_ptr<Bytes>& file, Reader read, double work,
               const std::string& baseline) {
    addOperation("files", name, work, baseline, [=] {
        const auto image = std::make_shared<Raw::MemoryMappedImage>();
        return [=](Configuration* configuration) {
            MemoryRegion region;
            region.build(file->data(), static_cast<unsigned>(file->size()));
            return read(&region, image.get(), configuration);
        };
    });
}

// The peer knows one thread; its row stands beside both of ours.
std::string addPeer(const std::string& name, const std::shared_ptr<Bytes>& file, bool isFloat, int channels) {
    const auto run = [=](benchmark::State& state) {
        for (auto _ : state) {
            int width = 0, height = 0, inFile = 0;
            const int length = static_cast<int>(file->size());
            void* texels =
                isFloat ? static_cast<void*>(stbi_loadf_from_memory(file->data(), length, &width, &height,
                                                                    &inFile, channels))
                        : stbi_load_from_memory(file->data(), length, &width, &height, &inFile, channels);
            if (texels == nullptr) {
                state.SkipWithError("the peer failed");
                break;
            }
            stbi_image_free(texels);
        }
        compareWith(state, double(kSize) * kSize);
    };
    for (const char* threads : {kOneThread, kTwoThreads}) {
        benchmark::RegisterBenchmark(("files peer/" + std::string(threads) + "/" + name).c_str(), run)
            ->UseRealTime()
            ->Unit(benchmark::kMillisecond);
    }
    return "files peer/" + name;
}

void addBoth(const std::string& name, Bytes bytes, Reader read, bool isFloat, int channels) {
    const auto file = std::make_shared<Bytes>(std::move(bytes));
    const std::string peer = addPeer(name, file, isFloat, channels);
    addReader(name, file, read, double(kSize) * kSize, peer);
}

// These two beside a memcpy that reads and writes as many bytes.
void addDds() {
    const auto file = std::make_shared<Bytes>(makeSaved("R8G8B8A8Unorm", ".dds", kSize));
    const double work = 8.0 * kSize * kSize;
    addReader("DDS", file, &Raw::convertFromDds, work, memcpyOf(work));
}

void addPfm(const char* name, const char* header, unsigned channels, unsigned size, unsigned elementBytes) {
    const auto file = std::make_shared<Bytes>();
    append(*file, header);
    file->resize(file->size() + std::size_t(4) * channels * size * size, 0x3F);
    const double work = double(size) * size * (4 * channels + elementBytes);
    addReader(name, file, &Raw::convertFromPfm, work, memcpyOf(work));
}

} // namespace

void registerFileBenchmarks() {
    addBoth("BMP 24", makeSaved("B8G8R8X8Unorm", ".bmp", kSize), &Raw::convertFromBmp, false, 4);
    addBoth("HDR runs", makeHdr(), &Raw::convertFromHdr, true, 3);
    addBoth("TGA 32", makeTga(false), &Raw::convertFromTga, false, 4);
    addBoth("TGA 32 runs", makeTga(true), &Raw::convertFromTga, false, 4);
    addDds();
    addPfm("PFM of one channel", "Pf\n4096 4096\n-1.0\n", 1, 4096, 4);
    addPfm("PFM of three channels", "PF\n2048 2048\n-1.0\n", 3, 2048, 16);
}

} // namespace Bench
