#include "base/property_list.h"
#include "remote/socket_server.h"
#include "support/in_memory_network.h"
#include "support/player_fixture.h"
#include "support/socket_contract.h"

namespace merlode {
namespace {

/// Announces nothing, and lets a test say what came of it.
struct SilentDiscovery final : ServiceDiscovery {
    struct Announcement final : Activity {
        explicit Announcement(std::function<void()> didStopToCall) : didStop(std::move(didStopToCall)) {}
        void stop() override { Session::current().runLoop().async(didStop); }
        std::function<void()> didStop;
    };
    std::unique_ptr<Activity> publish(const Service& service, PublishCallbacks callbacks) override {
        announced = service;
        Session::current().runLoop().async(callbacks.didPublish);
        return std::make_unique<Announcement>(callbacks.didStop);
    }
    std::unique_ptr<Activity> browse(const QString&, BrowseCallbacks) override { return {}; }
    std::unique_ptr<Activity> resolve(const QString&, const QString&, double, ResolveCallbacks) override {
        return {};
    }
    QString unavailableReason() const override { return {}; }
    Service announced;
};

struct DelegateOfServer final : SocketServerDelegate {
    QStringList told;
    void netServiceDidPublish(const ServiceDiscovery::Service& service) override {
        told << u"published "_qs + service.name;
    }
    void netServiceDidStop(const ServiceDiscovery::Service& service) override {
        told << u"stopped "_qs + service.name;
    }
};

class SocketServerTest : public PlayerFixture {
  protected:
    using SocketPtr = std::shared_ptr<GCDAsyncSocket>;

