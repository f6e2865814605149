#include "raw/files/describe.h"

#include "qor/texsmith/raw/texture.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <initializer_list>
#include <string>

namespace qor::Texsmith::Raw {
namespace {

bool isPrintable(char c) { return c >= ' ' && c <= '~'; }
char toLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool containsAny(const std::string& text, std::initializer_list<const char*> parts) {
    return std::any_of(parts.begin(), parts.end(),
                       [&text](const char* part) { return text.find(part) != std::string::npos; });
}

// Profiles are told apart by what their makers name them.
FileTransfer transferOfProfile(const std::string& lowerCaseName) {
    if (containsAny(lowerCaseName, {"linear", "scrgb", "-g10"})) {
        return kFileTransferLinear;
    }
    return containsAny(lowerCaseName, {"srgb", "iec61966-2", "iec 61966-2"}) ? kFileTransferSrgb
                                                                             : kFileTransferOther;
}

// Names that programs give to any profile.
bool tellsNothing(const std::string& lowerCaseName) {
    return lowerCaseName.empty() || lowerCaseName == "icc" || lowerCaseName == "profile" ||
           containsAny(lowerCaseName, {"icc profile", "embedded profile"});
}

} // namespace

void describeFlat(FileDescription* description, unsigned width, unsigned height, Vex::DataFormat format) {
    description->m_width = width;
    description->m_height = height;
    description->m_format = format;
}

void describeTexture(FileDescription* description, const Vex::Texture& texture) {
    describeFlat(description, texture.getWidth(), texture.getHeight(), texture.getDataFormat());
    const SurfaceCount count(texture);
    description->m_depth = getDepthOfMip(texture, 0);
    description->m_mips = count.mips;
    description->m_faces = count.faces;
    description->m_arrayEntries = count.arrayEntries;
    description->m_fragments = count.fragments;
}

void setTransfer(FileDescription* description, FileTransfer transfer, const char* source) {
    description->m_transfer = transfer;
    std::snprintf(description->m_transferSource, sizeof description->m_transferSource, "%s", source);
}

void setTransferByFormat(FileDescription* description) {
    const bool isSrgb = description->m_format.getTextureChannelType() == Vex::kTextureChannelTypeSrgb;
    setTransfer(description, isSrgb ? kFileTransferSrgb : kFileTransferLinear, "its format");
}

void setTransferByProfile(FileDescription* description, const char* name, std::size_t length) {
    std::string shown(name, std::find(name, name + length, '\0'));
    std::replace_if(
        shown.begin(), shown.end(), [](char c) { return !isPrintable(c); }, '?');
    std::string lowerCase = shown;
    std::transform(lowerCase.begin(), lowerCase.end(), lowerCase.begin(), &toLower);
    if (tellsNothing(lowerCase)) {
        setTransfer(description, kFileTransferUnstated, "");
    } else {
        setTransfer(description, transferOfProfile(lowerCase), ("its profile '" + shown + "'").c_str());
    }
}

} // namespace qor::Texsmith::Raw
