#include "app/library_files.h"
#include "app/local_library.h"
#include "base/notification_names.h"
#include "platform/null_media_library.h"
#include "support/fake_ports.h"
#include "support/test_session.h"

#include <gtest/gtest.h>

namespace merlode {
namespace {

TEST(LibraryFiles, OneSongOrAnAlbumInItsOrder) {
    std::vector<LibrarySong> songs;
    const auto add = [&](const QString& title, const QString& artist, const QString& album, quint16 disc,
                         quint16 number) -> LibrarySong& {
        songs.push_back({.persistentID = songs.size() + 1,
                         .title = title,
                         .artistName = artist,
                         .albumTitle = album,
                         .trackNumber = number,
                         .discNumber = disc});
        return songs.back();
    };
    add(u"Later"_qs, u"Guest"_qs, u"Hits"_qs, 2, 1).albumArtist = u"Star"_qs;
    add(u"Second"_qs, u"Star"_qs, u"Hits"_qs, 1, 2);
    add(u"First"_qs, u"Star"_qs, u"Hits"_qs, 1, 1);
    add(u"First"_qs, u"Other"_qs, u"Hits"_qs, 1, 1);
    add(u"Mixed"_qs, u"One"_qs, u"Mix"_qs, 1, 2).isCompilation = true;
    add(u"Mixed too"_qs, u"Two"_qs, u"Mix"_qs, 1, 1).albumArtist = u"Various Artists"_qs;
    add(u"Not mixed"_qs, u"Two"_qs, u"Mix"_qs, 1, 3);
    FakeMediaLibrary library;
    const auto files = [&](const LibraryQuery& query) {
        return filesOf(query, LibrarySongs(songs), library).join(' ');
    };
    EXPECT_EQ(files({u"first"_qs, u"HITS"_qs, u"star"_qs}), "/music/3");
    EXPECT_EQ(files({{}, u"Hits"_qs, u"Star"_qs}), "/music/3 /music/2 /music/1");
    EXPECT_EQ(files({{}, u"Mix"_qs, u"Various Artists"_qs}), "/music/6 /music/5");
    EXPECT_EQ(files({u"Nothing"_qs, u"Hits"_qs, u"Star"_qs}), "");
    EXPECT_EQ(files({{}, u"Hits"_qs, u"Nobody"_qs}), "");
}

TEST(LocalLibrary, GoesWithWhoPlaysTheLocalRole) {
    TestSession test;
    std::map<QString, FakeMediaLibrary*> made;
    const auto make = [&](const std::optional<MpdAddress>& mpd) {
        auto library = std::make_unique<FakeMediaLibrary>();
        library->items.push_back({.persistentID = 1, .title = mpd ? mpd->host : u"folder"_qs});
        made[mpd ? mpd->host : QString()] = library.get();
        return library;
    };
    LocalLibrary library(test.session, make, std::nullopt);
    int changes = 0;
    const auto observation = test.session.notificationCenter().addObserver(
        notifications::kMediaLibraryChanged, [&](const auto&) { ++changes; });
    const auto title = [&] {
        QString found;
        library.readItems([&](const MediaItem& item) { return found = item.title, true; });
        return found;
    };
    library.playerCameUp();
    library.follow(std::nullopt);
    EXPECT_TRUE(changes == 0 && title() == u"folder") << "the folder has nothing to do with a player";
    EXPECT_EQ(library.progress().state, MediaLibrary::State::Idle);
    library.follow(MpdAddress{.host = u"den"_qs});
    EXPECT_TRUE(changes == 1 && title() == u"den");
    EXPECT_EQ(library.progress().state, MediaLibrary::State::Scanning);
    EXPECT_EQ(made[{}]->state.state, MediaLibrary::State::Cancelled);
    made[u"den"_qs]->state = {};
    library.playerCameUp();
    EXPECT_EQ(library.progress().state, MediaLibrary::State::Scanning) << "it may have others by now";
    library.follow(std::nullopt);
    EXPECT_TRUE(changes == 2 && title() == u"folder" && made.size() == 2);
}

} // namespace
} // namespace merlode
