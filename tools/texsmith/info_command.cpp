// texsmith info: what a file holds, as text or as JSON.
#include "commands.h"
#include "console.h"
#include "failure.h"
#include "file_info.h"
#include "json_output.h"
#include "options.h"
#include "source_file.h"

#include "qor/texsmith/raw/texture.h"

#include <cstdio>
#include <string>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

void printTexture(const TextureInfo& info) {
    const Raw::SurfaceCount count(info.m_texture);
    const unsigned depth = Raw::getDepthOfMip(info.m_texture, 0);
    std::printf("size       %u x %u", info.m_texture.getWidth(), info.m_texture.getHeight());
    if (depth > 1) {
        std::printf(" x %u", depth);
    }
    std::printf("\nformat     %s\n", formatName(info.m_texture.getDataFormat()).c_str());
    std::printf("mips       %u\nfaces      %u\nslices     %u\n", count.mips, count.faces, count.arrayEntries);
    if (count.fragments > 1) {
        std::printf("fragments  %u\n", count.fragments);
    }
    std::printf("tile mode  %s\n", info.m_tileMode.c_str());
    std::printf("bytes      %llu\n", static_cast<unsigned long long>(info.m_bytes));
}

void printText(const FileInfo& info) {
    std::printf("file       %s, %llu bytes\n", shownName(info.m_name).c_str(),
                static_cast<unsigned long long>(info.m_bytes));
    std::printf("type       %s\n", info.m_type.c_str());
    for (std::size_t i = 0; i < info.m_textures.size(); ++i) {
        if (info.m_textures.size() > 1) {
            std::printf("\ntexture    %zu of %zu\n", i, info.m_textures.size());
        }
        printTexture(info.m_textures[i]);
    }
    if (!info.m_transfer.empty()) {
        std::printf("numbers    %s, by %s\n", info.m_transfer.c_str(),
                    escaped(info.m_transferSource).c_str());
    }
    if (info.m_isCut) {
        std::puts("note       the headers are cut off or damaged");
    }
    for (const ChunkInfo& chunk : info.m_chunks) {
        std::printf("chunk      %s, %llu bytes\n", chunk.m_type.c_str(),
                    static_cast<unsigned long long>(chunk.m_bytes));
    }
}

Json describe(const TextureInfo& info) {
    const Raw::SurfaceCount count(info.m_texture);
    return {{"width", info.m_texture.getWidth()},
            {"height", info.m_texture.getHeight()},
            {"depth", Raw::getDepthOfMip(info.m_texture, 0)},
            {"format", formatName(info.m_texture.getDataFormat())},
            {"mips", count.mips},
            {"faces", count.faces},
            {"slices", count.arrayEntries},
            {"fragments", count.fragments},
            {"tileMode", info.m_tileMode},
            {"bytes", info.m_bytes}};
}

Json describe(const FileInfo& info) {
    Json textures = Json::array(), chunks = Json::array();
    for (const TextureInfo& texture : info.m_textures) {
        textures.push_back(describe(texture));
    }
    for (const ChunkInfo& chunk : info.m_chunks) {
        chunks.push_back({{"type", chunk.m_type}, {"bytes", chunk.m_bytes}});
    }
    return {{"file", info.m_name},
            {"type", info.m_type},
            {"bytes", info.m_bytes},
            {"textures", textures},
            {"chunks", chunks},
            {"transfer", info.m_transfer.empty() ? Json() : Json(info.m_transfer)},
            {"transferBy", info.m_transfer.empty() ? Json() : Json(info.m_transferSource)},
            {"isCut", info.m_isCut}};
}

void run(const Options& options) {
    const std::string& name = options.names()[0];
    try {
        const FileInfo info = readFileInfo(name, options.value("--type"));
        if (isJson()) {
            printJson(kInfoCommand, describe(info));
        } else {
            printText(info);
        }
    } catch (const Failure& failure) {
        throwFileFailure(nameOfSource(name), failure);
    }
}

constexpr Operand kOperands[] = {{.m_name = "FILE", .m_help = "a picture or texture"}};

const OptionGroup kGroups[] = {kWarningOptions, kStandardStreamOptions};

constexpr Example kExamples[] = {{"info rock.vxf", "size, format, mips and chunks of a texture"}};

} // namespace

const Command kInfoCommand = {
    .m_name = "info",
    .m_summary = "tells what a file holds",
    .m_operands = kOperands,
    .m_groups = kGroups,
    .m_examples = kExamples,
    .m_run = &run,
};

} // namespace Tool
