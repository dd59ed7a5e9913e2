#include "app/demo/demo_cover.h"
#include "appearance/background_scheme_controller.h"
#include "support/fake_face.h"
#include "ui/widgets/accessibility.h"
#include "ui/widgets/control_button.h"
#include "ui/widgets/desktop_palette.h"
#include "ui/widgets/elided_label.h"
#include "ui/widgets/panel_window.h"
#include "ui/widgets/results_list.h"
#include "ui/widgets/search_field.h"
#include "ui/widgets/text_button.h"
#include "ui/widgets/volume_slider.h"

#include <QAccessible>
#include <QApplication>
#include <QDir>
#include <QMouseEvent>
#include <QRegularExpression>
#include <QShortcut>
#include <QTextDocument>

namespace merlode {
namespace {

const QString kDark = u"dark"_qs, kLight = u"light"_qs;

/// The real panel on players and services that a test sets. With a folder named in MERLODE_GALLERY each state
/// is left there as a picture for people to look at.
class PanelWindowTest : public testing::Test, protected FaceMachine {
  protected:
    PanelWindowTest() {
        look.reduced = true; // nothing moves, so everything is where it will be
        controller().setupMusicPlayers();
        panel = std::make_unique<PanelViewController>(test.session);
        window = std::make_unique<PanelWindow>(test.session, *panel);
        panel->setWindow(window.get());
        panel->setClose([this] { window->orderOut(); });
        panel->registerForNotifications();
        window->setArrow(76, false);
    }
    ~PanelWindowTest() override {
        QApplication::setLayoutDirection(Qt::LeftToRight);
        window.reset();
    }

    static QString album(const QString& kind) {
        return kind == kDark ? u"Small Hours"_qs : u"Lanterns over Quillmere"_qs;
    }
    static QImage cover(const QString& kind) { return paintDemoCover(kind == kDark ? 1 : 3); }
    void play(const QString& name, const QString& artist, const QString& album, const QImage& art) {
        if (desktop.applications[iTunes].process == 0)
            desktop.start(iTunes);
        auto& player = *desktop.applications[iTunes].player;
        player.playing(name, artist, album);
        player.art = art.isNull() ? std::nullopt : std::optional(Image(art));
        announce(notifications::kITunesPlayerInfo);
        test.loop.advance(3);
    }
    void playSomething(const QString& kind) {
        play(u"The Ferryman's Umbrella"_qs, u"The Paper Herons"_qs, album(kind), cover(kind));
    }
    void searchFor(const QString& term) {
        songs = {{1, u"Lanterns (Reprise)"_qs, u"The Paper Herons"_qs, u"Lanterns over Quillmere"_qs},
                 {2, u"Lantern Street"_qs, u"Odalys Finch"_qs, u"Small Hours"_qs},
                 {3, u"Paper Lantern"_qs, u"Mistral & Sons"_qs, u"Winter Post"_qs}};
        http.route(u"http://www.pandora.com/autocomplete?adv=yes&sendquery=no&q=lantern"_qs,
                   "m1\tLantern Radio\nm2\tPaper Lanterns Radio");
        panel->searchFieldAction(term);
        if (term == u"lantern")
            test.loop.runUntilIdle();
    }
    void show(const QString& name) {
        window->makeKeyAndOrderFront();
        panel->fitWindow(false);
        QApplication::processEvents();
        if (const auto folder = qEnvironmentVariable("MERLODE_GALLERY"); !folder.isEmpty()) {
            QDir().mkpath(folder);
            EXPECT_TRUE(window->grab().save(folder + u'/' + name + u".png"_qs));
        }
    }
    template<class Widget>
    Widget* child(const QString& name) const {
        return window->findChild<Widget*>(name);
    }
    /// The texts that can be seen, from top to bottom.
    QStringList visibleTexts() const {
        QStringList texts;
        for (const auto* label : window->findChildren<QLabel*>()) {
            if (label->isVisible() && !label->text().isEmpty())
                texts << label->text();
        }
        return texts;
    }
    ControlButton* button(const QString& accessibleName) const {
        for (auto* candidate : window->findChildren<ControlButton*>()) {
            if (candidate->accessibleName() == accessibleName)
                return candidate;
        }
        return nullptr;
    }
    static void press(QWidget* widget, int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QKeyEvent down(QEvent::KeyPress, key, modifiers), up(QEvent::KeyRelease, key, modifiers);
        QApplication::sendEvent(widget, &down);
        QApplication::sendEvent(widget, &up);
    }

