#include "platform/activation_token.h"
#include "platform/linux/status_notifier_item.h"
#include "support/bar_double.h"
#include "support/private_bus.h"
#include "support/test_session.h"
#include "support/tray_host.h"

#include <QDBusConnectionInterface>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QTemporaryDir>
#include <QTextDocument>
#include <QXmlStreamReader>

#include <limits>

#include <gtest/gtest.h>

namespace merlode {
namespace {

const QString kItem = u"org.kde.StatusNotifierItem"_qs;
const QString kMenu = u"com.canonical.dbusmenu"_qs;
const QString kProperties = u"org.freedesktop.DBus.Properties"_qs;
const QString kVertical = u"vertical"_qs;
constexpr int kMost = std::numeric_limits<int>::max();
constexpr int kLeast = std::numeric_limits<int>::min();

class StatusItemTest : public testing::Test {
  protected:
    StatusItemTest() {
        StatusItem::Events events;
        events.selected = [this](auto where) {
            told << (where ? u"selected %1 %2"_qs.arg(where->x()).arg(where->y()) : u"selected"_qs);
        };
        events.secondarySelected = [this] { told << u"second"_qs; };
        events.scrolled = [this](int notches) { told << u"scrolled %1"_qs.arg(notches); };
        events.menuWillOpen = [this] { item->setMenu(entries(atOpening)); };
        events.shownChanged = [this](bool shown) { told << (shown ? u"shown"_qs : u"gone"_qs); };
        item = std::make_unique<StatusNotifierItem>(
            bus.connect(), test.loop,
            StatusNotifierItem::Identity{u"merlode"_qs, u"Merlode"_qs, u"/icons"_qs}, std::move(events));
    }
    void SetUp() override {
        ASSERT_TRUE(tells({u"gone"_qs})) << "that there is no bar is told as well";
        bar = newBar();
    }
    bool wait(auto condition) {
        return waitUntil([&] { return test.loop.runUntilIdle(), condition(); });
    }
    bool tells(const QStringList& expected) {
        return wait([&] { return told.size() >= expected.size(); }) && std::exchange(told, {}) == expected;
    }
    std::unique_ptr<BarDouble> newBar() {
        auto made = std::make_unique<BarDouble>(bus.connect());
        EXPECT_TRUE(tells({u"shown"_qs}));
        made->heard.clear();
        return made;
    }
    /// What the item answers; its signals until then have arrived as well.
    QDBusMessage ask(const QString& interface, const QString& method, const QVariantList& arguments) {
        const bool ofItem = interface == kItem || arguments.value(0) == kItem;
        const QString path = ofItem ? u"/StatusNotifierItem"_qs : u"/MenuBar"_qs;
        auto call = QDBusMessage::createMethodCall(bar->items.constLast(), path, interface, method);
        call.setArguments(arguments);
        const auto pending = bar->connection.asyncCall(call);
        EXPECT_TRUE(wait([&] { return pending.isFinished(); })) << method.toStdString();
        return pending.reply();
    }
    QDBusMessage event(int id, const QString& type) {
        return ask(kMenu, u"Event"_qs, {id, type, QVariant::fromValue(QDBusVariant(u""_qs)), 0u});
    }
    /// Entries that tell their text when they are chosen: "-" is a line, "=x" is disabled, "x>y" a submenu.
    std::vector<MenuEntry> entries(const QStringList& texts) {
        std::vector<MenuEntry> made;
        for (const auto& text : texts) {
            const QString own = text.section(u'>', 0, 0), below = text.section(u'>', 1);
            MenuEntry entry{own == u"-" ? QString() : own.mid(own.startsWith(u'=')),
                            !own.startsWith(u'='),
                            {},
                            [this, own] { told << own; },
                            {}};
            if (!below.isEmpty())
                entry.children = entries({below});
            made.push_back(entry);
        }
        return made;
    }
    DBusMenuLayout layout(int id, int depth) {
        const auto reply = ask(kMenu, u"GetLayout"_qs, {id, depth, QStringList()});
        return qdbus_cast<DBusMenuLayout>(reply.arguments().value(1));
    }
    QList<int> ids() {
        QList<int> found;
        collect(layout(0, -1), found);
        return found;
    }
    /// The entries as they look: with ":1" or ":0" behind those with a tick, and "(...)" what is below them.
    static QString looks(const DBusMenuLayout& menu) {
        QStringList entries;
        for (const auto& child : menu.children) {
            const auto& has = child.properties;
            const QString tick = has[u"toggle-type"_qs] == u"checkmark"_qs
                                     ? u":"_qs + has[u"toggle-state"_qs].toString()
                                     : QString();
            const bool opens = has[u"children-display"_qs] == u"submenu"_qs;
            entries << (has[u"type"_qs] == u"separator"_qs ? u"-"_qs : has[u"label"_qs].toString() + tick) +
                           (opens ? u"("_qs + looks(child) + u")"_qs : QString());
        }
        return entries.join(u' ');
    }
    void collect(const DBusMenuLayout& menu, QList<int>& found) {
        for (const auto& child : menu.children) {
            found << child.id;
            collect(child, found);
        }
    }

