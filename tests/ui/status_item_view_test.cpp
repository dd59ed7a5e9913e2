#include "support/fake_face.h"
#include "ui/status_item_view.h"

namespace merlode {
namespace {

/// Ten points to a letter.
class StatusItemViewTest : public testing::Test, protected FaceMachine, protected StatusItemViewDelegate {
  protected:
    StatusItemViewTest() {
        userDefaults.set(defaults::kArtistSongMenuBar, true);
        view.setDelegate(this);
    }
    void statusItemSelected() override { ++selections; }
    void statusItemFrameUpdated() override { ++frames; }

    void show(const QString& text) {
        view.setScrollingString(text);
        test.loop.runUntilIdle();
    }

    int changes = 0, selections = 0, frames = 0;
    StatusItemView view{test.session,
                        {22, 22},
                        [](const QString& text) { return 10.0 * double(text.size()); },
                        [this] { ++changes; }};
};

TEST_F(StatusItemViewTest, ALongTextMovesLeftWaitsAndComesBackFromBelow) {
    show(u"abcdefghijklmnopqrst"_qs); // 200 points
    struct Row {
        double seconds; ///< since the text came
        QString animation;
        QPointF position;
        QString visible;
    };
    const Row rows[] = {
        {0.25, view.kTextFieldInitialPauseAnimationName, {0, 0}, u"abcdefghijklm…"_qs},
        {0.5 + 0.01, view.kTextFieldMoveLeftAnimationName, {-0.2, 0}, u"bcdefghijklmno"_qs},
        {0.5 + 1.45, view.kTextFieldMoveLeftAnimationName, {-29, 0}, u"defghijklmnopq"_qs},
        {0.5 + 2.9 + 0.5, view.kTextFieldPauseAnimationName, {-58, 0}, u"ghijklmnopqrst"_qs},
        {3.4 + 1.0 + 0.375, view.kTextFieldMoveUpAnimationName, {0, -11}, u"abcdefghijklm…"_qs},
        {4.4 + 0.75 + 0.1, QString(), {0, 0}, u"abcdefghijklm…"_qs},
        {600, QString(), {0, 0}, u"abcdefghijklm…"_qs},
    };
    double now = 0;
    for (const auto& row : rows) {
        test.loop.advance(row.seconds - now);
        now = row.seconds;
        EXPECT_EQ(view.runningAnimation(), row.animation) << row.seconds;
        EXPECT_NEAR(view.textPosition().x(), row.position.x(), 0.3) << row.seconds;
        EXPECT_NEAR(view.textPosition().y(), row.position.y(), 0.3) << row.seconds;
        EXPECT_EQ(view.visibleText(), row.visible) << row.seconds;
    }
    changes = 0;
    view.mouseEntered();
    EXPECT_EQ(view.runningAnimation(), view.kTextFieldInitialPauseAnimationName) << "pointing plays it again";
    test.loop.advance(10);
    EXPECT_LT(changes, 15) << "a change of the text for each letter, and none in between";
    const int before = changes;
    test.loop.advance(600);
    EXPECT_EQ(changes, before);
}

TEST_F(StatusItemViewTest, TextsThatFitAndHostileOnesAreShownWithoutHarm) {
    show(u"short"_qs);
    test.loop.advance(0.6);
    EXPECT_EQ(view.visibleText(), u"short"_qs);
    EXPECT_EQ(view.runningAnimation(), view.kTextFieldPauseAnimationName) << "a move of no length is over";
    const QString family = QString::fromUtf8("👩‍👩‍👧").repeated(30);
    show(family);
    for (int step = 0; step < 100; ++step) {
        test.loop.advance(0.1);
        const QString text = view.visibleText().trimmed();
        EXPECT_TRUE(family.contains(text.chopped(text.endsWith(u'…'))) && text[0].isHighSurrogate())
            << "no letter is torn apart: " << text.toStdString();
    }
    show(u"line\nbreak\ttab"_qs + QString(100'000, u'x'));
    EXPECT_LE(view.scrollingString().size(), 160);
    EXPECT_TRUE(view.scrollingString().startsWith(u"line break tab"_qs));
}

TEST_F(StatusItemViewTest, TheWidthFollowsTheTextAndTheSetting) {
    EXPECT_EQ(view.frameSize(), QSizeF(22, 22));
    show(u"Artist - Song"_qs);
    EXPECT_EQ(view.frameSize(), QSizeF(164, 22));
    EXPECT_EQ(frames, 1);
    userDefaults.set(defaults::kArtistSongMenuBar, false);
    test.session.notificationCenter().post(notifications::kUpdateStatusItemFrame);
    EXPECT_EQ(view.frameSize(), QSizeF(22, 22));
    EXPECT_EQ(view.visibleText(), QString());
    EXPECT_EQ(view.scrollingString(), u"Artist - Song"_qs);
    userDefaults.set(defaults::kArtistSongMenuBar, true);
    show(QString());
    EXPECT_EQ(view.frameSize(), QSizeF(22, 22));
    view.mouseUp();
    EXPECT_EQ(selections, 1);
}

TEST_F(StatusItemViewTest, AThemeChangeDoesNotInterruptTheScroll) {
    EXPECT_EQ(view.textColor(), QColor::fromRgbF(0.05F, 0.05F, 0.05F));
    show(u"abcdefghijklmnopqrst"_qs);
    test.loop.advance(1);
    const auto position = view.textPosition();
    look.scheme = DesktopSettings::ColorScheme::Dark;
    test.session.distributedCenter().post(notifications::kInterfaceThemeChanged);
    EXPECT_EQ(view.textColor(), QColor(Qt::white));
    EXPECT_EQ(view.textPosition(), position);
    EXPECT_EQ(view.runningAnimation(), view.kTextFieldMoveLeftAnimationName);
    look.reduced = true;
    view.mouseEntered();
    EXPECT_EQ(view.runningAnimation(), QString()) << "who asks for less movement gets none";
    EXPECT_EQ(view.visibleText(), u"abcdefghijklm…"_qs);
}

} // namespace
} // namespace merlode
