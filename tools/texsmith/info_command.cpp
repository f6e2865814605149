// texsmith info: what a file holds, as text or as JSON.
#include "commands.h"
#include "failure.h"
#include "file_info.h"
#include "json_writer.h"
#include "options.h"

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
    std::printf("file       %s, %llu bytes\n", info.m_name.c_str(),
                static_cast<unsigned long long>(info.m_bytes));
    std::printf("type       %s\n", info.m_type.c_str());
    for (std::size_t i = 0; i < info.m_textures.size(); ++i) {
        if (info.m_textures.size() > 1) {
            std::printf("\ntexture    %zu of %zu\n", i, info.m_textures.size());
        }
        printTexture(info.m_textures[i]);
    }
    for (const ChunkInfo& chunk : info.m_chunks) {
        std::printf("chunk      %s, %llu bytes\n", chunk.m_type.c_str(),
                    static_cast<unsigned long long>(chunk.m_bytes));
    }
}

void writeTexture(JsonWriter* json, const TextureInfo& info) {
    const Raw::SurfaceCount count(info.m_texture);
    json->beginObject();
    json->number("width", info.m_texture.getWidth());
    json->number("height", info.m_texture.getHeight());
    json->number("depth", Raw::getDepthOfMip(info.m_texture, 0));
    json->string("format", formatName(info.m_texture.getDataFormat()));
    json->number("mips", count.mips);
    json->number("faces", count.faces);
    json->number("slices", count.arrayEntries);
    json->number("fragments", count.fragments);
    json->string("tileMode", info.m_tileMode);
    json->number("bytes", info.m_bytes);
    json->endObject();
}

void printJson(const FileInfo& info) {
    JsonWriter json;
    json.beginObject();
    json.string("file", info.m_name);
    json.string("type", info.m_type);
    json.number("bytes", info.m_bytes);
    json.beginArray("textures");
    for (const TextureInfo& texture : info.m_textures) {
        writeTexture(&json, texture);
    }
    json.endArray();
    json.beginArray("chunks");
    for (const ChunkInfo& chunk : info.m_chunks) {
        json.beginObject();
        json.string("type", chunk.m_type);
        json.number("bytes", chunk.m_bytes);
        json.endObject();
    }
    json.endArray();
    json.endObject();
    std::printf("%s\n", json.text().c_str());
}

} // namespace

void infoCommand(Arguments arguments) {
    const Options options(arguments, {"--json"}, {});
    if (options.names().size() != 1) {
        throw UsageFailure("info takes one file; see texsmith --help");
    }
    const std::string& name = options.names()[0];
    try {
        (options.has("--json") ? printJson : printText)(readFileInfo(name));
    } catch (const Failure& failure) {
        throwFileFailure(name, failure);
    }
}

} // namespace Tool
