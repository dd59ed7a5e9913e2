#include "base/dispatch_queue.h"
#include "platform/linux/mpris_art.h"
#include "support/fake_http.h"
#include "support/music_files.h"
#include "support/virtual_run_loop.h"

#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace merlode {
namespace {

TEST(MprisArt, AddressesAreReadAsPlayersWriteThem) {
    const QTemporaryDir folder;
    const QString base = folder.path();
    const auto write = [&base](const QString& name, const QByteArray& bytes) {
        QFile file(base + name);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    };
    write(u"/my cover.png"_qs, "space");
    write(u"/100%#.png"_qs, "raw");
    write(u"/huge.png"_qs, {});
    const auto latin1 = base.toStdString() + "/Andr\xe9.png";
    std::ofstream(latin1) << "Latin-1";
    ASSERT_TRUE(QFile::resize(base + u"/huge.png"_qs, Image::kMostBytes + 1));
    ASSERT_EQ(mkfifo(QFile::encodeName(base + u"/pipe"_qs).constData(), 0600), 0);
    const struct {
        QString url;
        std::optional<QByteArray> bytes;
    } cases[] = {
        {u"file://"_qs + base + u"/my%20cover.png"_qs, "space"},
        {u"file://localhost"_qs + base + u"/my cover.png"_qs, "space"},
        {u"FILE:"_qs + base + u"/my%20cover.png"_qs, "space"},
        {u"file://elsewhere"_qs + base + u"/my%20cover.png"_qs, std::nullopt},
        {u"file://"_qs + base + u"/Andr%E9.png"_qs, "Latin-1"},
        {u"file://"_qs + base + u"/100%#.png"_qs, "raw"},
        {u"file://"_qs + base, std::nullopt},
        {base + u"/huge.png"_qs, std::nullopt},
        {u"file://"_qs + base + u"/pipe"_qs, std::nullopt},
        {u"data:image/png;base64,aGVsbG8="_qs, "hello"},
        {u"data:text/html;base64,aGVsbG8="_qs, std::nullopt},
    };
    for (const auto& c : cases)
        EXPECT_EQ(fetchArt(c.url, nullptr), c.bytes) << c.url.toStdString();
    std::filesystem::remove(latin1); // Qt cannot name it
}

TEST(MprisArt, AFileStandsInForThePlayerThatNamesNoPicture) {
    const QTemporaryDir folder;
    const QString song = u"file://"_qs + folder.path() + u"/a%20song.mp3"_qs;
    VirtualRunLoop loop;
    VirtualExecutor executor(loop);
    DispatchQueue queue(u"art"_qs, executor, nullptr);
    FakeHttp http;
    http.route(u"https://x/right.png"_qs, testing_support::noisePicture(4));
    QByteArrayList opened;
    MprisArt art(loop, &http, &queue, [&](const QByteArray& path) -> std::optional<QByteArray> {
        opened << path;
        return testing_support::noisePicture(4);
    });
    const struct {
        MprisArtSource source;
        double seconds;
        bool found;
        int opened;
    } cases[] = {
        {{QString(), song}, 0.2, false, 0}, // the player may yet name one
        {{QString(), song}, 0.4, true, 1},
        {{u"https://x/right.png"_qs, song}, 0.4, true, 0},
        {{u"https://x/broken"_qs, song}, 0.4, true, 1},
        {{QString(), u"https://x/song.mp3"_qs}, 0.4, false, 0},
    };
    for (const auto& c : cases) {
        opened.clear();
        art.want(c.source);
        loop.advance(c.seconds);
        EXPECT_EQ(art.image().has_value(), c.found) << &c - cases;
        EXPECT_EQ(opened, QByteArrayList(c.opened, folder.path().toUtf8() + "/a song.mp3")) << &c - cases;
    }
}

TEST(MprisArt, OnlyThePictureLastAskedForArrives) {
    QByteArray picture;
    QBuffer buffer(&picture);
    QImage(3, 3, QImage::Format_RGB32).save(&buffer, "PNG");
    VirtualRunLoop loop;
    VirtualExecutor executor(loop);
    DispatchQueue queue(u"art"_qs, executor, nullptr);
    FakeHttp http;
    http.route(u"https://x/second.png"_qs, picture);
    MprisArt art(loop, &http, &queue);
    MprisArt(loop, &http, &queue).want({u"https://x/gone.png"_qs, {}}); // a player that goes at once
    art.want({u"https://x/first.png"_qs, {}});
    art.want({u"https://x/second.png"_qs, {}});
    loop.runUntilIdle();
    EXPECT_TRUE(art.image());
    ASSERT_EQ(http.requests().size(), 1U) << "the others were left before";

    art.want({u"https://x/broken"_qs, {}});
    EXPECT_FALSE(art.image()) << "the old picture is not the new track's";
    loop.runUntilIdle();
    EXPECT_FALSE(art.image());
}

} // namespace
} // namespace merlode