    SocketServerTest() {
        test.session.installReference<StreamNetwork>(network.machine(u"10.0.0.1"_qs));
        test.session.installReference<ServiceDiscovery>(discovery);
        server = SocketServer::make(test.session, [this](const auto& message) { handled << message; });
        server->serverDelegate = delegate;
        userDefaults.set(defaults::kHostName, u"Living Room"_qs);
        server->start();
        settle();
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
        EXPECT_TRUE(socket->connectToAddress({u"10.0.0.1"_qs, discovery.announced.port}, &error));
        settle();
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
    SilentDiscovery discovery;
    QVariantList handled;
    std::shared_ptr<DelegateOfServer> delegate = std::make_shared<DelegateOfServer>();
    std::shared_ptr<SocketRecorder> client = std::make_shared<SocketRecorder>();
    std::shared_ptr<SocketServer> server;
};

TEST_F(SocketServerTest, MessagesAreReadOneAfterTheOtherUntilOneIsNone) {
    const QVariantMap good = remoteMessage(u"setVolume"_qs, {{u"volume"_qs, 40},
                                                             {u"on"_qs, true},
                                                             {u"art"_qs, QByteArray("\0\r\n", 3)},
                                                             {u"share"_qs, 0.5},
                                                             {u"list"_qs, QVariantList{-1, QVariantMap()}}});
    const auto read = property_list::parse(serializeMessage(good).chopped(2)).value_or(QVariant()).toMap();
    EXPECT_EQ(read, good);
    EXPECT_EQ(read[u"payload"_qs].toMap()[u"on"_qs].typeId(), QMetaType::Bool);
    EXPECT_NE(read[u"payload"_qs].toMap()[u"volume"_qs].typeId(), QMetaType::Bool);
    EXPECT_EQ(serializeMessage(remoteMessage(u"x"_qs, {{u"y"_qs, QVariantList{QVariant()}}})), QByteArray());

    const auto list = [](const QByteArray& content) { return "<plist>" + content + "</plist>\r\n"; };
    struct Row {
        const char* name;
        QByteArray sent;
        bool readOn;
    };
    const Row rows[] = {
        {"several at once", serializeMessage(good) + serializeMessage(good), true},
        {"a dictionary that is no message", list("<dict><key>action</key><true/></dict>"), true},
        {"nothing but the end", "\r\n", false},
        {"no property list", "GET / HTTP/1.1\r\n", false},
        {"no dictionary", list("<array/>"), false},
        {"a line end in a name", serializeMessage(remoteMessage(u"a\r\nb"_qs, {})), false},
        {"nesting without end", list(QByteArray("<array>").repeated(200'000)), false},
        {"nesting behind comments", list(QByteArray("<array><!--</array>-->").repeated(100'000)), false},
        {"references that cost", list("<string>" + QByteArray("&amp;").repeated(400'000) + "</string>"),
         false},
        {"keys that cost", list("<dict>" + QByteArray("<key>k</key><true/>").repeated(200'000) + "</dict>"),
         false},
    };
    for (const auto& [name, sent, readOn] : rows) {
        SCOPED_TRACE(name);
        const auto socket = connect(u"10.0.0.2"_qs);
        handled.clear();
        socket->writeData(sent, 1);
        settle();
        EXPECT_EQ(handled.isEmpty(), !readOn);
        const auto before = handled.size();
        socket->writeData(serializeMessage(good), 1);
        settle();
        EXPECT_EQ(handled.size(), before + (readOn ? 1 : 0));
        EXPECT_EQ(server->connectedSockets().size(), 1U);
        socket->disconnect();
        settle();
        EXPECT_TRUE(server->connectedSockets().empty());
    }
}

TEST_F(SocketServerTest, MessagesGoToAllToOneOrToAnAddress) {
    server->broadcastMessage(u"trackChanged"_qs, QVariantMap());
    const auto first = connect(u"10.0.0.2"_qs);
    const auto second = connect(u"10.0.0.3"_qs);
    const auto third = connect(u"10.0.0.2"_qs);
    const QVariantMap volume{{u"volume"_qs, 7}};
    controller().remoteClientName = u"Kitchen"_qs;
    server->broadcastMessage(u"trackChanged"_qs, QVariantMap());
    server->broadcastMessage(u"trackChanged"_qs, std::nullopt);
    server->broadcastMessage(u"setVolume"_qs, volume);
    EXPECT_EQ(received(), (QStringList() << QStringList(3, u"trackChanged ClientName=Kitchen"_qs)
                                         << QStringList(3, u"trackChanged"_qs)
                                         << QStringList(3, u"setVolume volume=7"_qs)));
    const auto two = server->getClientSocketFromAddress(u"10.0.0.3"_qs);
    EXPECT_EQ(server->clientSocketWithIdentifier(two->identifier()), two);
    EXPECT_EQ(server->getClientSocketFromAddress(u"10.0.0.4"_qs), nullptr);
    server->broadcastMessage(u"setVolume"_qs, volume, two);
    const auto alert = [this] { server->broadcastAlertToClient({{u"title"_qs, u"T"_qs}}, u"10.0.0.2"_qs); };
    alert();
    server->broadcastRemoteSearch({{u"searchTerm"_qs, u"s"_qs}}, u"10.0.0.3"_qs);
    server->broadcastRemoteSearch({}, u"10.0.0.4"_qs);
    EXPECT_EQ(received(), (QStringList{u"setVolume volume=7"_qs, u"showAlert title=T"_qs,
                                       u"processSearchResults searchTerm=s"_qs}));
    first->disconnect();
    second->disconnect();
    settle();
    alert();
    server->broadcastMessage(u"setVolume"_qs, volume, two);
    EXPECT_EQ(received(), QStringList(u"showAlert title=T"_qs)) << "the third, which has that address too";
}

TEST_F(SocketServerTest, StopsWithAllThatItStarted) {
    EXPECT_EQ(delegate->told, QStringList(u"published Living Room"_qs));
    EXPECT_EQ(discovery.announced.type, u"_Merlode._tcp."_qs);
    const auto early = connect(u"10.0.0.2"_qs);
    const auto late = std::make_shared<GCDAsyncSocket>(client, test.loop, network.machine(u"10.0.0.3"_qs));
    QString error;
    late->connectToAddress({u"10.0.0.1"_qs, discovery.announced.port}, &error);
    wire.runUntilIdle(); // accepted, but the server has not heard of it
    client->readNext(late);
    server->stop();
    settle();
    EXPECT_EQ(delegate->told, (QStringList{u"published Living Room"_qs, u"stopped Living Room"_qs}));
    EXPECT_TRUE(client->endOf(early) && client->endOf(late));
    EXPECT_TRUE(server->connectedSockets().empty());
}

} // namespace
} // namespace merlode
