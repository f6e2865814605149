// The bytes of the native container: its header, its descriptors and its table of chunks.
#include "qor/texsmith/raw/vxf.h"

#include "qor/gpu_address/gpu_address.h"
#include "qor/texsmith/raw/bithacks.h"
#include "raw/files/describe.h"
#include "raw/frame/check.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <limits>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\vxf_lowlevel";

static_assert(std::endian::native == std::endian::little, "headers and descriptors are taken as they lie");

constexpr std::size_t kChunkHeadBytes = 8;
constexpr std::size_t kTexturesOffset = sizeof(Vxf::Header) + sizeof(Vxf::Contents);
constexpr std::size_t kMinimalFileBytes = kTexturesOffset + sizeof(Vex::Texture);
constexpr std::uint64_t kMaxFileBytes = std::numeric_limits<std::uint32_t>::max();

// The words of a descriptor that a file has for itself.
constexpr int kOffsetWord = 0;
constexpr int kAlignmentWord = 1; // its low byte
constexpr int kLengthWord = 7;

// Files may lie at any address.
template <typename T> T load(const std::uint8_t* bytes) {
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

template <typename T> std::uint8_t* store(std::uint8_t* bytes, const T& value) {
    std::memcpy(bytes, &value, sizeof value);
    return bytes + sizeof value;
}

int toInt(std::uint64_t value) {
    return static_cast<int>(std::min<std::uint64_t>(value, std::numeric_limits<int>::max()));
}

std::uint64_t lengthOf(const VxfChunkTable& table) {
    std::uint64_t length = 0;
    for (int i = 0; i < table.getEntries(); ++i) {
        length += kChunkHeadBytes + table.getEntryAt(i).m_region.length();
    }
    return length;
}

bool isChunkType(const std::uint8_t* bytes) {
    return std::all_of(bytes, bytes + 4, [](std::uint8_t c) { return c >= 'A' && c <= 'Z'; });
}

// Takes the chunk at the region's front and moves the region behind it. False when there is none. The head
// may stand across the region's end, since what is left of the region wraps round then; `limit` ends both.
bool takeChunk(VxfChunkTable::Entry* entry, MemoryRegion* region, const std::uint8_t* limit) {
    const auto available = static_cast<std::uint64_t>(limit - region->begin);
    if (available < kChunkHeadBytes || !isChunkType(region->begin)) {
        return false;
    }
    const auto payloadBytes = load<std::uint32_t>(region->begin + 4);
    const auto bytesInRegion = static_cast<std::uint32_t>(region->length() - kChunkHeadBytes);
    if (bytesInRegion < payloadBytes || available - kChunkHeadBytes < payloadBytes) {
        return false;
    }
    entry->m_type = load<std::uint32_t>(region->begin);
    entry->m_region.begin = region->begin + kChunkHeadBytes;
    entry->m_region.end = entry->m_region.begin + payloadBytes;
    region->begin = entry->m_region.end;
    return true;
}

// False, and reported, when the table has no room for all of them.
bool readChunks(VxfChunkTable* table, MemoryRegion region, const std::uint8_t* limit) {
    table->deleteAllEntries();
    bool hasRoom = true;
    VxfChunkTable::Entry entry;
    while (region.begin < region.end && takeChunk(&entry, &region, limit)) {
        hasRoom &=
            table->getEntries() < VxfChunkTable::kMaxEntries || table->getEntry(entry.m_type).m_type != 0;
        table->setEntry(entry);
    }
    return hasRoom;
}

// The tests of a file's header, on a copy that is zero where the file has ended.
struct HeaderCopy {
    Vxf::Header m_header;
    Vxf::Contents m_contents;

    explicit HeaderCopy(const MemoryRegion& file) {
        std::uint8_t bytes[sizeof m_header + sizeof m_contents] = {};
        if (file.length() > 0) {
            std::memcpy(bytes, file.begin, std::min<std::uint64_t>(file.length(), sizeof bytes));
        }
        m_header = load<Vxf::Header>(bytes);
        m_contents = load<Vxf::Contents>(bytes + sizeof m_header);
    }

    std::uint32_t paddedHeaderBytes() const { return m_header.m_contentsSize + std::uint32_t{8}; }

    bool check(const MemoryRegion& file) const {
        bool good = true;
        if (m_header.m_magic != Vxf::kMagic) {
            good = false;
            toolsAssert(kSourcePath, __LINE__, "Expected 0x%08x (Vxf::kMagic) but found 0x%08x instead.",
                        m_header.m_magic, m_header.m_magic);
        }
        if (m_contents.m_version != 1 && m_contents.m_version != 2) {
            good = false;
            toolsAssert(kSourcePath, __LINE__, "Expected VXF version number to be 1 or 2, but it was %d.",
                        m_contents.m_version);
        }
        if (m_contents.m_alignment > 31) {
            good = false;
            toolsAssert(kSourcePath, __LINE__, "Alignment is 1 << %d, but 1 << 31 is the maximum alignment",
                        m_contents.m_alignment);
        }
        if (m_contents.m_numTextures == 0) {
            good = false;
            toolsAssert(kSourcePath, __LINE__, "Number of textures is %d, but should be at least 1",
                        m_contents.m_numTextures);
        }
        return checkPaddedHeader(file) && good;
    }

    // Deliberately a comparison of signed 32-bit numbers.
    bool checkPaddedHeader(const MemoryRegion& file) const {
        const auto needed = static_cast<std::int32_t>(paddedHeaderBytes());
        const auto length = static_cast<std::int32_t>(file.length());
        if (needed > length) {
            toolsAssert(kSourcePath, __LINE__,
                        "MemoryRegion must be at least big enough to hold the padded header and user data "
                        "(%d bytes,) but is only %d bytes",
                        needed, length);
        }
        return needed <= length;
    }
};

// Where everything stands in a file to be written. Of fixed size, so that writing needs no heap.
struct FileLayout {
    std::array<Vex::Texture, Vxf::kMaxTextures> m_textures; // as they will stand in the file
    std::uint32_t m_count;
    std::uint64_t m_alignment = 1;
    std::uint64_t m_paddedHeaderBytes;
    std::uint64_t m_fileBytes;

    FileLayout(const Vex::Texture* textures, std::uint32_t count, std::uint64_t chunkBytes) : m_count(count) {
        std::array<std::uint64_t, Vxf::kMaxTextures> sizes;
        std::array<unsigned, Vxf::kMaxTextures> alignments;
        for (std::uint32_t i = 0; i < count; ++i) {
            m_textures[i] = textures[i];
            GpuAddress::computeTotalTiledTextureSize(&sizes[i], &alignments[i], &m_textures[i]);
            alignments[i] = std::max(alignments[i], 1u);
            m_alignment = std::max<std::uint64_t>(m_alignment, alignments[i]);
        }
        m_paddedHeaderBytes =
            roundUp<std::uint64_t>(kTexturesOffset + count * sizeof(Vex::Texture) + chunkBytes, m_alignment);
        m_fileBytes = m_paddedHeaderBytes;
        for (std::uint32_t i = 0; i < count; ++i) {
            place(&m_textures[i], sizes[i], alignments[i]);
        }
    }

    // Only meaningful as long as the file does not outgrow 32 bits.
    void place(Vex::Texture* texture, std::uint64_t size, unsigned alignment) {
        m_fileBytes = roundUp<std::uint64_t>(m_fileBytes, alignment);
        texture->m_regs[kOffsetWord] = static_cast<std::uint32_t>(m_fileBytes - m_paddedHeaderBytes);
        texture->m_regs[kAlignmentWord] =
            (texture->m_regs[kAlignmentWord] & ~0xFFu) | std::uint32_t(std::countr_zero(alignment));
        texture->m_regs[kLengthWord] = static_cast<std::uint32_t>(size);
        // Saturates far below the point where the next sum could wrap.
        m_fileBytes += std::min<std::uint64_t>(size, kMaxFileBytes + 1);
    }

    // The reserved byte keeps what the memory held.
    void write(std::uint8_t* file) const {
        file = store(file, Vxf::kMagic);
        file = store(file, static_cast<std::uint32_t>(m_paddedHeaderBytes - sizeof(Vxf::Header)));
        const std::uint8_t bytes[] = {2, static_cast<std::uint8_t>(m_count),
                                      static_cast<std::uint8_t>(std::countr_zero(m_alignment))};
        std::memcpy(file, bytes, sizeof bytes);
        file = store(file + 4, static_cast<std::uint32_t>(m_fileBytes));
        std::memcpy(file, m_textures.data(), m_count * sizeof(Vex::Texture));
    }
};

} // namespace

