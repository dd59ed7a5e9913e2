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
        const MusicFolderLibrary::Options options{cache.toUtf8(), [this] { return setting; }};
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
        test.loop.advance(MusicFolderLibrary::kChangeWindow);
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
    QString setting = folder.filePath(u"Music/"_qs);
    std::unique_ptr<MusicFolderLibrary> library;
    std::vector<MediaItem> items; ///< that `titles` read
};

TEST_F(MusicFolderLibraryTest, OffersWhatItsTagsTellAndSurvivesWhatElseLiesThere) {
    testing_support::MusicFile file{path(u"1.flac"_qs), u"Söng"_qs, u"B"_qs,
                                    {u"A"_qs, u"C"_qs}, u"D"_qs,    u"03/12"_qs,
                                    u"2/4"_qs,          true,       testing_support::noisePicture(3)};
    ASSERT_TRUE(writeMusicFile(file));
    ASSERT_TRUE(writeMusicFile({.path = path(u"No album.flac"_qs), .artists = {u"Artist"_qs}}));
    write(u"No title.flac"_qs, {});
    const QByteArray in = path({}).toUtf8();
    ASSERT_EQ(::symlink("../Music", (in + "circle").constData()), 0);
    ASSERT_EQ(::mkfifo((in + "pipe.mp3").constData(), 0600), 0);
    ASSERT_EQ(::link((in + "1.flac").constData(), (in + "latin\xe9.flac").constData()), 0);
    for (const auto& ending :
         {u"mp3"_qs, u"flac"_qs, u"ogg"_qs, u"m4a"_qs, u"wma"_qs, u"wav"_qs, u"ape"_qs}) {
        overwrite(path(u"empty."_qs + ending), {});
        ASSERT_TRUE(QFile::copy(file.path, path(u"half."_qs + ending)));
        ASSERT_TRUE(QFile::resize(path(u"half."_qs + ending), 60));
    }
    EXPECT_FALSE(library->isFinal());
    EXPECT_EQ(scan(), State::Finished);
    EXPECT_TRUE(library->isFinal());
    EXPECT_EQ(library->progress(), (MediaLibrary::Progress{State::Finished, 18, 18}));
    ASSERT_EQ(titles(), (QStringList{u"Söng"_qs, u"No title"_qs, u"Söng"_qs}));
    const auto& item = items[0];
    EXPECT_EQ(item.artistName + u"|"_qs + item.albumTitle + item.albumArtist, u"A, C|BD"_qs);
    EXPECT_EQ((std::vector<quint64>{item.totalTime, item.trackNumber, item.discNumber, item.discCount}),
              (std::vector<quint64>{60'000, 3, 2, 4}));
    EXPECT_TRUE(item.isCompilation && item.hasArtwork && !items[1].hasArtwork);
    EXPECT_EQ(library->artwork(item.persistentID).pixels().width(), 3);
    EXPECT_EQ(library->location(items[2].persistentID), in + "latin\xe9.flac");
    ::unlink((in + "latin\xe9.flac").constData()); // Qt does not find it again
}

TEST_F(MusicFolderLibraryTest, ReadsAgainOnlyWhatHasChanged) {
    const auto keepTime = [this] {
        const utimbuf time{1'500'000'000, 1'500'000'000};
        ASSERT_EQ(::utime(path(u"a/song.flac"_qs).toUtf8().constData(), &time), 0);
    };
    for (const auto& name : {u"a"_qs, u"b"_qs, u"c"_qs})
        write(name + u"/song.flac"_qs, name);
    keepTime();
    scan();
    ASSERT_EQ(titles().size(), 3);
    const auto id = items[1].persistentID;
    overwrite(path(u"a/song.flac"_qs), QByteArray(QFileInfo(path(u"a/song.flac"_qs)).size(), 'x'));
    keepTime();
    write(u"b/song.flac"_qs, u"edited"_qs);
    overwrite(path(u"b/Cover.jpg"_qs), testing_support::noisePicture(5));
    ASSERT_TRUE(QFile::remove(path(u"c/song.flac"_qs)));
    open();
    EXPECT_EQ(titles().size(), 3) << "what was known is there before the scan";
    EXPECT_EQ(scan(), State::Finished);
    ASSERT_EQ(titles(), (QStringList{u"a"_qs, u"edited"_qs}));
    EXPECT_EQ(items[1].persistentID, id);
    EXPECT_EQ(library->artwork(id).pixels().width(), 5);
}

TEST_F(MusicFolderLibraryTest, NothingIsForgottenWhenTheMusicIsOutOfReach) {
    write(u"song.flac"_qs, u"song"_qs);
    library->startScan();
    library->cancelScan();
    test.loop.runUntilIdle();
    EXPECT_EQ(library->progress().state, State::Cancelled);
    EXPECT_FALSE(library->isFinal());
    scan();
    ASSERT_TRUE(QDir().rename(path({}), folder.filePath(u"unmounted"_qs)));
    EXPECT_EQ(scan(), State::Unreachable);
    ASSERT_TRUE(QDir().mkpath(path({})));
    EXPECT_EQ(scan(), State::Unreachable) << "the empty folder of a disk";
    EXPECT_EQ(titles(), QStringList(u"song"_qs));
}

TEST_F(MusicFolderLibraryTest, ADamagedDatabaseIsBegunAnewWithTheSameIds) {
    write(u"song.flac"_qs, u"song"_qs);
    scan();
    ASSERT_EQ(titles().size(), 1);
    const auto id = items[0].persistentID;
    for (const auto& [at, bytes] :
         {std::pair(0, "no database"), {60, "9999"}, {4096, "damaged"}}) { // 60: the version
        library.reset();
        QFile file(cache);
        ASSERT_TRUE(file.open(QIODevice::ReadWrite) && file.seek(at) && file.write(bytes) > 0);
        file.close();
        open();
        EXPECT_TRUE(titles().isEmpty()) << at;
        EXPECT_EQ(scan(), State::Finished);
        ASSERT_EQ(titles().size(), 1);
        EXPECT_EQ(items[0].persistentID, id);
    }
    cache = path(u"song.flac/library.sqlite"_qs);
    open();
    EXPECT_EQ(scan(), State::Finished);
    EXPECT_TRUE(titles().isEmpty() && !library->isFinal()) << "there is no place for a database";
}

TEST(MusicFolderLibraryThreadTest, EndsInTheMiddleOfAScan) {
    const QTemporaryDir folder;
    for (int number = 0; number < 200; ++number)
        ASSERT_TRUE(writeMusicFile({.path = folder.filePath(u"%1.flac"_qs.arg(number))}));
    for (int round = 0; round < 10; ++round) {
        const auto cache = folder.filePath(u"cache%1"_qs.arg(round)).toUtf8();
        TestSession test;
        MusicFolderLibrary library(test.session, {cache, [&] { return folder.path(); }},
                                   makeThreadPoolExecutor());
        library.startScan();
        for (int read = 0; read < round; ++read)
            library.readItems([](const auto&) { return true; });
    }
}

} // namespace
} // namespace merlode
