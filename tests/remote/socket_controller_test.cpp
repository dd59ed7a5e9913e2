#include "support/neighbourhood.h"

namespace merlode {
namespace {

const QStringList kLost{u"Server disconnected!"_qs};

class SocketControllerTest : public Neighbourhood {};

TEST_F(SocketControllerTest, AClientShowsAndDrivesThePlayerOfItsServer) {
    den.desktop.start(den.iTunes).playing(u"Kite"_qs);
    join();
    EXPECT_EQ(den.role(), u"server");
    EXPECT_EQ(kitchen.role(), u"client of Den");
    EXPECT_EQ(kitchen.userDefaults.valueFor(defaults::kLastHostName), u"Den"_qs);
    EXPECT_EQ(den.userDefaults.optionalBoolFor(defaults::kControlMac), true);
    kitchen.as([&] {
        ASSERT_NE(kitchen.controller().currentTrack(), nullptr);
        EXPECT_EQ(kitchen.controller().currentTrack()->name(), u"Kite");
        kitchen.controller().nextTrack();
    });
    advance(0.1);
    EXPECT_TRUE(den.desktop.applications[den.iTunes].player->commands.contains(u"next"_qs));
}

TEST_F(SocketControllerTest, AServerThatBecomesAClientServesAgainAfterwards) {
    serve(den);
    serve(kitchen);
    look(kitchen);
    connect(kitchen, u"Den"_qs);
    EXPECT_EQ(kitchen.role(), u"client of Den");
    EXPECT_EQ(kitchen.userDefaults.optionalBoolFor(defaults::kWantServer), true);
    EXPECT_EQ(kitchen.userDefaults.optionalBoolFor(defaults::kControlMac), false);
    EXPECT_EQ(services.names(), QStringList{u"Den"_qs});
    kitchen.as([&] { kitchen.link().connectToSelf(); });
    advance(2);
    EXPECT_EQ(kitchen.role(), u"server"); // what it announced before does not count as somebody else's name
    EXPECT_TRUE(kitchen.alerts.shown.empty());
    kitchen.as([&] { EXPECT_EQ(kitchen.controller().remotePlayer(), nullptr); });
}

TEST_F(SocketControllerTest, AClientThatBecomesAServerLeavesFirst) {
    join();
    serve(kitchen);
    EXPECT_EQ(kitchen.role(), u"server");
    EXPECT_FALSE(den.link().hasClients());
    EXPECT_TRUE(kitchen.alerts.shown.empty());
}

TEST_F(SocketControllerTest, TakenNamesAreRefusedByAnAlert) {
    serve(den);
    kitchen.userDefaults.set(defaults::kHostName, u"Den"_qs);
    look(kitchen);
    serve(kitchen);
    connect(kitchen, u"Den"_qs);
    EXPECT_EQ(kitchen.alertTexts(), QStringList({u"Host name in-use"_qs, u"Host name in-use"_qs}));
    EXPECT_EQ(kitchen.alerts.shown[1].informativeText, u"You must change your name to connect to this host.");
    EXPECT_EQ(kitchen.role(), u"alone");
    kitchen.userDefaults.remove(defaults::kHostName);
    EXPECT_TRUE(kitchen.as([&] { return kitchen.link().nameTaken(); }));
    connect(kitchen, u"Den"_qs);
    EXPECT_EQ(kitchen.role(), u"alone");
}

TEST_F(SocketControllerTest, ANewNameTakesServerAndConnectionDownAndUpAgain) {
    join();
    kitchen.as([&] { kitchen.link().changeHostName(u"Pantry"_qs); });
    advance(4);
    EXPECT_EQ(kitchen.role(), u"client of Den");
    EXPECT_TRUE(kitchen.alerts.shown.empty());
    den.as([&] { den.link().changeHostName(u"Attic"_qs); });
    advance(8);
    EXPECT_EQ(den.role(), u"server");
    EXPECT_EQ(services.names(), QStringList{u"Attic"_qs});
    EXPECT_EQ(kitchen.role(), u"alone"); // its server is there no more under the name that it knows
    EXPECT_EQ(kitchen.alertTexts(), kLost);
    den.as([&] { den.link().changeHostName(u"Attic"_qs); });
    EXPECT_EQ(den.role(), u"server");
}

TEST_F(SocketControllerTest, ALostLinkIsToldAndTakenUpOnce) {
    join();
    network.cut();
    advance(4);
    EXPECT_EQ(kitchen.role(), u"client of Den");
    EXPECT_EQ(kitchen.alertTexts(), kLost);
    services.farewellTime = 60; // it is listed still, but nobody takes the connection
    den.as([&] { den.link().killSever(); });
    advance(10);
    EXPECT_EQ(den.userDefaults.optionalBoolFor(defaults::kWantServer), true);
    EXPECT_EQ(kitchen.role(), u"alone");
    EXPECT_EQ(kitchen.alertTexts(), kLost + kLost);
}

TEST_F(SocketControllerTest, LeavingIsNotALossAndAllOfTheHostIsForgotten) {
    kitchen.desktop.start(kitchen.iTunes).playing(u"Own"_qs);
    join();
    auto& own = *kitchen.desktop.applications[kitchen.iTunes].player;
    kitchen.as([&] {
        EXPECT_EQ(own.commands, QStringList(u"pause"_qs));
        own.state = kPlayerStatePaused;
        kitchen.announce(notifications::kITunesPlayerInfo); // late: the link is up by now
        EXPECT_EQ(kitchen.activeType(), MusicPlayerType::Remote);
        EXPECT_EQ(kitchen.role(), u"client of Den");
        kitchen.link().disconnectFromHost(false);
    });
    advance(2);
    EXPECT_EQ(kitchen.role(), u"alone");
    EXPECT_TRUE(kitchen.alerts.shown.empty());
    kitchen.as([&] {
        EXPECT_EQ(kitchen.activeType(), std::nullopt);
        EXPECT_FALSE(SearchController::sharedController().isRemote());
    });
    look(kitchen);
    connect(kitchen, u"Den"_qs);
    kitchen.as([&] {
        own.playing(u"Own"_qs);
        kitchen.announce(notifications::kITunesPlayerInfo);
    });
    advance(2);
    EXPECT_EQ(kitchen.role(), u"alone"); // somebody started the player of this machine
    EXPECT_TRUE(kitchen.alerts.shown.empty());
}

TEST_F(SocketControllerTest, AStoppedServerIsHiddenFromItselfForFiveSeconds) {
    services.farewellTime = 60;
    serve(den);
    den.as([&] { den.link().stopServer(false, nullptr); });
    advance(0.1);
    den.as([&] { den.link().discoverHosts([] {}); });
    advance(3);
    EXPECT_TRUE(den.link().discoveringHosts()); // its only service does not even end the look
    advance(3);
    EXPECT_FALSE(den.as([&] { return den.link().nameTaken(); }));
    look(den);
    EXPECT_TRUE(den.as([&] { return den.link().nameTaken(); }));
}

TEST_F(SocketControllerTest, LooksAroundNeverOverlap) {
    int ended = 0;
    const auto discover = [&] { kitchen.link().discoverHosts([&ended] { ++ended; }); };
    kitchen.as(discover);
    kitchen.as(discover); // dropped with its completion
    advance(4.9);
    EXPECT_EQ(ended, 0);
    advance(0.2);
    EXPECT_EQ(ended, 1);
    EXPECT_EQ(kitchen.discovery.browses, 1);
    look(kitchen);
    advance(10);
    EXPECT_TRUE(kitchen.link().discoveringHosts()); // without a completion it waits for somebody to come up
    serve(den);
    EXPECT_FALSE(kitchen.link().discoveringHosts());
    EXPECT_EQ(kitchen.link().socketClient().hostList(), QStringList{u"Den"_qs});
}

TEST_F(SocketControllerTest, AHostThatDoesNotAnswerLeavesTheAttemptOpen) {
    serve(den);
    look(kitchen);
    connect(kitchen, u"Moon"_qs);
    EXPECT_EQ(kitchen.role(), u"alone");
    services.lost << u"Den"_qs;
    connect(kitchen, u"Den"_qs);
    EXPECT_EQ(kitchen.link().socketClient().currentServerName(), u"Den");
    advance(4);
    EXPECT_EQ(kitchen.link().socketClient().currentServerName(), QString());
    EXPECT_EQ(kitchen.role(), u"connecting");
    EXPECT_TRUE(kitchen.alerts.shown.empty());
}

TEST_F(SocketControllerTest, AnAttemptThatIsGivenUpDoesNotConnectLater) {
    serve(den);
    look(kitchen);
    services.resolveTime = 3;
    connect(kitchen, u"Den"_qs);
    kitchen.as([&] { kitchen.link().connectToSelf(); });
    advance(3);
    EXPECT_EQ(kitchen.role(), u"alone");
    EXPECT_FALSE(den.link().hasClients());
}

TEST_F(SocketControllerTest, AnAddressIsAHostTooAlsoAfterALoss) {
    serve(den);
    const QString address = u"10.0.0.1:%1"_qs.arg(den.link().serverPort());
    connect(kitchen, address);
    EXPECT_EQ(kitchen.role(), u"client of "_qs + address);
    network.cut();
    advance(6);
    EXPECT_EQ(kitchen.role(), u"client of "_qs + address);
    for (const auto& [text, host] : {std::pair{u"10.0.0.1:80"_qs, u"10.0.0.1"_qs},
                                     {u"[fe80::1%eth0]:80"_qs, u"fe80::1%eth0"_qs},
                                     {u"[::1]:65536"_qs, QString()},
                                     {u"10.0.0.256:80"_qs, QString()},
                                     {u"::1:80"_qs, QString()},
                                     {u"10.0.0.1:0"_qs, QString()},
                                     {u"10.0.0.1:80\n"_qs, QString()}}) {
        const auto found = hostAtAddress(text);
        EXPECT_EQ(found ? found->address->host : QString(), host) << text.toStdString();
    }
}

TEST_F(SocketControllerTest, AHostLearnsOfAClientWhatItNeedsToAnswerIt) {
    QList<QVariantMap> heard;
    const auto server = den.as([&] {
        return SocketServer::make(den.test.session, [&](const QVariantMap& message) { heard << message; });
    });
    den.as([&] { server->start(); });
    look(kitchen);
    connect(kitchen, u"Den"_qs);
    using enum RemoteAction;
    const QVariantMap address{{u"ClientAddress"_qs, u"10.0.0.2"_qs}};
    QVariantMap both = address;
    both.insert(u"ClientName"_qs, u"Kitchen"_qs);
    for (const bool shown : {false, true}) {
        kitchen.userDefaults.set(defaults::kShowRemoteActivity, shown);
        const auto played = shown ? both : address;
        for (const auto& [action, expected] :
             std::vector<std::pair<RemoteAction, QVariantMap>>{{requestBroadcast, both},
                                                               {remoteSearch, both},
                                                               {remoteSearchiTunesForAlbum, both},
                                                               {remoteSearchiTunesForTrack, both},
                                                               {playAlbum, played},
                                                               {playTrack, played},
                                                               {findAndPlayTrack, played},
                                                               {findAndPlayAlbum, played},
                                                               {playPandoraStation, played},
                                                               {playPandoraItem, played},
                                                               {playPause, {}},
                                                               {setVolume, {}}}) {
            heard.clear();
            kitchen.as([&, sent = action] { kitchen.link().sendMessageToHost(sent, {}); });
            advance(0.1);
            ASSERT_EQ(heard.size(), 1);
            EXPECT_EQ(heard[0].value(u"action"_qs), rawValue(action));
            EXPECT_EQ(heard[0].value(u"payload"_qs).toMap(), expected) << rawValue(action).toStdString();
        }
    }
}

} // namespace
} // namespace merlode
