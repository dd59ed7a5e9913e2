#include "base/notification_names.h"
#include "platform/linux/portal_settings.h"
#include "support/portal_double.h"
#include "support/private_bus.h"
#include "support/test_session.h"

#include <gtest/gtest.h>

namespace merlode {
namespace {

using Groups = QMap<QString, QVariantMap>;
const QString kAppearance = u"org.freedesktop.appearance"_qs;
const QString kGnome = u"org.gnome.desktop.interface"_qs;
const QString kScheme = u"color-scheme"_qs;
const QString kMotion = u"reduced-motion"_qs;
const QString kAnimations = u"enable-animations"_qs;

QVariant boxed(const QVariant& value) {
    return QVariant::fromValue(QDBusVariant(value));
}

class PortalSettingsTest : public testing::Test {
  protected:
    PortalSettingsTest() {
        observation = test.session.distributedCenter().addObserver(notifications::kInterfaceThemeChanged,
                                                                   [this](const auto&) { posted << now(); });
    }
    /// The first letter of the scheme, and whether there is less movement.
    QString now() const {
        constexpr char16_t letters[] = u"ndl";
        return QString(letters[int(settings.colorScheme())]) + (settings.reducedMotion() ? u'-' : u'+');
    }
    bool wait(auto condition) {
        return waitUntil([&] { return test.loop.runUntilIdle(), condition(); });
    }

    PrivateBus bus;
    TestSession test;
    PortalSettings settings{bus.connect(), test.session};
    Observation observation;
    QStringList posted;
};

TEST_F(PortalSettingsTest, APortalIsAskedWheneverItComesUp) {
    for (const auto& senseless : {QVariantList(), {u"text"_qs}, {QVariantMap()}}) {
        const PortalDouble portal(bus.connect(), senseless);
        ASSERT_TRUE(wait([&] { return portal.questions > 0; }));
    }
    const Groups right{{kAppearance, {{kScheme, 1u}}}, {kGnome, {{kAnimations, false}}}};
    auto portal = std::make_unique<PortalDouble>(bus.connect(), QVariantList{QVariant::fromValue(right)});
    ASSERT_TRUE(wait([&] { return !posted.isEmpty(); }));
    portal.reset();
    portal = std::make_unique<PortalDouble>(bus.connect(), QVariantList{QVariant::fromValue(Groups())});
    ASSERT_TRUE(wait([&] { return portal->questions > 0; }));
    EXPECT_EQ(posted, QStringList{u"d-"_qs}) << "told once of all that has changed";
}

TEST_F(PortalSettingsTest, OnlyWhatMakesSenseIsTakenIn) {
    PortalDouble portal(bus.connect(), {});
    ASSERT_TRUE(wait([&] { return portal.questions > 0; }));
    const QList<QVariantList> changes{
        {kAppearance, kScheme, boxed(1u)},
        {kAppearance, kScheme, boxed(1u)}, // nothing new
        {kAppearance, kScheme, boxed(u"2"_qs)},
        {kAppearance, kScheme, boxed(2)}, // a number of another type
        {kAppearance, kScheme, boxed(boxed(boxed(boxed(7u))))},
        {kAppearance, kScheme, u"2"_qs},
        {kAppearance, kScheme},
        {kGnome, kScheme, boxed(2u)},
        {kAppearance, kScheme, boxed(boxed(2u))},
        {kAppearance, kScheme, boxed(7u)},
        {kGnome, kAnimations, boxed(false)},
        {kAppearance, kMotion, boxed(1u)}, // the same by another name
        {kGnome, kAnimations, boxed(true)},
        {kAppearance, kMotion, boxed(0u)},
    };
    // Who has just come up may be heard a moment later only; what is told twice is nothing new.
    ASSERT_TRUE(wait([&] { return portal.announce(changes[0]), !posted.isEmpty(); }));
    for (const auto& change : changes)
        portal.announce(change);
    EXPECT_TRUE(wait([&] { return posted.size() >= 5; }));
    EXPECT_EQ(posted, (QStringList{u"d+"_qs, u"l+"_qs, u"n+"_qs, u"n-"_qs, u"n+"_qs}));
}

} // namespace
} // namespace merlode
