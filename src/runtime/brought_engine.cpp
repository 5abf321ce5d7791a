#include "runtime/brought_engine.h"

#include <algorithm>
#include <vector>

#include "engines/caskery_engine.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/private_folder.h"
#include "platform/process.h"
#include "runtime/engine_layout.h"
#include "runtime/system_engine.h"
#include "wrapper/archive_tools.h"
#include "wrapper/layout.h"

namespace morvane::runtime {

namespace {

constexpr std::string_view generation = "CK9Wine", versionStart = "wine-";

bool isLetterOrDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}
bool isPlain(char c) {
    return isLetterOrDigit(c) || c == '-' || c == '_';
}

/// "9.0" of "9.0-GE-2 (Staging)", "8.0-rc2" of "8.0-rc2".
std::string numberIn(std::string_view version) {
    std::size_t end = std::min(version.find_first_not_of("0123456789."), version.size());
    if (version.substr(end).starts_with("-rc")) {
        const std::size_t digits = end + 3;
        const std::size_t next = std::min(version.find_first_not_of("0123456789", digits), version.size());
        if (next > digits) end = next;
    }
    while (end > 0 && version[end - 1] == '.') --end;
    return std::string(version.substr(0, end));
}

std::string versionIn(const std::string& text) {
    return text.starts_with(versionStart) ? text.substr(versionStart.size()) : "";
}

bool hasProgram(const std::string& folder, const char* name) {
    return files::kindBehind(files::join(folder, name)) == files::Kind::file;
}

/// Whether the folder is the top of a Wine: its programs, and libraries beside them.
bool isTop(const std::string& folder) {
    const bool hasLibraries = files::kindBehind(folder + "/lib") == files::Kind::folder ||
                              files::kindBehind(folder + "/lib64") == files::Kind::folder;
    return hasLibraries && (hasProgram(folder, "bin/wine") || hasProgram(folder, "bin/wine64"));
}

std::optional<std::string> topIn(const std::string& folder) {
    std::vector<std::string> candidates{folder};
    if (const auto names = files::list(folder)) {
        for (const std::string& name : *names) {
            if (files::kindOf(files::join(folder, name)) == files::Kind::folder)
                candidates.push_back(files::join(folder, name));
        }
    }
    for (const std::string& candidate : candidates) {
        for (const char* below : {"", "/files", "/dist"}) {
            if (isTop(candidate + below)) return candidate + below;
        }
    }
    return std::nullopt;
}

/// Unpacks into the folder; an archive in the archive ("<name>.tar.7z") as well.
Result<> unpackInto(const std::string& archive, const std::string& folder, const ArchiveLimits& limits) {
    const auto size = checkArchive(archive, limits);
    if (!size) return size.error();
    // The tree, the packed engine, and the passing archive between the two.
    if (const auto space = files::freeSpace(folder); space && *space / 3 < *size)
        return Failure{archive, "there is no room to unpack it"};
    const bool isUnpacked = isTarName(archive) ? archives::unpackTar(archive, folder)
                                               : archives::unpack("7z", archive, folder, {"-y", "-p"});
    if (!isUnpacked) return Failure{archive, "it could not be unpacked"};
    const auto names = files::list(folder);
    if (!names || names->size() != 1) return {};
    const std::string inner = files::join(folder, names->front());
    if (isTarName(archive) || !inner.ends_with(".tar") || files::kindOf(inner) != files::Kind::file)
        return {};
    auto unpacked = unpackInto(inner, folder, limits);
    static_cast<void>(files::remove(inner));
    return unpacked;
}

/// The build as a bundle of its own in the work folder.
Result<> bring(const std::string& place, const std::string& work, const std::string& bundle,
               Cancellation& cancellation, const ArchiveLimits& limits) {
    const files::Kind kind = files::kindBehind(place);
    if (kind == files::Kind::none) return Failure{place, "nothing is there"};
    std::string folder = place;
    if (kind != files::Kind::folder) {
        folder = work + "/unpacked";
        if (const auto made = files::createFolder(folder, false); !made) return made;
        if (auto unpacked = unpackInto(place, folder, limits); !unpacked) return unpacked;
    }
    const auto top = topIn(folder);
    if (!top) {
        return Failure{place,
                       "it holds no Wine: there is no folder in it with \"bin/wine\" or \"bin/wine64\" "
                       "and \"lib\""};
    }
    if (folder != place) return files::move(*top, bundle);
    auto copied =
        files::copy(files::resolved(*top).value_or(*top), bundle, [&] { return !cancellation.requested(); });
    if (cancellation.requested()) throw Cancelled();
    archives::tame(bundle);
    return copied;
}

/// Gives the bundle the programs that a wrapper starts.
Result<> completePrograms(const std::string& bundle) {
    const std::string bin = bundle + "/bin", server = bin + "/wineserver", ours = bin + "/CaskeryWineserver";
    if (!hasProgram(bin, "wineserver")) return Failure{"It holds no \"bin/wineserver\"."};
    // Some kinds of archives do not know what may be run.
    if (const auto names = files::list(bin)) {
        for (const std::string& name : *names) {
            if (files::kindOf(files::join(bin, name)) == files::Kind::file)
                static_cast<void>(files::setPermissions(files::join(bin, name), 0755));
        }
    }
    if (files::kindOf(ours) == files::Kind::none) {
        if (auto moved = files::move(server, ours); !moved) return moved;
        if (auto written = writeServerScript(bin); !written) return written;
    }
    const std::string here = scriptsFolder;
    if (!hasProgram(bin, "wine")) {
        if (auto written = writeScript(bin + "/wine", here + "wine64"); !written) return written;
    }
    if (files::kindOf(bin + "/CaskeryWine") == files::Kind::none) {
        if (auto written = writeScript(bin + "/CaskeryWine", here + "wine"); !written) return written;
    }
    return writeToolScripts(bin);
}

/// What the program prints of its version; nothing when it does not start, or hangs. The server tells it on
/// standard error only.
std::optional<std::string> versionOf(const std::string& program, Cancellation& cancellation) {
    ProcessRequest request;
    request.program = "/usr/bin/env";
    request.arguments = {"-u",          "WINEPREFIX",     "-u",       "WINELOADER", "-u",
                         "WINEDLLPATH", "WINEDEBUG=-all", "timeout",  "-k",         "1",
                         "30",          program,          "--version"};
    request.runFolder = "/";
    request.cancellation = &cancellation;
    const auto result = processes::run(request);
    if (!result || !result->ending.succeeded()) return std::nullopt;
    return result->output.substr(0, result->output.find('\n'));
}

bool isTaken(const std::string& engine) {
    if (NSCaskeryEngine::localPathForEngine(engine)) return true;
    const auto system = systemEngineName();
    return system && *system == engine;
}

Result<std::string> freeName(const std::optional<std::string>& wanted, const std::string& version) {
    if (wanted) {
        auto name = engineNameAs(*wanted, version);
        if (name && isTaken(*name))
            return Failure{"There is an engine " + *name + " already: give this one another name."};
        return name;
    }
    const auto name = engineNameFor(version);
    if (!name) return Failure{"\"" + version + "\" is no version of Wine."};
    std::string free = *name;
    for (int count = 1; isTaken(free); ++count)
        free = *name + "Own" + (count > 1 ? std::to_string(count) : "");
    return free;
}

}  // namespace

