#include "base/qt_run_loop.h"
#include "platform/linux/avahi_core_discovery.h"
#include "support/private_bus.h"

#include <QStringList>

#include <gtest/gtest.h>
#include <unistd.h>

namespace merlode {
namespace {

/// Two responders on the loopback interface, and a type that no other test of this machine uses.
class DiscoveryTest : public testing::Test {
  protected:
    using Activity = std::unique_ptr<ServiceDiscovery::Activity>;

    Activity publish(ServiceDiscovery& discovery, const QString& name) {
        return discovery.publish({type, name, 4711},
                                 {.didPublish = [this] { log << u"published"_qs; },
                                  .didStop = [this] { log << u"stopped"_qs; },
                                  .didNotPublish = [this](const auto& why) { log << why; }});
    }
    /// The names of the first complete batch.
    QStringList look(ServiceDiscovery& discovery) {
        QStringList names;
        bool complete = false;
        const auto browsing = discovery.browse(type, {.willSearch = {},
                                                      .didFind =
                                                          [&](const QString& name, bool moreComing) {
                                                              names << name;
                                                              complete = !moreComing;
                                                          },
                                                      .didStop = {},
                                                      .didNotSearch = {}});
        waitUntil([&] { return complete; }, 3);
        names.sort();
        return names;
    }
    bool logged(const QString& line) {
        return waitUntil([&] { return log.contains(line); }, 5);
    }

    const QString type = u"_MerloT%1._tcp."_qs.arg(::getpid());
    QStringList log;
    QtRunLoop loop;
    AvahiCoreDiscovery den{loop, {u"lo"_qs}};
    AvahiCoreDiscovery kitchen{loop, {u"lo"_qs}};
};

} // namespace

TEST_F(DiscoveryTest, ServicesAreFoundUnderTheirNamesUntilTheyAreWithdrawn) {
    const QStringList names{u"D\u00FCbel \"1.2\" K\u00FCche"_qs, QString(63, u'n')};
    std::vector<Activity> services;
    for (const auto& name : names)
        services.push_back(publish(den, name));
    ASSERT_TRUE(waitUntil([&] { return log.count(u"published"_qs) == 2; }));
    EXPECT_EQ(look(kitchen), names); // each once, though seen on both address families
    EXPECT_EQ(look(den), names);     // its own as well
    services[0]->stop();
    EXPECT_TRUE(logged(u"stopped"_qs));
    EXPECT_TRUE(waitUntil([&] { return look(kitchen) == QStringList{names[1]}; }, 10));
}

TEST_F(DiscoveryTest, AServiceIsResolvedToItsAddressesOrIsLate) {
    const auto service = publish(den, u"Den"_qs);
    ASSERT_TRUE(logged(u"published"_qs));
    std::vector<SocketAddress> addresses;
    const auto resolve = [&](const QString& name) {
        return kitchen.resolve(type, name, 2,
                               {.didResolve = [&](const auto& found, quint16) { addresses = found; },
                                .didNotResolve = [this](const auto& why) { log << why; }});
    };
    const auto asked = resolve(u"Den"_qs);
    EXPECT_TRUE(waitUntil([&] { return !addresses.empty(); }, 5));
    ASSERT_FALSE(addresses.empty());
    EXPECT_EQ(addresses[0], (SocketAddress{u"127.0.0.1"_qs, 4711}));
    const auto nobody = resolve(u"Moon"_qs);
    EXPECT_TRUE(logged(u"nobody answered"_qs));
}

TEST_F(DiscoveryTest, NamesThatCannotBeAreRefused) {
    const auto first = publish(den, u"Den"_qs);
    ASSERT_TRUE(logged(u"published"_qs));
    const auto second = publish(kitchen, u"Den"_qs);
    EXPECT_TRUE(logged(ServiceDiscovery::nameIsTaken()));
    const auto tooLong = publish(den, QString(64, u'n'));
    EXPECT_TRUE(logged(u"the name is longer than 63 bytes"_qs));
    log.clear();
    const auto nameless = publish(den, QString());
    EXPECT_TRUE(logged(u"a name is needed"_qs));
    nameless->stop();
    EXPECT_TRUE(logged(u"stopped"_qs)); // also of what never began
}

} // namespace merlode
