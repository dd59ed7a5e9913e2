#include "model/library_songs.h"
#include "model/text.h"

#include <random>
#include <set>

#include <gtest/gtest.h>

namespace merlode {
namespace {

using Places = std::vector<LibrarySongs::Place>;

/// Songs with texts of few letters, so that they meet often: letters whose cases differ in length, that
/// folding makes alike only where lengths may change, that take two units, that are halves of such.
class LibrarySongsTest : public testing::Test {
  protected:
    LibrarySongsTest() {
        std::vector<LibrarySong> all;
        for (quint64 id = 0; id < 800; ++id) {
            LibrarySong song{id, text(12), u"k"_qs + text(2), u"i"_qs + text(2), text(1)};
            song.isCompilation = number(3) == 0;
            song.mediaKind = number(20) == 0 ? MediaKind::Other : MediaKind::Song;
            song.isUserDisabled = number(20) == 0;
            for (QString* name : {&song.artistName, &song.albumTitle})
                *name = number(30) == 0 ? QString() : *name;
            all.push_back(song);
            if (song.mediaKind == MediaKind::Song && !song.isUserDisabled && !song.title.isEmpty() &&
                !song.artistName.isEmpty() && !song.albumTitle.isEmpty())
                expected.push_back(song);
        }
        songs = LibrarySongs(all);
    }
    QString text(int most) {
        static const QString letters = u"aAsſßẞİıiKkÉé日Ⱥⱥ Σςσ\u0301𐐀𐐨🎵"_qs;
        const auto whole = letters.toUcs4();
        QString result;
        for (int left = number(most); left > 0; --left)
            result += QChar::fromUcs4(whole[number(int(whole.size()) - 1)]);
        return result;
    }
    int number(int most) { return std::uniform_int_distribution(0, most)(engine); }

    template<class Accepts>
    Places where(Accepts accepts) const {
        Places places;
        for (std::size_t place = 0; place < expected.size(); ++place) {
            if (accepts(expected[place]))
                places.push_back(static_cast<LibrarySongs::Place>(place));
        }
        return places;
    }
    static bool same(const QString& one, const QString& other) {
        return one.compare(other, Qt::CaseInsensitive) == 0;
    }

    std::mt19937 engine{1};
    std::vector<LibrarySong> expected; ///< those of which a library consists
    LibrarySongs songs;
};

TEST_F(LibrarySongsTest, FindsWhatAComparisonSongBySongFinds) {
    for (int round = 0; round < 800; ++round) {
        QString term = text(3);
        if (round % 10 == 0)
            term += u"𐐀"_qs.at(number(1)); // half a character
        auto found = where(
            [&](const auto& song) { return contains(song.title, term) || contains(song.artistName, term); });
        found.resize(std::min<std::size_t>(found.size(), 25));
        ASSERT_EQ(songs.firstContaining(SearchTerm(term), 25), found) << term.toStdString();

        std::set<std::tuple<QString, QString, QString, bool>> albums; // each is told once, by its first song
        Places told;
        songs.forEachAlbumContaining(SearchTerm(term), [&](auto place) {
            told.push_back(place);
            return true;
        });
        ASSERT_EQ(
            told, where([&](const LibrarySong& song) {
                const bool byArtist = song.artistName.contains(term) || song.albumArtist.contains(term);
                return (contains(song.albumTitle, term) || (!term.isEmpty() && byArtist)) &&
                       albums.emplace(song.albumTitle, song.artistName, song.albumArtist, song.isCompilation)
                           .second;
            }))
            << term.toStdString();
    }
}

TEST_F(LibrarySongsTest, TellsAlbumsAndSongsByNamesInAnyCase) {
    for (int round = 0; round < 800; ++round) {
        const QString title = text(1), album = u"I"_qs + text(2);
        const QString artist = number(3) == 0 ? text(1) : u"K"_qs + text(2);
        const auto isOn = [&](const auto& song) { return same(song.albumTitle, album); };
        const auto isBy = [&](const auto& song) {
            return isOn(song) && (same(song.artistName, artist) || same(song.albumArtist, artist));
        };
        ASSERT_EQ(songs.songsOfAlbum(album, {}), where(isOn));
        ASSERT_EQ(songs.songsOfAlbum(album, artist), where(isBy));
        ASSERT_EQ(songs.hasAlbum(album, artist), !where(isBy).empty());
        const auto first = std::ranges::find_if(
            expected, [&](const auto& song) { return isBy(song) && same(song.title, title); });
        const auto found = songs.find(title, artist, album);
        ASSERT_EQ(found ? playKeyOf(*found) + found->title + found->albumArtist : QString(),
                  first == expected.end() ? QString()
                                          : playKeyOf(*first) + first->title + first->albumArtist);
    }
}

} // namespace
} // namespace merlode
