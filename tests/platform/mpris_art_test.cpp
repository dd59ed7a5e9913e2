#include "base/dispatch_queue.h"
#include "platform/linux/mpris_art.h"
#include "platform/linux/taglib_pictures.h"
#include "support/fake_http.h"
#include "support/music_files.h"
#include "support/virtual_run_loop.h"

#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace merlode {
namespace {

QByteArray png() {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    QImage(3, 3, QImage::Format_RGB32).save(&buffer, "PNG");
    return bytes;
}

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
    ASSERT_TRUE(QFile::resize(base + u"/huge.png"_qs, Image::kMostBytes + 1));
    ASSERT_EQ(mkfifo(QFile::encodeName(base + u"/pipe"_qs).constData(), 0600), 0);
    const struct {
        QString url;
        std::optional<QByteArray> bytes;
    } cases[] = {
        {u"file://"_qs + base + u"/my%20cover.png"_qs, "space"},
        {u"file://localhost"_qs + base + u"/my cover.png"_qs, "space"},
        {u"file:"_qs + base + u"/my%20cover.png"_qs, "space"},
        {u"file://elsewhere"_qs + base + u"/my%20cover.png"_qs, std::nullopt},
        {u"file://"_qs + base + u"/100%#.png"_qs, "raw"},
        {u"file://"_qs + base, std::nullopt},
        {base + u"/huge.png"_qs, std::nullopt},
        {u"file://"_qs + base + u"/pipe"_qs, std::nullopt},
        {u"data:image/png;base64,aGVsbG8="_qs, "hello"},
        {u"data:text/html;base64,aGVsbG8="_qs, std::nullopt},
    };
    for (const auto& c : cases)
        EXPECT_EQ(fetchArt(c.url, nullptr), c.bytes) << c.url.toStdString();
}

TEST(MprisArt, OnlyThePictureLastAskedForArrives) {
    VirtualRunLoop loop;
    VirtualExecutor executor(loop);
    DispatchQueue queue(u"art"_qs, executor, nullptr);
    FakeHttp http;
    http.route(u"https://x/second.png"_qs, png());
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

TEST(MprisArt, AFileStandsInForThePlayerThatNamesNoPicture) {
    const QTemporaryDir folder;
    const QString base = folder.path() + u'/';
    const QString song = base + u"a söng.flac"_qs;
    const QByteArray picture = testing_support::noisePicture(4);
    ASSERT_TRUE(testing_support::writeMusicFile({.path = song, .picture = picture}));
    ASSERT_TRUE(QImage(5, 5, QImage::Format_RGB32).save(base + u"Folder.PNG"_qs, "PNG"));
    QFile endless(base + u"endless.mp3"_qs);
    ASSERT_TRUE(endless.open(QIODevice::WriteOnly) && endless.resize(10'000'000'000)); // takes minutes
    const struct {
        QString art, track;
        double seconds;
        int width; ///< 0 for no picture
    } cases[] = {
        {{}, song, 0.2, 0}, // the player may yet name one
        {{}, song, 0.4, 4},
        {{}, u"file://"_qs + base + u"a%20s%C3%B6ng.flac"_qs, 0.4, 4},
        {u"https://x/right.png"_qs, song, 0.4, 3},
        {u"https://x/broken"_qs, song, 0.4, 4},
        {{}, endless.fileName(), 0.4, 5},
    };
    VirtualRunLoop loop;
    VirtualExecutor executor(loop);
    DispatchQueue queue(u"art"_qs, executor, nullptr);
    FakeHttp http;
    http.route(u"https://x/right.png"_qs, png());
    MprisArt art(loop, &http, &queue, embeddedPicture);
    for (const auto& c : cases) {
        art.want({c.art, c.track});
        loop.advance(c.seconds);
        EXPECT_EQ(art.image().value_or(Image()).pixels().width(), c.width) << &c - cases;
    }
}

} // namespace
} // namespace merlode