std::optional<std::string> engineNameFor(const std::string& version) {
    const std::string text = versionIn(version), number = numberIn(text);
    if (number.empty() || number.front() < '1' || number.front() > '9') return std::nullopt;
    std::string suffix;
    // What follows in the same word tells one build from another, and so does this one word behind it.
    for (const char c : text.substr(number.size(), text.find(' ') - number.size())) {
        if (isLetterOrDigit(c)) suffix += c;
    }
    if (MVString::contains(text, "(Staging)")) suffix += "Staging";
    return std::string(generation) + number + suffix;
}

Result<std::string> engineNameAs(const std::string& wanted, const std::string& version) {
    constexpr std::size_t longest = 100, versionAt = 7;
    const Failure refused{
        "No engine can be called \"" + wanted +
        "\": give letters, digits, \"-\" and \"_\" for the end of its name, or a whole name "
        "as CK9Wine9.0Mine."};
    if (wanted.empty() || wanted.size() > longest) return refused;
    if (wanted.starts_with("CK") && wanted.size() > versionAt && wanted[2] >= '8' && wanted[2] <= '9' &&
        wanted.substr(3, 4) == "Wine") {
        const bool isGood = std::ranges::all_of(wanted, [](char c) { return isPlain(c) || c == '.'; }) &&
                            wanted.back() != '.';
        return isGood ? Result<std::string>(wanted) : refused;
    }
    const std::string number = numberIn(versionIn(version));
    if (number.empty() || !std::ranges::all_of(wanted, isPlain)) return refused;
    // A digit right behind the version would be a part of it.
    const bool isDigit = wanted.front() >= '0' && wanted.front() <= '9';
    return std::string(generation) + number + (isDigit ? "-" : "") + wanted;
}

Result<std::string> addEngine(const std::string& place, const std::optional<std::string>& name,
                              Cancellation& cancellation, const ArchiveLimits& limits) {
    const std::string store = layout::enginesFolder();
    if (const auto made = files::createFolder(store, true); !made) return made.error();
    files::PrivateFolder::removeLeftovers(store);
    const auto work = files::PrivateFolder::makeInShared(store);
    if (!work) return work.error();
    const std::string bundle = work->path() + "/ckwine.bundle";
    if (const auto brought = bring(place, work->path(), bundle, cancellation, limits); !brought)
        return brought.error();
    if (const auto completed = completePrograms(bundle); !completed)
        return Failure{place, completed.error().message()};
    const std::string version = versionOf(bundle + "/bin/wine", cancellation).value_or("");
    if (versionIn(version).empty() || !versionOf(bundle + "/bin/CaskeryWineserver", cancellation))
        return Failure{place, "its Wine does not start on this computer"};
    const auto engine = freeName(name, version);
    if (!engine) return engine;
    if (const auto written = files::write(bundle + "/version", *engine + "\n", files::Atomically::no);
        !written)
        return written.error();
    if (const auto packed = packEngine(work->path(), *engine, cancellation); !packed) return packed.error();
    const std::string archive = *engine + ".tar.7z";
    if (const auto stored = files::move(files::join(work->path(), archive), files::join(store, archive));
        !stored)
        return stored.error();
    return engine;
}

}  // namespace morvane::runtime
