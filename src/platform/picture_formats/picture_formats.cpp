#include "platform/picture_formats.h"

#include <QtCore/QBuffer>
#include <QtCore/QByteArray>
#include <QtCore/QThread>
#include <QtGui/QImage>
#include <QtGui/QImageReader>
#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <span>

namespace morvane::pictures {

namespace {

// --- Containers of several pictures

/// One picture inside an ICO or ICNS file: a whole file of its own that holds nothing else, or the picture.
struct Member {
    Size size;
    int depth = 0;
    std::string file = {};
    QImage unpacked = {};
};

std::uint32_t bigEndian32(std::string_view bytes, std::size_t position) {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        number = (number << 8U) | static_cast<unsigned char>(bytes[position + i]);
    }
    return number;
}

void appendBigEndian32(std::string& bytes, std::uint32_t number) {
    for (const unsigned shift : {24U, 16U, 8U, 0U}) bytes += static_cast<char>((number >> shift) & 0xFFU);
}

std::uint32_t littleEndian(std::string_view bytes, std::size_t position, std::size_t size) {
    std::uint32_t number = 0;
    for (std::size_t i = size; i > 0; --i) {
        number = (number << 8U) | static_cast<unsigned char>(bytes[position + i - 1]);
    }
    return number;
}

struct IcnsType {
    std::string_view type;
    int edge;
    int depth;
    std::string_view mask;  ///< the type of the entry that holds its transparency
};

constexpr std::array icnsTypes = {
    IcnsType{"ic10", 1024, 32, {}},    IcnsType{"ic14", 512, 32, {}},    IcnsType{"ic09", 512, 32, {}},
    IcnsType{"ic13", 256, 32, {}},     IcnsType{"ic08", 256, 32, {}},    IcnsType{"ic07", 128, 32, {}},
    IcnsType{"it32", 128, 24, "t8mk"}, IcnsType{"icp6", 64, 32, {}},     IcnsType{"ic12", 64, 32, {}},
    IcnsType{"ih32", 48, 24, "h8mk"},  IcnsType{"ich8", 48, 8, "h8mk"},  IcnsType{"icp5", 32, 32, {}},
    IcnsType{"ic11", 32, 32, {}},      IcnsType{"il32", 32, 24, "l8mk"}, IcnsType{"icl8", 32, 8, "l8mk"},
    IcnsType{"icp4", 16, 32, {}},      IcnsType{"is32", 16, 24, "s8mk"}, IcnsType{"ics8", 16, 8, "s8mk"},
};

/// The three channels of a 24-bit ICNS member, one behind the other: run lengths for each (a byte below 128:
/// one more bytes than it says follow; else the next byte stands three times more often than it exceeds 128),
/// or four bytes for each pixel, of which the first means nothing. Empty when the data don't fill the
/// picture.
std::string icnsChannels(std::string_view data, std::size_t pixels) {
    std::string channels;
    if (data.size() == 4 * pixels) {
        for (std::size_t channel = 1; channel < 4; ++channel)
            for (std::size_t pixel = 0; pixel < pixels; ++pixel) channels += data[4 * pixel + channel];
        return channels;
    }
    for (std::size_t position = 0; position < data.size() && channels.size() < 3 * pixels;) {
        const std::size_t control = littleEndian(data, position++, 1);
        const std::size_t literal = control + 1;
        if (control >= 128 ? position >= data.size() : literal > data.size() - position) return {};
        if (control >= 128) {
            channels.append(control - 128 + 3, data[position++]);
        } else {
            channels.append(data.substr(position, literal));
            position += literal;
        }
    }
    return channels.size() == 3 * pixels ? channels : std::string();
}

/// A 24-bit ICNS member with its mask, which holds a byte for each pixel; without one nothing is transparent.
QImage icnsImage(const IcnsType& type, std::string_view data, std::string_view mask) {
    const auto pixels = static_cast<std::size_t>(type.edge) * static_cast<std::size_t>(type.edge);
    if (type.type == "it32" && data.size() >= 4) data.remove_prefix(4);  // always 0
    const std::string channels = icnsChannels(data, pixels);
    if (channels.empty()) return {};
    QImage image(type.edge, type.edge, QImage::Format_RGBA8888);
    uchar* target = image.bits();  // rows of four bytes a pixel have no padding
    for (std::size_t pixel = 0; pixel < pixels; ++pixel) {
        for (std::size_t channel = 0; channel < 3; ++channel)
            *target++ = static_cast<uchar>(channels[channel * pixels + pixel]);
        *target++ = mask.size() == pixels ? static_cast<uchar>(mask[pixel]) : uchar{255};
    }
    return image;
}

/// The members of an ICNS file, each with its mask. Their sizes follow from their types.
std::vector<Member> icnsMembers(std::string_view bytes) {
    struct Entry {
        std::string_view type, whole;
    };
    constexpr std::size_t header = 8;
    constexpr std::string_view jpeg2000("\0\0\0\x0CjP", 6);
    std::vector<Entry> entries;
    for (std::size_t position = header; position + header <= bytes.size();) {
        const std::size_t length = bigEndian32(bytes, position + 4);
        if (length < header || length > bytes.size() - position) break;
        entries.push_back({bytes.substr(position, 4), bytes.substr(position, length)});
        position += length;
    }
    const auto find = [&](std::string_view type) {
        return std::find_if(entries.begin(), entries.end(), [&](const Entry& e) { return e.type == type; });
    };
    std::vector<Member> members;
    for (const IcnsType& type : icnsTypes) {
        const auto entry = find(type.type);
        if (entry == entries.end() || entry->whole.substr(header).starts_with(jpeg2000)) continue;
        const auto mask = find(type.mask);
        if (type.depth == 24) {
            const std::string_view alpha = mask != entries.end() ? mask->whole.substr(header) : "";
            members.push_back({.size = {type.edge, type.edge},
                               .depth = type.depth,
                               .unpacked = icnsImage(type, entry->whole.substr(header), alpha)});
            continue;
        }
        std::string body(entry->whole);
        if (mask != entries.end()) body += mask->whole;
        std::string file = "icns";
        appendBigEndian32(file, static_cast<std::uint32_t>(header + body.size()));
        members.push_back({.size = {type.edge, type.edge}, .depth = type.depth, .file = file + body});
    }
    return members;
}

std::vector<Member> icoMembers(std::string_view bytes) {
    constexpr std::size_t header = 6;
    constexpr std::size_t entrySize = 16;
    std::vector<Member> members;
    const std::size_t count = bytes.size() < header ? 0 : littleEndian(bytes, 4, 2);
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t entry = header + i * entrySize;
        if (entry + entrySize > bytes.size()) break;
        const std::size_t length = littleEndian(bytes, entry + 8, 4);
        const std::size_t offset = littleEndian(bytes, entry + 12, 4);
        if (offset > bytes.size() || length > bytes.size() - offset) continue;
        const auto edge = [&](std::size_t position) {
            const auto value = static_cast<int>(littleEndian(bytes, position, 1));
            return value == 0 ? 256 : value;
        };
        std::string file("\0\0\1\0\1\0", header);
        file += bytes.substr(entry, 12);
        file += std::string("\x16\0\0\0", 4);  // behind the header and this one entry
        file += bytes.substr(offset, length);
        members.push_back({.size = {edge(entry), edge(entry + 1)},
                           .depth = static_cast<int>(littleEndian(bytes, entry + 6, 2)),
                           .file = std::move(file)});
    }
    return members;
}

