#include "appearance/background_scheme_controller.h"
#include "support/player_fixture.h"

namespace merlode {
namespace {

/// A player that plays albums with and without covers.
class BackgroundSchemeTest : public PlayerFixture {
  protected:
    BackgroundSchemeTest() {
        controller().setupMusicPlayers();
        scheme();
        updated = count(notifications::kBackgroundSchemeUpdated);
    }
    BackgroundSchemeController& scheme() { return BackgroundSchemeController::sharedController(); }

    void play(const QString& album, const std::optional<QImage>& cover) {
        library.playing(u"Song of "_qs + album, u"Artist"_qs, album);
        library.art = cover ? std::optional(Image(*cover)) : std::nullopt;
        announce(notifications::kITunesPlayerInfo);
        test.loop.advance(2);
    }
    static QImage cover(QRgb edge, QRgb field) {
        QImage pixels(50, 50, QImage::Format_RGB32);
        pixels.fill(field);
        for (int x = 0; x < 10; ++x) {
            for (int y = 0; y < 50; ++y)
                pixels.setPixel(x, y, edge);
        }
        return pixels;
    }

    FakeScriptedPlayer& library = desktop.start(iTunes);
    std::shared_ptr<int> updated;
};

TEST_F(BackgroundSchemeTest, TheCoverColoursEverythingAndItsAbsenceTakesThatBack) {
    const auto& neutral = scheme().defaultImages();
    EXPECT_EQ(scheme().images(), neutral);
    play(u"One"_qs, cover(qRgb(20, 40, 80), qRgb(250, 220, 90)));
    EXPECT_EQ(*updated, 1);
    EXPECT_EQ(scheme().backgroundColor().toQColor().rgba(), qRgb(20, 40, 80));
    EXPECT_EQ(scheme().controlColor().toQColor().rgba(), qRgb(250, 220, 90));
    EXPECT_EQ(scheme().images(), neutral.filled(scheme().controlColor()));
    const auto pause = scheme().images().pauseImage.pixels({24, 24}, 2);
    EXPECT_EQ(pause.size(), QSize(48, 48));
    EXPECT_EQ(pause.pixel(16, 24), qRgb(250, 220, 90));
    EXPECT_EQ(qAlpha(pause.pixel(24, 24)), 0) << "what is not the shape stays clear";

    play(u"Two"_qs, std::nullopt);
    EXPECT_EQ(*updated, 1) << "the cover may be on its way";
    test.loop.advance(scheme().kUpdateInterval);
    EXPECT_EQ(*updated, 2);
    EXPECT_EQ(scheme().backgroundColor(), scheme().kDefaultBackgroundColor);
    EXPECT_EQ(scheme().images(), neutral);

    play(u"Three"_qs, cover(qRgb(255, 255, 255), qRgb(255, 255, 255)));
    EXPECT_EQ(scheme().controlColor(), Color{}) << "black on white";
    EXPECT_EQ(*updated, 3);
    play(u"Four"_qs, std::nullopt);
    play(u"Five"_qs, cover(qRgb(90, 0, 0), qRgb(255, 230, 200)));
    EXPECT_EQ(*updated, 4);
    test.loop.advance(scheme().kUpdateInterval);
    EXPECT_EQ(*updated, 4) << "nothing is waited for any more";
}

} // namespace
} // namespace merlode
