// diskutil list: the discs and their partitions, from the kernel's files and the discs' own first sectors,
// both below `$MORVANE_SYSTEM_ROOT` (empty on a real machine).
//
// A block for each disc: a line that begins with its path, the headings, and a line for the disc and for each
// of its partitions. Callers find the columns by the headings: types end one blank before "NAME", names begin
// below it, and a whole disc's size has an asterisk before the column. Identifiers are names below /dev. The
// partition map of hybrid discs is read here, because the kernel does not look for one on optical discs.

#include <fcntl.h>
#include <iconv.h>
#include <linux/cdrom.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/descriptor.h"
#include "platform/files.h"
#include "platform/folders.h"
#include "platform/utf8.h"

namespace {

using namespace morvane;

std::string systemPath(const std::string& path) {
    return environmentVariable("MORVANE_SYSTEM_ROOT") + path;
}

// --- Bytes of a disc

class Disc {
  public:
    explicit Disc(const std::string& name) {
        const std::string path = systemPath("/dev/" + name);
        // An ordinary opening would pull in the drive's tray, and wait for a disc that is not there.
        Descriptor drive(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
        const int status = drive.valid() ? ::ioctl(drive.get(), CDROM_DRIVE_STATUS, CDSL_CURRENT) : -1;
        isEmptyDrive_ = status == CDS_NO_DISC || status == CDS_TRAY_OPEN || status == CDS_DRIVE_NOT_READY;
        if (!isEmptyDrive_) file_ = Descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
        // Somebody who has inserted a disc should not wonder why it is not in the list.
        if (!file_.valid() && errno == EACCES && name.starts_with("sr"))
            std::cerr << "diskutil: " << path << " cannot be read (on Debian: join the group cdrom)\n";
    }

    [[nodiscard]] bool isEmptyDrive() const { return isEmptyDrive_; }
    /// Always that many bytes: zeros where the disc cannot be read.
    [[nodiscard]] std::string read(std::uint64_t offset, std::size_t count) const {
        std::string bytes(count, '\0');
        const bool reachable = offset <= static_cast<std::uint64_t>(INT64_MAX) - count;
        if (file_.valid() && reachable &&
            ::pread(file_.get(), bytes.data(), count, static_cast<off_t>(offset)) < 0)
            bytes.assign(count, '\0');
        return bytes;
    }

  private:
    Descriptor file_;
    bool isEmptyDrive_ = false;
};

std::uint64_t bigEndian(std::string_view bytes, std::size_t position, std::size_t count) {
    std::uint64_t number = 0;
    for (const char c : bytes.substr(position, count)) number = number << 8U | static_cast<unsigned char>(c);
    return number;
}

/// The text up to a NUL as UTF-8, as far as it can be converted. A line break would make lines of its own.
std::string decoded(std::string bytes, const char* encoding) {
    std::string text(bytes.size() * 3, '\0');
    char* in = bytes.data();
    char* out = text.data();
    std::size_t inLeft = bytes.size(), outLeft = text.size();
    const iconv_t converter = ::iconv_open("UTF-8", encoding);
    if (converter == reinterpret_cast<iconv_t>(-1)) return {};  // NOLINT(performance-no-int-to-ptr)
    static_cast<void>(::iconv(converter, &in, &inLeft, &out, &outLeft));
    ::iconv_close(converter);
    text.resize(text.size() - outLeft);
    text.resize(std::min(text.find('\0'), text.size()));
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 127; }, ' ');
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

// --- Volumes

constexpr const char* macText = "MACINTOSH";

/// The first record of the catalogue of an HFS+ volume is the top folder's, whose name is the volume's.
std::string hfsPlusName(const Disc& disc, std::uint64_t volume, std::string_view header) {
    const std::uint64_t catalogue =
        volume + bigEndian(header, 40, 4) * bigEndian(header, 272 + 16, 4);  // its first extent
    const std::string tree = disc.read(catalogue, 64);
    const std::uint64_t leaf = catalogue + bigEndian(tree, 14 + 10, 4) * bigEndian(tree, 14 + 18, 2);
    const std::string record = disc.read(leaf + 14, 8 + 255 * 2);
    const std::uint64_t parent = bigEndian(record, 2, 4), length = bigEndian(record, 6, 2);
    constexpr std::uint64_t parentOfTop = 1;
    if (parent != parentOfTop || length > 255) return {};
    return decoded(record.substr(8, length * 2), "UTF-16BE");
}

std::string hfsName(const Disc& disc, std::uint64_t volume) {
    const std::string header = disc.read(volume + 1024, 512);
    // A wrapped HFS+ volume has the name outside as well.
    if (header.starts_with("BD")) {
        return decoded(header.substr(37, std::min<std::uint64_t>(bigEndian(header, 36, 1), 27)), macText);
    }
    if (header.starts_with("H+") || header.starts_with("HX")) return hfsPlusName(disc, volume, header);
    return {};
}

/// The label of the disc's ISO 9660 file system; empty without one.
std::string isoName(const Disc& disc) {
    const std::string header = disc.read(std::uint64_t{16} * 2048, 72);
    return header.substr(1, 5) == "CD001" ? decoded(header.substr(40, 32), "LATIN1") : std::string();
}

// --- Partitions

struct Partition {
    std::string type, name;
    std::uint64_t size = 0;  // bytes
    std::string identifier;
};

/// As the kernel names them.
std::string partitionName(const std::string& disc, std::size_t number) {
    const bool endsInDigit = disc.back() >= '0' && disc.back() <= '9';
    return disc + (endsInDigit ? "p" : "") + std::to_string(number);
}

/// The partitions of the Apple partition map; nothing when the disc has none.
std::optional<std::vector<Partition>> applePartitions(const Disc& disc, const std::string& discName) {
    const std::string descriptor = disc.read(0, 512);
    if (!descriptor.starts_with("ER")) return std::nullopt;
    // Discs that were made for both kinds of drives announce large blocks and have the map in small ones.
    for (const std::uint64_t block : {bigEndian(descriptor, 2, 2), std::uint64_t{512}, std::uint64_t{2048}}) {
        if (block < 512 || !disc.read(block, 2).starts_with("PM")) continue;
        std::vector<Partition> partitions;
        constexpr std::uint64_t most = 256;
        const std::uint64_t count = std::min(bigEndian(disc.read(block, 8), 4, 4), most);
        for (std::uint64_t i = 1; i <= count; ++i) {
            const std::string entry = disc.read(i * block, 80);
            if (!entry.starts_with("PM")) break;
            Partition partition{decoded(entry.substr(48, 32), macText), "", bigEndian(entry, 12, 4) * block,
                                partitionName(discName, i)};
            // The map's own names ("Apple", "Gap0") are none that users know, but better than nothing.
            if (partition.type.starts_with("Apple_HFS")) {
                partition.name = hfsName(disc, bigEndian(entry, 8, 4) * block);
                if (partition.name.empty()) partition.name = decoded(entry.substr(16, 32), macText);
            }
            partitions.push_back(std::move(partition));
        }
        return partitions;
    }
    return std::nullopt;
}

constexpr std::string_view blockDevices = "/sys/block/";
constexpr std::uint64_t sector = 512;

std::string property(const std::string& device, const std::string& name) {
    const auto bytes = files::read(systemPath(std::string(blockDevices) + device + "/" + name));
    return !bytes ? std::string() : *bytes;
}

std::uint64_t sizeOf(const std::string& device) {
    return std::strtoull(property(device, "size").c_str(), nullptr, 10) * sector;
}

std::vector<std::string> namesIn(const std::string& folder) {
    const auto names = files::list(systemPath(folder));
    return !names ? std::vector<std::string>() : *names;
}

/// Those that the kernel knows; it has no names for them.
std::vector<Partition> knownPartitions(const std::string& discName) {
    std::vector<std::pair<int, Partition>> found;
    for (const std::string& name : namesIn(std::string(blockDevices) + discName)) {
        const int number = std::atoi(property(discName, name + "/partition").c_str());
        if (number > 0) found.push_back({number, {"", "", sizeOf(discName + "/" + name), name}});
    }
    std::sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<Partition> partitions;
    for (auto& [number, partition] : found) partitions.push_back(std::move(partition));
    return partitions;
}

// --- The list

/// Filled up, or cut, to that many characters.
std::string fitted(const std::string& text, std::size_t width, bool toTheRight) {
    std::size_t end = 0, count = 0;
    for (; end < text.size() && count < width; ++count) static_cast<void>(utf8::next(text, end));
    const std::string blanks(width - count, ' ');
    return toTheRight ? blanks + text.substr(0, end) : text.substr(0, end) + blanks;
}

std::string shownSize(std::uint64_t bytes) {
    constexpr std::array units{"B", "KB", "MB", "GB", "TB"};
    std::size_t unit = 0;
    auto amount = static_cast<double>(bytes);
    for (; amount >= 999.95 && unit + 1 < units.size(); ++unit) amount /= 1000;
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f %s", amount, units[unit]);
    return text.data();
}

void print(std::size_t number, const Partition& partition) {
    std::cout << fitted(std::to_string(number), 4, true) << ':' << fitted(partition.type, 27, true) << ' '
              << fitted(partition.name, 23, false) << (number == 0 ? '*' : ' ')
              << fitted(shownSize(partition.size), 11, false) << partition.identifier << '\n';
}

std::string placeOf(const std::string& name) {
    if (name.starts_with("loop")) return "disk image";
    const bool removable = name.starts_with("sr") || property(name, "removable").starts_with('1');
    return removable ? "external, physical" : "internal, physical";
}

void list(const std::string& name) {
    const Disc disc(name);
    if (disc.isEmptyDrive()) return;
    Partition whole{"", "", sizeOf(name), name};
    std::vector<Partition> partitions;
    if (auto mapped = applePartitions(disc, name)) {
        whole.type = "Apple_partition_scheme";
        partitions = std::move(*mapped);
    } else if (partitions = knownPartitions(name); partitions.empty()) {
        whole.name = isoName(disc);
    } else {
        const bool isGuid = disc.read(sector, 8) == "EFI PART";
        whole.type = isGuid ? "GUID_partition_scheme" : "FDisk_partition_scheme";
    }
    std::cout << "/dev/" << name << " (" << placeOf(name) << "):\n"
              << "   #:                       TYPE NAME                    SIZE       IDENTIFIER\n";
    print(0, whole);
    for (std::size_t i = 0; i < partitions.size(); ++i) print(i + 1, partitions[i]);
    std::cout << '\n';
}

/// Memory is no disc, and a floppy drive would be heard.
bool isDisc(const std::string& name) {
    constexpr std::array<std::string_view, 4> others{"ram", "zram", "fd", "mtd"};
    return sizeOf(name) > 0 &&
           std::none_of(others.begin(), others.end(), [&](auto other) { return name.starts_with(other); });
}

}  // namespace

int main(int count, char** words) {
    if (std::vector<std::string>(words + 1, words + count) != std::vector<std::string>{"list"}) {
        std::cerr << "usage: diskutil list\n";
        return EXIT_FAILURE;
    }
    for (const std::string& name : namesIn(std::string(blockDevices))) {
        if (isDisc(name)) list(name);
    }
    return EXIT_SUCCESS;
}