/// Best first: by size, then by depth.
std::vector<Member> membersOf(std::string_view kind, std::string_view bytes) {
    std::vector<Member> members = kind == "ICNS" ? icnsMembers(bytes) : icoMembers(bytes);
    std::stable_sort(members.begin(), members.end(), [](const Member& a, const Member& b) {
        const int areaOfA = a.size.width * a.size.height;
        const int areaOfB = b.size.width * b.size.height;
        return areaOfA != areaOfB ? areaOfA > areaOfB : a.depth > b.depth;
    });
    return members;
}

bool hasMembers(std::string_view kind) {
    return kind == "ICNS" || kind == "ICO";
}

// --- Decoding

bool isAcceptable(QSize size) {
    return size.width() > 0 && size.height() > 0 && size.width() <= longestEdge &&
           size.height() <= longestEdge && std::int64_t{size.width()} * size.height() <= mostPixels;
}

/// A reader over bytes in memory, held to the format that they begin with.
class Reader {
  public:
    Reader(std::string_view kind, std::string_view bytes)
        : bytes_(QByteArray::fromRawData(bytes.data(), static_cast<qsizetype>(bytes.size()))),
          buffer_(&bytes_) {
        buffer_.open(QIODevice::ReadOnly);
        reader_.setDevice(&buffer_);
        reader_.setFormat(QByteArray(kind.data(), static_cast<qsizetype>(kind.size())).toLower());
        reader_.setAutoDetectImageFormat(false);
        reader_.setAutoTransform(true);
    }

