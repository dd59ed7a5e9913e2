#include "app/demo/demo_library.h"

#include <QFile>
#include <QImage>
#include <QTemporaryDir>

#include <flacfile.h>
#include <flacpicture.h>
#include <gtest/gtest.h>
#include <sndfile.h>
#include <tpropertymap.h>

using namespace merlode;

namespace {

int indexOfAlbum(const char* title) {
    const auto& albums = demoCatalogue();
    const auto found = std::ranges::find_if(
        albums, [&](const DemoAlbum& album) { return album.title == QString::fromUtf8(title); });
    EXPECT_NE(found, albums.end()) << title;
    return static_cast<int>(found - albums.begin());
}

std::string tag(const TagLib::FLAC::File& file, const char* name) {
    return file.properties()[name].toString().to8Bit(true);
}

double secondsOf(const QByteArray& path) {
    SF_INFO info = {};
    auto* file = ::sf_open(path.constData(), SFM_READ, &info);
    if (!file)
        return 0;
    std::vector<short> samples(static_cast<std::size_t>(info.frames));
    const auto count = ::sf_readf_short(file, samples.data(), info.frames);
    ::sf_close(file);
    return static_cast<double>(count) / info.samplerate;
}

} // namespace

TEST(DemoLibrary, TagsAndArtAreReadBack) {
    struct Case {
        const char* album;
        int track;
        const char *title, *artist, *albumArtist, *number, *total, *disc, *discs, *compilation;
    };
    const Case cases[] = {
        {"Les Marées de Clairvoue", 3, "Le cœur en bandoulière", "Élodie Garançais", "Élodie Garançais", "4",
         "12", "1", "1", ""},
        {"雨のち硝子の街", 3, "カタツムリ特急", "月見坂電灯団", "月見坂電灯団", "4", "13", "1", "1", ""},
        {"The Long Meridian", 14, "XV. The Cook's Passacaglia", "The Tidewright Ensemble",
         "The Tidewright Ensemble", "3", "11", "2", "2", ""},
        {"Nightboat Radio: Signals from Everywhere", 13, "سفينة الليل", "فرقة نخيل الزجاج", "Various Artists",
         "14", "18", "1", "1", "1"},
    };
    const QTemporaryDir folder;
    for (const auto& c : cases) {
        const auto index = indexOfAlbum(c.album);
        const auto& album = demoCatalogue()[static_cast<std::size_t>(index)];
        ASSERT_TRUE(makeDemoTrack(folder.path(), index, c.track)) << c.title;
        const auto path = QFile::encodeName(
            folder.filePath(demoTrackPath(album, album.tracks[static_cast<std::size_t>(c.track)])));
        TagLib::FLAC::File file(path.constData());
        ASSERT_TRUE(file.isValid()) << c.title;
        EXPECT_EQ(tag(file, "TITLE"), c.title);
        EXPECT_EQ(tag(file, "ARTIST"), c.artist);
        EXPECT_EQ(tag(file, "ALBUM"), c.album);
        EXPECT_EQ(tag(file, "ALBUMARTIST"), c.albumArtist);
        EXPECT_EQ(tag(file, "GENRE"), album.genre.toStdString());
        EXPECT_EQ(tag(file, "DATE"), album.date.toStdString());
        EXPECT_EQ(tag(file, "TRACKNUMBER"), c.number);
        EXPECT_EQ(tag(file, "TRACKTOTAL"), c.total);
        EXPECT_EQ(tag(file, "DISCNUMBER"), c.disc);
        EXPECT_EQ(tag(file, "DISCTOTAL"), c.discs);
        EXPECT_EQ(tag(file, "COMPILATION"), c.compilation);
        ASSERT_EQ(file.pictureList().size(), 1u);
        const auto art = file.pictureList().front()->data();
        EXPECT_EQ(QImage::fromData(QByteArray(art.data(), static_cast<int>(art.size()))).size(),
                  QSize(600, 600));
        const auto seconds = secondsOf(path);
        EXPECT_GE(seconds, 20) << c.title;
        EXPECT_LE(seconds, 40) << c.title;
        EXPECT_EQ(file.audioProperties()->lengthInSeconds(), static_cast<int>(seconds));
    }
    EXPECT_TRUE(QImage(folder.filePath(QStringLiteral("月見坂電灯団/雨のち硝子の街/cover.jpg"))).width() ==
                600);
}

TEST(DemoLibrary, EndsEarlyWhenItIsAskedTo) {
    const QTemporaryDir folder;
    std::atomic<bool> stop = false;
    int last = 0;
    EXPECT_TRUE(makeDemoLibrary(
        folder.path(),
        [&](int done, int) {
            stop = true;
            last = done;
        },
        &stop));
    EXPECT_LT(last, 30) << "more than those that were being made";
}
