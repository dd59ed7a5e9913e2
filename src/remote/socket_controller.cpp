// Roles: the sequences that lead from one to another. What travels over the link is in
// socket_controller_messages.cpp.

#include "remote/socket_controller.h"

#include "base/notification_names.h"
#include "base/session.h"
#include "platform/alerts.h"
#include "platform/user_defaults.h"
#include "players/player_controller.h"
#include "remote/remote_action_controller.h"
#include "remote/remoteitunes_key_fetcher.h"
#include "search/search_controller.h"

#include <QLoggingCategory>

#include <algorithm>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(log, "merlode.remote", QtWarningMsg)

// Seconds for which an own service that is seen still is taken for what is left of a stopped server.
constexpr double kOwnServiceLinger = 5.0;

// Seconds from the end of a server to the look at who else is there.
constexpr double kLookAfterStop = 1.0;

void handleMessage(const QVariantMap& message) {
    RemoteActionController::sharedController().handleRemoteMessage(message);
}

} // namespace

SocketController& SocketController::sharedController() {
    return Session::current().shared<SocketController>();
}

SocketController::SocketController()
    : session_(Session::current()), defaults_(session_.port<UserDefaults>()) {}

SocketController::~SocketController() {
    discoverTimer_.invalidate();
    if (!socketClient_)
        return;
    socketClient_->observeCurrentServerName(nullptr); // the observer is a younger controller, and gone
    socketClient_->disconnectFromHost(false);
}

SocketClient& SocketController::socketClient() {
    if (!socketClient_) {
        socketClient_ = SocketClient::make(session_, handleMessage);
        socketClient_->delegate = weak_from_this();
        socketClient_->observeCurrentServerName(
            [](const QString& name) { PlayerController::sharedController().observeCurrentServerName(name); });
    }
    return *socketClient_;
}

SocketServer& SocketController::socketServer() {
    if (!socketServer_) {
        socketServer_ = SocketServer::make(session_, handleMessage);
        socketServer_->serverDelegate = weak_from_this();
    }
    return *socketServer_;
}

// State, and who hears of it.

void SocketController::post(NotificationName name) {
    session_.notificationCenter().post(name);
}

void SocketController::setConnecting(bool connecting) {
    connecting_ = connecting;
    post(notifications::kSocketClientConnectionStateChanged);
}

void SocketController::setConnectedToHost(bool connected) {
    connectedToHost_ = connected;
    RemoteiTunesKeyFetcher::sharedFetcher().removeAllReferences(); // a former server's answers have no place
    post(notifications::kServerConnectionChanged);
}

void SocketController::setClientHostName(const std::optional<QString>& name) {
    clientHostName_ = name;
    if (name)
        defaults_.set(defaults::kLastHostName, *name);
    post(notifications::kRemoteClientHostNameUpdated);
}

void SocketController::forgetHost() {
    setConnectedToHost(false);
    setConnecting(false);
    setClientHostName(std::nullopt);
    desiredHost_.reset();
}

void SocketController::postServerState(bool controlMac) {
    defaults_.set(defaults::kControlMac, controlMac);
    post(notifications::kSocketServerStateChanged);
}

// What was shown was another machine's, or is another machine's from now on.
void SocketController::clearWhatWasShown() {
    SearchController::sharedController().clearSearchResults(false);
    PlayerController::sharedController().clearCurrentTrackData();
}

void SocketController::showAlert(const QString& title, const QString& message) {
    session_.port<Alerts>().runModal({title, message, {QStringLiteral("OK")}});
}

void SocketController::later(Completion work) {
    if (!work)
        return;
    session_.runLoop().async([weak = weak_from_this(), work = std::move(work)] {
        if (weak.lock())
            work();
    });
}

// Looking around.

void SocketController::discoverHosts(Completion completion) {
    if (discoveringHosts_)
        return;
    discoveringHosts_ = true;
    discoverCompletion_ = std::move(completion);
    socketClient().discoverHosts();
}

void SocketController::socketClientWillSearch() {
    if (discoverCompletion_)
        startDiscoverTimer();
}

void SocketController::startDiscoverTimer() {
    discoverTimer_ = session_.runLoop().after(kDiscoverSearchWaitTime, [this] { discoverTimerEnded(); });
}

void SocketController::stopDiscoverTimer() {
    discoverTimer_.invalidate();
}

void SocketController::discoverTimerEnded() {
    socketClientDiscoverSearchFinished();
}

void SocketController::socketClientDiscoverSearchFinished() {
    stopDiscoverTimer();
    qCInfo(log).nospace() << "search finished with " << socketClient().hosts().size() << " hosts";
    later(discoverCompletion_);
    discoveringHosts_ = false;
    later([this] { post(notifications::kSocketHostListDidChange); });
}

// The server.

bool SocketController::nameTaken() {
    const auto name = defaults_.valueFor(defaults::kHostName);
    return !name || socketClient().hostList().contains(*name);
}

void SocketController::startServer() {
    if (socketServer_)
        return;
    if (nameTaken()) {
        showAlert(kNameTakenAlertTitle, kNameTakenAlertMessage);
        return postServerState(false);
    }
    if (!socketClient().connected())
        return socketServer().start();
    disconnectCompletion_ = [this] {
        qCInfo(log) << "disconnect complete";
        socketServer().start();
        disconnectCompletion_ = nullptr;
    };
    socketClient().disconnectFromHost(false);
}

