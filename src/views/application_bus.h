// views/application_bus.h: the application on the session's bus (`org.freedesktop.Application`). Main thread;
// `sendTo` and `addressOfSession`: any.
//
// The bus starts the application by this name when somebody calls it (DBusActivatable).
#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QStringList>
#include <QVariantMap>
#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "views/instance_socket.h"

namespace morvane::views {

class ApplicationBus : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")
  public:
    using Received = std::function<void(const StartRequest&)>;
    enum class Claim { made, takenByAnother, noBus };

    explicit ApplicationBus(Received received);
    /// The name is free again.
    ~ApplicationBus() override;

    /// The session's bus, as far as there is one: none is ever started. Empty without.
    [[nodiscard]] static std::string addressOfSession();

    /// Once. The name is this process's from now on, unless another has it.
    [[nodiscard]] Claim claim(const std::string& busAddress);
    /// Blocks until the owner of the name has answered, no longer than the limit. Nobody is started for it.
    [[nodiscard]] static Delivery sendTo(const std::string& busAddress, const StartRequest& request,
                                         std::chrono::milliseconds limit);

  public slots:  // NOLINT(readability-redundant-access-specifiers): for the toolkit
    // What the interface names; the bus spells it with capitals.
    // NOLINTBEGIN(readability-identifier-naming)
    void Activate(const QVariantMap& platformData);
    void Open(const QStringList& uris, const QVariantMap& platformData);
    void ActivateAction(const QString& name, const QVariantList& parameters, const QVariantMap& platformData);
    // NOLINTEND(readability-identifier-naming)

  private:
    const Received received_;
    QString connection_;  ///< its name; empty before `claim`
};

}  // namespace morvane::views
