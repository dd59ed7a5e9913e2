#pragma once

#include <QString>
#include <QStringList>

#include <vector>

namespace merlode {

/// Whose catalogue it is.
enum class CatalogueOf { Spotify, iTunes, Rdio, LastFM };

struct ServiceTrack {
    int number = 0; ///< among all tracks of all services: what the services make their keys of
    QString title;
    QString artist;
    int disc = 1;
    int position = 1; ///< on its disc, from 1
    int milliseconds = 0;
    bool isExplicit = false;
};

struct ServiceAlbum {
    int number = 0; ///< among all albums of all services; its cover is `paintDemoCover` of it
    QString title;
    QString artist;
    QString genre;
    QString date; ///< a year, or YYYY-MM-DD
    std::vector<ServiceTrack> tracks;
};

/// What a service of the demo has on offer: most of the demo's library, and albums beyond it. No two services
/// have the same, as in life: each lacks some albums, Spotify lacks single tracks and has others for them,
/// and Spotify and iTunes write some names in capitals. Any thread.
const std::vector<ServiceAlbum>& serviceCatalogue(CatalogueOf service);

/// The artists of the tracks and albums of a catalogue, in the order of their first appearance. Any thread.
QStringList artistsOf(CatalogueOf service);

/// Whether every word of the query is in the text, whatever the case. An empty query is in none.
bool hasAllWords(const QString& text, const QString& query);

} // namespace merlode
