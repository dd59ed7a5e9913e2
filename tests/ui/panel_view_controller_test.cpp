#include "support/fake_face.h"
#include "ui/panel_view_controller.h"

namespace merlode {
namespace {

using namespace notifications;

class PanelViewControllerTest : public testing::Test, protected FaceMachine, protected PanelView {
  protected:
    PanelViewControllerTest() {
        local.playing(u"Kite"_qs, u"Herons"_qs, u"Lanterns"_qs);
        controller().setupMusicPlayers();
        panel.setView(this);
        panel.setWindow(&window);
        panel.setMetrics(metrics);
        panel.registerForNotifications();
        test.loop.advance(2);
    }
    ~PanelViewControllerTest() override { panel.setView(nullptr); }

    void update(PanelPart part) override { updates.insert(part); }
    void selectSearchField() override { ++selections; }
    void makeFirstResponder() override { ++repairs; }
    void announce(const QString& text) override { said << text; }
    void setArrow(double place, bool) override { arrow = place; }

    void post(NotificationName name) { test.session.notificationCenter().post(name); }
    SearchController& search() { return SearchController::sharedController(); }
    /// What a search for the term will find at Pandora.
    void stations(const QString& term, const QByteArray& rows) {
        http.route(u"http://www.pandora.com/autocomplete?adv=yes&sendquery=no&q="_qs + term, rows);
    }

