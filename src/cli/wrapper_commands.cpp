#include "cli/commands.h"
#include "foundation/file_manager.h"
#include "foundation/tasks.h"
#include "platform/process.h"
#include "platform/workspace.h"
#include "wrapper/layout.h"
#include "wrapper/port_manager.h"
#include "wrapper/processes.h"

namespace morvane::cli {

namespace {

/// Nothing, after the failure was said, when the path holds no wrapper.
std::optional<std::string> wrapperAt(Session& session, const std::string& app) {
    const std::string path = expandedPath(app);
    const std::string tool = MVString::pathByAppendingCaskeryFrameworkBinToPortPath(path);
    if (MVFileManager::directoryExistsAtPath(path) && MVFileManager::regularFileExistsAtPath(tool))
        return path;
    session.fail(path + " is not a wrapper.");
    return std::nullopt;
}

std::string executableOf(const std::string& wrapper) {
    const auto executable = NSUtilities::getPlistItem("CFBundleExecutable", wrapper);
    const auto* name = executable ? executable->as<std::string>() : nullptr;
    if (name == nullptr || name->find('/') != std::string::npos) {
        return MVString::pathByAppendingCaskeryLauncherBinToPortPath(wrapper);
    }
    return wrapper + "/Contents/MacOS/" + *name;
}

/// Runs the wrapper's launcher until the program ends; its exit code. What it prints is passed on.
int runLauncher(Session& session, const std::string& wrapper, const std::vector<std::string>& arguments) {
    return session.onWorker([&] {
        ProcessRequest request;
        request.program = executableOf(wrapper);
        request.arguments = arguments;
        const auto result = processes::run(request);
        if (!result) return session.fail(request.program + " could not be started.");
        if (!result->output.empty()) session.console().print(result->output);
        return result->exitStatus == 0 ? static_cast<int>(done) : static_cast<int>(failed);
    });
}

}  // namespace

int run(Session& session, const std::string& app, Waiting waiting) {
    const auto wrapper = wrapperAt(session, app);
    if (!wrapper) return failed;
    if (waiting == Waiting::yes) return runLauncher(session, *wrapper, {});
    if (!workspace::launchBundle(*wrapper)) return session.fail(*wrapper + " could not be started.");
    return done;
}

int debug(Session& session, const std::string& app) {
    const auto wrapper = wrapperAt(session, app);
    if (!wrapper) return failed;
    const int result = runLauncher(session, *wrapper, {"debug"});
    const std::string logs = *wrapper + layout::resources + "/Logs/";
    session.console().print("The logs are " + logs + "LastRunWine.log and " + logs + "LastRunX11.log");
    return result;
}

int stop(Session& session, const std::string& app) {
    const auto wrapper = wrapperAt(session, app);
    if (!wrapper) return failed;
    return session.onWorker([&] {
        NSUtilities::terminateAllCaskeryProcessesForWrapperNow(*wrapper, RemovingWrapper::no);
        return static_cast<int>(done);
    });
}

int exe(Session& session, const std::string& app, const std::string& file) {
    const auto wrapper = wrapperAt(session, app);
    if (!wrapper) return failed;
    const std::string program = expandedPath(file);
    if (!MVFileManager::regularFileExistsAtPath(program))
        return session.fail("There is no file at " + program + ".");
    return session.onWorker([&] {
        const NSPortManager port = NSPortManager::managerWithPath(*wrapper);
        if (program.starts_with(*wrapper + "/")) {
            port.runEXE(program, "");
        } else {
            port.runWithArguments({"CKS-installer", program});
        }
        return static_cast<int>(done);
    });
}

int tool(Session& session, const std::string& app, const std::string& name) {
    const auto wrapper = wrapperAt(session, app);
    if (!wrapper) return failed;
    return session.onWorker([&] {
        MVTask::runProgram(MVString::pathByAppendingCaskeryFrameworkBinToPortPath(*wrapper), "~/",
                           std::vector<std::string>{"CKS-" + name}, Wait::yes);
        return static_cast<int>(done);
    });
}

}  // namespace morvane::cli
