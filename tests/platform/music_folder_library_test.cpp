#include "base/notification_names.h"
#include "platform/linux/music_folder_library.h"
#include "support/music_files.h"
#include "support/test_session.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

namespace merlode {
namespace {

using State = MediaLibrary::State;

class MusicFolderLibraryTest : public testing::Test {
  protected:
    MusicFolderLibraryTest() { open(); }

    void open() {
        library.reset();
        library = std::make_unique<MusicFolderLibrary>(
            test.session, MusicFolderLibrary::Options{QFile::encodeName(cache), [this] { return setting; }},
            std::make_unique<VirtualExecutor>(test.loop));
    }
    QString path(const QString& name) const { return folder.filePath(u"Music/"_qs + name); }
    void write(const QString& name, const QString& title, const QString& album = u"Album"_qs) const {
        ASSERT_TRUE(testing_support::writeMusicFile(
            {.path = path(name), .title = title, .album = album, .artists = {u"Artist"_qs}}));
    }
    void overwrite(const QString& file, const QByteArray& bytes) const {
        QFile target(file);
        ASSERT_TRUE(target.open(QIODevice::WriteOnly) && target.write(bytes) == bytes.size());
    }
    State scan() {
        library->startScan();
        test.loop.advance(MusicFolderLibrary::kChangeWindow);
        return library->progress().state;
    }
    std::vector<MediaItem> items() const {
        std::vector<MediaItem> found;
        library->readItems([&found](const MediaItem& item) {
            found.push_back(item);
            return true;
        });
        return found;
    }
    QStringList titles() const {
        QStringList names;
        for (const auto& item : items())
            names << item.title;
        return names;
    }

