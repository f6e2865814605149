#include "codec/exr_header.h"

#include "qor/texsmith/raw/bithacks.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string>

namespace qor::Texsmith::Raw {
namespace {

class Cursor {
public:
    explicit Cursor(const MemoryRegion& bytes) : m_left(bytes) {}

    bool isAtEnd() const { return m_left.begin == m_left.end; }
    bool skip(std::uint64_t bytes, MemoryRegion* skipped = nullptr) {
        if (bytes > m_left.length()) {
            return false;
        }
        if (skipped != nullptr) {
            *skipped = {m_left.begin, m_left.begin + bytes};
        }
        m_left.begin += bytes;
        return true;
    }
    template <typename Value> bool take(Value* value) {
        MemoryRegion bytes;
        if (!skip(sizeof *value, &bytes)) {
            return false;
        }
        std::memcpy(value, bytes.begin, sizeof *value);
        return true;
    }
    // With a zero behind it.
    bool takeText(std::string* text) {
        constexpr std::uint64_t kMostBytes = 256;
        std::uint8_t* const limit = m_left.begin + std::min<std::uint64_t>(kMostBytes, m_left.length());
        std::uint8_t* const end = std::find(m_left.begin, limit, std::uint8_t{0});
        if (end == limit) {
            return false;
        }
        text->assign(m_left.begin, end);
        m_left.begin = end + 1;
        return true;
    }

private:
    MemoryRegion m_left;
};

struct FixedType {
    const char* m_name;
    unsigned m_bytes;
};

constexpr FixedType kFixedTypes[] = {
    {"box2f", 16},
    {"box2i", 16},
    {"chromaticities", 32},
    {"compression", 1},
    {"deepImageState", 1},
    {"double", 8},
    {"envmap", 1},
    {"float", 4},
    {"int", 4},
    {"keycode", 28},
    {"m33d", 72},
    {"m33f", 36},
    {"m44d", 128},
    {"m44f", 64},
    {"lineOrder", 1},
    {"v2d", 16},
    {"v2f", 8},
    {"v2i", 8},
    {"rational", 8},
    {"tiledesc", 9},
    {"v3d", 24},
    {"v3f", 12},
    {"v3i", 12},
    {"timecode", 8},
};

// Channels of a name, a type, and three words; an empty name ends them.
bool walkChannels(Cursor at, std::uint64_t* pixelBytes) {
    constexpr std::uint32_t kHalf = 1;
    for (std::string name; at.takeText(&name);) {
        std::uint32_t type = 0;
        if (name.empty()) {
            return at.isAtEnd();
        }
        if (!at.take(&type) || !at.skip(12)) {
            return false;
        }
        *pixelBytes += type == kHalf ? 2 : 4;
    }
    return false;
}

// Each has its length before it.
bool walkTexts(Cursor at) {
    std::uint32_t length = 0;
    bool isWhole = true;
    while (isWhole && !at.isAtEnd()) {
        isWhole = at.take(&length) && at.skip(length);
    }
    return isWhole;
}

bool isPreview(Cursor at) {
    std::uint32_t width = 0, height = 0;
    return at.take(&width) && at.take(&height) && at.skip(checkedSize(width, height, 4)) && at.isAtEnd();
}

// True for types that the library does not know: it takes their values as they are.
bool hasSizeOfType(const std::string& type, const MemoryRegion& value) {
    const auto* row = std::find_if(std::begin(kFixedTypes), std::end(kFixedTypes),
                                   [&type](const FixedType& fixed) { return type == fixed.m_name; });
    if (row != std::end(kFixedTypes)) {
        return value.length() == row->m_bytes;
    }
    std::uint64_t ignored = 0;
    return type == "chlist"         ? walkChannels(Cursor(value), &ignored)
           : type == "stringvector" ? walkTexts(Cursor(value))
           : type == "preview"      ? isPreview(Cursor(value))
           : type == "floatvector"  ? value.length() % 4 == 0
                                    : true;
}

struct Attribute {
    std::string m_name, m_type;
    MemoryRegion m_value;

    // False where it is not all there.
    bool take(Cursor* at) {
        std::uint32_t bytes = 0;
        return at->takeText(&m_name) &&
               (isEnd() || (at->takeText(&m_type) && at->take(&bytes) && at->skip(bytes, &m_value)));
    }
    bool isEnd() const { return m_name.empty(); }
    bool is(const char* name, const char* type) const { return m_name == name && m_type == type; }
};

// What the attributes say of the pixels, and how often: of several the library takes the last.
struct Statements {
    unsigned m_windows = 0, m_tileSizes = 0, m_channelLists = 0;
    std::int32_t m_window[4] = {}; // left, top, right, bottom
    std::uint32_t m_tile[2] = {};
    std::uint64_t m_pixelBytes = 0;
    unsigned m_compression = 0;

    void add(const Attribute& attribute) {
        if (attribute.is("dataWindow", "box2i")) {
            std::memcpy(m_window, attribute.m_value.begin, sizeof m_window);
            ++m_windows;
        } else if (attribute.is("tiles", "tiledesc")) {
            std::memcpy(m_tile, attribute.m_value.begin, sizeof m_tile);
            ++m_tileSizes;
        } else if (attribute.is("channels", "chlist")) {
            walkChannels(Cursor(attribute.m_value), &m_pixelBytes);
            ++m_channelLists;
        } else if (attribute.is("compression", "compression")) {
            m_compression = attribute.m_value.begin[0];
        }
    }
};

const char* readStatements(Statements* statements, Cursor at) {
    for (Attribute attribute;;) {
        if (!attribute.take(&at)) {
            return "its header is cut or wrong";
        }
        if (attribute.isEnd()) {
            return nullptr;
        }
        if (!hasSizeOfType(attribute.m_type, attribute.m_value)) {
            return "an attribute's size does not fit its type";
        }
        statements->add(attribute);
    }
}

std::uint64_t countSteps(std::int64_t size, std::uint32_t step) {
    return (static_cast<std::uint64_t>(size) + step - 1) / step;
}

} // namespace

const char* ExrHeader::parse(const MemoryRegion& file) {
    constexpr std::uint32_t kMagic = 20000630, kDeep = 0x800, kMultiPart = 0x1000;
    Cursor at(file);
    std::uint32_t magic = 0, version = 0;
    if (!at.take(&magic) || !at.take(&version) || magic != kMagic) {
        return "it is none";
    }
    if ((version & (kDeep | kMultiPart)) != 0) {
        return "files of deep pixels or several parts are not supported";
    }
    Statements said;
    if (const char* fault = readStatements(&said, at); fault != nullptr) {
        return fault;
    }
    if (said.m_windows != 1 || said.m_tileSizes > 1 || said.m_channelLists > 1) {
        return said.m_windows == 0 ? "it has no window of pixels"
                                   : "its header says more than once what its pixels are";
    }
    m_width = std::int64_t{said.m_window[2]} - said.m_window[0] + 1;
    m_height = std::int64_t{said.m_window[3]} - said.m_window[1] + 1;
    m_pixelBytes = said.m_pixelBytes;
    m_compression = said.m_compression;
    if (said.m_tile[0] != 0 && said.m_tile[1] != 0 && m_width > 0 && m_height > 0) {
        m_tilePixels = checkedSize(said.m_tile[0], said.m_tile[1]);
        m_tiles = checkedSize(countSteps(m_width, said.m_tile[0]), countSteps(m_height, said.m_tile[1]));
    }
    return nullptr;
}

} // namespace qor::Texsmith::Raw