    std::unique_ptr<PanelViewController> panel;
    std::unique_ptr<PanelWindow> window;
};

TEST_F(PanelWindowTest, EachStateShowsItsSectionsInTheColoursOfTheCover) {
    for (const auto& kind : {kLight, kDark}) {
        playSomething(kind);
        const auto colors = PanelColors::of(panel->scheme());
        EXPECT_EQ(pc_isDarkColor(panel->scheme().backgroundColor()), kind == kDark);
        panel->clearSearch();
        show(kind + u"-playing"_qs);
        const int top = window->height();
        EXPECT_EQ(visibleTexts(),
                  (QStringList{u"The Ferryman's Umbrella"_qs, u"The Paper Herons"_qs, album(kind)}));
        const auto picture = window->grab().toImage();
        EXPECT_EQ(picture.pixelColor(picture.width() / 8, picture.height() * 3 / 4).rgb(),
                  colors.background.rgb());
        searchFor(u"other"_qs);
        show(kind + u"-loading"_qs);
        EXPECT_TRUE(visibleTexts().contains(u"Loading"_qs));
        EXPECT_EQ(window->height(), top + 40);
        test.loop.runUntilIdle();
        show(kind + u"-nothing-found"_qs);
        EXPECT_TRUE(visibleTexts().contains(u"No Results Found"_qs));
        EXPECT_EQ(window->height(), top + 40);
        searchFor(u"lantern"_qs);
        show(kind + u"-results"_qs);
        auto* tracks = child<ResultsList>(u"SearchTableSongPanel"_qs);
        ASSERT_TRUE(tracks && tracks->isVisible());
        EXPECT_EQ(tracks->height(), 3 * ResultsDelegate::rowHeight());
        EXPECT_EQ(child<ResultsList>(u"SearchTableAlbum"_qs)->model()->rowCount(), 1);
        EXPECT_TRUE(child<ResultsList>(u"SearchTablePandora"_qs)->isVisible());
        EXPECT_EQ(window->height(), static_cast<int>(panel->contentHeight()));
    }
}

TEST_F(PanelWindowTest, TextIsReadableOnEveryCover) {
    for (int number = 0; number < 16; ++number) {
        play(u"Song"_qs, u"Artist %1"_qs.arg(number), u"Album %1"_qs.arg(number), paintDemoCover(number));
        const auto colors = PanelColors::of(panel->scheme());
        const auto contrast = [](const QColor& one, const QColor& other) {
            const auto color = [](const QColor& c) { return Color{c.redF(), c.greenF(), c.blueF()}; };
            return readingContrast(color(one), color(other));
        };
        const auto prompt =
            window->findChild<SearchField*>()->palette().color(QPalette::Active, QPalette::PlaceholderText);
        EXPECT_GT(contrast(prompt, colors.field), 4.4) << number;
        EXPECT_EQ(prompt.alpha(), 255);
        for (const auto& text : {colors.text, colors.dimText}) {
            for (const auto& ground : {colors.background, colors.field, colors.highlight})
                EXPECT_GT(contrast(text, ground), 4.4) << number << " " << text.name().toStdString();
        }
    }
}

TEST_F(PanelWindowTest, NamesOfAnyKindStayInTheirPlace) {
    const QString longName =
        u"A Very Long Title That Goes On and On, Past the Cover and the End of Every Line "_qs;
    play(longName.repeated(30), longName.repeated(3),
         u"Donaudampfschifffahrtsgesellschaftskapitänsmütze"_qs.repeated(4), cover(kLight));
    show(u"long-names"_qs);
    for (const auto* label : window->findChildren<ElidedLabel*>()) {
        if (!label->isVisible())
            continue;
        EXPECT_TRUE(label->isElided() && !label->toolTip().isEmpty()) << label->text().left(20).toStdString();
        EXPECT_LE(label->mapTo(window.get(), QPoint(label->width(), 0)).x(), window->width());
    }
    play(u"<b>&amp;</b>\n\t😀"_qs, u"A"_qs, QString(), {});
    show(u"markup"_qs);
    EXPECT_EQ(visibleTexts(), (QStringList{u"<b>&amp;</b> 😀"_qs, u"A"_qs})) << "shown as it is";
    QApplication::setLayoutDirection(Qt::RightToLeft);
    play(u"أغنية المطر"_qs, u"فيروز الليل"_qs, u"مدينة النوارس"_qs, cover(kDark));
    show(u"right-to-left"_qs);
    const auto x = [this](const QString& name) { return button(name)->mapTo(window.get(), QPoint()).x(); };
    EXPECT_GT(x(u"Previous"_qs), x(u"Next"_qs)) << "all of it is mirrored";
}

TEST_F(PanelWindowTest, WithNothingToShowItSaysWhatToDo) {
    library.state = {MediaLibrary::State::Finished, 0, 0};
    test.session.notificationCenter().post(notifications::kMediaLibraryProgress);
    panel->showMessage(
        u"No tray was found, so Merlode is a window here. If you close it, start it again."_qs);
    window->setStandalone(true);
    show(u"no-player"_qs);
    const auto texts = visibleTexts();
    EXPECT_EQ(texts.value(1), panel->emptyText());
    EXPECT_EQ(texts.value(0), u"No music player is running");
    EXPECT_TRUE(panel->emptyText().startsWith(u"There is no music in /music yet"_qs));
    EXPECT_TRUE(texts.last().startsWith(u"No tray was found"_qs));
    EXPECT_FALSE(button(u"Play"_qs)->isEnabled());
    EXPECT_FALSE(button(u"Favorite track"_qs)->isEnabled());
    EXPECT_FALSE(child<VolumeSlider>(QString())->isEnabled());
    EXPECT_EQ(window->minimumHeight(), window->maximumHeight()) << "nobody tears it apart";
}

TEST_F(PanelWindowTest, EverythingHasANameForTheKeyboardAndForScreenReaders) {
    playSomething(kDark);
    searchFor(u"lantern"_qs);
    show(u"keyboard"_qs);
    QStringList order;
    const QWidget* widget = window.get();
    for (int step = 0; step < 400; ++step) {
        widget = widget->nextInFocusChain();
        if (widget == window.get())
            break;
        if (widget->isVisible() && widget->isEnabled() && widget->focusPolicy() & Qt::TabFocus) {
            const auto* button = qobject_cast<const QAbstractButton*>(widget);
            const auto name = widget->accessibleName();
            order << (name.isEmpty() && button ? button->text() : name);
        }
    }
    EXPECT_FALSE(order.contains(QString())) << order.join(u',').toStdString();
    EXPECT_EQ(
        order.filter(QRegularExpression(u"^(Previous|Pause|Next|Mute|Volume|Search|Tracks|Stations)$"_qs))
            .join(u' ')
            .toStdString(),
        "Previous Pause Next Mute Volume Search Tracks Stations");

    const auto* pause = QAccessible::queryAccessibleInterface(button(u"Pause"_qs));
    ASSERT_TRUE(pause);
    EXPECT_EQ(pause->role(), QAccessible::Button);
    EXPECT_EQ(pause->text(QAccessible::Name), u"Pause");
    const auto* program = QAccessible::queryAccessibleInterface(qApp);
    const int last = program->childCount() - 1;
    ASSERT_GE(last, 0);
    ASSERT_TRUE(program->child(last));
    EXPECT_EQ(program->child(last)->object(), window.get()) << "though it is a popup";
    EXPECT_EQ(program->indexOfChild(program->child(last)), last);
    const auto* announcer = QAccessible::queryAccessibleInterface(window->findChild<Announcer*>());
    EXPECT_EQ(announcer->role(), QAccessible::Notification);
    EXPECT_TRUE(announcer->text(QAccessible::Name).startsWith(u"The Ferryman's Umbrella"_qs));
}

TEST_F(PanelWindowTest, KeysPlaySearchScrollAndClose) {
    playSomething(kDark);
    searchFor(u"lantern"_qs);
    show(u"keys"_qs);
    window->setFrame({0, 0, panelsize::kWidth, 300}, false); // on a low screen
    auto* stations = child<ResultsList>(u"SearchTablePandora"_qs);
    stations->enter(false);
    const auto seen = [&stations] { return stations->visibleRegion().boundingRect(); };
    EXPECT_TRUE(seen().contains(stations->visualRect(stations->currentIndex()))) << "scrolled to";
    panel->fitWindow(false);

    auto& player = *desktop.applications[iTunes].player;
    player.commands.clear();
    window->setFocus();
    press(window.get(), Qt::Key_Space);
    auto* tracks = child<ResultsList>(u"SearchTableSongPanel"_qs);
    tracks->enter(true);
    press(tracks, Qt::Key_Down);
    press(tracks, Qt::Key_Return);
    EXPECT_EQ(player.commands.value(0), u"playpause");
    EXPECT_TRUE(player.commands.join(u' ').contains(u"Paper Lantern"_qs) ||
                player.commands.join(u' ').contains(u"Lantern Street"_qs))
        << player.commands.join(u' ').toStdString();
    int quits = 0;
    panel->setMenu([&quits] {
        return std::vector<MenuEntry>{{u"Quit"_qs, true, std::nullopt, [&quits] { ++quits; }, {}}};
    });
    for (auto* shortcut : window->findChildren<QShortcut*>()) {
        if (shortcut->key() == QKeySequence(Qt::CTRL | Qt::Key_Q))
            Q_EMIT shortcut->activated();
    }
    EXPECT_EQ(quits, 1);
    tracks->enter(true);
    press(tracks, Qt::Key_Escape);
    EXPECT_EQ(panel->displayState(), PanelDisplayState::None) << "first what was found goes";
    EXPECT_EQ(window->focusWidget(), window.get());
    EXPECT_TRUE(window->isKey());
    press(window.get(), Qt::Key_Escape);
    EXPECT_FALSE(window->isKey()) << "then the panel";
}

TEST_F(PanelWindowTest, TheMouseReachesTheVolumeAndTheServices) {
    playSomething(kLight);
    auto& player = *desktop.applications[iTunes].player;
    searchFor(u"lantern"_qs);
    show(u"mouse"_qs);
    auto* volume = child<VolumeSlider>(QString());
    const auto at = [](QWidget* widget, QEvent::Type type, const QPointF& place) {
        QMouseEvent event(type, place, widget->mapToGlobal(place),
                          type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton, Qt::LeftButton,
                          Qt::NoModifier);
        QApplication::sendEvent(widget, &event);
    };
    at(volume, QEvent::MouseButtonPress, {volume->width() - 1.0, 12});
    at(volume, QEvent::MouseMove, {volume->width() / 2.0, 12});
    EXPECT_EQ(player.volume, 50);
    at(volume, QEvent::MouseMove, {-50, 12});
    at(volume, QEvent::MouseButtonRelease, {-50, 12});
    EXPECT_EQ(player.volume, 0);
    button(u"Unmute"_qs)->click();
    EXPECT_EQ(player.volume, 50) << "where the drag began";
    player.commands.clear();
    auto* tracks = child<ResultsList>(u"SearchTableSongPanel"_qs);
    const auto row = tracks->visualRect(tracks->model()->index(0, 0));
    const QPoint chip(row.right() - panelsize::kMargin - 10, row.center().y());
    const auto& found = panel->rows(PanelTable::Tracks)[0];
    EXPECT_EQ(ResultsDelegate::serviceAt(chip, row, found, Qt::LeftToRight), MusicItemSourceType::iTunes);
    EXPECT_EQ(ResultsDelegate::serviceAt(row.topLeft(), row, found, Qt::LeftToRight), std::nullopt);
    at(tracks->viewport(), QEvent::MouseButtonPress, chip);
    at(tracks->viewport(), QEvent::MouseButtonRelease, chip + QPoint(0, row.height()));
    EXPECT_TRUE(player.commands.isEmpty()) << "a click that ends elsewhere is none";
    at(tracks->viewport(), QEvent::MouseButtonPress, chip);
    at(tracks->viewport(), QEvent::MouseButtonRelease, chip);
    EXPECT_FALSE(player.commands.isEmpty());
    QTextDocument tip;
    tip.setHtml(tracks->model()->index(2, 0).data(Qt::ToolTipRole).toString());
    EXPECT_TRUE(tip.toPlainText().contains(u"Mistral & Sons"_qs)) << tip.toPlainText().toStdString();
    auto* search = window->findChild<SearchField*>();
    search->setText(u"lantern"_qs);
    Q_EMIT search->clearSelected();
    EXPECT_TRUE(search->text().isEmpty() && panel->displayState() == PanelDisplayState::None);
}

TEST_F(PanelWindowTest, MenusAreDarkWhereTheDesktopIs) {
    const auto usual = QApplication::palette();
    {
        const DesktopPalette palette(test.session);
        EXPECT_EQ(QApplication::palette(), usual);
        look.scheme = DesktopSettings::ColorScheme::Dark;
        test.session.distributedCenter().post(notifications::kInterfaceThemeChanged);
        EXPECT_LT(QApplication::palette().color(QPalette::Window).lightness(), 100);
        EXPECT_GT(QApplication::palette().color(QPalette::WindowText).lightness(), 200);
        look.scheme = DesktopSettings::ColorScheme::Light;
        test.session.distributedCenter().post(notifications::kInterfaceThemeChanged);
        EXPECT_EQ(QApplication::palette(), usual);
    }
}

} // namespace
} // namespace merlode
