#include "support/fake_face.h"
#include "ui/window_controllers.h"

namespace merlode {
namespace {

using namespace notifications;

TEST(PanelPlacingTest, ThePanelHangsAtItsItemAndStaysOnTheScreen) {
    const Screen screen{{0, 0, 1000, 800}, {0, 0, 1000, 800}};
    struct Row {
        QRect item;
        QRect frame;
        double offset, arrow;
        bool barBelow;
    };
    const Row rows[] = {
        {{500, 4, 22, 22}, {435, 26, 340, 200}, 0, 76, false},
        {{900, 4, 164, 22}, {660, 26, 340, 200}, 175, 251, false},
        {{20, 4, 22, 22}, {0, 26, 340, 200}, 45, 31, false},
        {{500, 774, 22, 22}, {435, 574, 340, 200}, 0, 76, true},
    };
    for (const auto& row : rows) {
        const auto place = placePanel(row.item, 22, {340, 200}, screen);
        EXPECT_EQ(place.frame, row.frame) << &row - rows;
        EXPECT_EQ(place.offset, row.offset) << &row - rows;
        EXPECT_EQ(place.arrow, row.arrow) << &row - rows;
        EXPECT_EQ(place.barBelow, row.barBelow) << &row - rows;
    }
    const Screen second{{1000, 100, 800, 150}, {1000, 130, 800, 120}};
    const auto place = placePanel({1010, 104, 22, 22}, 22, {340, 200}, second);
    EXPECT_EQ(place.frame, QRect(1000, 130, 340, 120)) << "on its own screen, and no higher than that";
}

TEST(PanelPlacingTest, ThePointerTellsInWhatABarCounts) {
    struct Row {
        QPoint told;
        QPointF pointer;
        double scale, before, unit;
    };
    const Row rows[] = {
        {{593, 14}, {1187, 29}, 2, 1, 2},     // points
        {{1187, 29}, {1187, 29}, 2, 1, 1},    // pixels
        {{1187, 29}, {1190, 20}, 2, 2, 1},    // another bar
        {{593, 14}, {1187, 29}, 1.5, 1, 2},   // the bar's scale is not ours
        {{791, 19}, {1187, 29}, 1.5, 1, 1.5}, // ours is not a whole one
        {{593, 14}, {40, 700}, 2, 2, 2},      // a key, with the pointer elsewhere
        {{20, 10}, {38, 20}, 1, 1, 1},        // the hand moves on
        {{3000, 14}, {-400, 20}, 1, 1, 1},
    };
    for (const auto& row : rows)
        EXPECT_EQ(pixelsPerUnit(row.told, row.pointer, row.scale, row.before), row.unit) << &row - rows;
}

class WindowControllersTest : public testing::Test, protected FaceMachine {
  protected:
    void launch(bool hasWindows = true) {
        local.playing(u"Kite"_qs, u"Herons"_qs, u"Lanterns"_qs);
        controller().setupMusicPlayers();
        auto owned = std::make_unique<FakeFace>();
        face = owned.get();
        face->hasWindows = hasWindows;
        face->hasOldBar = hasOldBar;
        WindowOptions options;
        options.windowOnly = windowOnly;
        options.makeStatusItem = [this](StatusItem::Events events) {
            auto made = std::make_unique<FakeStatusItem>(std::move(events));
            item = made.get();
            return made;
        };
        options.quit = [this] { ++quits; };
        options.didBecomeActive = [this] { ++activations; };
        windows = std::make_unique<WindowControllers>(test.session, std::move(owned), std::move(options));
        windows->makeBackgroundSchemeController();
        windows->setupStatusItem();
        windows->loadWindowControllers();
        test.loop.advance(0.1);
        if (item)
            item->show(true);
    }
    void click(int x = 500) {
        item->events.selected(QPoint(x, 15));
        test.loop.advance(1);
    }
    void tell(NotificationName name) {
        windows->windowNotification({name, nullptr, {}});
        test.loop.runUntilIdle();
    }
    /// Which windows are to be seen, and how the item is drawn.
    std::string seen() {
        test.loop.runUntilIdle();
        QStringList names;
        if (face->panel->visible)
            names << u"panel"_qs;
        if (face->main && face->main->visible)
            names << u"main"_qs;
        if (face->settings && face->settings->visible)
            names << u"settings"_qs;
        return (names.join(u' ') + u'|' + (item ? item->icon.name : QString())).toStdString();
    }

