#include "building/program_check.h"

#include <algorithm>

#include "building/configuration_stages.h"
#include "building/engine_extraction.h"
#include "building/foreseen_questions.h"
#include "building/installation.h"
#include "foundation/localization.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/host.h"
#include "wrapper/launch_check.h"
#include "wrapper/layout.h"
#include "wrapper/program_header.h"
#include "wrapper/wrapper.h"

namespace morvane::building {
namespace {

std::optional<std::string> knownInstaller(const NSPortData& port) {
    const auto stages = configurationStages(port);
    if (std::ranges::find(stages, ConfigurationStage::installer) == stages.end()) return std::nullopt;
    if (auto found = foundInstaller(port.originalInstallerName, port.source)) return found;
    auto chosen =
        host().userInterface.knownChoice(installerPanel(installerNameIn(port.originalInstallerName)));
    return chosen.empty() ? std::nullopt : std::optional(std::move(chosen));
}

}  // namespace

std::string installerNameIn(const std::optional<std::string>& originalInstallerName) {
    return originalInstallerName ? MVString::split(*originalInstallerName, "/").back() : "";
}

Result<> checkProgramForEngine(const std::string& program, const std::string& engine) {
    const Machine machine = machineOf(program);
    if (machine == Machine::none || machine == Machine::any || machine == Machine::x64) return {};
    if (storedEngineRuns(engine, machine)) return {};
    return Failure{localized(refusalOf(machine), {program})};
}

Result<> checkInstaller(const NSPortData& port, const std::string& wrapper) {
    const auto installer = knownInstaller(port);
    if (!installer) return {};
    if (files::kindBehind(wrapper + layout::systemRegistry) == files::Kind::file) {
        return checkMachine(*installer, wrapper);
    }
    return checkProgramForEngine(*installer, engineForWrapper(port.engine.value_or(""), Wrapper(wrapper)));
}

}  // namespace morvane::building
