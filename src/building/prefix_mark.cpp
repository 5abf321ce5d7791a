// What a new prefix is made of, as one sum.

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <set>

#include "building/finished_prefix.h"
#include "platform/digest.h"
#include "platform/files.h"
#include "wrapper/wrapper.h"

namespace morvane::building {

namespace {

/// Goes up when the copies are made in another way.
constexpr const char* version = "1";
constexpr std::uint64_t longestScript = 64 << 10;

/// What decides how Wine names the user, and which language and time it writes down.
constexpr std::array variables{
    "USER",    "HOME",       "LANG",        "LC_ALL", "LC_CTYPE",        "LC_MESSAGES",
    "LC_TIME", "LC_NUMERIC", "LC_MONETARY", "TZ",     "WINEDLLOVERRIDES"};

/// Where a Wine that is installed keeps its parts, below the folder that holds its "bin". Wine itself takes the time
/// of wine.inf for its own; the folders tell of a part that was added.
constexpr std::array partsOfWine{"share/wine/wine.inf",
                                 "lib/wine",
                                 "lib64/wine",
                                 "lib/wine/x86_64-unix",
                                 "lib/wine/x86_64-windows",
                                 "lib/wine/i386-windows",
                                 "lib64/wine/x86_64-windows",
                                 "lib/x86_64-linux-gnu/wine/x86_64-unix",
                                 "lib/x86_64-linux-gnu/wine/x86_64-windows",
                                 "lib/i386-linux-gnu/wine/i386-unix",
                                 "lib/i386-linux-gnu/wine/i386-windows"};

class Mark {
  public:
    void add(const std::string& text) { sum_.add(std::to_string(text.size()) + ":" + text); }
    /// Of what lies outside the wrapper: who it is, not what it holds.
    void addStamp(const std::string& path) {
        struct stat status {};
        add(path);
        if (::stat(path.c_str(), &status) != 0) return add("none");
        add(files::resolved(path).value_or(path));
        if (!S_ISDIR(status.st_mode)) add(std::to_string(status.st_size));
        add(std::to_string(status.st_mtim.tv_sec) + "." + std::to_string(status.st_mtim.tv_nsec));
    }
    [[nodiscard]] std::string end() { return sum_.end(); }

  private:
    digest::Sha256 sum_;
};

/// The paths in quotes that a script runs.
std::set<std::string> pathsIn(const std::string& script) {
    std::set<std::string> paths;
    if (!script.starts_with("#!")) return paths;
    for (std::size_t start = script.find("'/"); start != std::string::npos;
         start = script.find("'/", start)) {
        const std::size_t end = script.find('\'', ++start);
        if (end == std::string::npos) break;
        paths.insert(script.substr(start, end - start));
        start = end + 1;
    }
    return paths;
}

/// The engine's files; `outside` gets the programs of this machine that it leads to. False when one can't be read.
bool addEngine(Mark& mark, const std::string& engine, std::set<std::string>& outside) {
    const auto paths = files::listBelow(engine);
    if (!paths) return false;
    for (const std::string& path : *paths) {
        const std::string whole = files::join(engine, path);
        // The runtime's name for its server is the wrapper's own.
        const std::string name = files::lastComponent(path);
        if (name.starts_with("wrapper-") && name.ends_with("Wineserver")) continue;
        const files::Kind kind = files::kindOf(whole);
        mark.add(path);
        if (kind == files::Kind::link) {
            const auto destination = files::destinationOfLink(whole);
            if (!destination) return false;
            mark.add("link " + *destination);
            if (destination->starts_with('/')) outside.insert(*destination);
        } else if (kind == files::Kind::file) {
            const auto sum = digest::sha256OfFile(whole);
            if (!sum) return false;
            mark.add(*sum);
            if (files::size(whole).value_or(0) > longestScript) continue;
            const auto script = files::read(whole);
            if (script) outside.merge(pathsIn(*script));
        }
    }
    return true;
}

std::string nameOfUser() {
    const passwd* user = ::getpwuid(::getuid());
    return user != nullptr ? user->pw_name : "";
}

std::string nameOfMachine() {
    std::array<char, 256> name{};
    return ::gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "";
}

}  // namespace

std::optional<std::string> markOfPrefix(const Wrapper& wrapper) {
    Mark mark;
    mark.add(version);
    std::set<std::string> outside;
    if (!addEngine(mark, wrapper.engine(), outside)) return std::nullopt;
    for (const std::string& program : outside) {
        mark.addStamp(program);
        const std::string root = files::parent(files::parent(program));
        for (const char* part : partsOfWine) mark.addStamp(files::join(root, part));
    }
    const auto tool = files::resolved(wrapper.tool());
    const auto sum = tool ? digest::sha256OfFile(*tool) : std::nullopt;
    if (!sum) return std::nullopt;
    mark.add(*sum);
    for (const char* name : variables) {
        const char* value = std::getenv(name);
        mark.add(value != nullptr ? std::string("=") + value : "");
    }
    mark.add(nameOfUser());
    mark.add(nameOfMachine());
    mark.addStamp("/etc/localtime");
    return mark.end();
}

}  // namespace morvane::building