    FakeScriptedPlayer& local = desktop.start(iTunes);
    bool windowOnly = false, hasOldBar = false;
    int quits = 0, activations = 0;
    FakeFace* face = nullptr;
    FakeStatusItem* item = nullptr;
    std::unique_ptr<WindowControllers> windows;
};

TEST_F(WindowControllersTest, AClickOpensThePanelAndTheNextClosesIt) {
    launch();
    EXPECT_EQ(seen(), "|closed");
    windows->openMainWindow();
    EXPECT_EQ(seen(), "main|closed");
    EXPECT_EQ(windows->lastActiveWindow(), face->main);
    click();
    EXPECT_EQ(seen(), "panel|open");
    EXPECT_EQ(face->panel->place.topLeft(), QPoint(424, 30));
    EXPECT_EQ(activations, 2) << "the program has come forward twice";
    EXPECT_EQ(windows->lastActiveWindow(), face->panel);
    click();
    EXPECT_EQ(seen(), "|closed");
    click();
    tell(kWindowDidResignKey);
    EXPECT_EQ(seen(), "|closed") << "a click elsewhere closes it";
    item->events.selected(QPoint(500, 15));
    EXPECT_EQ(seen(), "|closed") << "that click was this one";
    test.loop.advance(1);
    click(990);
    EXPECT_EQ(face->panel->place.x(), 660) << "not off the screen";
}

TEST_F(WindowControllersTest, OneWindowTakesThePlaceOfAnother) {
    launch();
    struct Row {
        NotificationName name;
        const char* seen;
    };
    const Row rows[] = {
        {kSettingsButtonSelected, "settings|closed"},
        {kGlobalHotKeySelected, "|closed"},
        {kGlobalHotKeySelected, "panel|open"},
        {kDisplaySearchTracks, "main|closed"},
        {kGlobalHotKeySelected, "|closed"},
        {kGlobalHotKeySelected, "panel|open"},
        {kGlobalHotKeySelected, "|closed"},
        {kShowWindowView, "main|closed"},
        {kOpenPanelWindow, "|open"},
        {kShowFavoritesView, "main|closed"},
        {kShowPandoraSettingsLogIn, "main settings|closed"},
    };
    for (const auto& row : rows) {
        tell(row.name);
        EXPECT_EQ(seen(), row.seen) << &row - rows;
    }
    windows->closeAllWindows();
    EXPECT_EQ(seen(), "|closed");
    face->main->place = {2000, 0, 400, 300};
    windows->openMainWindow();
    EXPECT_EQ(face->main->place.center(), face->screen.visibleFrame.center()) << "it was on no screen";
    face->main->place = {10, 10, 400, 300};
    windows->openMainWindow();
    EXPECT_EQ(face->main->place, QRect(10, 10, 400, 300)) << "it stays where the user left it";
    click();
    int selected = 0;
    const auto observation = test.session.notificationCenter().addObserver(kSelectPanelSearchField,
                                                                           [&](const auto&) { ++selected; });
    tell(kSelectSearchField);
    EXPECT_EQ(selected, 1);
    EXPECT_TRUE(windows->panelOrMainWindowIsKey());
}

TEST_F(WindowControllersTest, TheItemShowsWhatPlaysAndControlsIt) {
    userDefaults.set(defaults::kArtistSongMenuBar, true);
    launch(false);
    windows->updateStatusItemText(u"Herons - Kite"_qs);
    test.loop.runUntilIdle();
    EXPECT_EQ(item->text, u"Herons - Kite");
    EXPECT_EQ(item->toolTip, u"Kite|Herons – Lanterns");
    QStringList texts;
    for (const auto& entry : item->menu)
        texts << entry.text;
    EXPECT_EQ(texts.join(u'/'), u"Kite/Herons//Pause/Next/Previous/Mute//Open Panel/Settings//Quit")
        << "nothing leads to windows that are not there";
    local.commands.clear();
    item->entry(u"Pause"_qs)->action();
    item->events.secondarySelected();
    EXPECT_EQ(local.commands, (QStringList{u"playpause"_qs, u"playpause"_qs}));
    local.volume = 50;
    controller().setVolume(50);
    item->events.scrolled(2);
    EXPECT_EQ(local.volume, 60);
    item->events.scrolled(std::numeric_limits<int>::min());
    EXPECT_EQ(local.volume, 0);
    const auto& setting = item->entry(u"Settings"_qs)->children.at(0);
    EXPECT_EQ(setting.checked, true);
    setting.action();
    test.loop.runUntilIdle();
    EXPECT_EQ(item->text, QString());
    EXPECT_EQ(item->entry(u"Settings"_qs)->children.at(0).checked, false);
    item->entry(u"Quit"_qs)->action();
    EXPECT_EQ(quits, 1);
    item->entry(u"Open Panel"_qs)->action();
    EXPECT_EQ(seen(), "panel|open");
    EXPECT_EQ(face->panel->place.right(), 991) << "nobody has told where the item is";
}

TEST_F(WindowControllersTest, WithoutABarThereIsAnotherWayIn) {
    launch();
    item->show(false);
    test.loop.advance(WindowControllers::kBarGrace - 0.5);
    EXPECT_EQ(seen(), "|closed") << "bars are restarted";
    item->show(true);
    test.loop.advance(10);
    EXPECT_EQ(seen(), "|closed");
    item->show(false);
    test.loop.advance(10);
    EXPECT_EQ(seen(), "panel|open");
    EXPECT_TRUE(face->panel->standalone);
    EXPECT_GT(face->panel->place.height(), 220) << "it says why";
    EXPECT_TRUE(userDefaults.boolFor(defaults::kToldOfMissingBar));
    tell(kWindowDidResignKey);
    EXPECT_EQ(seen(), "panel|open") << "a window stays";
    windows->closePanelWindow();
    item->show(true);
    EXPECT_FALSE(face->panel->standalone);
    click();
    EXPECT_EQ(face->panel->place.y(), 30);
}

TEST_F(WindowControllersTest, AnOlderBarOrAWindowOnlyWillDo) {
    hasOldBar = true;
    launch();
    item->show(false);
    test.loop.advance(10);
    ASSERT_TRUE(face->fallback);
    EXPECT_EQ(seen(), "|closed");
    EXPECT_EQ(face->fallback->toolTip, item->toolTip);
    face->fallback->events.selected(std::nullopt);
    EXPECT_EQ(seen(), "panel|open");
    windows.reset();
    item = nullptr;
    windowOnly = true;
    launch();
    EXPECT_FALSE(item);
    EXPECT_EQ(seen(), "panel|");
    EXPECT_TRUE(face->panel->standalone);
    EXPECT_FALSE(userDefaults.boolFor(defaults::kToldOfMissingBar));
}

} // namespace
} // namespace merlode
