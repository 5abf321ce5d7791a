#include "building/engine_change.h"

#include <array>
#include <map>
#include <optional>
#include <vector>

#include "building/build.h"
#include "building/engine_extraction.h"
#include "foundation/localization.h"
#include "foundation/tasks.h"
#include "platform/file_exchange.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/private_folder.h"
#include "wrapper/launch_check.h"
#include "wrapper/layout.h"
#include "wrapper/port_manager.h"
#include "wrapper/processes.h"
#include "wrapper/program_header.h"
#include "wrapper/windows_paths.h"
#include "wrapper/wrapper.h"

namespace morvane::building {

namespace {

constexpr std::array<const char*, 3> registryFiles{"/system.reg", "/user.reg", "/userdef.reg"};
/// Without it, the next start brings the drive up to date again.
constexpr const char* updateStamp = "/.update-timestamp";

/// The new engine in the wrapper's place, and the old one again unless it is kept.
class Exchanged {
  public:
    Exchanged(const Wrapper& wrapper, std::string other) : wrapper_(wrapper), other_(std::move(other)) {
        for (const char* name : registryFiles) {
            if (const auto bytes = files::read(wrapper.prefix() + name)) state_[name] = *bytes;
        }
    }
    ~Exchanged() {
        if (!isDone_ || isKept_) return;
        static_cast<void>(files::exchange(wrapper_.engine(), other_));
        for (const auto& [name, bytes] : state_)
            static_cast<void>(files::write(wrapper_.prefix() + name, bytes, files::Atomically::yes));
        if (files::kindOf(wrapper_.prefix() + updateStamp) == files::Kind::file)
            static_cast<void>(files::remove(wrapper_.prefix() + updateStamp));
    }
    Exchanged(const Exchanged&) = delete;
    Exchanged& operator=(const Exchanged&) = delete;

    Result<> make() {
        auto made = files::exchange(wrapper_.engine(), other_);
        isDone_ = made.has_value();
        return made;
    }
    void keep() { isKept_ = true; }

  private:
    const Wrapper& wrapper_;
    const std::string other_;
    std::map<std::string, std::string> state_;
    bool isDone_ = false, isKept_ = false;
};

/// The programs that are started by the wrapper and by the launchers in it.
std::vector<std::string> programsOf(const Wrapper& wrapper) {
    std::vector<LibraryItem> items{LibraryItem(wrapper.path())};
    if (const auto names = files::list(wrapper.path())) {
        for (const std::string& name : *names) {
            LibraryItem item(files::join(wrapper.path(), name));
            if (item.isCustomEXE()) items.push_back(std::move(item));
        }
    }
    std::vector<std::string> programs;
    for (const LibraryItem& item : items) {
        const std::string program = findSetting(item, wrapper_keys::program).value_or("");
        const auto path = program.empty()
                              ? std::nullopt
                              : NSUtilities::getMacPathForWindowsPath("C:" + program, wrapper.path());
        if (path) programs.push_back(*path);
    }
    return programs;
}

Result<> runsAll(const std::string& bundle, const Wrapper& wrapper) {
    for (const std::string& program : programsOf(wrapper)) {
        const Machine machine = machineOf(program);
        if (!engineRuns(bundle, machine)) return Failure{localized(refusalOf(machine), {program})};
    }
    return {};
}

}  // namespace

Result<> changeEngine(Build& build, const Wrapper& wrapper, const std::string& engine) {
    const Failure running{localized("Programs of this wrapper are running: end them first.")};
    if (!NSUtilities::runningProcessesOfWrapper(wrapper.path()).empty()) return running;
    // In the wrapper, so that the engines only change their names; a folder of this layout is a wrapper to the
    // extraction.
    const std::string frameworks = files::parent(wrapper.engine());
    files::PrivateFolder::removeLeftovers(frameworks);
    const auto passing = files::PrivateFolder::makeInShared(frameworks);
    if (!passing) return passing.error();
    const Wrapper arriving(passing->path());
    if (auto made = files::createFolder(files::parent(arriving.engine()), true); !made) return made;
    if (extractEngine(build, engine, arriving) != ExtractedEngine::installed)
        return Failure{localized("The engine %@ could not be unpacked.", {engine})};
    if (auto can = runsAll(arriving.engine(), wrapper); !can) return can;
    MVTask::ignoreEnding(
        MVTask::runProgram("chmod", "/", std::vector<std::string>{"777", arriving.engine()}, Wait::yes));
    host().creation.throwIfRequested();

    Exchanged engines(wrapper, arriving.engine());
    if (auto made = engines.make(); !made) return made;
    build.setMessage(localized("Updating Wrapper..."));
    const auto updated =
        MVTask::runProgram(wrapper.tool(), "/", std::vector<std::string>{"CKS-wineboot"}, Wait::yes);
    if (!updated || !updated->ending.succeeded()) {
        return Failure{localized("The engine %@ could not bring the wrapper's drive up to date.", {engine})};
    }
    engines.keep();
    return {};
}

}  // namespace morvane::building
