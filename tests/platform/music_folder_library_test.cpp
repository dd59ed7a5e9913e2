#include "platform/linux/music_folder_library.h"
#include "support/music_files.h"
#include "support/test_session.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

namespace merlode {
namespace {

using State = MediaLibrary::State;
using testing_support::writeMusicFile;

class MusicFolderLibraryTest : public testing::Test {
  protected:
    MusicFolderLibraryTest() { open(); }

    void open() {
        const MusicFolderLibrary::Options options{cache.toUtf8(), [this] { return path({}); }};
        library = std::make_unique<MusicFolderLibrary>(test.session, options,
                                                       std::make_unique<VirtualExecutor>(test.loop));
    }
    QString path(const QString& name) const { return folder.filePath(u"Music/"_qs + name); }
    void write(const QString& name, const QString& title) const {
        ASSERT_TRUE(writeMusicFile({path(name), title, u"Album"_qs, {u"Artist"_qs}}));
    }
    static void overwrite(const QString& file, const QByteArray& bytes) {
        QFile target(file);
        ASSERT_TRUE(target.open(QIODevice::WriteOnly) && target.write(bytes) == bytes.size());
    }
    State scan() {
        library->startScan();
        test.loop.advance(LibraryBoard::kChangeWindow);
        return library->progress().state;
    }
    QStringList titles() {
        items.clear();
        library->readItems([this](const MediaItem& item) { return items.push_back(item), true; });
        QStringList names;
        for (const auto& item : items)
            names << item.title;
        return names;
    }

