#include "runtime/system_engine.h"

#include <optional>
#include <string_view>

#include "platform/files.h"
#include "platform/host.h"
#include "platform/process.h"
#include "runtime/builtin_files.h"
#include "runtime/engine_layout.h"

namespace morvane::runtime {
namespace {

constexpr const char* noWine =
    "There is no Wine on this computer. Install it (package wine, and wine32 for 32-bit programs), or bring "
    "an engine "
    "archive.";

/// The first program of that name on the search path. Links stay: the distribution may point them elsewhere
/// later.
std::optional<std::string> programNamed(const std::string& name) {
    const auto found = processes::search(name, host().searchPath);
    if (found.empty()) return std::nullopt;
    return found.front();
}

bool isElf(const std::string& path) {
    if (files::kindBehind(path) != files::Kind::file) return false;
    const auto bytes = files::read(path);
    return bytes && bytes->starts_with(
                        "\x7f"
                        "ELF");
}

/// Where this machine's Wine lies. Distributions wrap both programs in scripts, which look for the real ones
/// beside themselves or in a folder of the library path.
struct SystemWine {
    std::string wine;    ///< what a user would run
    std::string loader;  ///< the program itself
    std::string server;
    std::string libraries;  ///< holds x86_64-unix
    std::string data;       ///< holds wine.inf
};

std::optional<std::string> firstProgram(const std::vector<std::string>& paths) {
    for (const std::string& path : paths) {
        const auto real = files::resolved(path);
        if (real && isElf(*real)) return real;
    }
    return std::nullopt;
}

std::optional<std::string> folderWith(const std::vector<std::string>& folders, const std::string& mark) {
    for (const std::string& folder : folders) {
        if (files::kindBehind(folder + "/" + mark) == files::Kind::file) return files::resolved(folder);
    }
    return std::nullopt;
}

Result<SystemWine> findWine() {
    const auto wine = programNamed("wine");
    if (!wine) return Failure{noWine};
    const auto server = programNamed("wineserver");
    const std::string bin = files::parent(*wine), lib = "/usr/lib/wine";
    const auto realLoader = firstProgram({*wine, lib + "/wine64", bin + "/wine64", lib + "/wine"});
    const auto realServer =
        firstProgram({server.value_or(bin + "/wineserver"), lib + "/wineserver64", lib + "/wineserver32"});
    const std::string root = files::parent(bin);
    const auto libraries =
        folderWith({root + "/lib/x86_64-linux-gnu/wine", root + "/lib64/wine", root + "/lib/wine"},
                   "x86_64-unix/ntdll.so");
    const auto data = folderWith({root + "/share/wine"}, "wine.inf");
    if (!realLoader || !realServer || !libraries || !data) {
        return Failure{"This computer's Wine (" + *wine + ") is incomplete or laid out in an unknown way."};
    }
    return SystemWine{*wine, *realLoader, *realServer, *libraries, *data};
}

/// The scripts of both kinds. `wine` is a command for the shell, `server` the destination of a link.
Result<> writePrograms(const std::string& bin, const std::string& wine, const std::string& server) {
    // The real server under a name with the ending that stopping looks for. Without clients it ends at once
    // (-p0).
    if (const auto done = files::createSymbolicLink(bin + "/CaskeryWineserver", server); !done) return done;
    if (auto written = writeServerScript(bin); !written) return written;
    for (const char* name : {"wine", "wine64", "CaskeryWine"}) {
        if (auto written = writeScript(bin + "/" + name, wine); !written) return written;
    }
    return writeToolScripts(bin);
}

Result<> layOutThin(const std::string& bundle, const SystemWine& wine) {
    for (const char* folder : {"bin", "lib", "share"}) {
        if (const auto done = files::createFolder(bundle + "/" + folder, true); !done) return done;
    }
    return writePrograms(bundle + "/bin", quoted(wine.wine), wine.server);
}

/// The same places, relative to each other, as on this machine, because the loader finds its libraries by
/// them.
Result<> layOutFull(const std::string& bundle, const SystemWine& wine, Cancellation& cancellation) {
    const std::string root = files::parent(files::parent(wine.data));
    if (!wine.loader.starts_with(root + "/lib/") || !wine.libraries.starts_with(root + "/")) {
        return Failure{
            "A full copy of this computer's Wine cannot be made: it is laid out in an unknown way."};
    }
    const auto copy = [&](const std::string& source, const std::string& destination) -> Result<> {
        if (const auto done = files::createFolder(files::parent(destination), true); !done) return done;
        auto copied = files::copy(source, destination, [&] { return !cancellation.requested(); });
        if (cancellation.requested()) throw Cancelled();
        return copied;
    };
    const std::string loaderCopy = bundle + wine.loader.substr(root.size());
    // Wine starts the server that lies beside the loader under this name.
    const std::string serverCopy = files::parent(loaderCopy) + "/wineserver";
    const std::string librariesCopy = bundle + wine.libraries.substr(root.size());
    if (auto written = copy(wine.loader, loaderCopy); !written) return written;
    if (auto written = copy(wine.server, serverCopy); !written) return written;
    if (auto written = copy(wine.libraries, librariesCopy); !written) return written;
    if (auto written = copy(wine.data, bundle + "/share/wine"); !written) return written;
    cutDebugInformationBelow(librariesCopy);
    if (const auto done = files::createFolder(bundle + "/bin", true); !done) return done;
    const std::string up = "..";
    return writePrograms(bundle + "/bin", scriptsFolder + quoted(up + loaderCopy.substr(bundle.size())),
                         up + serverCopy.substr(bundle.size()));
}

/// A folder that is removed at the end.
struct WorkFolder {
    std::string path;
    ~WorkFolder() { static_cast<void>(files::remove(path)); }
};

}  // namespace

Result<std::string> systemEngineName() {
    const auto wine = programNamed("wine");
    if (!wine) return Failure{noWine};
    // Debian's script advises to install its 32-bit part each time, unless Wine's own messages are off.
    ProcessRequest request;
    request.program = "/usr/bin/env";
    request.arguments = {"WINEDEBUG=-all", *wine, "--version"};
    const auto result = processes::run(request);
    // "wine-8.0 (Debian 8.0~repack-4)"
    constexpr std::string_view start = "wine-";
    if (!result || !result->output.starts_with(start))
        return Failure{"This computer's Wine does not work: " + *wine};
    const std::string version = result->output.substr(start.size());
    const std::size_t end = version.find_first_not_of("0123456789.abcdefghijklmnopqrstuvwxyz-");
    return "CK9Wine" + version.substr(0, end);
}

Result<std::string> packSystemEngine(const std::string& folder, SystemEngine kind,
                                     Cancellation& cancellation) {
    const auto name = systemEngineName();
    if (!name) return name;
    const auto& engine = *name;
    const auto wine = findWine();
    if (!wine) return wine.error();

    if (const auto done = files::createFolder(folder, true); !done) return done.error();
    const auto temporary = files::createTemporaryFolder(folder, ".engine-");
    if (!temporary) return temporary.error();
    const WorkFolder work{*temporary};
    const std::string bundle = work.path + "/ckwine.bundle", archive = engine + ".tar.7z";
    const auto& found = *wine;
    const auto laidOut =
        kind == SystemEngine::thin ? layOutThin(bundle, found) : layOutFull(bundle, found, cancellation);
    if (!laidOut) return laidOut.error();
    if (const auto done = files::write(bundle + "/version", engine + "\n", files::Atomically::no); !done)
        return done.error();
    if (const auto packed = packEngine(work.path, engine, cancellation); !packed) return packed.error();

    const std::string destination = files::join(folder, archive);
    static_cast<void>(files::remove(destination));
    if (const auto done = files::move(work.path + "/" + archive, destination); !done) return done.error();
    return destination;
}

std::vector<std::string> SystemEngineStore::names() const {
    const auto name = systemEngineName();
    if (!name) return {};
    return {*name};
}

Result<std::string> SystemEngineStore::archive(const std::string& name) {
    const MutexLock lock(mutex_);
    if (const auto known = archives_.find(name); known != archives_.end()) return known->second;
    const auto ours = systemEngineName();
    if (!ours) return ours;
    if (*ours != name) return Failure{"There is no engine " + name + "."};
    if (!folder_) {
        auto folder = files::PrivateFolder::make(host().folders.temporary);
        if (!folder) return folder.error();
        folder_ = *std::move(folder);
    }
    const Failure ending{"The application ends."};
    if (!packing_.begin()) return ending;
    auto path = Result<std::string>(ending);
    try {
        path = packSystemEngine(folder_->path(), SystemEngine::thin, packing_);
    } catch (const Cancelled&) {
    }
    packing_.end();
    if (path) archives_[name] = *path;
    return path;
}

void SystemEngineStore::cancel() {
    packing_.shutDown();
}

}  // namespace morvane::runtime
