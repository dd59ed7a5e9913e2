#include "base/property_list.h"
#include "remote/socket_server.h"
#include "support/in_memory_network.h"
#include "support/player_fixture.h"
#include "support/socket_contract.h"

namespace merlode {
namespace {

/// A network that takes every announcement, and a delegate that writes down what came of it.
struct Announcements final : ServiceDiscovery, SocketServerDelegate {
    struct Announcement final : Activity {
        explicit Announcement(std::function<void()> toCall) : didStop(std::move(toCall)) {}
        void stop() override { Session::current().runLoop().async(didStop); }
        std::function<void()> didStop;
    };
    std::unique_ptr<Activity> publish(const Service&, PublishCallbacks callbacks) override {
        Session::current().runLoop().async(callbacks.didPublish);
        return std::make_unique<Announcement>(callbacks.didStop);
    }
    std::unique_ptr<Activity> browse(const QString&, BrowseCallbacks) override { return {}; }
    std::unique_ptr<Activity> resolve(const QString&, const QString&, double, ResolveCallbacks) override {
        return {};
    }
    QString unavailableReason() const override { return {}; }
    void netServiceDidPublish(const Service& service) override { told << u"up"_qs << service.type; }
    void netServiceDidStop(const Service& service) override { told << u"down"_qs << service.name; }
    QStringList told;
};

class SocketServerTest : public PlayerFixture {
  protected:
    using SocketPtr = std::shared_ptr<GCDAsyncSocket>;

    SocketServerTest() {
        test.session.installReference<StreamNetwork>(network.machine(u"10.0.0.1"_qs));
        test.session.installReference<ServiceDiscovery>(*announcements);
        server = SocketServer::make(test.session, [this](const auto& message) { handled << message; });
        server->serverDelegate = announcements;
        userDefaults.set(defaults::kHostName, u"Living Room"_qs);
        server->start();
    }
    void settle() {
        for (int turn = 0; turn < 20; ++turn) {
            wire.runUntilIdle();
            test.loop.runUntilIdle();
        }
    }
    SocketPtr connect(const QString& from) {
        auto socket = std::make_shared<GCDAsyncSocket>(client, test.loop, network.machine(from));
        QString error;
        EXPECT_TRUE(socket->connectToAddress({u"10.0.0.1"_qs, server->server()->localPort()}, &error));
        wire.runUntilIdle();
        client->readNext(socket);
        return socket;
    }
    /// The actions that have come to clients since the last call, each with its payload's keys and values.
    QStringList received() {
        settle();
        QStringList actions;
        for (const auto& data : std::exchange(client->read, {})) {
            const auto message = property_list::parse(data.chopped(2)).value_or(QVariant()).toMap();
            actions << message[u"action"_qs].toString();
            const auto payload = message[u"payload"_qs].toMap();
            for (auto entry = payload.begin(); entry != payload.end(); ++entry)
                actions.back() += u' ' + entry.key() + u'=' + entry.value().toString();
        }
        return actions;
    }