bool describeVxf(FileDescription* description, const DescribedFile& file) {
    const HeaderCopy header(file.m_region);
    const int count = header.m_contents.m_numTextures;
    if (header.m_header.m_magic != Vxf::kMagic) {
        return false;
    }
    description->m_textures = static_cast<unsigned>(count);
    const std::uint64_t place = kTexturesOffset + sizeof(Vex::Texture) * static_cast<unsigned>(file.m_index);
    if (file.m_index < 0 || file.m_index >= count || place + sizeof(Vex::Texture) > file.m_region.length()) {
        return false;
    }
    const auto texture = load<Vex::Texture>(file.m_region.begin + place);
    describeTexture(description, texture);
    description->m_tileMode = texture.getTileMode();
    description->m_texelBytes = texture.m_regs[kLengthWord];
    setTransferByFormat(description);
    const unsigned version = header.m_contents.m_version;
    return (version == 1 || version == 2) && header.paddedHeaderBytes() <= file.m_region.length();
}

VxfChunkTable::VxfChunkTable() = default;

void VxfChunkTable::deleteAllEntries() { m_count = 0; }

int VxfChunkTable::getEntries() const { return m_count; }

void VxfChunkTable::deleteEntry(VxfChunkType type) {
    for (int i = 0; i < m_count; ++i) {
        if (m_entries[i].m_type == type) {
            m_entries[i] = m_entries[--m_count];
            return;
        }
    }
}

