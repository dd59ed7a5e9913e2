#pragma once

#include "app/control_service.h"
#include "app/diverted_alerts.h"
#include "base/run_loop.h"

#include <QVariantMap>

#include <functional>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

namespace merlode {

class Session;
class SocketController;
class UserDefaults;

/// The role of this machine in words: "server", "client of NAME" or "local". Main thread.
QString linkRole(const SocketController& controller);

/// What people ask of the link from outside the program: each is carried out and then answered, with a
/// message for people or with why it could not be done. One is carried out at a time. Alerts that it causes
/// become its answer. Main thread.
class LinkCommands {
  public:
    using Answer = std::variant<QString, ControlError>;
    using Done = std::function<void(const Answer&)>;

    /// Seconds that a host may take to be found, to tell its address and to take the connection.
    static constexpr double kMostTime = 20.0;

    /// Both must outlive this object.
    LinkCommands(Session& session, DivertedAlerts& alerts);
    ~LinkCommands();

    /// Looks for hosts and hands them over as the control interface's `Hosts` answers.
    void hosts(std::function<void(const QVariantMap&)> done);
    /// Connects to the host of this name, or at "HOST:PORT", and waits until that is done.
    void connectTo(const QString& name, const Done& done);
    /// Leaves the host.
    void disconnect(const Done& done);
    /// Turns the control from the network on or off.
    void serve(bool on, const Done& done);
    /// Gives this machine another name on the network.
    void rename(const QString& name, const Done& done);

  private:
    struct Task;
    struct PendingLook {
        std::function<void()> then;
        double limit = 0; ///< uptime
    };
    /// Tells, while a command is carried out, whether it has come to its end.
    using Look = std::function<std::optional<Answer>()>;

    bool begin(const Done& done);
    void lookAround(std::function<void()> then);
    void endLooks();
    void waitFor(Look look, std::function<Answer()> late);
    void finish(const Answer& answer);
    void connectToFound(const QString& name, int looksLeft);
    void connectNow(const QString& name);
    void changeName(const QString& name);
    void startServing();
    void waitForServer();
    void stopServing();
    ControlError noServer(const QString& why);
    std::optional<Answer> servingAnswer();
    QString ownName() const;

    Session& session_;
    DivertedAlerts& alerts_;
    UserDefaults& defaults_;
    SocketController& controller_;
    std::unique_ptr<Task> task_;
    std::vector<PendingLook> looks_;
    Timer looking_;
};

} // namespace merlode
