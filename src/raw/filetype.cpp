// Telling the type of a file by its extension or its first bytes.
#include "qor/texsmith/raw/filetype.h"

#include "qor/texsmith/raw/names.h"
#include "raw/frame/check.h"

#include <cstring>
#include <string_view>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\filetype";

struct ExtensionRow {
    FileType m_type;
    const char* m_extensions[3];
    bool m_isPrefix = false; // what follows the extension is a number, of a texture in the file
};

constexpr ExtensionRow kExtensions[] = {
    {makeFileType(".BMP"), {"BMP"}},
    {makeFileType(".GIF"), {"GIF"}},
    {makeFileType(".ICO"), {"ICO"}},
    {makeFileType(".JPG"), {"JPG", "JPEG"}},
    {makeFileType(".PNG"), {"PNG"}},
    {makeFileType(".TIF"), {"TIF", "TIFF"}},
    {makeFileType(".JXR"), {"JXR"}},
    {makeFileType(".WDP"), {"WDP"}},
    {makeFileType(".TGA"), {"TGA"}},
    {makeFileType(".DDS"), {"DDS"}},
    {makeFileType(".VXF"), {"VXF"}, true},
    {makeFileType(".PFM"), {"PFM"}},
    {makeFileType(".HDR"), {"HDR", "RGBE", "PIC"}},
    {makeFileType(".PSD"), {"PSD"}},
    {makeFileType(".EXR"), {"EXR"}},
    {makeFileType(".TSH"), {"TSH", "TSHARP"}},
};

struct MagicRow {
    FileType m_type;
    std::string_view m_bytes;
};

// Three rows are as they are on purpose: PNG has a dot in place of its first byte, so that such files go by
// their extension only; two bytes are enough for one kind of TIFF; and a text with a byte-order mark is known
// only to be turned down.
constexpr MagicRow kMagics[] = {
    {makeFileType(".VXF"), "VXF "},         {makeFileType(".DDS"), "DDS "},
    {makeFileType(".PNG"), ".PNG"},         {makeFileType(".GIF"), "GIF8"},
    {makeFileType(".HDR"), "#?RA"},         {makeFileType(".PSD"), "8BPS"},
    {makeFileType(".TIF"), "MM"},           {makeFileType(".TIF"), "II*"},
    {makeFileType(".EXR"), "v/1\x01"},      {makeFileType(".JPG"), "\xFF\xD8\xFF"},
    {makeFileType(".BOM"), "\xEF\xBB\xBF"}, {makeFileType(".BMP"), "BM"},
    {makeFileType(".PFM"), "Pf"},           {makeFileType(".PFM"), "PF"},
};

bool matchesPrefix(const char* text, const char* prefix) {
    char front[8] = {};
    std::strncpy(front, text, std::strlen(prefix));
    return strcmpCaseInsensitive(front, prefix) == 0;
}

bool matches(const ExtensionRow& row, const char* text) {
    for (const char* extension : row.m_extensions) {
        if (extension != nullptr &&
            (row.m_isPrefix ? matchesPrefix(text, extension) : strcmpCaseInsensitive(text, extension) == 0)) {
            return true;
        }
    }
    return false;
}

bool startsWith(const MemoryRegion& region, std::string_view bytes) {
    return region.length() >= bytes.size() && std::memcmp(region.begin, bytes.data(), bytes.size()) == 0;
}

} // namespace

FileType getFileTypeFromExtension(const char* filename) {
    if (!checkNotNull(filename, kSourcePath, "filename must not be NULL.")) {
        return 0;
    }
    const char* dot = std::strrchr(filename, '.');
    if (dot == nullptr) {
        return 0;
    }
    for (const ExtensionRow& row : kExtensions) {
        if (matches(row, dot + 1)) {
            return row.m_type;
        }
    }
    return 0;
}

FileType getFileTypeFromContents(const MemoryRegion* region) {
    return getFileTypeFromContents(region, kReadLiterally);
}

FileType getFileTypeFromContents(const MemoryRegion* region, std::uint32_t readingOptions) {
    if (!checkNotNull(region, kSourcePath, "region must not be NULL.")) {
        return 0;
    }
    if ((readingOptions & kReadPngBySignature) != 0 && startsWith(*region, "\x89PNG\r\n\x1A\n")) {
        return makeFileType(".PNG");
    }
    for (const MagicRow& row : kMagics) {
        if (startsWith(*region, row.m_bytes)) {
            return row.m_type;
        }
    }
    return 0;
}

} // namespace qor::Texsmith::Raw
