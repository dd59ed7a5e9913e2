#pragma once

#include <QString>

#include <vector>

namespace merlode {

/// How a demo album sounds.
enum class DemoStyle { Folk, Jazz, Electronic, Ambient, Chamber, Pop };

/// The picture that lies beside the tracks of a demo album; every track has one embedded as well.
enum class DemoCoverFile { None, Jpeg, Png };

struct DemoTrack {
    QString title;
    QString artist; ///< differs from the album's on compilations
    int disc = 1;
    int number = 1; ///< on its disc, from 1
    int tracksOnDisc = 1;
};

struct DemoAlbum {
    QString title;
    QString artist;
    QString genre;
    QString date; ///< a year, or YYYY-MM-DD
    DemoStyle style = DemoStyle::Folk;
    DemoCoverFile coverFile = DemoCoverFile::None;
    bool compilation = false;
    int discs = 1;
    std::vector<DemoTrack> tracks;
};

/// The albums of the music that "merlode --demo" makes for itself. Everyone and everything in it is invented.
/// The first album is the one that starts playing while the rest is being made. Any thread.
const std::vector<DemoAlbum>& demoCatalogue();

} // namespace merlode
