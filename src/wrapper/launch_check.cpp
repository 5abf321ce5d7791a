#include "wrapper/launch_check.h"

#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/name_patterns.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/host.h"
#include "wrapper/launch_options.h"
#include "wrapper/layout.h"
#include "wrapper/port_manager.h"
#include "wrapper/program_header.h"
#include "wrapper/sandbox.h"
#include "wrapper/windows_paths.h"

namespace morvane {
namespace {

/// The program that a batch file of the application's starts.
std::optional<std::string> programOfBatchFile(const std::string& batchFile, const std::string& wrapper) {
    constexpr std::uint64_t longest = 8192;
    if (!MVString::lowercased(batchFile).ends_with(".bat")) return std::nullopt;
    if (files::size(batchFile).value_or(longest) >= longest) return std::nullopt;
    const auto text = files::read(batchFile);
    if (!text || !text->starts_with('"')) return std::nullopt;
    const std::string program = NSUtilities::getFileNameOfWindowsPath(*text);
    // A drive without a link would be reported; it is the launcher that says so.
    const bool isLinked = program.size() > 2 && program[1] == ':' &&
                          files::kindOf(wrapper + layout::dosdevices + "/" +
                                        MVString::lowercased(program.substr(0, 2))) == files::Kind::link;
    if (!isLinked) return std::nullopt;
    return NSUtilities::getMacPathForWindowsPath(program, wrapper);
}

}  // namespace

Result<> checkMachine(const std::string& program, const std::string& wrapper) {
    const std::string file = programOfBatchFile(program, wrapper).value_or(program);
    const Machine machine = machineOf(file);
    if (prefixRuns(wrapper + layout::resources, machine) && engineRuns(wrapper + layout::engine, machine))
        return {};
    return Failure{localized(refusalOf(machine), {file})};
}

Result<> checkLaunch(const std::string& application) {
    const LibraryItem item(application);
    const Wrapper around = item.wrapper();
    const std::string& wrapper = around.path();
    if (!MVFileManager::directoryExistsAtPath(wrapper + layout::engine)) {
        return Failure{localized("This wrapper holds no engine: %@ is missing.", {wrapper + layout::engine})};
    }
    if (!MVFileManager::regularFileExistsAtPath(wrapper + layout::systemRegistry)) {
        return Failure{localized("This wrapper has no Windows drive yet: %@ is missing.",
                                 {wrapper + layout::systemRegistry})};
    }
    std::string program = findSetting(item, wrapper_keys::program).value_or("");
    while (program.starts_with('/')) program.erase(0, 1);
    if (program.empty()) {
        return Failure{localized("No program is set in %@.", {application})};
    }
    const auto found = MVFileManager::filesCompatibleWithStructure(program, wrapper + layout::driveC);
    if (found.empty() || !MVFileManager::regularFileExistsAtPath(found.front())) {
        return Failure{localized("The main EXE of the port is missing!")};
    }
    if (const auto checked = checkMachine(found.front(), wrapper); !checked) return checked;
    const auto settings = NSPortManager::managerOfItem(item).plist.value_or(Dictionary());
    const auto shared = NSPortManager::managerWithPath(wrapper).plist.value_or(Dictionary());
    const LaunchOptions options = launchOptionsOf(settings, item.isCustomEXE() ? &shared : nullptr);
    if (auto words = runnableCommand(options.before.value_or(""), host().searchPath); !words)
        return words.error();
    if (sandboxIn(shared) == Sandbox::off || mayRunWithoutSandbox(host().folders)) return {};
    const auto sandbox = sandboxProgram(host().searchPath);
    return sandbox ? Result<>() : sandboxRefusal(sandbox.error());
}

}  // namespace morvane
