#include "views/application_bus.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <atomic>

#include "platform/files.h"
#include "platform/folders.h"
#include "views/qt_text.h"

namespace morvane::views {
namespace {

constexpr const char* busName = "app.morvane.Morvane";
constexpr const char* objectPath = "/app/morvane/Morvane";
constexpr const char* interfaceName = "org.freedesktop.Application";
constexpr const char* tokenKey = "activation-token";
constexpr const char* startupKey = "desktop-startup-id";

/// A connection of its own: whoever else uses the bus in this process keeps theirs.
QString nextConnectionName() {
    static std::atomic<int> number{0};
    return QStringLiteral("morvane-application-%1").arg(++number);
}

class Connection {
  public:
    explicit Connection(const std::string& address)
        : name_(nextConnectionName()), bus(QDBusConnection::connectToBus(toQt(address), name_)) {}
    ~Connection() { QDBusConnection::disconnectFromBus(name_); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

  private:
    const QString name_;

  public:
    QDBusConnection bus;
};

/// As far as it could have come from one of our own starts.
StartRequest withToken(StartRequest request, const QVariantMap& platformData) {
    std::string token = fromQt(platformData.value(tokenKey).toString());
    if (token.empty()) token = fromQt(platformData.value(startupKey).toString());
    constexpr std::size_t longest = 1024;
    if (token.size() <= longest) request.activationToken = std::move(token);
    return request;
}

QDBusMessage callOf(const StartRequest& request) {
    const auto call = [](const char* method) {
        QDBusMessage message = QDBusMessage::createMethodCall(busName, objectPath, interfaceName, method);
        message.setAutoStartService(false);
        return message;
    };
    QVariantMap platformData;
    if (!request.activationToken.empty()) {
        platformData.insert(tokenKey, toQt(request.activationToken));
        platformData.insert(startupKey, toQt(request.activationToken));
    }
    switch (request.kind) {
        case StartRequest::Kind::open: {
            QStringList uris;
            for (const std::string& item : request.items) uris << toQt(uriOf(item));
            return call("Open") << uris << platformData;
        }
        case StartRequest::Kind::action:
            return call("ActivateAction") << toQt(request.action) << QVariantList() << platformData;
        case StartRequest::Kind::activate:
            break;
    }
    return call("Activate") << platformData;
}

Delivery deliveryOf(const QDBusMessage& reply) {
    if (reply.type() == QDBusMessage::ReplyMessage) return Delivery::taken;
    switch (QDBusError(reply).type()) {
        case QDBusError::NoReply:
        case QDBusError::Timeout:
        case QDBusError::TimedOut:
            return Delivery::silent;
        case QDBusError::ServiceUnknown:
        case QDBusError::UnknownObject:
        case QDBusError::Disconnected:
            return Delivery::nobody;
        default:
            // No such name, in the words of some buses.
            return reply.errorName().endsWith("NameHasNoOwner") ? Delivery::nobody : Delivery::refused;
    }
}

}  // namespace

ApplicationBus::ApplicationBus(Received received) : received_(std::move(received)) {}

ApplicationBus::~ApplicationBus() {
    if (connection_.isEmpty()) return;
    QDBusConnection(connection_).unregisterService(busName);
    QDBusConnection::disconnectFromBus(connection_);
}

std::string ApplicationBus::addressOfSession() {
    std::string address = environmentVariable("DBUS_SESSION_BUS_ADDRESS");
    const std::string runtime = environmentVariable("XDG_RUNTIME_DIR");
    if (address.empty() && !runtime.empty() && files::kindOf(runtime + "/bus") == files::Kind::other) {
        address = "unix:path=" + runtime + "/bus";
    }
    return address;
}

ApplicationBus::Claim ApplicationBus::claim(const std::string& busAddress) {
    if (busAddress.empty()) return Claim::noBus;
    connection_ = nextConnectionName();
    QDBusConnection bus = QDBusConnection::connectToBus(toQt(busAddress), connection_);
    // Whoever waits for the name calls at once when it is there: the object comes first.
    if (!bus.isConnected() || !bus.registerObject(objectPath, this, QDBusConnection::ExportAllSlots)) {
        return Claim::noBus;
    }
    const auto reply = bus.interface()->registerService(busName);
    if (!reply.isValid()) return Claim::noBus;
    return reply.value() == QDBusConnectionInterface::ServiceRegistered ? Claim::made : Claim::takenByAnother;
}

Delivery ApplicationBus::sendTo(const std::string& busAddress, const StartRequest& request,
                                std::chrono::milliseconds limit) {
    if (busAddress.empty()) return Delivery::nobody;
    const Connection connection(busAddress);
    if (!connection.bus.isConnected()) return Delivery::nobody;
    const auto begun = std::chrono::steady_clock::now();
    const Delivery delivery =
        deliveryOf(connection.bus.call(callOf(request), QDBus::Block, static_cast<int>(limit.count())));
    // Before its time that means that the owner has left the bus.
    const bool early = std::chrono::steady_clock::now() - begun < limit;
    return delivery == Delivery::silent && early ? Delivery::nobody : delivery;
}

void ApplicationBus::Activate(const QVariantMap& platformData) {
    received_(withToken({}, platformData));
}

void ApplicationBus::Open(const QStringList& uris, const QVariantMap& platformData) {
    StartRequest request{.kind = StartRequest::Kind::open};
    for (const QString& uri : uris.mid(0, static_cast<qsizetype>(mostItems))) {
        if (auto item = itemOfUri(fromQt(uri))) request.items.push_back(*std::move(item));
    }
    received_(withToken(std::move(request), platformData));
}

void ApplicationBus::ActivateAction(const QString& name, const QVariantList&,
                                    const QVariantMap& platformData) {
    if (auto request = requestOfAction(fromQt(name))) received_(withToken(*std::move(request), platformData));
}

}  // namespace morvane::views
