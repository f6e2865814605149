// Plain bitmaps of 24 and 32 bits are read here, row by row; all others, and all writing, go to the codec.
#include "qor/texsmith/raw/bmp.h"

#include "qor/vex/data_formats.h"
#include "raw/files/bmp_layout.h"
#include "raw/files/codec.h"
#include "raw/files/describe.h"
#include "raw/files/flat_image.h"
#include "raw/files/widened_rows.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\files\\bmp";
constexpr FileKind kKind = {"BMP", kSourcePath};

constexpr FileType kType = makeFileType(".BMP");
constexpr unsigned kHeaderBytes = 54;
constexpr Vex::DataFormat kFormat = Vex::kDataFormatB8G8R8X8Unorm;

//    0  "BM"                   18  s32 width        28  u16 bits of a pixel
//   10  u32 place of texels    22  s32 height       30  u32 compression
struct Header {
    std::uint64_t m_place;
    std::int64_t m_width;
    std::int64_t m_height; // below 0 from the top row downward
    unsigned m_bits;
    bool m_isPlain;

    explicit Header(const std::uint8_t* bytes)
        : m_place(word(bytes + 10)), m_width(static_cast<std::int32_t>(word(bytes + 18))),
          m_height(static_cast<std::int32_t>(word(bytes + 22))), m_bits(bytes[28] | unsigned(bytes[29]) << 8),
          m_isPlain(bytes[0] == 'B' && bytes[1] == 'M' && word(bytes + 30) == 0) {}

    std::int64_t rows() const { return m_height < 0 ? -m_height : m_height; }
    std::uint64_t rowBytes() const { return static_cast<std::uint64_t>(m_width) * m_bits / 8; }
    std::uint64_t pitch() const { return (rowBytes() + 3) & ~std::uint64_t{3}; }

    // Whether the file is one of 24 or 32 bits that has all its texels; the last row may lack its padding.
    bool isWhole(std::uint64_t length) const {
        const auto fits = [](std::int64_t size) { return size >= 1 && size <= Vex::kMaxTextureSize; };
        return m_isPlain && (m_bits == 24 || m_bits == 32) && fits(m_width) && fits(rows()) &&
               m_place + static_cast<std::uint64_t>(rows() - 1) * pitch() + rowBytes() <= length;
    }

private:
    static std::uint32_t word(const std::uint8_t* bytes) {
        std::uint32_t value;
        std::memcpy(&value, bytes, sizeof value);
        return value;
    }
};

// The file's rows in the order of the image's.
void readRows(const Header& header, const std::uint8_t* texels, MemoryRegion elements) {
    const auto width = static_cast<std::size_t>(header.m_width);
    const auto rows = static_cast<std::size_t>(header.rows());
    const RowStores stores = storesFor(elements.length());
    for (std::size_t row = 0; row < rows; ++row) {
        const std::size_t fileRow = header.m_height < 0 ? row : rows - 1 - row;
        const std::uint8_t* from = texels + fileRow * header.pitch();
        std::uint8_t* to = elements.begin + row * width * 4;
        if (header.m_bits == 32) {
            copyRow(to, from, width * 4, stores);
        } else {
            widenRow<&widenTriples, 4>(to, from, width, stores);
        }
    }
}

Error readFile(MemoryRegion file, ReallocatableImage* destination, Configuration* configuration) {
    if (file.length() < kHeaderBytes) {
        return refuseFile(kKind, "it is shorter than its headers");
    }
    const Header header(file.begin);
    if (!header.isWhole(file.length())) {
        return readByCodec(kType, &file, destination, configuration, 0);
    }
    const MemoryRegion elements = allocateFlatImage(
        kKind, destination, static_cast<unsigned>(header.m_width), static_cast<unsigned>(header.rows()),
        kFormat.withTextureChannelType(configuration->m_textureChannelType));
    if (elements.length() == 0) {
        return kErrorFailed;
    }
    readRows(header, file.begin + header.m_place, elements);
    return kErrorNone;
}

} // namespace

Error convertFromBmp(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration) {
    return readFlatImage(kKind, source, destination, configuration,
                         [=](MemoryRegion* file) { return readFile(*file, destination, configuration); });
}

bool describeBmp(FileDescription* description, const DescribedFile& file) {
    const Vex::TextureChannelType type = file.m_configuration->m_textureChannelType;
    if (file.m_region.length() < kHeaderBytes) {
        return false;
    }
    const Header header(file.m_region.begin);
    if (header.isWhole(file.m_region.length())) {
        describeFlat(description, static_cast<unsigned>(header.m_width), static_cast<unsigned>(header.rows()),
                     kFormat.withTextureChannelType(type));
        return true;
    }
    BmpLayout layout;
    const bool isRead =
        layout.parse(file.m_region) == nullptr && std::min(layout.m_width, layout.m_height) > 0;
    const Vex::DataFormat format = layout.m_hasAlpha ? Vex::kDataFormatB8G8R8A8Unorm : kFormat;
    describeFlat(description, static_cast<unsigned>(layout.m_width), static_cast<unsigned>(layout.m_height),
                 format.withTextureChannelType(type));
    return isRead;
}

Error convertToBmp(const Image* source, ResizableMemoryRegion* destination, Configuration* configuration) {
    return writeFlatImage(kKind, source, destination, configuration,
                          [=] { return writeByCodec(kType, source, destination, configuration); });
}

} // namespace qor::Texsmith::Raw
