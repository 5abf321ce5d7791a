#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "app/app_delegate.h"
#include "app/port_files.h"
#include "building/agreement.h"
#include "building/build_plan.h"
#include "building/main_program.h"
#include "building/port_checks.h"
#include "building/wrapper_creation.h"
#include "cli/commands.h"
#include "foundation/alerts.h"
#include "foundation/build_log.h"
#include "foundation/localization.h"
#include "platform/files.h"
#include "wrapper/port_manager.h"

namespace morvane::cli {

namespace {

/// The end of an installation that goes on in the background: its wrapper, or none when it stopped before.
class Completion {
  public:
    std::function<void(const std::optional<std::string>&)> handler() {
        // The handler's last copy goes when the creation is over, called or not.
        auto ending = std::shared_ptr<Completion>(this, [](Completion* completion) { completion->end(); });
        return [ending](const std::optional<std::string>& wrapper) {
            std::lock_guard lock(ending->mutex_);
            ending->wrapper_ = wrapper.value_or("");
        };
    }

    /// The wrapper's path; empty after a failure.
    std::string wait() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return ended_; });
        return wrapper_;
    }

  private:
    void end() {
        std::lock_guard lock(mutex_);
        ended_ = true;
        changed_.notify_all();
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    bool ended_ = false;
    std::string wrapper_;
};

std::string withAppEnding(const std::string& path) {
    return path.ends_with(".app") ? path : path + ".app";
}

/// The program that the wrapper starts, when it is not there; as its settings name it.
std::optional<std::string> missingProgram(const std::string& wrapper) {
    const NSPortManager settings = NSPortManager::managerWithPath(wrapper);
    const auto path = mainExePathFromPort(settings);
    if (path && files::kindBehind(*path) == files::Kind::file) return std::nullopt;
    return "C:" + settings.get(wrapper_keys::program);
}

}  // namespace

int finished(Session& session, const std::string& wrapper) {
    const auto log = BuildLog::last();
    if (wrapper.empty()) {
        const int code = session.endedWithoutResult();
        const auto reason = code == failed && log ? log->failure() : std::nullopt;
        if (reason) session.console().say(*reason);
        return code;
    }
    const auto missing = missingProgram(wrapper);
    const std::string quoted = shellQuoted(wrapper);
    if (session.console().output() == Output::json) {
        session.console().emit(
            {{"event", "done"}, {"wrapper", wrapper}, {"missing", missing ? Value(*missing) : Value()}});
    } else {
        session.console().print(localized("The wrapper is %@", {wrapper}));
    }
    if (missing) {
        return session.fail(
            localized(
                "The game's program %@ is not in it. Run its installer again with\n    morvane exe %@ INSTALLER\nor say which program it is with\n    morvane properties %@ --run 'C:\\FOLDER\\PROGRAM.exe'\nor remove the wrapper with\n    morvane library remove %@ --disk",
                {*missing, quoted, quoted, quoted}) +
            (log ? "\n" + localized("The log of the build is %@", {log->path()}) : ""));
    }
    if (session.console().output() == Output::text) {
        session.console().print(localized("Start it with: morvane run %@", {quoted}));
    }
    return done;
}

int install(Session& session, const std::string& file, const std::string& to) {
    std::string wrapper;
    PortFile port{.path = expandedPath(file)};
    // Before anybody reads a licence.
    if (files::kindBehind(port.path) != files::Kind::file)
        return session.fail(localized("There is no file at %@.", {port.path}));
    if (!to.empty()) port.place = withAppEnding(expandedPath(to));
    // On a fresh home, the place that the plan proposes is not there yet.
    AppDelegate::verifyNeededFolders();
    const int result = session.withCreation([&](const std::shared_ptr<WrapperCreation>& creation) {
        Completion completion;
        installPortFile(creation, port, completion.handler());
        wrapper = completion.wait();
        return finished(session, wrapper);
    });
    // The wrapper is there, whatever becomes of the list; that it could not be changed is told.
    if (!wrapper.empty()) static_cast<void>(addToLibrary(session, {wrapper}));
    return result;
}

int blank(Session& session, const std::string& path, const NSCustomPortView& view) {
    const std::string wrapper = withAppEnding(expandedPath(path));
    bool built = false;
    const int result = session.withCreation([&](const std::shared_ptr<WrapperCreation>& creation) {
        const bool goesOn = MVAlert::canBeAnswered([&]() -> std::vector<ForeseenQuestion> {
            const auto port = portOfBlank(wrapper, view);
            if (!port) return {};
            return questionsOfBlank(*creation, *port, wrapper);
        });
        if (!goesOn || !doYouAgreeWithTheLicenseAgreement()) return static_cast<int>(failed);
        built = creation->createBlankWrapperAtPath(wrapper, view) == 0;
        return finished(session, built ? wrapper : "");
    });
    // The wrapper is there, whatever becomes of the list; that it could not be changed is told.
    if (built) static_cast<void>(addToLibrary(session, {wrapper}));
    return result;
}

}  // namespace morvane::cli
