#include "cli/session.h"

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <exception>
#include <utility>

#include "building/wrapper_creation.h"
#include "foundation/localization.h"
#include "foundation/settings_keys.h"
#include "runtime/system_engine.h"
#include "server/site_server.h"

namespace morvane::cli {

namespace {

sigset_t requestSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signals, signal);
    return signals;
}

Host::Options optionsOfProcess() {
    Host::Options options;
    options.folders = Folders::fromEnvironment();
    options.sites = Sites::fromEnvironment();
    options.searchPath = environmentVariable("PATH");
    return options;
}

/// Where neither the environment nor the build names an address, the user's settings may.
void completeFromSettings(std::string& site, const char* setting) {
    if (!site.empty()) return;
    const auto stored = host().defaults.get(setting);
    if (const auto* text = stored ? stored->as<std::string>() : nullptr) site = withFinalSlash(*text);
}

}  // namespace

Session::Session(Output output, Answers answers)
    : console_(output), answers_(std::move(answers)), interface_(console_, answers_) {
    const sigset_t signals = requestSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    signal(SIGPIPE, SIG_IGN);
    host_ = std::make_unique<Host>(optionsOfProcess(), interface_);
    completeFromSettings(host_->sites.caskery, settings::caskerySite);
    completeFromSettings(host_->sites.catalogue, settings::catalogueSite);
    host_->workQueues.setExceptionHandler([this](const std::exception_ptr& exception) {
        const std::lock_guard lock(mutex_);
        if (!exception_) exception_ = exception;
    });
    progress_ = std::make_shared<NSProgressView>();
    signalWatcher_ = std::thread([this] { watchSignals(); });
}

Session::~Session() {
    host_->workQueues.joinAll();
    site_.reset();
    ending_ = true;
    pthread_kill(signalWatcher_.native_handle(), SIGHUP);
    signalWatcher_.join();
}

void Session::watchSignals() {
    const sigset_t signals = requestSignals();
    for (;;) {
        int signal = 0;
        if (sigwait(&signals, &signal) != 0) continue;
        if (ending_) return;
        handleSignal(signal);
    }
}

void Session::handleSignal(int signal) {
    if (serving_) {
        askedToEnd_ = true;
        host_->mainQueue.wake();
        return;
    }
    if (!host_->creation.running() && !console_.interrupt()) {
        // Nothing is being made, so that there is nothing to unwind.
        std::_Exit(cancelled);
    }
    // A question that is open has the person's attention already; so has somebody who presses it a second
    // time.
    // The question is about a wrapper that would be removed: other work is cancelled without it.
    if (signal == SIGINT && console_.isInteractive() && !console_.interrupt()) {
        host_->mainQueue.post([this] { cancelAfterAsking(); });
        return;
    }
    cancelled_ = true;
    host_->creation.request();
}

void Session::cancelAfterAsking() {
    if (WrapperCreation* creation = creation_) {
        if (creation->cancelWrapperCreation()) cancelled_ = true;
    } else if (progress_->cancel()) {
        if (host_->creation.requested()) cancelled_ = true;
    } else if (host_->creation.running()) {
        cancelled_ = true;
        host_->creation.request();
    }
}

void Session::provideSite() {
    if (!host_->sites.caskery.empty()) return;
    // The site offers this machine's Wine; without one, the questions that follow need an explanation.
    const auto engine = runtime::systemEngineName();
    if (const Failure* failure = failureOf(engine)) console_.say(failure->message);
    SiteServer::Content content;
    content.siteFolder = host_->folders.resources + "/site";
    engines_ = std::make_unique<runtime::SystemEngineStore>();
    content.engineNames = [this] { return engines_->names(); };
    content.engineArchive = [this](const std::string& name) { return engines_->archive(name); };
    site_ = std::make_unique<SiteServer>(std::move(content));
    host_->sites.caskery = site_->baseAddress();
    if (host_->sites.catalogue.empty()) host_->sites.catalogue = site_->baseAddress();
}

int Session::onWorker(const std::function<int()>& work) {
    int result = failed;
    std::exception_ptr exception;
    std::atomic<bool> ended = false;
    host_->workQueues.start("app.morvane.command", Priority::normal, [&] {
        try {
            result = work();
        } catch (...) {
            exception = std::current_exception();
        }
        ended = true;
        host_->mainQueue.wake();
    });
    host_->mainQueue.runUntil([&] { return ended.load(); });
    // What the work posted last still belongs to its output.
    host_->mainQueue.drain();
    return outcome(result, exception);
}

int Session::untilIdle(const std::function<int()>& work) {
    int result = failed;
    std::exception_ptr exception;
    try {
        result = work();
        do runUntilNoWorkIsLeft();
        while (host_->workQueues.busy());
    } catch (...) {
        exception = std::current_exception();
    }
    {
        const std::lock_guard lock(mutex_);
        if (!exception) exception = exception_;
    }
    const int ending = outcome(result, exception);
    return ending == done && interface_.errorShown() ? int{failed} : ending;
}

void Session::runUntilNoWorkIsLeft() {
    std::atomic<bool> idle = false;
    std::thread waiting([&] {
        host_->workQueues.joinAll();
        idle = true;
        host_->mainQueue.wake();
    });
    try {
        host_->mainQueue.runUntil([&] { return idle.load(); });
        host_->mainQueue.drain();
    } catch (...) {
        // Who waits for this thread gets no answer any more.
        host_->mainQueue.close();
        waiting.join();
        throw;
    }
    waiting.join();
}

int Session::outcome(int result, const std::exception_ptr& exception) {
    if (cancelled_ || console_.wasInterrupted()) {
        console_.say(localized("Cancelled."));
        return cancelled;
    }
    if (interface_.unanswered()) {
        console_.say("No answer to: " + *interface_.unanswered());
        console_.say(
            "Give one with --answer 'TITLE=BUTTON' or --choose 'TITLE=PATH', or take the defaults with "
            "--defaults.");
        return unanswered;
    }
    if (exception) {
        try {
            std::rethrow_exception(exception);
        } catch (const Cancelled&) {
            return cancelled;
        } catch (const std::exception& error) {
            return fail(error.what());
        }
    }
    return result;
}

int Session::withCreation(const std::function<int(WrapperCreation&)>& work) {
    provideSite();
    return onWorker([&] {
        // Made on the worker: it asks the site for the newest master wrapper.
        WrapperCreation creation(progress_);
        creation_ = &creation;
        const int result = work(creation);
        creation_ = nullptr;
        return result;
    });
}

int Session::untilAskedToEnd(const std::function<int()>& begin) {
    serving_ = true;
    const int begun = begin();
    if (begun == done) host_->mainQueue.runUntil([this] { return askedToEnd_.load(); });
    return begun;
}

int Session::fail(const std::string& message) {
    console_.say(console_.red("Error") + ": " + message);
    return failed;
}

}  // namespace morvane::cli
