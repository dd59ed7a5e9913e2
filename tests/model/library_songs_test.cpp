#include "model/library_songs.h"
#include "model/text.h"

#include <random>
#include <set>

#include <gtest/gtest.h>

namespace merlode {
namespace {

using Places = std::vector<LibrarySongs::Place>;

int number(int most) {
    static std::mt19937 engine(1);
    return std::uniform_int_distribution(0, most)(engine);
}

/// Of few letters, so that texts meet often: letters whose cases differ in length, that folding makes alike
/// only where lengths may change, and that take two units.
QString text(int most) {
    static const auto letters = u"aAsſßẞİıiKkÉé日Ⱥⱥ Σςσ\u0301𐐀𐐨🎵"_qs.toUcs4();
    QString result;
    for (int left = number(most); left > 0; --left)
        result += QChar::fromUcs4(letters[number(int(letters.size()) - 1)]);
    return result;
}

TEST(LibrarySongs, FindsWhatAComparisonSongBySongFinds) {
    std::vector<LibrarySong> all, kept;
    for (quint64 id = 0; id < 800; ++id) {
        LibrarySong song{id, text(12), u"k"_qs + text(2), u"i"_qs + text(2), text(1)};
        song.isCompilation = number(3) == 0;
        song.mediaKind = number(20) == 0 ? MediaKind::Other : MediaKind::Song;
        song.isUserDisabled = number(20) == 0;
        all.push_back(song);
        if (song.mediaKind == MediaKind::Song && !song.isUserDisabled && !song.title.isEmpty())
            kept.push_back(song);
    }
    const auto where = [&kept](auto accepts) {
        Places places;
        for (std::size_t place = 0; place < kept.size(); ++place) {
            if (accepts(kept[place]))
                places.push_back(static_cast<LibrarySongs::Place>(place));
        }
        return places;
    };
    const LibrarySongs songs(all);
    for (int round = 0; round < 800; ++round) {
        QString term = text(3);
        if (round % 10 == 0)
            term += u"𐐀"_qs.at(number(1)); // half a character
        auto found =
            where([&](auto& song) { return contains(song.title, term) || contains(song.artistName, term); });
        found.resize(std::min<std::size_t>(found.size(), 25));
        ASSERT_EQ(songs.firstContaining(SearchTerm(term), 25), found) << term.toStdString();

        Places told;
        const auto tell = [&told](auto place) { return told.push_back(place), true; };
        songs.forEachAlbumContaining(SearchTerm(term), tell);
        std::set<std::tuple<QString, QString, QString, bool>> albums; // each is told once
        ASSERT_EQ(
            told, where([&](const LibrarySong& of) {
                const bool byArtist = of.artistName.contains(term) || of.albumArtist.contains(term);
                return (contains(of.albumTitle, term) || (!term.isEmpty() && byArtist)) &&
                       albums.emplace(of.albumTitle, of.artistName, of.albumArtist, of.isCompilation).second;
            }))
            << term.toStdString();
    }
}

} // namespace
} // namespace merlode