    TestSession test;
    QTemporaryDir folder;
    QString cache = folder.filePath(u"cache/merlode/library.sqlite"_qs);
    std::unique_ptr<MusicFolderLibrary> library;
    std::vector<MediaItem> items; ///< that `titles` read
};

TEST_F(MusicFolderLibraryTest, OffersWhatItsTagsTellAndSurvivesWhatElseLiesThere) {
    testing_support::MusicFile file{path(u"1.flac"_qs), u"Söng"_qs, u"B"_qs, {u"A"_qs, u"C"_qs}, u"D"_qs};
    std::tie(file.track, file.disc, file.isCompilation) = std::tuple(u"03/12"_qs, u"2/4"_qs, true);
    file.picture = testing_support::noisePicture(3);
    ASSERT_TRUE(writeMusicFile(file));
    ASSERT_TRUE(writeMusicFile({.path = path(u"No album.flac"_qs), .artists = {u"Artist"_qs}}));
    write(u"No title.flac"_qs, {});
    const QByteArray in = path({}).toUtf8(), latin = in + "latin\xe9.flac";
    ASSERT_EQ(::symlink("../Music", (in + "circle").constData()), 0);
    ASSERT_EQ(::mkfifo((in + "pipe.mp3").constData(), 0600), 0);
    ASSERT_EQ(::link((in + "1.flac").constData(), latin.constData()), 0);
    for (const auto& ending : u"mp3 flac ogg m4a wma wav ape"_qs.split(u' ')) {
        overwrite(path(u"empty."_qs + ending), {});
        ASSERT_TRUE(QFile::copy(file.path, path(u"half."_qs + ending)));
        ASSERT_TRUE(QFile::resize(path(u"half."_qs + ending), 60));
    }
    scan();
    EXPECT_EQ(library->progress(), (MediaLibrary::Progress{State::Finished, 18, 18}));
    ASSERT_EQ(titles().join(u'|'), u"Söng|No title|Söng"_qs);
    const auto& item = items[0];
    EXPECT_EQ(item.artistName + item.albumTitle + item.albumArtist, u"A, CBD"_qs);
    EXPECT_EQ(item.totalTime + item.trackNumber * 100U + item.discNumber * 10U + item.discCount, 60'324U);
    EXPECT_TRUE(item.isCompilation && item.hasArtwork && !items[1].hasArtwork);
    EXPECT_EQ(library->artwork(item.persistentID).pixels().width(), 3);
    EXPECT_EQ(library->location(items[2].persistentID), latin);
    ::unlink(latin.constData()); // Qt does not find it again
}

TEST_F(MusicFolderLibraryTest, ReadsAgainWhatHasChangedAndForgetsWhatIsGoneForSure) {
    const QString a = path(u"a/song.flac"_qs);
    const utimbuf time{1'500'000'000, 1'500'000'000};
    for (const auto& name : {u"a"_qs, u"b"_qs, u"c"_qs})
        write(name + u"/song.flac"_qs, name);
    ASSERT_EQ(::utime(a.toUtf8().constData(), &time), 0);
    library->startScan();
    library->cancelScan();
    test.loop.runUntilIdle();
    EXPECT_TRUE(library->progress().state == State::Cancelled && !library->isFinal());
    scan();
    ASSERT_EQ(titles().size(), 3);
    const auto id = items[1].persistentID;
    overwrite(a, QByteArray(QFileInfo(a).size(), 'x')); // which nobody can see from outside
    ASSERT_EQ(::utime(a.toUtf8().constData(), &time), 0);
    write(u"b/song.flac"_qs, u"edited"_qs);
    overwrite(path(u"b/Cover.jpg"_qs), testing_support::noisePicture(5));
    ASSERT_TRUE(QFile::remove(path(u"c/song.flac"_qs)));
    open();
    EXPECT_TRUE(titles().size() == 3 && library->isFinal()) << "before the scan";
    EXPECT_EQ(scan(), State::Finished);
    ASSERT_EQ(titles(), (QStringList{u"a"_qs, u"edited"_qs}));
    EXPECT_EQ(library->artwork(id).pixels().width(), 5);
    ASSERT_TRUE(QDir().rename(path({}), folder.filePath(u"unmounted"_qs)));
    EXPECT_EQ(scan(), State::Unreachable);
    ASSERT_TRUE(QDir().mkpath(path({})) && scan() == State::Unreachable) << "the empty folder of a disk";
    EXPECT_EQ(titles().size(), 2) << "nothing is forgotten";
}

TEST_F(MusicFolderLibraryTest, ADamagedDatabaseIsBegunAnewWithTheSameIds) {
    write(u"song.flac"_qs, u"song"_qs);
    scan();
    const auto id = LibraryCache::persistentIDOf(path(u"song.flac"_qs).toUtf8());
    for (const int at : {0, 60, 4096}) { // the start, the version, the tables
        library.reset();
        QFile file(cache);
        ASSERT_TRUE(file.open(QIODevice::ReadWrite) && file.seek(at) && file.write("damaged") > 0);
        file.close();
        open();
        EXPECT_TRUE(titles().isEmpty()) << at;
        EXPECT_EQ(scan(), State::Finished);
        EXPECT_TRUE(titles().size() == 1 && library->location(id)) << at;
    }
}

TEST(MusicFolderLibraryThreadTest, EndsInTheMiddleOfAScan) {
    const QTemporaryDir folder;
    for (int number = 0; number < 200; ++number)
        ASSERT_TRUE(writeMusicFile({.path = folder.filePath(u"%1.flac"_qs.arg(number))}));
    for (int round = 0; round < 10; ++round) {
        TestSession test;
        const QString cache = folder.filePath(u"cache%1"_qs.arg(round));
        MusicFolderLibrary library(test.session, {cache.toUtf8(), [&] { return folder.path(); }},
                                   makeThreadPoolExecutor());
        library.startScan();
        for (int read = 0; read < round; ++read)
            library.readItems([](const auto&) { return true; });
    }
}

TEST_F(MusicFolderLibraryTest, ALinkedFolderThatIsNotMountedKeepsItsSongs) {
    const auto disk = folder.filePath(u"disk"_qs);
    ASSERT_TRUE(writeMusicFile({disk + u"/far.flac"_qs, u"Far"_qs, u"Album"_qs, {u"Artist"_qs}}));
    write(u"near.flac"_qs, u"Near"_qs);
    ASSERT_TRUE(QFile::link(disk, path(u"linked"_qs)));
    scan();
    EXPECT_EQ(titles().size(), 2);
    ASSERT_TRUE(QFile::remove(disk + u"/far.flac"_qs));
    EXPECT_EQ(scan(), State::Finished);
    EXPECT_EQ(titles().size(), 2) << "an empty folder is what an unmounted disk leaves";
    ASSERT_TRUE(QDir(disk).removeRecursively());
    scan();
    EXPECT_EQ(titles().size(), 2) << "nor is it gone with the place where it is mounted";
    ASSERT_TRUE(QFile::remove(path(u"linked"_qs)));
    scan();
    EXPECT_EQ(titles(), QStringList{u"Near"_qs}) << "but with the link";
}

} // namespace
} // namespace merlode
