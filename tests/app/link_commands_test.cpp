#include "app/link_commands.h"
#include "app/socket_hosts.h"
#include "support/neighbourhood.h"

namespace merlode {
namespace {

/// What people type on a machine that has somebody next door.
class LinkCommandsTest : public Neighbourhood {
  protected:
    LinkCommandsTest() { kitchen.alerts.inFront = &diverted; }

    /// What the command answered: its message, or "error: " and why not.
    std::string run(const std::function<void(LinkCommands&, const LinkCommands::Done&)>& command) {
        std::optional<QString> answer;
        kitchen.as([&] {
            LinkCommands commands(kitchen.test.session, diverted);
            command(commands, [&](const LinkCommands::Answer& given) {
                const auto* error = std::get_if<ControlError>(&given);
                answer = error ? u"error: "_qs + error->message : std::get<QString>(given);
            });
            for (int i = 0; i < 400 && !answer; ++i)
                advance(0.1);
        });
        advance(0.5);
        return answer.value_or(u"no answer"_qs).toStdString();
    }
    std::string connectTo(const QString& name) {
        return run([&](auto& commands, const auto& done) { commands.connectTo(name, done); });
    }
    std::string serveHere(bool on) {
        return run([&](auto& commands, const auto& done) { commands.serve(on, done); });
    }
    std::string rename(const QString& name) {
        return run([&](auto& commands, const auto& done) { commands.rename(name, done); });
    }
    std::string disconnect() {
        return run([](auto& commands, const auto& done) { commands.disconnect(done); });
    }
    QVariantMap hosts() {
        QVariantMap found;
        run([&](auto& commands, const auto& done) {
            commands.hosts([&, done](const auto& answer) {
                found = answer;
                done(QString());
            });
        });
        return found;
    }

    DivertedAlerts diverted{std::make_unique<FakeAlerts>()};
};

TEST_F(LinkCommandsTest, ConnectingAnswersWhenItIsDoneOrCannotBe) {
    EXPECT_EQ(connectTo(u"Den"_qs),
              "error: No host \"Den\" was found; \"merlodectl hosts\" lists those that were.");
    EXPECT_EQ(connectTo(u"10.0.0.1:9"_qs), "error: The host \"10.0.0.1:9\" does not answer.");
    serve(den);
    EXPECT_EQ(hosts().value(u"hosts"_qs), QStringList{u"Den"_qs});
    EXPECT_EQ(connectTo(u"Den"_qs), "Connected to Den.");
    EXPECT_EQ(linkRole(kitchen.link()), u"client of Den");
    EXPECT_EQ(hosts().value(u"connected"_qs), u"Den"_qs);
    EXPECT_EQ(connectTo(u"Den"_qs), "Connected to Den already.");
    EXPECT_EQ(disconnect(), "");
    EXPECT_EQ(disconnect(), "error: This machine is connected to no host.");
    services.lost << u"Den"_qs;
    EXPECT_EQ(connectTo(u"Den"_qs), "error: The host \"Den\" does not answer.");
    EXPECT_EQ(kitchen.role(), u"alone");
    network.silent = true;
    services.lost.clear();
    EXPECT_EQ(connectTo(u"Den"_qs), "error: The host \"Den\" does not answer.");
    EXPECT_EQ(kitchen.role(), u"alone");
}

TEST_F(LinkCommandsTest, ServingIsToldWithItsPortAndRefusedWhereTheNameIsTaken) {
    EXPECT_TRUE(serveHere(true).starts_with(
        "Everybody on this network can control playback here now, as \"Kitchen\""));
    EXPECT_EQ(hosts().value(u"hosts"_qs), QStringList()); // not oneself
    EXPECT_EQ(serveHere(false), "");
    EXPECT_TRUE(serveHere(true).starts_with("Everybody")); // though it is listed still
    EXPECT_EQ(rename(u"Pantry"_qs).substr(0, 9), "Everybody");
    EXPECT_EQ(kitchen.role(), u"server");
    EXPECT_EQ(serveHere(false), "");
    serve(den);
    kitchen.userDefaults.set(defaults::kHostName, u"Den"_qs);
    EXPECT_EQ(
        serveHere(true), // seen by the clash only: within five seconds of its own end it looks past this name
        "error: Host name in-use: \"Den\" is taken. Choose another name with \"merlodectl name NEW\".");
    EXPECT_FALSE(kitchen.link().isServer());
    advance(6);
    hosts();
    EXPECT_EQ(serveHere(true), "error: Host name in-use: The name you have selected is already being used. "
                               "Please choose a different name.");
    EXPECT_EQ(kitchen.role(), u"alone");
    EXPECT_FALSE(kitchen.userDefaults.boolFor(defaults::kWantServer));
    hosts();
    EXPECT_EQ(connectTo(u"Den"_qs),
              "error: Host name in-use: You must change your name to connect to this host.");
}

TEST_F(LinkCommandsTest, NamesAreHeldToWhatTheNetworkAndTheLinkCanCarry) {
    EXPECT_EQ(rename(u"  "_qs), "error: A name needs at least one letter.");
    EXPECT_EQ(rename(QString(32, u'\u00FC')), "error: The name takes 64 bytes; the network allows 63.");
    EXPECT_EQ(rename(u"a\r\nb"_qs), "error: A name is one line without control characters.");
    EXPECT_EQ(kitchen.userDefaults.valueFor(defaults::kHostName), u"Kitchen"_qs);
    join();
    kitchen.as([&] { kitchen.link().discoverHosts(); }); // it must not swallow the look that the change needs
    EXPECT_EQ(rename(u"K\u00FCche"_qs), "");
    EXPECT_EQ(kitchen.role(), u"client of Den");
    EXPECT_EQ(kitchen.userDefaults.valueFor(defaults::kHostName), u"K\u00FCche"_qs);
}

TEST_F(LinkCommandsTest, SleepLeavesTheHostInSilenceAndWakeGoesBack) {
    join();
    kitchen.as([&] {
        SocketHosts link(kitchen.test.session);
        const auto host = link.clientHostName();
        link.disconnectFromHost();
        advance(60);
        EXPECT_FALSE(den.link().hasClients());
        link.discoverHosts([&, host] { link.connectToHostName(*host); });
        advance(3);
    });
    EXPECT_EQ(kitchen.role(), u"client of Den");
    EXPECT_TRUE(kitchen.alerts.shown.empty());
}

TEST_F(LinkCommandsTest, ALaunchWithoutAnyUseForTheLinkDoesNotLookAround) {
    int ended = 0;
    const auto launch = [&] {
        SocketHosts link(kitchen.test.session);
        link.discoverHosts([&] { ++ended; });
        link.disconnectFromHost();
    };
    kitchen.as(launch);
    advance(0.1);
    EXPECT_EQ(ended, 1);
    EXPECT_EQ(kitchen.discovery.browses, 0);
    kitchen.userDefaults.set(defaults::kAutoConnect, true);
    kitchen.as(launch);
    advance(6);
    EXPECT_EQ(ended, 2);
    EXPECT_EQ(kitchen.discovery.browses, 1);
}

} // namespace
} // namespace merlode
