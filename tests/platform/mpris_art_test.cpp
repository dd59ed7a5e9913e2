#include "base/dispatch_queue.h"
#include "platform/linux/mpris_art.h"
#include "support/fake_http.h"
#include "support/virtual_run_loop.h"

#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>

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
    ASSERT_TRUE(QFile::resize(base + u"/huge.png"_qs, Image::kMostBytes + 1));
    ASSERT_EQ(mkfifo(QFile::encodeName(base + u"/pipe"_qs).constData(), 0600), 0);
    const struct {
        QString url;
        std::optional<QByteArray> bytes;
    } cases[] = {
        {u"file://"_qs + base + u"/my%20cover.png"_qs, "space"},
        {u"file://localhost"_qs + base + u"/my cover.png"_qs, "space"},
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
    QByteArray picture;
    QBuffer buffer(&picture);
    QImage(3, 3, QImage::Format_RGB32).save(&buffer, "PNG");
    VirtualRunLoop loop;
    VirtualExecutor executor(loop);
    DispatchQueue queue(u"art"_qs, executor, nullptr);
    FakeHttp http;
    http.route(u"https://x/second.png"_qs, picture);
    MprisArt art(loop, &http, &queue);
    MprisArt(loop, &http, &queue).want(u"https://x/gone.png"_qs); // a player that goes at once
    art.want(u"https://x/first.png"_qs);
    art.want(u"https://x/second.png"_qs);
    loop.runUntilIdle();
    EXPECT_TRUE(art.image());
    ASSERT_EQ(http.requests().size(), 1U) << "the others were left before";

    art.want(u"https://x/broken"_qs);
    EXPECT_FALSE(art.image()) << "the old picture is not the new track's";
    loop.runUntilIdle();
    EXPECT_FALSE(art.image());
}

} // namespace
} // namespace merlode