    [[nodiscard]] QSize size() const {
        const QSize size = reader_.size();
        const bool turned = reader_.transformation().testFlag(QImageIOHandler::TransformationRotate90);
        return turned ? size.transposed() : size;
    }

    /// Null when it can't be read. Some formats tell their size only by being decoded.
    QImage image() {
        const QSize declared = reader_.size();
        if (declared.isValid() && !isAcceptable(declared)) return {};
        QImage image = reader_.read();
        return isAcceptable(image.size()) ? image : QImage();
    }

  private:
    QByteArray bytes_;
    QBuffer buffer_;
    QImageReader reader_;
};

// What is cut off in the middle, the readers of these formats fill up with grey or nothing and call a
// success.

/// Behind the blocks that begin at the position, each with its length, up to the empty one; nothing when the
/// file ends before.
std::optional<std::size_t> behindGifBlocks(std::string_view bytes, std::size_t position) {
    while (position < bytes.size()) {
        const std::size_t length = littleEndian(bytes, position, 1);
        position += 1 + length;
        if (length == 0) return position;
    }
    return std::nullopt;
}

/// The first frame; the others are not shown.
bool isWholeGif(std::string_view bytes) {
    constexpr std::size_t header = 13, imageHeader = 10;
    constexpr char extension = '!', image = ',';
    const auto tableSize = [&](std::size_t flags) {
        return (flags & 0x80U) != 0 ? std::size_t{3} << ((flags & 7U) + 1) : 0;
    };
    if (bytes.size() < header) return false;
    std::size_t position = header + tableSize(littleEndian(bytes, 10, 1));
    while (position + imageHeader <= bytes.size() && bytes[position] == extension) {
        const auto behind = behindGifBlocks(bytes, position + 2);
        if (!behind) return false;
        position = *behind;
    }
    if (position + imageHeader > bytes.size() || bytes[position] != image) return false;
    const std::size_t table = tableSize(littleEndian(bytes, position + imageHeader - 1, 1));
    return behindGifBlocks(bytes, position + imageHeader + table + 1).has_value();
}

/// Has the end mark behind the first scan. A preview picture in the headers before has one of its own.
bool isWholeJpeg(std::string_view bytes) {
    constexpr std::size_t mark = 0xFF, scan = 0xDA;
    std::size_t position = 2;
    while (position + 4 <= bytes.size() && littleEndian(bytes, position, 1) == mark) {
        const std::uint32_t kind = littleEndian(bytes, position + 1, 1);
        if (kind == scan) break;
        // Marks may be repeated to fill up.
        position += kind == mark ? 1 : 2 + (bigEndian32(bytes, position) & 0xFFFFU);
    }
    return bytes.find("\xFF\xD9", position) != std::string_view::npos;
}

