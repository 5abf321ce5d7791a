#include "views/single_instance.h"

#include <QCryptographicHash>
#include <algorithm>
#include <thread>

#include "foundation/localization.h"
#include "platform/ownership.h"
#include "platform/private_folder.h"
#include "views/qt_text.h"

namespace morvane::views {
namespace {

using Clock = std::chrono::steady_clock;

std::string nameFor(const std::string& home) {
    constexpr qsizetype digits = 16;
    const std::string place = files::resolved(home).value_or(home);
    const QByteArray bytes(place.data(), static_cast<qsizetype>(place.size()));
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex().left(digits).toStdString();
}

}  // namespace

SingleInstance::Options SingleInstance::Options::ofProcess(const Folders& folders) {
    Options options{.home = folders.home, .folder = files::parent(folders.temporary) + "/instance"};
    const std::string runtime = environmentVariable("XDG_RUNTIME_DIR");
    // Another user's, where a program was started for somebody else.
    if (runtime.starts_with('/') && files::isOwn(runtime)) options.folder = files::join(runtime, "morvane");
    if (environmentVariable("MORVANE_HOME").empty()) options.busAddress = ApplicationBus::addressOfSession();
    return options;
}

SingleInstance::SingleInstance(Options options)
    : options_(std::move(options)), name_(nameFor(options_.home)) {}

SingleInstance::~SingleInstance() {
    stop();
}

Result<SingleInstance::Role> SingleInstance::begin(const std::optional<StartRequest>& request) {
    std::string message;
    if (request) {
        auto made = messageOf(*request);
        if (!made) return made.error();
        message = *std::move(made);
    }
    if (const auto made = files::makePrivate(options_.folder); !made) trouble_ = made.error();
    const auto end = Clock::now() + options_.patience;
    for (;;) {
        if (!trouble_) lock_ = files::Lock::tryLock(files::join(options_.folder, name_ + ".lock"));
        if ((lock_ || trouble_) && becomeFirst()) {
            if (request) receive(*request);
            return Role::first;
        }
        lock_.reset();
        if (!request) return Role::second;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        const auto outcome = left.count() > 0 ? deliver(*request, message, left) : Delivery::silent;
        if (outcome == Delivery::taken) return Role::second;
        if (outcome == Delivery::silent || outcome == Delivery::refused) {
            return Failure{.what = localized("Morvane is running already, but does not answer"),
                           .advice = localized("Close it, or wait until it is ready, and try again.")};
        }
        // It has the lock and listens in a moment, or ends.
        constexpr std::chrono::milliseconds pause{20};
        std::this_thread::sleep_for(pause);
    }
}

bool SingleInstance::becomeFirst() {
    const auto received = [this](const StartRequest& request) { receive(request); };
    if (!options_.busAddress.empty()) {
        bus_ = std::make_unique<ApplicationBus>(received);
        const auto claim = bus_->claim(options_.busAddress);
        if (claim != ApplicationBus::Claim::made) bus_.reset();
        if (claim == ApplicationBus::Claim::takenByAnother) return false;
    }
    if (trouble_) return true;
    auto socket = InstanceSocket::listen(options_.folder, name_ + ".socket", received);
    if (socket) {
        socket_ = *std::move(socket);
    } else {
        trouble_ = socket.error();
    }
    return true;
}

Delivery SingleInstance::deliver(const StartRequest& request, const std::string& message,
                                 std::chrono::milliseconds limit) const {
    const auto outcome = ApplicationBus::sendTo(options_.busAddress, request, limit);
    if (outcome != Delivery::nobody) return outcome;
    return InstanceSocket::sendTo(options_.folder, name_ + ".socket", message, limit);
}

void SingleInstance::setHandler(Handler handler) {
    handler_ = std::move(handler);
    handOn();
}

void SingleInstance::stop() {
    handler_ = {};
    bus_.reset();
    socket_.reset();
}

void SingleInstance::receive(const StartRequest& request) {
    constexpr std::size_t mostWaiting = 64;
    if (waiting_.size() < mostWaiting) waiting_.push_back(request);
    handOn();
}

void SingleInstance::handOn() {
    // What a request starts may ask the user and run for long: never within the call that brought it.
    QMetaObject::invokeMethod(
        this,
        [this] {
            while (handler_ && !waiting_.empty()) {
                const StartRequest request = waiting_.front();
                waiting_.erase(waiting_.begin());
                const Handler handler = handler_;
                handler(request);
            }
        },
        Qt::QueuedConnection);
}

}  // namespace morvane::views