void SocketController::stopServer(bool connectToSelfAfterwards, Completion completion) {
    stopCompletion_ = std::move(completion);
    if (connectToSelfAfterwards) {
        stopCompletion_ = [this] {
            connectToSelf();
            session_.runLoop().asyncAfter(kLookAfterStop, [weak = weak_from_this()] {
                if (const auto self = weak.lock())
                    self->discoverHosts();
            });
            stopCompletion_ = nullptr;
        };
    }
    if (socketServer_)
        socketServer_->stop();
    else
        later(stopCompletion_);
}

void SocketController::killSever() {
    stopCompletion_ = nullptr;
    if (!socketServer_)
        return;
    defaults_.set(defaults::kWantServer, true);
    socketServer_->stop();
}

void SocketController::netServiceDidPublish(const ServiceDiscovery::Service& service) {
    qCInfo(log) << "socket server open on port:" << service.port;
    forgetHost();
    postServerState(true);
    discoverHosts();
}

void SocketController::netServiceDidStop(const ServiceDiscovery::Service& service) {
    qCInfo(log).noquote() << "socket server closed -" << service.name;
    serverStopTime_ = session_.runLoop().now() + kOwnServiceLinger;
    setConnectedToHost(false);
    setConnecting(false);
    const auto stopped = std::exchange(socketServer_, nullptr); // it is the caller: it goes after this turn
    postServerState(false);
    later(stopCompletion_);
    later([stopped] {});
}

// The client.

void SocketController::connectToHostName(const QString& name) {
    setConnecting(true);
    const auto ownName = defaults_.valueFor(defaults::kHostName);
    if (!ownName)
        return forgetHost();
    if (name == ownName)
        return connectToOwnName();
    if (clientHostName_ == name)
        return setConnecting(false);
    const auto service = findHost(name);
    if (!service)
        return setConnecting(false);
    if (const auto controlMac = defaults_.optionalBoolFor(defaults::kControlMac))
        defaults_.set(defaults::kWantServer, *controlMac); // for the way back
    if (!socketClient().connected())
        return leaveServerAndConnect(*service);
    disconnectCompletion_ = [this, service = *service] {
        leaveServerAndConnect(service);
        disconnectCompletion_ = nullptr;
    };
    disconnectFromHost(false);
}

void SocketController::connectToOwnName() {
    showAlert(kHostNameTakenAlertTitle, kHostNameTakenAlertMessage);
    socketClient().setCurrentServerName({});
    setClientHostName(std::nullopt);
    if (socketClient().connected())
        disconnectFromHost(false);
    setConnecting(false);
    setConnectedToHost(false);
}

std::optional<HostService> SocketController::findHost(const QString& name) {
    const auto& hosts = socketClient().hosts();
    const auto found = std::ranges::find(hosts, name, &HostService::name);
    return found == hosts.end() ? hostAtAddress(name) : std::optional(*found);
}

void SocketController::leaveServerAndConnect(const HostService& service) {
    desiredHost_.reset();
    setClientHostName(std::nullopt);
    stopServer(false, [this, service] {
        desiredHost_ = service;
        socketClient().connectToHost(service);
        stopCompletion_ = nullptr;
    });
}

void SocketController::connectToSelf() {
    socketClient().setCurrentServerName({});
    setClientHostName(std::nullopt);
    if (socketClient().connected())
        disconnectFromHost(false);
    setConnecting(false);
    setConnectedToHost(false);
    if (defaults_.boolFor(defaults::kWantServer))
        startServer();
}

void SocketController::disconnectFromHost(bool alert) {
    socketClient().disconnectFromHost(alert);
}

void SocketController::socketClientConnectedToHost(const SocketPtr&, const QString& host, quint16) {
    setConnectedToHost(true);
    setConnecting(false);
    if (desiredHost_)
        setClientHostName(desiredHost_->name);
    desiredHost_.reset();
    qCInfo(log).noquote() << "socket client connected to address:" << host;
    clearWhatWasShown();
    postServerState(false);
    // A marker that no server looks at: what counts is the address that the message gets on its way.
    sendMessageToHost(RemoteAction::requestBroadcast, {{QStringLiteral("Iam"), QStringLiteral("quietfern")}});
    discoverHosts();
}

void SocketController::socketClientDisconnectedFromHost(bool alert, const SocketPtr&, const QString& error) {
    qCInfo(log).noquote() << "socket client disconnected -" << error;
    forgetHost();
    socketClient().setCurrentServerName({});
    post(notifications::kSocketHostListDidChange);
    clearWhatWasShown();
    if (alert) {
        showAlert(QStringLiteral("Server disconnected!"), {});
        return discoverHosts([this] {
            socketClient().disconnectAlert = false; // one attempt: when that fails, too, nobody is told
            if (const auto name = defaults_.valueFor(defaults::kLastHostName))
                connectToHostName(*name);
        });
    }
    if (disconnectCompletion_)
        return later(disconnectCompletion_);
    discoverHosts();
}

// The name.

void SocketController::changeHostName(const QString& name) {
    if (defaults_.valueFor(defaults::kHostName) == name)
        return;
    defaults_.set(defaults::kHostName, name);
    if (defaults_.boolFor(defaults::kControlMac)) {
        // The name is held against a fresh list before it is announced.
        stopServer(false, [this] { discoverHosts([this] { startServer(); }); });
    } else if (socketClient().connected() && clientHostName_) {
        disconnectCompletion_ = [this, host = *clientHostName_] {
            discoverHosts([this, host] {
                connectToHostName(host);
                discoverCompletion_ = nullptr;
            });
            disconnectCompletion_ = nullptr;
        };
        socketClient().disconnectFromHost(false);
    } else {
        setClientHostName(std::nullopt);
    }
}

} // namespace merlode