VxfChunkTable::Entry VxfChunkTable::getEntry(VxfChunkType type) const {
    const Entry* end = m_entries + m_count;
    const Entry* found =
        std::find_if(m_entries, end, [type](const Entry& entry) { return entry.m_type == type; });
    return found != end ? *found : Entry();
}

VxfChunkTable::Entry VxfChunkTable::getEntryAt(int index) const {
    if (index < 0 || index >= m_count) {
        toolsAssert(kSourcePath, __LINE__,
                    "Can't retrieve entry %d from a VxfChunkTable that has only %d entries.", index, m_count);
        return {};
    }
    return m_entries[index];
}

void VxfChunkTable::setEntry(Entry entry) {
    Entry* end = m_entries + m_count;
    Entry* place =
        std::find_if(m_entries, end, [&entry](const Entry& old) { return old.m_type == entry.m_type; });
    if (place == m_entries + kMaxEntries) {
        toolsAssert(kSourcePath, __LINE__, "Can't store more than %d chunks in a VxfChunkTable.",
                    kMaxEntries);
        return;
    }
    m_count += place == end ? 1 : 0;
    *place = entry;
}

int lengthInBytes(const VxfChunkTable* table) {
    return checkNotNull(table, kSourcePath, "table must not be NULL.") ? toInt(lengthOf(*table)) : 0;
}

void read(VxfChunkTable* table, MemoryRegion region) {
    if (checkNotNull(table, kSourcePath, "table must not be NULL.")) {
        readChunks(table, region, region.end);
    }
}

void write(const VxfChunkTable* table, MemoryRegion region) {
    if (!checkNotNull(table, kSourcePath, "table must not be NULL.")) {
        return;
    }
    const std::uint64_t needed = lengthOf(*table);
    if (region.length() < needed) {
        toolsAssert(kSourcePath, __LINE__,
                    "VxfChunkTable requires %d bytes of storage, but MemoryRegion has only %d.",
                    toInt(needed), toInt(region.length()));
        return;
    }
    std::uint8_t* at = region.begin;
    for (int i = 0; i < table->getEntries(); ++i) {
        const VxfChunkTable::Entry entry = table->getEntryAt(i);
        const std::uint64_t payloadBytes = entry.m_region.length();
        at = store(at, entry.m_type);
        at = store(at, static_cast<std::uint32_t>(payloadBytes));
        if (payloadBytes > 0) {
            std::memcpy(at, entry.m_region.begin, payloadBytes);
        }
        at += payloadBytes;
    }
}

