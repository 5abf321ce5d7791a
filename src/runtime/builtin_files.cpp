#include "runtime/builtin_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>

#include "platform/files.h"

namespace morvane::runtime {
namespace {

constexpr std::string_view wineMark = "Wine builtin DLL";
constexpr std::size_t markPlace = 0x40, headerPlace = 0x3c, headSize = 4096;
constexpr std::size_t sectionSize = 40;
constexpr std::uint32_t uninitialised = 0x80;

class OpenFile {
  public:
    explicit OpenFile(const std::string& path)
        : descriptor_(::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW)) {}
    ~OpenFile() {
        if (descriptor_ >= 0) ::close(descriptor_);
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    [[nodiscard]] int get() const { return descriptor_; }

  private:
    int descriptor_;
};

/// The headers of a Windows file, in memory.
class Headers {
  public:
    explicit Headers(std::string bytes) : bytes_(std::move(bytes)) { bytes_.resize(headSize); }
    [[nodiscard]] std::uint32_t number(std::size_t place, int size = 4) const {
        std::uint32_t value = 0;
        if (place + 4 > bytes_.size()) return 0;
        for (int index = size - 1; index >= 0; --index) {
            value = value << 8 | static_cast<unsigned char>(bytes_[place + static_cast<std::size_t>(index)]);
        }
        return value;
    }
    void set(std::size_t place, std::uint32_t value, int size = 4) {
        for (int index = 0; index < size; ++index) {
            bytes_[place + static_cast<std::size_t>(index)] = static_cast<char>(value >> (8 * index));
        }
    }
    [[nodiscard]] bool hasMark() const {
        return std::string_view(bytes_).substr(markPlace, wineMark.size()) == wineMark;
    }
    [[nodiscard]] std::size_t header() const { return number(headerPlace); }
    [[nodiscard]] std::size_t sections() const { return header() + 24 + number(header() + 20, 2); }
    [[nodiscard]] std::size_t sectionAt(std::uint32_t index) const {
        return sections() + index * sectionSize;
    }
    [[nodiscard]] const std::string& bytes() const { return bytes_; }
    [[nodiscard]] std::string_view text(std::size_t place, std::size_t size) const {
        return std::string_view(bytes_).substr(place, size);
    }
    void clear(std::size_t place, std::size_t size) { bytes_.replace(place, size, size, '\0'); }

  private:
    std::string bytes_;
};

/// Where the last section's bytes end once only `count` sections are left.
std::uint64_t endOf(const Headers& headers, std::uint32_t count) {
    std::uint64_t end = headers.number(headers.header() + 24 + 60);  // the headers themselves
    for (std::uint32_t index = 0; index < count; ++index) {
        const std::size_t section = headers.sectionAt(index);
        if ((headers.number(section + 36) & uninitialised) != 0) continue;
        end = std::max(end, std::uint64_t{headers.number(section + 20)} + headers.number(section + 16));
    }
    return end;
}

/// The sections before the debug sections, whose long names ("/123") stand in the symbol table's strings.
std::uint32_t sectionsToKeep(const Headers& headers, std::uint32_t count) {
    while (count > 0 && headers.text(headers.sectionAt(count - 1), 1) == "/") --count;
    return count;
}

}  // namespace

std::uint64_t cutDebugInformation(const std::string& path) {
    const OpenFile file(path);
    struct stat information {};
    if (file.get() < 0 || ::fstat(file.get(), &information) != 0 || !S_ISREG(information.st_mode)) return 0;
    std::string head(headSize, '\0');
    const ssize_t got = ::pread(file.get(), head.data(), head.size(), 0);
    if (got < static_cast<ssize_t>(markPlace + wineMark.size())) return 0;
    head.resize(static_cast<std::size_t>(got));
    Headers headers(std::move(head));

    const std::size_t header = headers.header();
    const std::uint32_t count = headers.number(header + 6, 2);
    const bool readable =
        headers.hasMark() && header < headSize && headers.text(header, 4) == std::string_view("PE\0\0", 4) &&
        headers.sectionAt(count) <= headSize && static_cast<std::size_t>(got) >= headers.sectionAt(count);
    if (!readable) return 0;
    const std::uint32_t kept = sectionsToKeep(headers, count);
    const bool hasSymbols = headers.number(header + 12) != 0;
    if (kept == 0 || (kept == count && !hasSymbols)) return 0;
    const std::uint64_t end = endOf(headers, kept), before = static_cast<std::uint64_t>(information.st_size);
    const bool symbolsBehind = !hasSymbols || headers.number(header + 12) >= end;
    if (end >= before || !symbolsBehind) return 0;

    const std::size_t last = headers.sectionAt(kept - 1);
    const std::uint32_t alignment = std::max(headers.number(header + 24 + 32), 1U);
    const std::uint32_t imageEnd =
        headers.number(last + 12) + std::max(headers.number(last + 8), headers.number(last + 16));
    headers.set(header + 24 + 56, (imageEnd + alignment - 1) / alignment * alignment);
    headers.set(header + 6, kept, 2);
    headers.set(header + 12, 0);
    headers.set(header + 16, 0);
    headers.clear(headers.sectionAt(kept), (count - kept) * sectionSize);
    // The header first: until the file is cut, it only says less than there is.
    const std::size_t changed = headers.sectionAt(count);
    if (::pwrite(file.get(), headers.bytes().data(), changed, 0) != static_cast<ssize_t>(changed)) return 0;
    return ::ftruncate(file.get(), static_cast<off_t>(end)) == 0 ? before - end : 0;
}

std::uint64_t cutDebugInformationBelow(const std::string& folder) {
    const auto paths = files::listBelow(folder);
    if (!paths) return 0;
    std::uint64_t saved = 0;
    for (const std::string& path : *paths) {
        saved += cutDebugInformation(files::join(folder, path));
    }
    return saved;
}

}  // namespace morvane::runtime