    const PanelMetrics metrics{.top = 200, .header = 20, .row = 40, .seeMore = 25, .space = 5, .notice = 30};
    FakeScriptedPlayer& local = desktop.start(iTunes);
    std::set<PanelPart> updates;
    int selections = 0, repairs = 0;
    double arrow = 0;
    QStringList said;
    FakeWindow window;
    PanelViewController panel{test.session};
};

TEST_F(PanelViewControllerTest, GrowsDownwardForWhatIsFoundAndShrinksAgain) {
    songs = {{1, u"Lantern"_qs, u"Queen"_qs, u"Jazz"_qs}, {2, u"Two lanterns"_qs, u"Queen"_qs, u"Jazz"_qs}};
    stations(u"lantern"_qs, "m1\tLantern Radio");
    stations(u"nothing"_qs, "");
    window.place = {100, 30, 340, 200};
    window.visible = true;
    panel.setPlace({window.place, false, 0, 76}, {{0, 0, 1000, 800}, {0, 30, 1000, 770}});
    panel.searchFieldAction(u"lantern"_qs);
    EXPECT_EQ(panel.displayState(), PanelDisplayState::Loading);
    EXPECT_EQ(panel.loadingLabel(), u"Loading");
    EXPECT_EQ(window.place, QRect(100, 30, 340, 240));
    test.loop.runUntilIdle();
    ASSERT_EQ(panel.displayState(), PanelDisplayState::Results);
    EXPECT_EQ(panel.rows(PanelTable::Tracks).size(), 2U);
    EXPECT_EQ(panel.rows(PanelTable::Pandora).at(0).title, u"Lantern Radio");
    const auto& sections = panel.sections();
    EXPECT_EQ(sections.tables[0], (PanelTableHeights{20, 80, 0, 5})) << "no main window, no way to more";
    EXPECT_EQ(sections.tables[1], PanelTableHeights()) << "an empty list takes no room";
    EXPECT_EQ(sections.bottomPadding, 10);
    EXPECT_TRUE(panel.notice().contains(u"Spotify gave nothing")) << "that service was not there";
    EXPECT_EQ(window.place, QRect(100, 30, 340, 200 + 105 + 65 + 30 + 10));
    EXPECT_TRUE(window.animated);
    panel.setHasMainWindow(true);
    EXPECT_EQ(panel.sections().tables[0].seeMore, 25);

    panel.searchFieldAction(u"nothing"_qs);
    test.loop.runUntilIdle();
    EXPECT_EQ(panel.displayState(), PanelDisplayState::NoResults);
    EXPECT_EQ(panel.loadingLabel(), u"No Results Found");
    EXPECT_EQ(window.place, QRect(100, 30, 340, 240)) << "just the row of the label";
    panel.clearSearch();
    EXPECT_EQ(panel.displayState(), PanelDisplayState::None);
    EXPECT_EQ(window.place, QRect(100, 30, 340, 200));

    EXPECT_EQ(said.join(u'|').toStdString(),
              "Kite, Herons, Lanterns|Loading|2 tracks, 1 station, Spotify gave nothing: it did not answer"
              "|Loading|No Results Found");

    panel.setPlace({window.place, true, 0, 76}, {{0, 0, 1000, 800}, {0, 0, 1000, 230}});
    panel.updatePanelDisplayState(PanelDisplayState::Loading);
    EXPECT_EQ(window.place, QRect(100, 0, 340, 230)) << "over a bar at the bottom, upwards, and not off it";
}

TEST_F(PanelViewControllerTest, OneTermWithinThreeSecondsIsOneSearch) {
    const auto searches = count(kSearchControllerSearchAction);
    const auto ask = [&](const QString& text) {
        *searches = 0;
        repairs = 0;
        panel.searchFieldAction(text);
        return *searches;
    };
    EXPECT_EQ(ask(u" \t\n"_qs), 0);
    EXPECT_EQ(repairs, 0) << "a field of blanks does nothing";
    EXPECT_EQ(ask(u"kite"_qs), 1);
    EXPECT_GT(repairs, 0) << "the keyboard leaves the field";
    test.loop.advance(2.9);
    EXPECT_EQ(ask(u"kite"_qs), 0);
    EXPECT_EQ(ask(u"kites"_qs), 1) << "another term goes at once";
    test.loop.advance(3);
    EXPECT_EQ(ask(u"kites"_qs), 1);
    EXPECT_EQ(panel.searchText(), u"kites");
}

TEST_F(PanelViewControllerTest, EachNotificationUpdatesItsPart) {
    const std::pair<NotificationName, PanelPart> rows[] = {
        {kNewVolumeInfoAvailable, PanelPart::Volume},      {kNewTrackInfoAvailable, PanelPart::Track},
        {kNewAlbumArtAvailable, PanelPart::Art},           {kNewPlayStateAvailable, PanelPart::PlayState},
        {kServerConnectionChanged, PanelPart::Server},     {kSocketHostListDidChange, PanelPart::Server},
        {kRemoteClientHostNameUpdated, PanelPart::Server}, {kBackgroundSchemeUpdated, PanelPart::Scheme},
        {kTrackPositionUpdated, PanelPart::Position},      {kNewPandoraStationAvailable, PanelPart::Track},
    };
    for (const auto& [name, part] : rows) {
        updates.clear();
        post(name);
        EXPECT_TRUE(updates.contains(part)) << name.text;
    }
    post(kSelectPanelSearchField);
    EXPECT_EQ(selections, 1);
    said.clear();
    panel.opened();
    post(kNewTrackInfoAvailable);
    EXPECT_EQ(said, QStringList{u"Kite, Herons, Lanterns"_qs}) << "once, until it changes";
    test.session.notificationCenter().post(kUpdateTriangleConstraint, nullptr,
                                           {{u"offset"_qs, 12.0}, {u"arrow"_qs, 88.0}});
    EXPECT_EQ(arrow, 88);
}

TEST_F(PanelViewControllerTest, RowsArePlayedWhereTheUserWantsAndMoreIsHandedOver) {
    songs = {{1, u"Lantern"_qs, u"Queen"_qs, u"Jazz"_qs}};
    panel.searchFieldAction(u"lantern"_qs);
    test.loop.runUntilIdle();
    ASSERT_EQ(panel.rows(PanelTable::Tracks).size(), 1U);
    const auto& row = panel.rows(PanelTable::Tracks)[0];
    EXPECT_EQ(row.services(), std::vector{MusicItemSourceType::iTunes});
    EXPECT_EQ(row.spokenText(), u"Lantern, Queen – Jazz, Library");
    local.commands.clear();
    panel.playRow(PanelTable::Tracks, 1, std::nullopt);
    EXPECT_TRUE(local.commands.isEmpty()) << "there is no such row any more";
    panel.playRow(PanelTable::Tracks, 0, MusicItemSourceType::iTunes);
    EXPECT_TRUE(local.commands.join(u' ').contains(u"Lantern")) << local.commands.join(u' ').toStdString();

    struct Handed {
        NotificationName name;
        void (PanelViewController::*select)();
    };
    const Handed rows[] = {{kDisplaySearchTracks, &PanelViewController::selectedTopTracksButton},
                           {kDisplaySearchAlbums, &PanelViewController::selectedTopAlbumsButton},
                           {kDisplaySearchPandora, &PanelViewController::selectedTopPandoraButton}};
    for (const auto& [name, select] : rows) {
        int handed = 0;
        const auto observation = test.session.notificationCenter().addObserver(
            name, [&](const auto&) { ++handed; }, static_cast<Window*>(&window));
        (panel.*select)();
        EXPECT_EQ(handed, 1) << name.text;
    }
}

TEST_F(PanelViewControllerTest, ControlsDoWhatTheySayAndRepairTheFocus) {
    userDefaults.set(defaults::kHotkeysEnabled, true);
    auto& controls = panel.controls();
    EXPECT_EQ(controls.trackName() + controls.artistName() + controls.albumName(), u"KiteHeronsLanterns");
    EXPECT_EQ(controls.playToolTip(), u"Pause");
    local.commands.clear();
    controls.next();
    controls.previous();
    controls.playPause();
    EXPECT_EQ(local.commands.join(u' '), u"next previous playpause");
    EXPECT_EQ(hotkeys, (QList<bool>{true, true, true}));
    EXPECT_EQ(repairs, 3);
    EXPECT_EQ(controls.playToolTip(), u"Play");

    controls.setVolume(70, SliderEvent::Set);
    controls.setVolume(70, SliderEvent::MouseDown);
    for (const int volume : {50, 20, 0})
        controls.setVolume(volume, SliderEvent::Drag);
    EXPECT_EQ(local.volume, 0);
    EXPECT_EQ(controls.muteToolTip(), u"Unmute");
    controls.toggleMute();
    EXPECT_EQ(local.volume, 70) << "where the drag began";
    EXPECT_EQ(controls.muteToolTip(), u"Mute");
    controls.toggleMute();
    EXPECT_EQ(local.volume, 0);

    EXPECT_FALSE(controls.canFavorite()) << "there is no store of likes";
    controls.toggleFavorite();
    EXPECT_EQ(toggledFavorites, 0);
    keepsFavorites = true;
    const auto tracks = count(kNewTrackInfoAvailable);
    controls.toggleFavorite();
    EXPECT_EQ(toggledFavorites, 1);
    EXPECT_EQ(*tracks, 1);
    const QString position = controls.positionText();
    controls.playerPositionButtonSelected();
    EXPECT_EQ(position[0] == u'-', controls.positionText()[0] != u'-');
}

TEST_F(PanelViewControllerTest, WhoeverHasNothingPlayingIsToldWhatToDo) {
    EXPECT_TRUE(panel.emptyTitle().isEmpty());
    desktop.quit(iTunes);
    controller().checkProcessID();
    test.loop.advance(10);
    ASSERT_FALSE(controller().activePlayer());
    EXPECT_EQ(panel.controls().trackName() + panel.controls().artistName(), QString());
    EXPECT_EQ(panel.emptyTitle(), u"No music player is running");
    library.state = {MediaLibrary::State::Finished, 0, 0};
    EXPECT_TRUE(panel.emptyText().contains(u"There is no music in /music yet"));
    EXPECT_FALSE(panel.canChooseMusicFolder()) << "nobody could do it";
    panel.setChooseMusicFolder([] {});
    EXPECT_TRUE(panel.canChooseMusicFolder());
    library.state = {MediaLibrary::State::Scanning, 7, 0};
    EXPECT_TRUE(panel.emptyText().contains(u"7 files"));
    EXPECT_FALSE(panel.canChooseMusicFolder());
    library.state = {MediaLibrary::State::Finished, 7, 7};
    EXPECT_TRUE(panel.emptyText().contains(u"its player is started"));
    EXPECT_FALSE(panel.controls().canPlay());
    panel.showMessage(u"Look here."_qs);
    EXPECT_EQ(panel.sections().total(), 30);
    panel.searchFieldAction(u"kite"_qs);
    EXPECT_EQ(panel.sections().notice, 0) << "read by now";
}

TEST_F(PanelViewControllerTest, TheHostsMenuConnectsAndLeaves) {
    auto& remoteClient = panel.remoteClient();
    EXPECT_EQ(remoteClient.text(), u"Local");
    EXPECT_EQ(RemoteClientControl::buttonWidth(50, 20), 76);
    EXPECT_EQ(RemoteClientControl::buttonWidth(1000, 20), 400);
    auto menu = remoteClient.triangleButtonSelected();
    ASSERT_EQ(menu.size(), 1U);
    EXPECT_FALSE(menu[0].enabled);
    EXPECT_TRUE(menu[0].text.contains(u"Looking"));
    EXPECT_EQ(repairs, 1);
}

} // namespace
} // namespace merlode
