#include "runtime/archive_listing.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <string_view>
#include <vector>

#include "foundation/text.h"
#include "platform/cancellation.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/process.h"
#include "wrapper/archive_tools.h"

namespace morvane::runtime {

namespace {

std::optional<std::uint64_t> numberOf(std::string_view digits) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    return number;
}

/// Whether a path from inside the archive's folder, relative to the folder `from`, leads out of it.
bool leadsOut(std::string_view path, std::string_view from = "") {
    if (path.starts_with('/')) return true;
    int depth = 0;
    for (const std::string_view part : {from, path}) {
        for (const std::string& level : MVString::split(part, "/")) {
            if (level.empty() || level == ".") continue;
            depth += level == ".." ? -1 : 1;
            if (depth < 0) return true;
        }
    }
    return false;
}

/// Takes the first word, and the blanks behind it, off the line.
std::string_view takeWord(std::string_view& line) {
    const std::string_view word = line.substr(0, line.find(' '));
    line.remove_prefix(word.size());
    line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
    return word;
}

/// Adds up a listing, line by line as it comes.
class Sum {
  public:
    Sum(const ArchiveLimits& limits, bool isTar) : limits_(limits), isTar_(isTar) {}

    /// False from the first entry on that can't be.
    bool take(std::string_view piece) {
        rest_ += piece;
        for (std::size_t end = rest_.find('\n'); end != std::string::npos && why_.empty();
             end = rest_.find('\n')) {
            const std::string line = rest_.substr(0, end);
            rest_.erase(0, end + 1);
            isTar_ ? takeTarLine(line) : takeOtherLine(line);
        }
        return why_.empty();
    }
    [[nodiscard]] const std::string& why() const { return why_; }
    [[nodiscard]] std::uint64_t bytes() const { return bytes_; }
    [[nodiscard]] std::size_t entries() const { return entries_; }

  private:
    /// "-rw-r--r-- 0/0  1234 2023-02-18 10:00 bin/wine"; behind a link's name, " -> " and where it leads.
    void takeTarLine(std::string_view line) {
        const char type = line.empty() ? ' ' : line.front();
        if (std::string_view("-dlh").find(type) == std::string_view::npos) return refuse("it holds devices");
        takeWord(line);
        takeWord(line);
        add(numberOf(takeWord(line)).value_or(0));
        takeWord(line);
        const std::string_view time = line.substr(0, line.find(' '));
        // One blank only: the name may begin with more.
        line.remove_prefix(std::min(time.size() + 1, line.size()));
        const std::string_view arrow = type == 'l' ? " -> " : " link to ";
        const std::size_t behind = type == 'l' || type == 'h' ? line.find(arrow) : std::string_view::npos;
        const std::string_view name = line.substr(0, behind);
        if (leadsOut(name)) return refuse("a path in it leads out of it: " + std::string(name));
        // Whichever of several arrows it is that separates.
        for (std::size_t at = behind; at != std::string_view::npos; at = line.find(arrow, at + 1)) {
            const std::string_view target = line.substr(at + arrow.size());
            const std::string folder =
                type == 'l' ? files::parent("/" + std::string(line.substr(0, at))) : "";
            if (leadsOut(target, folder)) return refuse("a link in it leads out of it: " + std::string(name));
        }
    }
    /// "Path = bin/wine" and "Size = 1234" of each entry.
    void takeOtherLine(std::string_view line) {
        constexpr std::string_view path = "Path = ", size = "Size = ";
        if (line.starts_with(path)) {
            const std::string_view name = line.substr(path.size());
            add(0);
            if (leadsOut(name)) refuse("a path in it leads out of it: " + std::string(name));
        } else if (line.starts_with(size)) {
            bytes_ += numberOf(line.substr(size.size())).value_or(0);
            checkSize();
        }
    }
    void add(std::uint64_t bytes) {
        bytes_ += bytes;
        ++entries_;
        checkSize();
    }
    void checkSize() {
        if (entries_ > limits_.entries)
            refuse("it holds more than " + std::to_string(limits_.entries) + " files");
        if (bytes_ > limits_.bytes)
            refuse("it unpacks to more than " + std::to_string(limits_.bytes >> 20) + " MB");
    }
    void refuse(std::string why) {
        if (why_.empty()) why_ = std::move(why);
    }

    const ArchiveLimits& limits_;
    const bool isTar_;
    std::string rest_, why_;
    std::uint64_t bytes_ = 0;
    std::size_t entries_ = 0;
};

}  // namespace

bool isTarName(const std::string& path) {
    const std::string name = MVString::lowercased(files::lastComponent(path));
    constexpr std::array endings{".tar",      ".tar.xz", ".tar.gz", ".tar.zst", ".tar.bz2",
                                 ".tar.lzma", ".txz",    ".tgz",    ".tzst",    ".tbz2"};
    return std::ranges::any_of(endings, [&](const char* ending) { return name.ends_with(ending); });
}

Result<std::uint64_t> checkArchive(const std::string& archive, const ArchiveLimits& limits) {
    const bool isTar = isTarName(archive);
    Sum sum(limits, isTar);
    Cancellation reading;
    static_cast<void>(reading.begin());
    ProcessRequest request;
    request.runFolder = "/";
    request.cancellation = &reading;
    if (isTar) {
        const auto tar = processes::search("tar", host().searchPath);
        if (tar.empty()) return Failure{"The program tar is missing."};
        request.program = tar.front();
        request.arguments = {"--numeric-owner", "--quoting-style=escape", "-tvf", archive};
    } else {
        request.program = archives::archiveTool("7z");
        request.arguments = {"l", "-slt", "-ba", "-bd", "-p", "--", archive};
    }
    request.printed = [&](std::string_view piece) {
        if (!sum.take(piece)) reading.request();
    };
    const Cancellation::Interrupter whole(host().creation, [&] { reading.request(); });
    const Failure damaged{archive, "it is damaged, or no archive that can be read here"};
    try {
        const auto result = processes::run(request);
        if (!sum.why().empty()) return Failure{archive, sum.why()};
        if (!result || !result->ending.succeeded() || sum.entries() == 0) return damaged;
    } catch (const Cancelled&) {
        host().creation.throwIfRequested();
        return sum.why().empty() ? damaged : Failure{archive, sum.why()};
    }
    return sum.bytes();
}

}  // namespace morvane::runtime