void VxfManipulator::readFrom(MemoryRegion* memoryRegion) {
    m_header = nullptr;
    m_end = nullptr;
    m_isWellFormed = false;
    m_chunks.deleteAllEntries();
    if (!checkNotNull(memoryRegion, kSourcePath, "memoryRegion must not be NULL.")) {
        return;
    }
    const MemoryRegion file = *memoryRegion;
    const bool holdsHeader = file.length() >= kMinimalFileBytes;
    if (!holdsHeader) {
        toolsAssert(kSourcePath, __LINE__,
                    "MemoryRegion must be big enough to hold minimal header (%d bytes,) but is only %d "
                    "bytes.",
                    static_cast<int>(kMinimalFileBytes), toInt(file.length()));
    }
    const bool isGood = HeaderCopy(file).check(file);
    if (!holdsHeader) {
        return;
    }
    m_header = reinterpret_cast<Vxf::Header*>(file.begin);
    m_end = file.end;
    const std::uint64_t chunks = kTexturesOffset + sizeof(Vex::Texture) * unsigned(getNumberOfTextures());
    const std::uint64_t end = paddedHeaderBytes();
    const bool hasRoom = readChunks(&m_chunks, regionInFile(chunks, end > chunks ? end - chunks : 0), m_end);
    m_isWellFormed = isGood && hasRoom;
}

void VxfManipulator::writeTo(ResizableMemoryRegion* destinationMemory, const Vex::Texture* texture,
                             int count) {
    m_header = nullptr;
    m_end = nullptr;
    m_isWellFormed = false;
    const bool hasDestination =
        checkNotNull(destinationMemory, kSourcePath, "destinationMemory must not be NULL.");
    const bool hasTextures = checkNotNull(texture, kSourcePath, "texture must not be NULL.");
    if (count > int(Vxf::kMaxTextures)) {
        toolsAssert(kSourcePath, __LINE__, "can't write more than %d textures to a VXF file.",
                    int(Vxf::kMaxTextures));
    }
    const bool hasCount = check(count >= 0, kSourcePath, "count >= 0");
    if (!hasDestination || !hasTextures || !hasCount || count > int(Vxf::kMaxTextures)) {
        return;
    }
    const FileLayout layout(texture, static_cast<std::uint32_t>(count), lengthOf(m_chunks));
    if (!check(layout.m_fileBytes <= kMaxFileBytes, kSourcePath, "streamSize <= 0xFFFFFFFF")) {
        return;
    }
    destinationMemory->ensureSize(layout.m_fileBytes);
    if (destinationMemory->length() < layout.m_fileBytes) {
        toolsWarning(kSourcePath, __LINE__, "There is no room for the %llu bytes of the VXF file.",
                     static_cast<unsigned long long>(layout.m_fileBytes));
        return;
    }
    layout.write(destinationMemory->begin);
    m_header = reinterpret_cast<Vxf::Header*>(destinationMemory->begin);
    m_end = destinationMemory->begin + layout.m_fileBytes;
    const std::uint64_t chunks = kTexturesOffset + layout.m_count * sizeof(Vex::Texture);
    write(&m_chunks, regionInFile(chunks, layout.m_paddedHeaderBytes - chunks));
    m_isWellFormed = true;
}

void VxfManipulator::zeroPadding() {
    if (!hasFile()) {
        return;
    }
    const auto zero = [this](std::uint64_t from, std::uint64_t to) {
        const MemoryRegion gap = regionInFile(from, to > from ? to - from : 0);
        std::fill(gap.begin, gap.end, std::uint8_t{0});
    };
    const std::uint64_t reserved = sizeof(Vxf::Header) + offsetof(Vxf::Contents, m_reserved);
    zero(reserved, reserved + 1);
    const int count = getNumberOfTextures();
    std::uint64_t behind = kTexturesOffset + sizeof(Vex::Texture) * unsigned(count) + lengthOf(m_chunks);
    for (int i = 0; i < count && getTextureInFile(i) != nullptr; ++i) {
        const std::uint64_t texels = paddedHeaderBytes() + getTextureWord(i, kOffsetWord);
        zero(behind, texels);
        behind = texels + getTextureWord(i, kLengthWord);
    }
}

