#include "base/notification_names.h"
#include "base/qt_run_loop.h"
#include "base/session.h"
#include "platform/linux/mpd_media_library.h"
#include "support/mpd_server.h"
#include "support/music_files.h"

#include <QFile>

#include <gtest/gtest.h>

namespace merlode {
namespace {

using testing_support::MpdServer, testing_support::noisePicture, testing_support::pumpUntil,
    testing_support::writeMusicFile;
using State = MediaLibrary::State;

TEST(MpdMediaLibrary, IsWhatTheServerHasAndFollowsItsDatabase) {
    MpdServer server;
    const auto path = [&](const QString& name) { return server.musicFolder() + u'/' + name; };
    testing_support::MusicFile first{
        path(u"Box/one.flac"_qs), u"One"_qs, u"Hits"_qs, {u"Ann"_qs, u"Bob"_qs}, u"various artists"_qs};
    std::tie(first.track, first.disc) = std::pair(u"3/9"_qs, u"2"_qs);
    first.picture = noisePicture(3);
    ASSERT_TRUE(writeMusicFile(first));
    ASSERT_TRUE(
        writeMusicFile({.path = path(u"Box/No title.flac"_qs), .album = u"Hits"_qs, .artists = {u"Ann"_qs}}));
    ASSERT_TRUE(server.start());

    const QTemporaryDir cache;
    Session session(std::make_unique<QtRunLoop>(), makeThreadPoolExecutor());
    const SessionScope scope(&session);
    const auto make = [&] {
        return std::make_unique<MpdMediaLibrary>(session, MpdAddress{.socketPath = server.socketPath()},
                                                 cache.filePath(u"library.sqlite"_qs).toUtf8(),
                                                 makeThreadPoolExecutor());
    };
    std::vector<MediaItem> items;
    auto library = make();
    const auto titles = [&] {
        QStringList names;
        items.clear();
        library->readItems([&](const MediaItem& item) { return items.push_back(item), true; });
        for (const auto& item : items)
            names << item.title;
        return names.join(u'|');
    };
    const auto scan = [&] {
        library->startScan();
        pumpUntil([&] { return library->progress().state != State::Scanning; });
        return library->progress();
    };
    int changes = 0;
    const auto observation = session.notificationCenter().addObserver(notifications::kMediaLibraryChanged,
                                                                      [&](const auto&) { ++changes; });
    EXPECT_EQ(scan(), (MediaLibrary::Progress{State::Finished, 2, 2}));
    ASSERT_EQ(titles(), u"No title|One"_qs);
    EXPECT_EQ(items[1].artistName + items[1].albumArtist, u"Ann, Bobvarious artists"_qs);
    EXPECT_TRUE(items[1].isCompilation && items[1].trackNumber == 3 && items[1].discNumber == 2);
    EXPECT_FALSE(items[0].isCompilation);
    EXPECT_EQ(library->artwork(items[1].persistentID).pixels().width(), 3);
    EXPECT_FALSE(library->artwork(items[0].persistentID));
    EXPECT_TRUE(library->isFinal() && changes == 1);

    ASSERT_TRUE(QFile::remove(first.path));
    ASSERT_TRUE(writeMusicFile({path(u"Box/two.flac"_qs), u"Two"_qs, u"Hits"_qs, {u"Ann"_qs}}));
    server.ask("update");
    EXPECT_TRUE(pumpUntil([&] { return titles() == u"No title|Two"; })) << "it was told";
    server.kill();
    // A look that was under way may still have ended well.
    EXPECT_TRUE(pumpUntil([&] { return scan().state == State::Unreachable; }));
    library = make();
    EXPECT_EQ(titles(), u"No title|Two"_qs) << "known in the next run too";
    EXPECT_TRUE(library->isFinal());
}

TEST(MpdMediaLibrary, OneThatNobodyHasNamedCountsOnlyWithMusic) {
    MpdServer server;
    ASSERT_TRUE(server.start());
    const auto executor = makeThreadPoolExecutor();
    const auto found = [&](bool guessed) {
        return findRunningMpd({{.socketPath = server.socketPath(), .guessed = guessed}}, 5, *executor)
            .has_value();
    };
    EXPECT_TRUE(found(false));
    EXPECT_FALSE(found(true)) << "as distributions start one";
    ASSERT_TRUE(writeMusicFile({server.musicFolder() + u"/one.flac"_qs, u"One"_qs, u"Hits"_qs, {u"Ann"_qs}}));
    server.ask("update");
    EXPECT_TRUE(pumpUntil([&] { return found(true); }));
}

} // namespace
} // namespace merlode
