#include "base/dispatch_queue.h"
#include "platform/http_client.h"
#include "platform/linux/mpris_art.h"
#include "support/virtual_run_loop.h"

#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace merlode {
namespace {

QByteArray picture(int side) {
    QImage image(side, side, QImage::Format_RGB32);
    image.fill(Qt::red);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

void write(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

class RoutedHttp final : public HttpClient {
  public:
    std::optional<QByteArray> get(const QString& url, double, qint64) override {
        asked += url;
        return url.endsWith(u".png") ? std::optional(picture(3)) : std::nullopt;
    }
    QStringList asked;
};

TEST(MprisArt, AddressesAreReadAsPlayersWriteThem) {
    const QTemporaryDir folder;
    const QString base = folder.path();
    write(base + u"/my cover.png"_qs, "space");
    write(base + u"/100%#.png"_qs, "raw");
    ASSERT_EQ(mkfifo(QFile::encodeName(base + u"/pipe"_qs).constData(), 0600), 0);
    const struct {
        QString url;
        std::optional<QByteArray> bytes;
    } cases[] = {
        {u"file://"_qs + base + u"/my%20cover.png"_qs, "space"},
        {u"file://localhost"_qs + base + u"/my cover.png"_qs, "space"},
        {base + u"/my cover.png"_qs, "space"},
        {u"file://"_qs + base + u"/100%25%23.png"_qs, "raw"},
        {u"file://"_qs + base + u"/100%#.png"_qs, "raw"},
        {u"file://elsewhere"_qs + base + u"/my%20cover.png"_qs, std::nullopt},
        {u"file://"_qs + base, std::nullopt},
        {u"file://"_qs + base + u"/pipe"_qs, std::nullopt},
        {u"data:image/png;base64,aGVsbG8="_qs, "hello"},
        {u"data:text/html;base64,aGVsbG8="_qs, std::nullopt},
        {u"data:image/png"_qs, std::nullopt},
        {u"http://x/a.png"_qs, std::nullopt},
        {u"ftp://x/a.png"_qs, std::nullopt},
        {u""_qs, std::nullopt},
    };
    for (const auto& c : cases)
        EXPECT_EQ(fetchArt(c.url, nullptr), c.bytes) << c.url.toStdString();
}

TEST(MprisArt, AFileBeyondTheLimitIsNotRead) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"huge.png"_qs);
    write(path, {});
    ASSERT_TRUE(QFile::resize(path, Image::kMostBytes + 1));
    EXPECT_EQ(fetchArt(path, nullptr), std::nullopt);
}

TEST(MprisArt, OnlyThePictureLastAskedForArrives) {
    VirtualRunLoop loop;
    VirtualExecutor executor(loop);
    DispatchQueue queue(u"art"_qs, executor, nullptr);
    RoutedHttp http;
    MprisArt art(loop, &http, &queue);

    art.want(u"https://x/first.png"_qs);
    art.want(u"https://x/second.png"_qs);
    EXPECT_FALSE(art.image());
    loop.runUntilIdle();
    ASSERT_TRUE(art.image());
    EXPECT_EQ(art.image()->pixels().width(), 3);
    EXPECT_EQ(http.asked, QStringList{u"https://x/second.png"_qs}); // the first was left before its turn

    art.want(u"https://x/broken"_qs);
    EXPECT_FALSE(art.image()) << "the old picture is not the new track's";
    loop.runUntilIdle();
    EXPECT_FALSE(art.image());
}

TEST(MprisArt, NothingIsFetchedForAPlayerThatHasGone) {
    VirtualRunLoop loop;
    VirtualExecutor executor(loop);
    DispatchQueue queue(u"art"_qs, executor, nullptr);
    RoutedHttp http;
    auto art = std::make_unique<MprisArt>(loop, &http, &queue);
    art->want(u"https://x/first.png"_qs);
    art.reset();
    loop.runUntilIdle();
    EXPECT_TRUE(http.asked.isEmpty());
}

} // namespace
} // namespace merlode
