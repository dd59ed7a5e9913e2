#include "app/link_commands.h"

#include "base/control_interface.h"
#include "base/notification_names.h"
#include "base/session.h"
#include "platform/service_discovery.h"
#include "platform/user_defaults.h"
#include "remote/socket_controller.h"

#include <QStringList>

#include <algorithm>
#include <array>

namespace merlode {

namespace {

// Seconds between two looks at whether a command has come to its end. Nobody is told of every step.
constexpr double kLookInterval = 0.02;

// Looks for one host before it counts as not there.
constexpr int kLooksForOne = 2;

// So many looks in a row at a link that does nothing mean that what was begun came to nothing.
constexpr int kIdleLooks = 15;

ControlError failed(const QString& message) {
    return {QString::fromLatin1(control::kErrorFailed), message};
}

ControlError invalid(const QString& message) {
    return {QString::fromLatin1(control::kErrorInvalidArgument), message};
}

ControlError fromAlert(const Alert& alert) {
    return failed(alert.informativeText.isEmpty()
                      ? alert.messageText
                      : alert.messageText + QStringLiteral(": ") + alert.informativeText);
}

// Why this is no name for a machine; empty for a name.
QString whyNoName(const QString& name) {
    if (name.trimmed().isEmpty())
        return QStringLiteral("A name needs at least one letter.");
    if (const auto bytes = name.toUtf8().size(); bytes > ServiceDiscovery::kMostNameBytes)
        return QStringLiteral("The name takes %1 bytes; the network allows %2.")
            .arg(bytes)
            .arg(ServiceDiscovery::kMostNameBytes);
    if (std::ranges::any_of(name, [](QChar c) { return c.category() == QChar::Other_Control; }))
        return QStringLiteral("A name is one line without control characters.");
    return {};
}

} // namespace

QString linkRole(const SocketController& controller) {
    if (const auto& host = controller.clientHostName())
        return QStringLiteral("client of ") + *host;
    return controller.isServer() ? QStringLiteral("server") : QStringLiteral("local");
}

/// A command that is being carried out.
struct LinkCommands::Task {
    Done done;
    std::optional<Alert> alert{};
    std::unique_ptr<DivertedAlerts::Diversion> diversion{};
    std::array<Observation, 2> changes{};
    bool wasDown = false; ///< the server, or the connection, since the command began
    Timer looking{};
    Timer limit{};
};

LinkCommands::LinkCommands(Session& session, DivertedAlerts& alerts)
    : session_(session),
      alerts_(alerts),
      defaults_(session.port<UserDefaults>()),
      controller_(SocketController::sharedController()) {}

LinkCommands::~LinkCommands() = default;

QString LinkCommands::ownName() const {
    return defaults_.valueFor(defaults::kHostName).value_or(QString());
}

// The course of a command.

bool LinkCommands::begin(const Done& done) {
    if (task_) {
        done(failed(QStringLiteral("Another command for the link is being carried out.")));
        return false;
    }
    task_ = std::make_unique<Task>(Task{done});
    task_->diversion = std::make_unique<DivertedAlerts::Diversion>(
        alerts_, [task = task_.get()](const Alert& alert) { task->alert = alert; });
    return true;
}

void LinkCommands::finish(const Answer& answer) {
    const auto task = std::exchange(task_, nullptr);
    task->diversion.reset();
    task->done(answer);
}

void LinkCommands::waitFor(Look look, std::function<Answer()> late) {
    task_->limit = session_.runLoop().after(kMostTime, [this, late = std::move(late)] { finish(late()); });
    task_->looking = session_.runLoop().every(kLookInterval, [this, look = std::move(look)] {
        if (task_->alert)
            finish(fromAlert(*task_->alert));
        else if (const auto answer = look())
            finish(*answer);
    });
}

// A look that is under way already will do: it has begun with an empty list. One without an end, which goes
// on until somebody comes up, is given as long as one of our own.
void LinkCommands::lookAround(std::function<void()> then) {
    if (!controller_.discoveringHosts())
        controller_.discoverHosts([] {}); // without a completion it would know no end
    const double limit = controller_.kDiscoverSearchWaitTime + kLookInterval;
    looks_.push_back({std::move(then), session_.runLoop().uptime() + limit});
    looking_ = session_.runLoop().every(kLookInterval, [this] { endLooks(); });
}

void LinkCommands::endLooks() {
    const bool looked = !controller_.discoveringHosts();
    const double now = session_.runLoop().uptime();
    const auto ended = std::stable_partition(
        looks_.begin(), looks_.end(), [&](const auto& pending) { return !looked && pending.limit > now; });
    std::vector<PendingLook> over;
    std::move(ended, looks_.end(), std::back_inserter(over));
    looks_.erase(ended, looks_.end());
    if (looks_.empty())
        looking_.invalidate();
    for (const auto& pending : over)
        pending.then();
}

// Hosts.

void LinkCommands::hosts(std::function<void(const QVariantMap&)> done) {
    lookAround([this, done = std::move(done)] {
        QStringList names;
        for (const auto& host : controller_.socketClient().hosts()) {
            if (!controller_.isServer() || host.name != ownName())
                names << host.name;
        }
        QVariantMap answer{{QStringLiteral("role"), linkRole(controller_)},
                           {QStringLiteral("name"), ownName()},
                           {QStringLiteral("hosts"), names}};
        if (const auto& host = controller_.clientHostName())
            answer.insert(QStringLiteral("connected"), *host);
        if (const auto reason = session_.port<ServiceDiscovery>().unavailableReason(); !reason.isEmpty())
            answer.insert(QStringLiteral("problem"), reason);
        done(answer);
    });
}

void LinkCommands::connectTo(const QString& name, const Done& done) {
    if (controller_.clientHostName() == name)
        return done(QStringLiteral("Connected to %1 already.").arg(name));
    if (!begin(done))
        return;
    const auto& hosts = controller_.socketClient().hosts();
    if (name == ownName() || hostAtAddress(name) || std::ranges::count(hosts, name, &HostService::name) > 0)
        return connectNow(name);
    lookAround([this, name] { connectToFound(name, kLooksForOne); });
}

void LinkCommands::connectToFound(const QString& name, int looksLeft) {
    const auto& hosts = controller_.socketClient().hosts();
    if (std::ranges::count(hosts, name, &HostService::name) > 0)
        return connectNow(name);
    if (looksLeft > 1) // somebody else may have begun a look of their own, which empties the list
        return lookAround([this, name, looksLeft] { connectToFound(name, looksLeft - 1); });
    const auto reason = session_.port<ServiceDiscovery>().unavailableReason();
    if (reason.isEmpty())
        return finish(
            invalid(QStringLiteral("No host \"%1\" was found; \"merlodectl hosts\" lists those that were.")
                        .arg(name)));
    finish(failed(QStringLiteral("Hosts cannot be found here (%1). An address will do: "
                                 "\"merlodectl connect 192.168.1.7:4711\".")
                      .arg(reason)));
}

void LinkCommands::connectNow(const QString& name) {
    if (!controller_.connectedToHost())
        controller_.socketClient().disconnectAlert =
            false; // of a former connection; who asks here is answered
    controller_.connectToHostName(name);
    const auto giveUp = [this, name] {
        controller_.connectToSelf(); // nothing else ends an attempt that nobody answers
        return Answer(failed(QStringLiteral("The host \"%1\" does not answer.").arg(name)));
    };
    const auto look = [this, name, giveUp, begun = false, idleLooks = 0]() mutable -> std::optional<Answer> {
        if (controller_.clientHostName() == name)
            return QStringLiteral("Connected to %1.").arg(name);
        const bool named = controller_.socketClient().currentServerName() == name;
        begun = begun || named;
        const bool busy =
            named || controller_.connecting() || controller_.connectedToHost() || controller_.isServer();
        idleLooks = busy ? 0 : idleLooks + 1;
        if ((begun && !named) || idleLooks > kIdleLooks)
            return giveUp();
        return std::nullopt;
    };
    waitFor(look, giveUp);
}

void LinkCommands::disconnect(const Done& done) {
    if (!controller_.connectedToHost() && !controller_.connecting())
        return done(failed(QStringLiteral("This machine is connected to no host.")));
    if (!begin(done))
        return;
    controller_.connectToSelf();
    waitFor(
        [this]() -> std::optional<Answer> {
            return controller_.connectedToHost() ? std::nullopt : std::optional<Answer>(QString());
        },
        [] { return failed(QStringLiteral("The connection does not end.")); });
}

// The server.

void LinkCommands::serve(bool on, const Done& done) {
    if (!begin(done))
        return;
    if (!on)
        return stopServing();
    if (controller_.isServer())
        return waitForServer();
    if (const auto wrong = whyNoName(ownName()); !wrong.isEmpty())
        return finish(invalid(wrong + QStringLiteral(" Choose one with \"merlodectl name NEW\".")));
    // The list may be old, and hold what this machine itself announced a moment ago.
    if (controller_.nameTaken())
        lookAround([this] { startServing(); });
    else
        startServing();
}

void LinkCommands::startServing() {
    defaults_.set(defaults::kWantServer, true);
    controller_.startServer();
    if (task_->alert)
        return finish(noServer(fromAlert(*task_->alert).message));
    waitForServer();
}

void LinkCommands::waitForServer() {
    waitFor([this] { return servingAnswer(); },
            [this] { return Answer(noServer(QStringLiteral("The server does not come up."))); });
}

ControlError LinkCommands::noServer(const QString& why) {
    defaults_.set(defaults::kWantServer, false);
    if (controller_.isServer())
        controller_.stopServer(false, nullptr);
    return failed(why);
}

std::optional<LinkCommands::Answer> LinkCommands::servingAnswer() {
    if (!controller_.isServer())
        return std::nullopt;
    const auto problem = controller_.announcementProblem();
    if (problem == ServiceDiscovery::nameIsTaken())
        return noServer(
            QStringLiteral("%1: \"%2\" is taken. Choose another name with \"merlodectl name NEW\".")
                .arg(controller_.kNameTakenAlertTitle, ownName()));
    const auto port = controller_.serverPort();
    if (!problem.isEmpty())
        return QStringLiteral("Everybody on this network can control playback here now, but that cannot be "
                              "announced (%1). Others write: merlodectl connect ADDRESS:%2")
            .arg(problem)
            .arg(port);
    if (!defaults_.boolFor(defaults::kControlMac))
        return std::nullopt;
    return QStringLiteral("Everybody on this network can control playback here now, as \"%1\" (port %2).")
        .arg(ownName())
        .arg(port);
}

void LinkCommands::stopServing() {
    defaults_.set(defaults::kControlMac, false);
    defaults_.set(defaults::kWantServer, false);
    if (!controller_.isServer())
        return finish(QString());
    controller_.stopServer(true, nullptr);
    waitFor(
        [this]() -> std::optional<Answer> {
            return controller_.isServer() ? std::nullopt : std::optional<Answer>(QString());
        },
        [] { return failed(QStringLiteral("The server does not end.")); });
}

// The name.

void LinkCommands::rename(const QString& name, const Done& done) {
    if (const auto wrong = whyNoName(name); !wrong.isEmpty())
        return done(invalid(wrong));
    if (name == ownName())
        return done(QString());
    if (!begin(done))
        return;
    // A look around that is under way would swallow the one that the change needs.
    const auto change = [this, name] { changeName(name); };
    if (controller_.discoveringHosts() && (controller_.isServer() || controller_.connectedToHost()))
        lookAround(change);
    else
        change();
}

void LinkCommands::changeName(const QString& name) {
    const bool serving = controller_.isServer() && defaults_.boolFor(defaults::kControlMac); // and announced
    const auto host = controller_.clientHostName();
    // The link goes down and comes up again, perhaps at once.
    const auto note = [this, serving, task = task_.get()](const Notification&) {
        task->wasDown |= serving ? !controller_.isServer() : !controller_.connectedToHost();
    };
    auto& center = session_.notificationCenter();
    task_->changes = {center.addObserver(notifications::kServerConnectionChanged, note),
                      center.addObserver(notifications::kSocketServerStateChanged, note)};
    controller_.changeHostName(name);
    if (!serving && !host)
        return finish(QString());
    waitFor(
        [this, serving, host]() -> std::optional<Answer> {
            if (!task_->wasDown)
                return std::nullopt;
            if (serving)
                return servingAnswer();
            return controller_.clientHostName() == host ? std::optional<Answer>(QString()) : std::nullopt;
        },
        [serving] {
            return failed(serving ? QStringLiteral("The name is changed, but the server did not come back.")
                                  : QStringLiteral("The name is changed, but the host is gone."));
        });
}

} // namespace merlode
