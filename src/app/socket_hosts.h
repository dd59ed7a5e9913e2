#pragma once

#include "app/app_links.h"
#include "remote/socket_controller.h"

namespace merlode {

class UserDefaults;

/// The launch's view of the link to other machines. Main thread.
class SocketHosts final : public HostsLink {
  public:
    explicit SocketHosts(Session& session)
        : session_(session),
          defaults_(session.port<UserDefaults>()),
          controller_(SocketController::sharedController()) {}

    /// Where the link is not in use, nobody is looked for, so that its part of the program is not even
    /// loaded.
    void discoverHosts(std::function<void()> done) override;
    void startServer() override { controller_.startServer(); }
    void stopServer() override { controller_.stopServer(false, nullptr); }
    void connectToHostName(const QString& name) override { controller_.connectToHostName(name); }
    void disconnectFromHost() override;
    std::optional<QString> clientHostName() const override { return controller_.clientHostName(); }

  private:
    bool isInUse() const;

    Session& session_;
    UserDefaults& defaults_;
    SocketController& controller_;
};

} // namespace merlode