/// Rows that are not packed have a size that is known.
bool isWholeBmp(std::string_view bytes, QSize size) {
    constexpr std::size_t header = 54;
    if (bytes.size() < header) return false;
    const std::uint32_t packing = littleEndian(bytes, 30, 4);
    const bool isPacked = packing == 1 || packing == 2;
    const std::int64_t line = (std::int64_t{size.width()} * littleEndian(bytes, 28, 2) + 31) / 32 * 4;
    const std::int64_t needed = littleEndian(bytes, 10, 4) + (isPacked ? 0 : line * size.height());
    return static_cast<std::int64_t>(bytes.size()) >= needed;
}

bool isWholeFile(std::string_view kind, std::string_view bytes, QSize size) {
    if (kind == "GIF") return isWholeGif(bytes);
    if (kind == "JPEG") return isWholeJpeg(bytes);
    return kind != "BMP" || isWholeBmp(bytes, size);
}

QImage imageFrom(std::string_view kind, std::string_view bytes) {
    if (!hasMembers(kind)) return Reader(kind, bytes).image();
    for (const Member& member : membersOf(kind, bytes)) {
        QImage image = member.file.empty() ? member.unpacked : Reader(kind, member.file).image();
        if (!image.isNull()) return image;
    }
    return {};
}

QImage imageOf(const Picture& picture) {
    return {picture.rgba.data(), picture.width, picture.height, qsizetype{4} * picture.width,
            QImage::Format_RGBA8888};
}

std::string encoded(const QImage& image, const char* format, int quality) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (!image.save(&buffer, format, quality)) return {};
    return bytes.toStdString();
}

// --- What the library gives

std::optional<Size> sizeIn(std::string_view kind, std::string_view bytes) {
    if (hasMembers(kind)) {
        const std::vector<Member> members = membersOf(kind, bytes);
        return members.empty() ? std::nullopt : std::optional(members.front().size);
    }
    const QSize size = Reader(kind, bytes).size();
    if (!isAcceptable(size)) return std::nullopt;
    return Size{size.width(), size.height()};
}

std::optional<Picture> pictureIn(std::string_view kind, std::string_view bytes) {
    QImage image = imageFrom(kind, bytes);
    if (image.isNull() || !isWholeFile(kind, bytes, image.size())) return std::nullopt;
    image.convertTo(QImage::Format_RGBA8888);
    if (image.isNull()) return std::nullopt;
    Picture picture{image.width(), image.height(), {}};
    const std::size_t lineSize = static_cast<std::size_t>(picture.width) * 4;
    picture.rgba.resize(lineSize * static_cast<std::size_t>(picture.height));
    for (int y = 0; y < picture.height; ++y) {
        std::memcpy(picture.rgba.data() + lineSize * static_cast<std::size_t>(y), image.constScanLine(y),
                    lineSize);
    }
    return picture;
}

std::string pngOf(const Picture& picture) {
    return encoded(imageOf(picture), "PNG", -1);
}

std::string jpegOf(const Picture& picture, int quality) {
    QImage opaque(picture.width, picture.height, QImage::Format_RGB888);
    if (opaque.isNull()) return {};
    for (int y = 0; y < picture.height; ++y) {
        const std::uint8_t* source =
            picture.rgba.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.width) * 4;
        std::uint8_t* target = opaque.scanLine(y);
        for (int x = 0; x < picture.width; ++x, source += 4, target += 3) {
            for (int c = 0; c < 3; ++c) {
                target[c] =
                    static_cast<std::uint8_t>((source[c] * source[3] + 255 * (255 - source[3]) + 127) / 255);
            }
        }
    }
    return encoded(opaque, "JPEG", std::clamp(quality, 0, 100));
}

std::string tiffOf(const Picture& picture) {
    return encoded(imageOf(picture), "tiff", -1);
}

}  // namespace
}  // namespace morvane::pictures

extern "C" const morvane::PictureFormats* morvanePictureFormats() {
    using namespace morvane::pictures;
    // The toolkit takes the first thread that uses it for the main one.
    static_cast<void>(QThread::currentThread());
    static constexpr morvane::PictureFormats formats{sizeIn, pictureIn, pngOf, jpegOf, tiffOf};
    return &formats;
}
