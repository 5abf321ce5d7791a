#include "wrapper/archive_tools.h"

#include <sys/stat.h>

#include <filesystem>
#include <map>
#include <system_error>
#include <utility>

#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/safe_paths.h"
#include "foundation/tasks.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/ownership.h"
#include "platform/process.h"
#include "wrapper/layout.h"

namespace morvane::archives {

namespace {

std::vector<std::string> entriesOf(const std::string& folder) {
    auto names = files::list(folder);
    return !names ? std::vector<std::string>{} : *std::move(names);
}

class Taming {
  public:
    explicit Taming(std::string root) : root_(std::move(root)) {}

    void run() {
        visit(root_);
        for (const auto& [file, names] : linkedFiles_) {
            if (names.paths.size() == names.count) continue;
            for (const std::string& path : names.paths) static_cast<void>(files::remove(path));
        }
        // Last, when all of the links' destinations are what they will be.
        for (const std::string& link : links_) {
            const auto destination = files::destinationOfLink(link);
            const bool isTame = destination && (destination->starts_with("/") ? leadsToSystemProgram(link)
                                                                              : staysInside(root_, link));
            if (!isTame) static_cast<void>(files::remove(link));
        }
    }

  private:
    /// What the system has installed, and no user can change.
    static bool leadsToSystemProgram(const std::string& link) {
        const std::string program = files::resolved(link).value_or("");
        return program.starts_with("/usr/") && files::kindOf(program) == files::Kind::file &&
               files::isExecutable(program);
    }

    void visit(const std::string& folder) {
        using std::filesystem::perms;
        std::error_code ignored;
        std::filesystem::permissions(folder, perms::owner_all, std::filesystem::perm_options::add, ignored);
        for (const std::string& name : entriesOf(folder)) {
            const std::string path = files::join(folder, name);
            switch (files::kindOf(path)) {
                case files::Kind::folder:
                    visit(path);
                    break;
                case files::Kind::link:
                    links_.push_back(path);
                    break;
                case files::Kind::file:
                    noteNames(path);
                    break;
                default:
                    static_cast<void>(files::remove(path));
            }
        }
    }

    /// Remembers a file that has several names.
    void noteNames(const std::string& path) {
        struct stat status {};
        if (::lstat(path.c_str(), &status) != 0 || status.st_nlink == 1) return;
        Names& names = linkedFiles_[{status.st_dev, status.st_ino}];
        names.count = status.st_nlink;
        names.paths.push_back(path);
    }

    struct Names {
        nlink_t count = 0;
        std::vector<std::string> paths;
    };
    const std::string root_;
    std::vector<std::string> links_;
    std::map<std::pair<dev_t, ino_t>, Names> linkedFiles_;
};

/// The archive as an argument: a name that begins with "-" or "@" would be no name, but a whole path begins
/// with "/".
std::string asArgument(const std::string& archive) {
    std::error_code ignored;
    return std::filesystem::absolute(archive, ignored).string();
}

/// The tools would take "*" and "?" in the path for a pattern, and read whatever else of the user's fits.
std::vector<std::string> arguments(const char* command, const std::vector<std::string>& options,
                                   const std::string& archive) {
    std::vector<std::string> all{command};
    all.insert(all.end(), options.begin(), options.end());
    if (archive.find_first_of("*?") != std::string::npos) all.emplace_back("-spd");
    all.push_back(asArgument(archive));
    return all;
}

}  // namespace

std::string archiveTool(const std::string& name) {
    return files::join(host().folders.resources, name);
}

bool archiveToolWorks(const std::string& name) {
    const std::string tool = archiveTool(name);
    // Without arguments it introduces itself; a starter that finds no 7-Zip prints nothing here.
    if (files::isExecutable(tool) && files::kindBehind(tool) == files::Kind::file) {
        const std::string said = MVTask::outputOf(MVTask::runProgram(tool, "/", std::nullopt, Wait::yes));
        if (MVString::contains(said, "7-Zip")) return true;
    }
    MVAlert::showAlertErrorMessage(localized(
        "Archives can't be unpacked, because 7-Zip was not found (%@). Install the package p7zip-full "
        "and then try again.",
        {tool}));
    return false;
}

bool endedWell(const std::string& program, const std::string& folder,
               const std::vector<std::string>& arguments) {
    ProcessRequest request;
    request.program = program;
    request.arguments = arguments;
    request.runFolder = folder;
    const auto result = MVTask::runLogged(std::move(request));
    return result && result->ending.shellStatus() <= 1;
}

bool unpackTar(const std::string& archive, const std::string& folder) {
    const auto tar = MVTask::getPathOfProgram("tar");
    if (!tar) {
        MVAlert::showAlertErrorMessage(localized("Program couldn't be found."));
        return false;
    }
    const bool isWhole = endedWell(*tar, "/", {"-C", folder, "-xf", archive});
    tame(folder);
    return isWhole;
}

bool unpack(const std::string& tool, const std::string& archive, const std::string& folder,
            const std::vector<std::string>& options) {
    const bool isWhole = endedWell(archiveTool(tool), folder, arguments("x", options, archive));
    tame(folder);
    return isWhole;
}

bool isWhole(const std::string& archive) {
    return files::kindBehind(archive) == files::Kind::file &&
           endedWell(archiveTool("7z"), "/", arguments("t", {"-bso0", "-bse0", "-bsp0"}, archive));
}

void tame(const std::string& folder) {
    Taming(folder).run();
}

std::optional<std::string> unpackedTar(const std::string& archive, const std::vector<std::string>& names,
                                       const std::string& folder) {
    if (!unpack("7za", archive, folder)) return std::nullopt;
    for (const std::string& name : names) {
        std::string tar = files::join(folder, name);
        if (files::kindOf(tar) == files::Kind::file) return tar;
    }
    return std::nullopt;
}

UnpackingFolder::UnpackingFolder(const std::string& name) {
    const std::string wanted = files::join(layout::supportFolder(), name);
    // A fixed name, so that what a killed run left does not stay for ever.
    if (files::kindOf(wanted) != files::Kind::none) {
        if (!MVFileManager::removeItemAtPath(wanted)) return;
    }
    if (MVFileManager::createDirectoryAtPath(wanted, IntermediateFolders::yes)) path = wanted;
}

UnpackingFolder::~UnpackingFolder() {
    // Without a report: the end may be an unwinding, and the next run tries again.
    if (!path.empty()) static_cast<void>(files::remove(path));
}

std::string freshFolder(const std::string& parent) {
    auto made = files::createTemporaryFolder(parent, "level-");
    if (!made) {
        MVAlert::showAlertErrorMessage(
            localized("Error while creating folder: %@", {made.error().message()}));
        return "";
    }
    return *std::move(made);
}

bool copyWhole(const std::string& source, const std::string& destination) {
    // The copy itself reports that something is there already.
    if (files::kindOf(destination) != files::Kind::none)
        return MVFileManager::copyItemAtPath(source, destination);
    const std::string passing =
        files::join(files::parent(destination), "." + files::lastComponent(destination) + ".morvane-new");
    const auto clear = [&passing] {
        if (files::isOwn(passing)) static_cast<void>(files::remove(passing));
    };
    clear();  // left by a run that was killed
    try {
        if (MVFileManager::copyItemAtPath(source, passing) &&
            MVFileManager::moveItemAtPath(passing, destination))
            return true;
    } catch (...) {
        clear();
        throw;
    }
    clear();
    return false;
}

}  // namespace morvane::archives
