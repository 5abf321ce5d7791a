#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>

#include "cli/commands.h"

namespace morvane::cli {

namespace {

/// The end of a creation that goes on in the background: the handler's answer, or none when it stopped
/// before.
class Completion {
  public:
    WrapperCreation::CompletionHandler handler() {
        // The handler's last copy goes when the creation is over, called or not.
        auto ending = std::shared_ptr<Completion>(this, [](Completion* completion) { completion->end(); });
        return [ending](bool failure, const std::string& wrapper) {
            std::lock_guard lock(ending->mutex_);
            ending->wrapper_ = failure ? "" : wrapper;
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

}  // namespace

int finished(Session& session, const std::string& wrapper) {
    if (wrapper.empty()) return failed;
    if (session.console().output() == Output::json) {
        session.console().emit({{"event", "done"}, {"wrapper", wrapper}});
    } else {
        session.console().print("The wrapper is " + wrapper + "\nStart it with: morvane run '" + wrapper +
                                "'");
    }
    return done;
}

int install(Session& session, const std::string& file) {
    std::string wrapper;
    const int result = session.withCreation([&](WrapperCreation& creation) {
        Completion completion;
        creation.createPortFromCKIFile(expandedPath(file), completion.handler());
        wrapper = completion.wait();
        return finished(session, wrapper);
    });
    // The wrapper is there, whatever becomes of the list; that it could not be changed is told.
    if (result == done) static_cast<void>(addToLibrary(session, {wrapper}));
    return result;
}

int blank(Session& session, const std::string& path, const NSCustomPortView& view) {
    std::string wrapper = expandedPath(path);
    if (!wrapper.ends_with(".app")) wrapper += ".app";
    const int result = session.withCreation([&](WrapperCreation& creation) {
        if (!WrapperCreation::doYouAgreeWithTheLicenseAgreement()) return static_cast<int>(failed);
        const bool built = creation.createBlankWrapperAtPath(wrapper, view) == 0;
        return finished(session, built ? wrapper : "");
    });
    // The wrapper is there, whatever becomes of the list; that it could not be changed is told.
    if (result == done) static_cast<void>(addToLibrary(session, {wrapper}));
    return result;
}

}  // namespace morvane::cli