    PrivateBus bus;
    TestSession test;
    QStringList told;
    QStringList atOpening;
    std::unique_ptr<StatusNotifierItem> item;
    std::unique_ptr<BarDouble> bar;
};

TEST_F(StatusItemTest, BarsAreFollowedAsTheyComeAndGo) {
    bar->setHosting(false);
    ASSERT_TRUE(tells({u"gone"_qs}));
    bar->setHosting(true);
    ASSERT_TRUE(tells({u"shown"_qs}));
    bar.reset();
    ASSERT_TRUE(tells({u"gone"_qs}));
    bar = newBar();
    const QString name = bar->items.constLast();
    item.reset();
    EXPECT_FALSE(bar->connection.interface()->isServiceRegistered(name));
}

TEST_F(StatusItemTest, BarsReadWhatIsShownAndHearOnlyOfChanges) {
    QImage picture(2, 1, QImage::Format_ARGB32);
    picture.fill(qRgba(1, 2, 3, 4));
    QVariantMap all;
    for (int time = 0; time < 2; ++time) {
        item->setIcon({u"merlode-bar"_qs, {picture}});
        item->setText(u"Song"_qs, u"0000"_qs);
        item->setToolTip(u"<b>A & B"_qs, u"<i>C & D"_qs);
        all = qdbus_cast<QVariantMap>(ask(kProperties, u"GetAll"_qs, {kItem}).arguments().value(0));
    }
    EXPECT_EQ(bar->heard, (QStringList{u"NewIcon"_qs, u"XAyatanaNewLabel"_qs, u"NewToolTip"_qs}));
    EXPECT_EQ(bar->said[u"XAyatanaNewLabel"_qs], (QVariantList{u"Song"_qs, u"0000"_qs}));
    EXPECT_EQ(all[u"XAyatanaLabel"_qs], u"Song"_qs);
    EXPECT_EQ(all[u"Menu"_qs].value<QDBusObjectPath>().path(), u"/MenuBar"_qs);
    int announced = 0;
    for (QXmlStreamReader xml(item->introspect({})); !xml.atEnd(); xml.readNext()) {
        if (!xml.isStartElement() || xml.name() != u"property")
            continue;
        ++announced;
        const auto name = xml.attributes().value(u"name"_qs).toString();
        const auto value = all.value(name);
        const auto type = value.metaType() == QMetaType::fromType<QDBusArgument>()
                              ? value.value<QDBusArgument>().currentSignature()
                              : QString::fromLatin1(QDBusMetaType::typeToSignature(value.metaType()));
        EXPECT_EQ(type, xml.attributes().value(u"type"_qs)) << name.toStdString();
    }
    EXPECT_EQ(announced, all.size());
    const auto pictures = qdbus_cast<QList<StatusNotifierPixmap>>(all[u"IconPixmap"_qs]);
    ASSERT_EQ(pictures.size(), 1);
    EXPECT_EQ(pictures[0].bytes.toHex(), "0401020304010203");
    const auto toolTip = qdbus_cast<StatusNotifierToolTip>(all[u"ToolTip"_qs]);
    EXPECT_FALSE(Qt::mightBeRichText(toolTip.title));
    EXPECT_EQ(toolTip.text, u"&lt;i&gt;C &amp; D"_qs);
}

TEST_F(StatusItemTest, WhatTheUserDoesIsTold) {
    const struct {
        QString method;
        QVariantList arguments;
        QStringList expected;
    } rows[] = {
        {u"Activate"_qs, {5, -6}, {u"selected 5 -6"_qs}},
        {u"Activate"_qs, {0, 0}, {u"selected"_qs}},
        {u"Activate"_qs, {u"5"_qs}, {}},
        {u"ProvideXdgActivationToken"_qs, {u"allowed"_qs}, {}},
        {u"ProvideXdgActivationToken"_qs, {7}, {}},
        {u"SecondaryActivate"_qs, {1, 1}, {u"second"_qs}},
        {u"XAyatanaSecondaryActivate"_qs, {7u}, {u"second"_qs}},
        {u"Scroll"_qs, {-1, kVertical}, {u"scrolled 1"_qs}},
        {u"Scroll"_qs, {1, kVertical}, {u"scrolled -1"_qs}},
        {u"Scroll"_qs, {-120, u"Vertical"_qs}, {u"scrolled -1"_qs}},
        {u"Scroll"_qs, {110, kVertical}, {}},
        {u"Scroll"_qs, {10, kVertical}, {u"scrolled 1"_qs}},
        {u"Scroll"_qs, {120, u"horizontal"_qs}, {}},
        {u"Scroll"_qs, {kLeast, kVertical}, {u"scrolled -100"_qs}},
        {u"Scroll"_qs, {kMost, kVertical}, {u"scrolled 100"_qs}},
    };
    for (const auto& row : rows) {
        ask(kItem, row.method, row.arguments);
        EXPECT_TRUE(tells(row.expected))
            << row.method.toStdString() << " of " << row.arguments[0].toString().toStdString();
    }
    EXPECT_EQ(qgetenv(kActivationTokenVariable), "allowed");
    qunsetenv(kActivationTokenVariable);
}

TEST_F(StatusItemTest, AChoiceHasTheEffectThatWasToBeSeen) {
    const QString looks = u"ItemsPropertiesUpdated"_qs, layout = u"LayoutUpdated"_qs;
    const struct {
        QString before, after;
        QStringList heard;
        QString chosen; ///< what choosing all of the entries from before does
    } rows[] = {
        {u"Play -"_qs, u"Play -"_qs, {}, u"Play"_qs},
        {u"Pause Quit"_qs, u"Play Quit"_qs, {looks}, u"Play Quit"_qs},
        {u"=Next Quit"_qs, u"Next =Quit"_qs, {looks}, u"Next"_qs},
        {u"A A Quit"_qs, u"A A B Quit"_qs, {layout}, u"A A Quit"_qs},
        {u"A>B C>B"_qs, u"C>B"_qs, {layout}, u"C B"_qs},
        {u"A>B"_qs, u"A"_qs, {looks, layout}, u"A"_qs},
        {u"A B"_qs, u"- C"_qs, {layout}, u""_qs},
    };
    for (const auto& row : rows) {
        item->setMenu(entries(row.before.split(u' ')));
        const auto old = ids();
        bar->heard.clear();
        item->setMenu(entries(row.after.split(u' ')));
        ids(); // by its answer all signals are there
        EXPECT_EQ(bar->heard, row.heard) << row.before.toStdString();
        for (const int id : old)
            event(id, u"clicked"_qs);
        test.loop.runUntilIdle();
        told.removeAll(u"-"_qs);
        EXPECT_EQ(std::exchange(told, {}).join(u' '), row.chosen) << row.before.toStdString();
    }
}

TEST_F(StatusItemTest, TheMenuIsDescribedAndItsChangesByThemselves) {
    auto menu = entries({u"Shuffle"_qs, u"Repeat"_qs, u"-"_qs, u"=More>Deep"_qs});
    menu[0].checked = true;
    menu[1].checked = false;
    item->setMenu(menu);
    EXPECT_EQ(looks(layout(0, -1)), u"Shuffle:1 Repeat:0 - More(Deep)");
    EXPECT_EQ(looks(layout(0, 1)), u"Shuffle:1 Repeat:0 - More()");
    EXPECT_EQ(looks(layout(0, 0)), QString());
    EXPECT_EQ(looks(layout(ids()[3], -1)), u"Deep");
    menu[1].checked = true;
    item->setMenu(menu);
    const int repeat = ids()[1];
    const auto changed = qdbus_cast<QList<DBusMenuItem>>(bar->said[u"ItemsPropertiesUpdated"_qs].value(0));
    ASSERT_EQ(changed.size(), 1);
    EXPECT_EQ(changed[0].id, repeat);
    EXPECT_EQ(changed[0].properties[u"toggle-state"_qs], 1);
    const QList<DBusMenuEvent> both{{repeat + 100, u"clicked"_qs, QDBusVariant(0), 0},
                                    {repeat, u"clicked"_qs, QDBusVariant(0), 0}};
    const auto answer = ask(kMenu, u"EventGroup"_qs, {QVariant::fromValue(both)}).arguments().value(0);
    EXPECT_EQ(qdbus_cast<QList<int>>(answer), QList<int>{repeat + 100});
    EXPECT_TRUE(tells({u"Repeat"_qs}));
}

TEST_F(StatusItemTest, AMenuIsUpToDateWhenItOpens) {
    for (const auto& [fresh, changed] :
         {std::pair{QStringList{u"a_b"_qs, u"-"_qs}, true}, {{u"c"_qs, u"-"_qs}, false}}) {
        atOpening = fresh;
        EXPECT_EQ(ask(kMenu, u"AboutToShow"_qs, {0}).arguments(), QVariantList{changed});
        const auto label = ask(kMenu, u"GetProperty"_qs, {ids()[0], u"label"_qs}).arguments().value(0);
        EXPECT_EQ(label.value<QDBusVariant>().variant(), changed ? u"a__b"_qs : u"c"_qs);
    }
}

TEST_F(StatusItemTest, SenselessCallsAreAnsweredAndDoNothing) {
    item->setMenu(entries({u"Quit"_qs}));
    const int quit = ids()[0];
    const QStringList none;
    const struct {
        QString interface, method;
        QVariantList arguments;
        bool refused;
    } rows[] = {
        {kMenu, u"GetLayout"_qs, {quit + 1, -1, none}, true},
        {kMenu, u"GetLayout"_qs, {kLeast, kLeast, none}, true},
        {kMenu, u"GetLayout"_qs, {0, kMost, QStringList{u"nonsense"_qs}}, false},
        {kMenu, u"GetLayout"_qs, {u"0"_qs}, true},
        {kMenu, u"GetProperty"_qs, {quit, u"nonsense"_qs}, true},
        {kMenu, u"AboutToShow"_qs, {kLeast}, false},
        {kMenu, u"EventGroup"_qs, {none}, true},
        {kMenu, u"Nonsense"_qs, {}, true},
        {kProperties, u"Get"_qs, {}, true},
        {kProperties, u"Set"_qs, {kMenu, u"Version"_qs, QVariant::fromValue(QDBusVariant(9))}, true},
        {kItem, u"ContextMenu"_qs, {kMost, kLeast}, false},
        {kItem, u"Nonsense"_qs, {}, true},
    };
    for (const auto& row : rows)
        EXPECT_EQ(ask(row.interface, row.method, row.arguments).type() == QDBusMessage::ErrorMessage,
                  row.refused)
            << row.method.toStdString();
    for (const auto& [id, type] :
         {std::pair{kLeast, u"clicked"_qs}, {quit, u"nonsense"_qs}, {0, u"clicked"_qs}})
        event(id, type);
    EXPECT_EQ(told, none);
    event(quit, u"clicked"_qs);
    EXPECT_TRUE(tells({u"Quit"_qs}));
}

TEST_F(StatusItemTest, ARealBarShowsItWhereItSaysThatItIsClicked) {
    bar.reset();
    ASSERT_TRUE(tells({u"gone"_qs}));
    const QTemporaryDir home;
    const TrayHost host(bus, home.path());
    ASSERT_TRUE(host.isUp());
    ASSERT_TRUE(tells({u"shown"_qs}));
    QImage picture(22, 22, QImage::Format_ARGB32);
    picture.fill(Qt::magenta);
    item->setIcon({{}, {picture}});
    item->setMenu(entries({u"Play"_qs, u"Quit"_qs}));
    ASSERT_TRUE(wait([&] { return host.screen().pixelColor(12, 16) == Qt::magenta; }));
    ASSERT_TRUE(host.act({u"mousemove"_qs, u"12"_qs, u"16"_qs, u"click"_qs, u"1"_qs}));
    EXPECT_TRUE(tells({u"selected 12 16"_qs}));
    ASSERT_TRUE(host.act({u"click"_qs, u"4"_qs}));
    EXPECT_TRUE(tells({u"scrolled 1"_qs}));
    item.reset();
    EXPECT_TRUE(wait([&] { return host.screen().pixelColor(12, 16) != Qt::magenta; }));
}

} // namespace
} // namespace merlode
