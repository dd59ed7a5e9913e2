#pragma once

#include "model/library_songs.h"

#include <array>
#include <random>

namespace merlode::bench {

/// What is searched for in a generated library.
struct Term {
    const char* name;
    QString text;
};

inline const std::array<Term, 6> kTerms{{{"rare", u"quixotic zebra"_qs},
                                         {"common", u"love"_qs},
                                         {"one letter", u"e"_qs},
                                         {"CJK", u"東京の夜"_qs},
                                         {"accented", u"ÉTERNITÉ"_qs},
                                         {"absent", u"no such words"_qs}}};

/// A library in which few words are in most titles, as in real ones: ten songs an album, five albums an
/// artist.
class LibraryGenerator {
  public:
    LibrarySong song(int number) {
        const int album = number / 10;
        LibrarySong song{static_cast<quint64>(number) + 1,
                         words(1 + number % 4),
                         u"Artist %1 "_qs.arg(album / 5) + word(album / 5),
                         u"Album %1 "_qs.arg(album) + word(album % 997),
                         {}};
        song.totalTime = 200'000;
        song.trackNumber = static_cast<quint16>(1 + number % 10);
        constexpr std::array<std::size_t, 3> seldom{0, 3, 4}; // of the terms
        if (number % 9973 == 5000)
            song.title = kTerms[seldom[static_cast<std::size_t>(number) / 9973 % 3]].text.toLower();
        return song;
    }

  private:
    QString words(int count) {
        QStringList list;
        std::exponential_distribution<double> rank(0.01);
        for (; count > 0; --count)
            list << word(static_cast<int>(rank(engine_)));
        return list.join(u' ');
    }
    static QString word(int rank) {
        static const QStringList syllables{u"lo"_qs, u"ve"_qs, u"Ni"_qs, u"ght"_qs, u"ra"_qs,
                                           u"mé"_qs, u"Su"_qs, u"n"_qs,  u"da"_qs,  u"愛"_qs};
        QString text;
        for (int rest = rank + 10; rest > 0; rest /= 10)
            text += syllables[rest % 10];
        return text;
    }

    std::mt19937 engine_{1};
};

} // namespace merlode::bench
