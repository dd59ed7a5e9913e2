#include "app/demo/service_catalogue.h"

#include "app/demo/demo_catalogue.h"
#include "app/demo/demo_random.h"

#include <algorithm>
#include <array>

namespace merlode {

namespace {

// More than any album has tracks.
constexpr int kNumbersOfAnAlbum = 100;

/// An album that is not in the demo's library. Tracks are parted by "|".
struct Row {
    const char* title = "";
    const char* artist = "";
    const char* genre = "";
    const char* date = "";
    const char* tracks = "";
};

constexpr Row kBeyondTheLibrary[] = {
    {"A Kettle for the Cormorants", "The Paper Herons", "Folk", "2016-03-04",
     "Reed Post|The Cormorant's Kettle|Skylark in Arrears|Two Stiles Short|Mildew Waltz"},
    {"Candles, Oars, Etcetera", "The Paper Herons", "Folk", "2022-10-21",
     "Etcetera|Rowlock Hymn|The Second Umbrella|Ferry Closed for Winter"},
    {"Errata for a Street Atlas", "Odell Finchley Five", "Jazz", "2002",
     "Page Torn Out|Grid Reference Blues|North Is Elsewhere|Tram 42|Legend and Scale"},
    {"Solder & Soil", "Modem Orchard", "Electronic", "2021-04-30",
     "Dial Tone Meadow|Cold Joint|Mulch Ado|Grafting Protocol|Windfall Packets|Perennial Reboot"},
    {"Complaints Department", "Kestrel Ombudsman", "Indie", "2019-09-13",
     "Your Call Is Important|Form 27b|Hover|Static for Beginners|Closing Statement"},
    {"Toll-Free Lullabies", "The Velveteen Tollbooth", "Dream Pop", "2020-02-07",
     "Signal Lamp|Exact Change|Plush Interchange|Barrier Up|Slip Road to Sleep"},
    {"Tin Parade", "Mirabel Oke & Tin Parade", "Brass", "2017-06-24",
     "Buoy No. 9|Oompah in Absentia|Second Line, Third Rail|Biscuit Lid March"},
    {"Weather by Post", "Captain Almanac", "Folk Rock", "2015-11-06",
     "Shipping Forecast Blues|Barometer Joe|Isobars and Grill|Moderate, Occasionally Poor|Good"},
    {"Four-Sided Dice", "Ludo Quaternary", "Electronic", "2023-01-27",
     "Morse for Two|Counter Intelligence|Home Stretch|Six Is Not an Option"},
    {"Songs the Lighthouse Forgot", "Nell Ostrander-Vey", "Pop", "2024-05-10",
     "Copper Rain|Fresnel|Keeper's Holiday|Out of Range|Lamp Oil Blue"},
    {"Phare d'hiver", "Élodie Garançais", "Chanson", "2011",
     "Phare d'hiver|Le facteur somnambule|Trois pulls bleus|Décembre à quai"},
    {"Kystvakt", "Sålva Fjellbekk", "Ambient", "2024-01-12", "Kystvakt|Radiostille|Islagt sund|Ankervakt"},
    {"The Quiet Gasworks", "Harriet Pell & the Lamplighters", "Post-Rock", "2018-08-17",
     "Pressure Gauge|Mantle|Blue Flame, Low|The Meter Reader's Dream|Afterglow"},
    {"Postcards to a Barge", "Harriet Pell & the Lamplighters", "Post-Rock", "2025-02-28",
     "Lock Keeper|Wish You Were Hull|Slow Water|Return to Sender"},
};

QString text(const char* utf8) {
    return QString::fromUtf8(utf8);
}

ServiceTrack trackOf(const DemoTrack& made, int number) {
    constexpr int kExplicitEvery = 9;
    DemoRandom random(static_cast<std::uint32_t>(number));
    return {number,
            made.title,
            made.artist,
            made.disc,
            made.number,
            20'000 + random.below(20'000),
            number % kExplicitEvery == kExplicitEvery - 1};
}

std::vector<ServiceAlbum> allAlbums() {
    std::vector<ServiceAlbum> albums;
    const auto add = [&albums](ServiceAlbum album, const std::vector<DemoTrack>& tracks) {
        album.number = static_cast<int>(albums.size());
        for (std::size_t index = 0; index < tracks.size(); ++index)
            album.tracks.push_back(
                trackOf(tracks[index], album.number * kNumbersOfAnAlbum + static_cast<int>(index)));
        albums.push_back(std::move(album));
    };
    for (const auto& made : demoCatalogue())
        add({0, made.title, made.artist, made.genre, made.date, {}}, made.tracks);
    for (const auto& row : kBeyondTheLibrary) {
        std::vector<DemoTrack> tracks;
        for (const auto& title : text(row.tracks).split(u'|'))
            tracks.push_back({title, text(row.artist), 1, static_cast<int>(tracks.size()) + 1, 0});
        add({0, text(row.title), text(row.artist), text(row.genre), text(row.date), {}}, tracks);
    }
    return albums;
}

/// What a service does to every so manieth album: the remainders of its number.
struct Habits {
    int lacksEvery = 1, lacks = 1;       // the remainder 1 of 1 never comes
    int capitalsEvery = 1, capitals = 1; // of titles
    int changesEvery = 1, changes = 1;   // drops one track and has another for it
};

// By CatalogueOf. Album 4 is neither with Spotify nor with iTunes.
constexpr std::array<Habits, 4> kHabits = {{
    {7, 4, 8, 1, 4, 0},
    {5, 4, 8, 6, 1, 1},
    {2, 1, 1, 1, 1, 1},
    {6, 5, 1, 1, 1, 1},
}};

void capitalise(ServiceAlbum& album) {
    album.title = album.title.toUpper();
    for (auto& track : album.tracks)
        track.title = track.title.toUpper();
}

// The sixth track is another one's, under a number that no other service knows.
void changeATrack(ServiceAlbum& album) {
    constexpr std::size_t kChanged = 5;
    if (album.tracks.size() <= kChanged)
        return;
    auto& track = album.tracks[kChanged];
    track.title += QStringLiteral(" (Take Two)");
    track.number = (album.number + 1) * kNumbersOfAnAlbum - 1;
}

std::vector<ServiceAlbum> albumsOf(const Habits& habits) {
    auto albums = allAlbums();
    std::erase_if(albums,
                  [&](const auto& album) { return album.number % habits.lacksEvery == habits.lacks; });
    for (auto& album : albums) {
        if (album.number % habits.capitalsEvery == habits.capitals)
            capitalise(album);
        if (album.number % habits.changesEvery == habits.changes)
            changeATrack(album);
    }
    return albums;
}

} // namespace

const std::vector<ServiceAlbum>& serviceCatalogue(CatalogueOf service) {
    static const auto catalogues = [] {
        std::array<std::vector<ServiceAlbum>, kHabits.size()> made;
        std::ranges::transform(kHabits, made.begin(), albumsOf);
        return made;
    }();
    return catalogues[static_cast<std::size_t>(service)];
}

QStringList artistsOf(CatalogueOf service) {
    QStringList names;
    for (const auto& album : serviceCatalogue(service)) {
        names << album.artist;
        for (const auto& track : album.tracks)
            names << track.artist;
    }
    names.removeDuplicates();
    return names;
}

bool hasAllWords(const QString& text, const QString& query) {
    const auto words = query.simplified().split(u' ', Qt::SkipEmptyParts);
    return !words.isEmpty() && std::ranges::all_of(words, [&text](const QString& word) {
        return text.contains(word, Qt::CaseInsensitive);
    });
}

} // namespace merlode
