#include "wrapper/archive_tools.h"

#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/tasks.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/ownership.h"
#include "platform/process.h"
#include "wrapper/layout.h"

namespace morvane::archives {

std::string archiveTool(const std::string& name) {
    return files::join(host().folders.resources, name);
}

bool archiveToolWorks(const std::string& name) {
    const std::string tool = archiveTool(name);
    // Without arguments it introduces itself; a starter that finds no 7-Zip prints nothing here.
    if (files::isExecutable(tool) && files::kindBehind(tool) == files::Kind::file) {
        const auto said = MVTask::runProgram(tool, "/", std::nullopt, Wait::yes);
        if (said && MVString::contains(*said, "7-Zip")) return true;
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
    // A cancellation concerns only what the creation itself runs.
    if (host().creation.runsHere()) request.cancellation = &host().creation;
    const auto result = processes::run(request);
    return result && result->exitStatus <= 1;
}

bool unpackTar(const std::string& archive, const std::string& folder) {
    const auto tar = MVTask::getPathOfProgram("tar");
    if (!tar) {
        MVAlert::showAlertErrorMessage(localized("Program couldn't be found."));
        return false;
    }
    return endedWell(*tar, "/", {"-C", folder, "-xf", archive});
}

UnpackingFolder::UnpackingFolder() {
    const std::string wanted = files::join(layout::supportFolder(), ".unpacking");
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