int VxfManipulator::getNumberOfTextures() const {
    return hasFile() ? bytes()[sizeof(Vxf::Header) + offsetof(Vxf::Contents, m_numTextures)] : 0;
}

std::uint64_t VxfManipulator::paddedHeaderBytes() const {
    return sizeof(Vxf::Header) +
           std::uint64_t{load<std::uint32_t>(bytes() + offsetof(Vxf::Header, m_contentsSize))};
}

std::uint32_t VxfManipulator::getTextureWord(int index, int word) const {
    const std::ptrdiff_t texture = std::ptrdiff_t{index} * std::ptrdiff_t{sizeof(Vex::Texture)};
    return load<std::uint32_t>(bytes() + std::ptrdiff_t{kTexturesOffset} + texture + word * 4);
}

MemoryRegion VxfManipulator::regionInFile(std::uint64_t offset, std::uint64_t size) const {
    const auto fileBytes = static_cast<std::uint64_t>(m_end - bytes());
    const std::uint64_t begin = std::min(offset, fileBytes);
    MemoryRegion region;
    region.begin = bytes() + begin;
    region.end = region.begin + std::min(size, fileBytes - begin);
    return region;
}

const Vex::Texture* VxfManipulator::getTexture(int index) const {
    return hasFile() ? reinterpret_cast<const Vex::Texture*>(bytes() + kTexturesOffset) + index : nullptr;
}

MemoryRegion VxfManipulator::getTexels(int index) const {
    MemoryRegion region;
    if (hasFile()) {
        // By numbers, since the sum may lie outside the memory.
        const std::uintptr_t begin = reinterpret_cast<std::uintptr_t>(bytes()) + paddedHeaderBytes() +
                                     getTextureWord(index, kOffsetWord);
        region.begin = reinterpret_cast<std::uint8_t*>(begin);
        region.end = reinterpret_cast<std::uint8_t*>(begin + getTextureWord(index, kLengthWord));
    }
    return region;
}

MemoryRegion VxfManipulator::getPixelsForTexture(int index) const { return getTexels(index); }

MemoryRegion VxfManipulator::getAllTexels() const {
    MemoryRegion region;
    const int count = getNumberOfTextures();
    if (getTextureInFile(count - 1) != nullptr) {
        region.begin = getTexels(0).begin;
        region.end = getTexels(count - 1).end;
    }
    return region;
}

MemoryRegion VxfManipulator::getPixelsForAllTextures() const { return getAllTexels(); }

int VxfManipulator::getAlignmentOfTexture(int index) const {
    return hasFile() ? static_cast<int>(1u << (getTextureWord(index, kAlignmentWord) & 31)) : 0;
}

const Vex::Texture* VxfManipulator::getTextureInFile(int index) const {
    if (!hasFile() || index < 0) {
        return nullptr;
    }
    const std::uint64_t end = kTexturesOffset + sizeof(Vex::Texture) * (std::uint64_t(index) + 1);
    return end <= static_cast<std::uint64_t>(m_end - bytes()) ? getTexture(index) : nullptr;
}

MemoryRegion VxfManipulator::getTexelsInFile(int index) const {
    MemoryRegion region = getTexelsToEndOfFile(index);
    if (region.length() > 0) {
        region.end =
            region.begin + std::min<std::uint64_t>(region.length(), getTextureWord(index, kLengthWord));
    }
    return region;
}

MemoryRegion VxfManipulator::getTexelsToEndOfFile(int index) const {
    if (getTextureInFile(index) == nullptr) {
        return {};
    }
    return regionInFile(paddedHeaderBytes() + getTextureWord(index, kOffsetWord),
                        std::numeric_limits<std::uint64_t>::max());
}

} // namespace qor::Texsmith::Raw
