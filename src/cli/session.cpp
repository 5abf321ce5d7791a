#include "cli/session.h"

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <exception>
#include <utility>

#include "building/cancellable_creation.h"
#include "foundation/localization.h"
#include "platform/process.h"
#include "runtime/system_engine.h"

namespace morvane::cli {

namespace {

sigset_t requestSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signals, signal);
    return signals;
}

}  // namespace

Session::Session(Output output, Answers answers)
    : console_(output), answers_(std::move(answers)), interface_(console_, answers_) {
    const sigset_t signals = requestSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    signal(SIGPIPE, SIG_IGN);
    host_ = std::make_unique<Host>(optionsOfProcess(), interface_);
    for (const std::string& note : host_->notes) console_.say(note);
    EmbeddedSites::completeFromSettings();
    host_->workQueues.setExceptionHandler([this](const std::exception_ptr& exception) { keep(exception); });
    // A request that has an effect is the user's, unless the loop below makes it.
    cancelling_ = std::make_unique<Cancellation::Interrupter>(host_->creation, [this] {
        if (!stranded_) cancelled_ = true;
    });
    host_->mainQueue.setExceptionHandler([this](const std::exception_ptr& exception) {
        keep(exception);
        stranded_ = true;
    });
    progress_ = std::make_shared<NSProgressView>();
    signalWatcher_ = std::thread([this] { watchSignals(); });
}

Session::~Session() {
    // Its server waits for whoever answers a request.
    if (sites_) sites_->cancel();
    host_->workQueues.joinAll();
    sites_.reset();
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
        // Nothing is being made, so that there is nothing to unwind; what was started goes too.
        if (sites_) sites_->cancel();
        processes::stopChildren(std::chrono::seconds(10));
        std::_Exit(cancelled);
    }
    // A question that is open has the person's attention already; so has somebody who presses it a second
    // time.
    // The question is about a wrapper that would be removed: other work is cancelled without it.
    if (signal == SIGINT && console_.isInteractive() && !console_.interrupt()) {
        host_->mainQueue.post([this] { cancelAfterAsking(); });
        return;
    }
    host_->creation.request();
}

void Session::cancelAfterAsking() {
    // The creation's own button asks. What it asks about may have ended by the time of the answer.
    if (!progress_->cancel()) host_->creation.request();
}

void Session::showLog() {
    host_->log.mirrorTo([this](const std::string& line) { console_.say(line); });
}

void Session::provideSite() {
    // The site offers this machine's Wine; without one, the questions that follow need an explanation.
    if (host_->sites.caskery.empty()) {
        if (const auto engine = runtime::systemEngineName(); !engine) console_.say(engine.error().message());
    }
    sites_ = std::make_unique<EmbeddedSites>([this](const std::string& text) { console_.say(text); });
    sites_->provide();
}

void Session::keep(const std::exception_ptr& exception) {
    const std::lock_guard lock(mutex_);
    if (!exception_) exception_ = exception;
}

std::exception_ptr Session::kept() {
    const std::lock_guard lock(mutex_);
    return exception_;
}

bool Session::serveUntil(const std::function<bool()>& ended) {
    host_->mainQueue.runUntil([&] { return stranded_ || ended(); });
    // What the work posted last still belongs to its output.
    if (!stranded_) host_->mainQueue.drain();
    if (!stranded_) return true;
    host_->creation.request();
    host_->mainQueue.close();
    return false;
}

int Session::onWorker(const std::function<int()>& work) {
    int result = failed;
    std::atomic<bool> ended = false;
    host_->workQueues.start("app.morvane.command", Priority::normal, [&] {
        try {
            result = work();
        } catch (...) {
            keep(std::current_exception());
        }
        ended = true;
        host_->mainQueue.wake();
    });
    if (!serveUntil([&] { return ended.load(); })) host_->workQueues.joinAll();
    return outcome(result);
}

int Session::untilIdle(const std::function<int()>& work) {
    int result = failed;
    try {
        result = work();
        do runUntilNoWorkIsLeft();
        while (!stranded_ && host_->workQueues.busy());
    } catch (...) {
        keep(std::current_exception());
    }
    const int ending = outcome(result);
    return ending == done && interface_.errorShown() ? int{failed} : ending;
}

void Session::runUntilNoWorkIsLeft() {
    std::atomic<bool> idle = false;
    std::thread waiting([&] {
        host_->workQueues.joinAll();
        idle = true;
        host_->mainQueue.wake();
    });
    serveUntil([&] { return idle.load(); });
    waiting.join();
}

int Session::outcome(int result) {
    if (interface_.unanswered()) {
        if (interface_.choiceRefused()) return failed;
        console_.say(localized("No answer to: %@", {*interface_.unanswered()}));
        return unanswered;
    }
    if (cancelled_ || console_.wasInterrupted()) {
        console_.say(localized("Cancelled."));
        return cancelled;
    }
    if (const std::exception_ptr exception = kept()) {
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

int Session::withCreation(const std::function<int(const std::shared_ptr<WrapperCreation>&)>& work) {
    provideSite();
    return onWorker([&] {
        // Made on the worker: it asks the site for the newest master wrapper.
        return work(building::cancellableCreation(progress_));
    });
}

int Session::untilAskedToEnd(const std::function<int()>& begin) {
    serving_ = true;
    const int begun = begin();
    if (begun == done) host_->mainQueue.runUntil([this] { return askedToEnd_.load(); });
    return begun;
}

int Session::ending(int result) {
    if (!console_.outputError()) return result;
    console_.say(Emphasis::error, localized("Error"),
                 localized("The output could not be written: %@.", {*console_.outputError()}));
    return result == done ? int{failed} : result;
}

int Session::endedWithoutResult() {
    const bool isDecline = !failureTold_ && !interface_.errorShown() && !interface_.unanswered();
    if (isDecline) cancelled_ = true;
    return isDecline ? cancelled : failed;
}

int Session::fail(const std::string& message) {
    failureTold_ = true;
    console_.say(Emphasis::error, localized("Error"), message);
    return failed;
}

}  // namespace morvane::cli
