#include "cli/commands.h"
#include "foundation/file_manager.h"
#include "foundation/tasks.h"
#include "platform/process.h"
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

/// Runs a launcher until its program ends. What it prints is passed on.
int runToItsEnd(Session& session, const std::string& program, const std::vector<std::string>& arguments) {
    return session.onWorker([&] {
        ProcessRequest request;
        request.program = program;
        request.arguments = arguments;
        const auto result = processes::run(request);
        if (!result) return session.fail(request.program + " could not be started.");
        if (!result->output.empty()) session.console().print(result->output);
        return result->exitStatus == 0 ? static_cast<int>(done) : static_cast<int>(failed);
    });
}

}  // namespace

int run(Session& session, const std::string& app, Waiting waiting) {
    const std::string launcher = expandedPath(app) + layout::customExeMark;
    const bool isCustomExe = MVFileManager::regularFileExistsAtPath(launcher);
    const auto wrapper = isCustomExe ? std::nullopt : wrapperAt(session, app);
    if (!isCustomExe && !wrapper) return failed;
    const std::string program = isCustomExe ? launcher : executableOf(*wrapper);
    if (waiting == Waiting::yes) return runToItsEnd(session, program, {});
    return processes::launch(program) ? static_cast<int>(done)
                                      : session.fail(program + " could not be started.");
}

int debug(Session& session, const std::string& app) {
    const auto wrapper = wrapperAt(session, app);
    if (!wrapper) return failed;
    const int result = runToItsEnd(session, executableOf(*wrapper), {"debug"});
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