    TestSession test;
    QTemporaryDir folder;
    QString cache = folder.filePath(u"cache/merlode/library.sqlite"_qs);
    QString setting = folder.filePath(u"Music/"_qs);
    std::unique_ptr<MusicFolderLibrary> library;
};

TEST_F(MusicFolderLibraryTest, OffersWhatItsTagsTell) {
    ASSERT_TRUE(testing_support::writeMusicFile({.path = path(u"a/1.flac"_qs),
                                                 .title = u"Söng"_qs,
                                                 .album = u"Álbum"_qs,
                                                 .artists = {u"One"_qs, u"Two"_qs},
                                                 .albumArtist = u"Band"_qs,
                                                 .track = u"03/12"_qs,
                                                 .disc = u"2/4"_qs,
                                                 .isCompilation = true,
                                                 .picture = testing_support::noisePicture(3)}));
    write(u"a/No title.flac"_qs, {});
    write(u"a/No album.flac"_qs, u"No album"_qs, {});
    int changes = 0;
    const auto heard = test.session.notificationCenter().addObserver(notifications::kMediaLibraryChanged,
                                                                     [&](const auto&) { ++changes; });
    EXPECT_FALSE(library->isFinal());
    EXPECT_EQ(scan(), State::Finished);
    EXPECT_TRUE(library->isFinal());
    EXPECT_EQ(library->progress(), (MediaLibrary::Progress{State::Finished, 3, 3}));
    EXPECT_TRUE(changes == 1 || changes == 2) << changes;
    ASSERT_EQ(titles(), (QStringList{u"Söng"_qs, u"No title"_qs}));
    const auto item = items()[0];
    EXPECT_EQ((QStringList{item.artistName, item.albumTitle, item.albumArtist}),
              (QStringList{u"One, Two"_qs, u"Álbum"_qs, u"Band"_qs}));
    EXPECT_EQ((std::vector<quint64>{item.totalTime, item.trackNumber, item.discNumber, item.discCount}),
              (std::vector<quint64>{60'000, 3, 2, 4}));
    EXPECT_TRUE(item.isCompilation && item.hasArtwork && !items()[1].hasArtwork);
    EXPECT_EQ(library->artwork(item.persistentID).pixels().width(), 3);
    EXPECT_EQ(library->location(item.persistentID), path(u"a/1.flac"_qs).toUtf8());
    EXPECT_FALSE(library->artwork(1) || library->location(1)) << "nobody has this id";
}

TEST_F(MusicFolderLibraryTest, SurvivesWhatElseLiesInAFolder) {
    write(u"in/good.flac"_qs, u"Good"_qs);
    const QByteArray in = path(u"in/"_qs).toUtf8();
    ASSERT_EQ(::symlink("..", (in + "circle").constData()), 0);
    ASSERT_EQ(::mkfifo((in + "pipe.mp3").constData(), 0600), 0);
    ASSERT_TRUE(QFile::copy(path(u"in/good.flac"_qs), path(u"in/.hidden.flac"_qs)));
    ASSERT_EQ(::link((in + "good.flac").constData(), (in + "latin\xe9.flac").constData()), 0);
    for (const auto& ending :
         {u"mp3"_qs, u"flac"_qs, u"ogg"_qs, u"m4a"_qs, u"wma"_qs, u"wav"_qs, u"ape"_qs}) {
        QFile good(path(u"in/good.flac"_qs));
        ASSERT_TRUE(good.open(QIODevice::ReadOnly));
        overwrite(path(u"in/half."_qs + ending),
                  good.read(good.size() / 2).replace("Album", "\xff\xff\xff\xff\xff"));
        overwrite(path(u"in/empty."_qs + ending), {});
    }
    EXPECT_EQ(scan(), State::Finished);
    QList<QByteArray> places;
    for (const auto& item : items())
        places << library->location(item.persistentID).value_or(QByteArray());
    EXPECT_TRUE(places.contains(in + "good.flac") && places.contains(in + "latin\xe9.flac"));
    EXPECT_EQ(library->progress().filesTotal, 16);
    ::unlink((in + "latin\xe9.flac").constData()); // Qt does not find it again
}

TEST_F(MusicFolderLibraryTest, ReadsAgainOnlyWhatHasChanged) {
    for (const auto& name : {u"a"_qs, u"b"_qs, u"c"_qs})
        write(name + u"/song.flac"_qs, name);
    scan();
    const auto before = items();
    const auto keepTime = [this](const QString& name) {
        const utimbuf time{1'500'000'000, 1'500'000'000};
        ASSERT_EQ(::utime(path(name).toUtf8().constData(), &time), 0);
    };
    keepTime(u"a/song.flac"_qs);
    scan();
    overwrite(path(u"a/song.flac"_qs), QByteArray(QFileInfo(path(u"a/song.flac"_qs)).size(), 'x'));
    keepTime(u"a/song.flac"_qs);
    write(u"b/song.flac"_qs, u"edited"_qs);
    ASSERT_TRUE(QFile::remove(path(u"c/song.flac"_qs)));
    overwrite(path(u"b/Cover.jpg"_qs), testing_support::noisePicture(5));
    open();
    ASSERT_EQ(titles().size(), 3) << "what was known is there before the scan";
    EXPECT_TRUE(library->isFinal());
    EXPECT_EQ(scan(), State::Finished);
    ASSERT_EQ(titles(), (QStringList{u"a"_qs, u"edited"_qs}));
    EXPECT_EQ(items()[1].persistentID, before[1].persistentID);
    EXPECT_EQ(library->artwork(items()[1].persistentID).pixels().width(), 5);
}

TEST_F(MusicFolderLibraryTest, NothingIsForgottenWhenTheMusicIsOutOfReach) {
    EXPECT_EQ(scan(), State::Unreachable);
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
    setting = u"relative"_qs;
    EXPECT_EQ(scan(), State::Unreachable);
    setting = folder.filePath(u"unmounted"_qs);
    EXPECT_EQ(scan(), State::Finished);
    EXPECT_EQ(titles().size(), 1) << "of this folder alone";
}

TEST_F(MusicFolderLibraryTest, ADamagedDatabaseIsBegunAnewWithTheSameIds) {
    write(u"song.flac"_qs, u"song"_qs);
    scan();
    const auto id = items().at(0).persistentID;
    library.reset();
    QFile file(cache);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray good = file.readAll();
    const auto patched = [&good](qsizetype at, const QByteArray& bytes) {
        return QByteArray(good).replace(at, bytes.size(), bytes);
    };
    for (const auto& damaged :
         {QByteArray("no database, but of some length").repeated(99), patched(4096, QByteArray(4096, '\x7f')),
          good.left(good.size() / 2), patched(60, QByteArray(4, '\x01'))}) { // the version
        library.reset();
        overwrite(cache, damaged);
        open();
        EXPECT_TRUE(titles().isEmpty());
        EXPECT_EQ(scan(), State::Finished);
        ASSERT_EQ(titles(), QStringList(u"song"_qs));
        EXPECT_EQ(items()[0].persistentID, id);
        EXPECT_TRUE(QFile::exists(cache + u".old"_qs));
    }
}

TEST_F(MusicFolderLibraryTest, WithoutADatabaseThereIsNoLibrary) {
    write(u"song.flac"_qs, u"song"_qs);
    cache = path(u"song.flac/library.sqlite"_qs);
    open();
    EXPECT_EQ(scan(), State::Finished);
    EXPECT_TRUE(titles().isEmpty() && !library->isFinal());
}

TEST(MusicFolderLibraryThreadTest, EndsInTheMiddleOfAScan) {
    const QTemporaryDir folder;
    for (int number = 0; number < 300; ++number)
        ASSERT_TRUE(testing_support::writeMusicFile({.path = folder.filePath(u"%1.flac"_qs.arg(number))}));
    for (int round = 0; round < 10; ++round) {
        TestSession test;
        MusicFolderLibrary library(
            test.session,
            {QFile::encodeName(folder.filePath(u"cache%1"_qs.arg(round))), [&] { return folder.path(); }},
            makeThreadPoolExecutor());
        library.startScan();
        for (int read = 0; read < round; ++read)
            library.readItems([](const auto&) { return true; });
        test.loop.runUntilIdle();
    }
}

} // namespace
} // namespace merlode
