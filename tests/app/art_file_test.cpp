#include "app/art_file.h"
#include "support/player_fixture.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

namespace merlode {
namespace {

using ArtFileTest = PlayerFixture;

TEST_F(ArtFileTest, ThereIsOneFileOfTheArtOnShowOnceSomebodyHasAsked) {
    const QTemporaryDir parent;
    const QString folder = parent.filePath(u"merlode"_qs);
    auto& player = desktop.start(iTunes);
    int changes = 0;
    std::optional<ArtFile> file{std::in_place, test.session, folder, [&] { ++changes; }};
    const auto play = [&](const QString& album, const QImage& art) {
        player.playing(album, u"Artist"_qs, album);
        player.art = art.isNull() ? std::nullopt : std::optional(Image(art));
        announce(notifications::kITunesPlayerInfo);
        test.loop.advance(2); // until it has been fetched
    };
    const auto files = [&] { return QDir(folder).entryList(QDir::Files | QDir::Hidden); };
    play(u"One"_qs, QImage(3000, 3000, QImage::Format_RGB32));
    EXPECT_TRUE(files().isEmpty());
    int settled = 0;
    file->want();
    file->whenSettled([&] { settled += file->path().isEmpty() ? 0 : 1; });
    test.loop.runUntilIdle();
    EXPECT_EQ(settled * changes, 1);
    const QString first = file->path();
    EXPECT_EQ((QFileInfo(folder).permissions() | QFileInfo(first).permissions()) & 0x77, 0) << "for us alone";
    EXPECT_EQ(QImage(first).width(), ArtFile::kLongestSide);
    EXPECT_TRUE(QFile(folder + u"/art-of-a-killed-run.png"_qs).open(QIODevice::WriteOnly));
    play(u"Two"_qs, QImage(10, 10, QImage::Format_ARGB32));
    EXPECT_EQ(changes, 3) << "none in between";
    EXPECT_NE(file->path(), first);
    EXPECT_EQ(files(), QStringList{QFileInfo(file->path()).fileName()});
    play(u"Three"_qs, {});
    EXPECT_TRUE(file->path().isEmpty() && files().isEmpty());
    controller().replaceAlbumArt(Image(QImage(9, 9, QImage::Format_RGB32)), {}, {}, u"Three"_qs);
    file.reset(); // the end comes before it is written
    test.loop.runUntilIdle();
    EXPECT_TRUE(files().isEmpty());
}

} // namespace
} // namespace merlode
