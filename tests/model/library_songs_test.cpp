#include "model/library_songs.h"
#include "model/text.h"

#include <random>
#include <set>

#include <gtest/gtest.h>

namespace merlode {
namespace {

using Places = std::vector<LibrarySongs::Place>;

/// Texts of few letters, so that they meet often: with cases of different lengths, letters that folding makes
/// alike only where lengths may change, pairs of UTF-16 and halves of such.
class RandomTexts {
  public:
    QString text(int most) {
        static const QStringList letters{u"a"_qs, u"A"_qs,  u"s"_qs, u"\u017f"_qs, u"ß"_qs, u"ẞ"_qs,
                                         u"İ"_qs, u"ı"_qs,  u"i"_qs, u"K"_qs,      u"k"_qs, u"É"_qs,
                                         u"é"_qs, u"日"_qs, u"Ⱥ"_qs, u"ⱥ"_qs,      u"𐐀"_qs, u"𐐨"_qs,
                                         u"🎵"_qs, u" "_qs,  u"Σ"_qs, u"ς"_qs,      u"σ"_qs, u"\u0301"_qs};
        QString result;
        for (int left = number(most); left > 0; --left)
            result += letters[number(int(letters.size()) - 1)];
        return result;
    }
    int number(int most) { return std::uniform_int_distribution(0, most)(engine_); }

  private:
    std::mt19937 engine_{1};
};

struct Naive {
    std::vector<LibrarySong> songs;

    template<class Accepts>
    Places where(Accepts accepts) const {
        Places places;
        for (std::size_t place = 0; place < songs.size(); ++place) {
            if (accepts(songs[place]))
                places.push_back(static_cast<LibrarySongs::Place>(place));
        }
        return places;
    }
    static bool same(const QString& one, const QString& other) {
        return one.compare(other, Qt::CaseInsensitive) == 0;
    }
    static bool isBy(const LibrarySong& song, const QString& artist) {
        return same(song.artistName, artist) || same(song.albumArtist, artist);
    }
    static bool albumContains(const LibrarySong& song, const QString& term) {
        return contains(song.albumTitle, term) ||
               (!term.isEmpty() && (song.artistName.contains(term) || song.albumArtist.contains(term)));
    }
};

Places albumsContaining(const LibrarySongs& songs, const QString& term) {
    Places places;
    songs.forEachAlbumContaining(SearchTerm(term), [&](auto place) {
        places.push_back(place);
        return true;
    });
    return places;
}

class LibrarySongsTest : public testing::Test {
  protected:
    LibrarySongsTest() {
        while (naive.songs.size() < 700) {
            LibrarySong song{naive.songs.size(), u"a"_qs + random.text(12), u"k"_qs + random.text(2),
                             u"i"_qs + random.text(2), random.text(1)};
            song.isCompilation = random.number(3) == 0;
            naive.songs.push_back(song);
        }
    }

    RandomTexts random;
    Naive naive;
};

TEST_F(LibrarySongsTest, FindsWhatAComparisonSongBySongFinds) {
    const LibrarySongs songs(naive.songs);
    for (int round = 0; round < 800; ++round) {
        QString term = random.text(3);
        if (round % 10 == 0)
            term += u"𐐀"_qs.at(random.number(1)); // half a character
        SCOPED_TRACE(QString(term.toHtmlEscaped() + u' ' + QString::number(round)).toStdString());
        auto expected = naive.where(
            [&](const auto& song) { return contains(song.title, term) || contains(song.artistName, term); });
        expected.resize(std::min<std::size_t>(expected.size(), 25));
        ASSERT_EQ(songs.firstContaining(SearchTerm(term), 25), expected);

        // Songs of one album are told once, by the first of them.
        std::set<std::tuple<QString, QString, QString, bool>> albums;
        ASSERT_EQ(albumsContaining(songs, term), naive.where([&](const auto& song) {
            return Naive::albumContains(song, term) &&
                   albums.emplace(song.albumTitle, song.artistName, song.albumArtist, song.isCompilation)
                       .second;
        }));
    }
}

TEST_F(LibrarySongsTest, TellsAlbumsAndSongsByNamesInAnyCase) {
    const LibrarySongs songs(naive.songs);
    for (int round = 0; round < 800; ++round) {
        const QString title = u"A"_qs + random.text(1);
        const QString artist = random.number(3) == 0 ? random.text(1) : u"K"_qs + random.text(2);
        const QString album = u"I"_qs + random.text(2);
        const auto ofAlbum =
            naive.where([&](const auto& song) { return Naive::same(song.albumTitle, album); });
        const auto byArtist = naive.where([&](const auto& song) {
            return Naive::same(song.albumTitle, album) && Naive::isBy(song, artist);
        });
        ASSERT_EQ(songs.songsOfAlbum(album, {}), ofAlbum);
        ASSERT_EQ(songs.songsOfAlbum(album, artist), byArtist);
        ASSERT_EQ(songs.hasAlbum(album, artist), !byArtist.empty());
        const auto first = std::ranges::find_if(
            byArtist, [&](auto place) { return Naive::same(naive.songs[place].title, title); });
        const auto found = songs.find(title, artist, album);
        const auto names = [](const LibrarySong& song) {
            return song.title + song.artistName + song.albumTitle + song.albumArtist;
        };
        ASSERT_EQ(found ? names(*found) : QString(),
                  first == byArtist.end() ? QString() : names(naive.songs[*first]));
    }
}

TEST_F(LibrarySongsTest, WhatIsNoSongOrLacksANameIsLeftOut) {
    LibrarySongs::Builder builder;
    const LibrarySong song{1, u"T"_qs, u"A"_qs, u"B"_qs};
    builder.add(song);
    for (const auto change : std::initializer_list<void (*)(LibrarySong&)>{
             [](auto& item) { item.mediaKind = MediaKind::Other; },
             [](auto& item) { item.isUserDisabled = true; }, [](auto& item) { item.title.clear(); },
             [](auto& item) { item.artistName.clear(); }, [](auto& item) { item.albumTitle.clear(); }}) {
        auto item = song;
        change(item);
        builder.add(item);
    }
    EXPECT_EQ(builder.build()->size(), 1U);
    EXPECT_EQ(builder.build()->size(), 0U);
}

} // namespace
} // namespace merlode