    VirtualRunLoop wire;
    InMemoryNetwork network{wire};
    QVariantList handled;
    std::shared_ptr<Announcements> announcements = std::make_shared<Announcements>();
    std::shared_ptr<SocketRecorder> client = std::make_shared<SocketRecorder>();
    std::shared_ptr<SocketServer> server;
};

TEST_F(SocketServerTest, MessagesAreReadOneAfterTheOtherUntilOneIsNone) {
    const QVariantMap message = remoteMessage(
        u"setVolume"_qs, {{u"volume"_qs, 1}, {u"on"_qs, true}, {u"art"_qs, QByteArray("\0\r\n", 3)}});
    EXPECT_EQ(serializeMessage(remoteMessage(u"x"_qs, {{u"y"_qs, QVariantList{QVariant()}}})), QByteArray());
    const auto good = serializeMessage(message);
    const auto list = [](const QByteArray& content) { return "<plist>" + content + "</plist>\r\n"; };
    struct Row {
        const char* name;
        QByteArray sent;
        int handled;
    };
    const Row rows[] = {
        {"several at once", good + good, 2},
        {"a dictionary that is no message", list("<dict><key>action</key><true/></dict>"), 1},
        {"nothing but the end", "\r\n", 0},
        {"no property list", "GET / HTTP/1.1\r\n", 0},
        {"no dictionary", list("<array/>"), 0},
        {"a line end in a name", serializeMessage(remoteMessage(u"a\r\nb"_qs, {})), 0},
        {"nesting without end", list(QByteArray("<array>").repeated(200'000)), 0},
        {"nesting behind comments", list(QByteArray("<array><!--</array>-->").repeated(100'000)), 0},
        {"references that cost", list("<string>" + QByteArray("&amp;").repeated(400'000) + "</string>"), 0},
        {"keys that cost", list("<dict>" + QByteArray("<key>k</key><true/>").repeated(200'000) + "</dict>"),
         0},
    };
    for (const auto& [name, sent, expected] : rows) {
        const auto socket = connect(u"10.0.0.2"_qs);
        handled.clear();
        socket->writeData(sent, 1);
        socket->writeData(good, 1);
        settle();
        EXPECT_EQ(handled.size(), expected + (expected ? 1 : 0)) << name;
        EXPECT_TRUE(!expected || handled.back() == message);
        EXPECT_EQ(server->connectedSockets().size(), 1U);
        socket->disconnect();
        settle();
        EXPECT_TRUE(server->connectedSockets().empty());
    }
}

TEST_F(SocketServerTest, MessagesGoToAllToOneOrToAnAddress) {
    const auto volume = [this](const SocketPtr& to) {
        server->broadcastMessage(u"setVolume"_qs, QVariantMap{{u"volume"_qs, 7}}, to);
    };
    volume({});
    const auto first = connect(u"10.0.0.2"_qs);
    const auto second = connect(u"10.0.0.3"_qs);
    const auto third = connect(u"10.0.0.2"_qs);
    settle();
    controller().remoteClientName = u"Kitchen"_qs;
    server->broadcastMessage(u"trackChanged"_qs, QVariantMap());
    server->broadcastMessage(u"trackChanged"_qs, std::nullopt);
    volume({});
    EXPECT_EQ(received(), (QStringList() << QStringList(3, u"trackChanged ClientName=Kitchen"_qs)
                                         << QStringList(3, u"trackChanged"_qs)
                                         << QStringList(3, u"setVolume volume=7"_qs)));
    const auto two = server->getClientSocketFromAddress(u"10.0.0.3"_qs);
    EXPECT_EQ(server->clientSocketWithIdentifier(two->identifier()), two);
    EXPECT_EQ(server->getClientSocketFromAddress(u"10.0.0.4"_qs), nullptr);
    const auto alert = [this] { server->broadcastAlertToClient({{u"title"_qs, u"T"_qs}}, u"10.0.0.2"_qs); };
    volume(two);
    alert();
    server->broadcastRemoteSearch({{u"searchTerm"_qs, u"s"_qs}}, u"10.0.0.3"_qs);
    server->broadcastRemoteSearch({}, u"10.0.0.4"_qs);
    EXPECT_EQ(received(), (QStringList{u"setVolume volume=7"_qs, u"showAlert title=T"_qs,
                                       u"processSearchResults searchTerm=s"_qs}));
    first->disconnect();
    second->disconnect();
    settle();
    volume(two);
    alert();
    EXPECT_EQ(received(), QStringList(u"showAlert title=T"_qs)) << "the third, which has that address too";
}

TEST_F(SocketServerTest, StopsWithAllThatItStarted) {
    const auto early = connect(u"10.0.0.2"_qs);
    settle();
    const auto late = connect(u"10.0.0.3"_qs); // accepted, but the server has not heard of it
    server->stop();
    settle();
    EXPECT_EQ(announcements->told,
              (QStringList{u"up"_qs, u"_Merlode._tcp."_qs, u"down"_qs, u"Living Room"_qs}));
    EXPECT_TRUE(client->endOf(early) && client->endOf(late) && server->connectedSockets().empty());
}

} // namespace
} // namespace merlode
