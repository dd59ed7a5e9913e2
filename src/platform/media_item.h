#pragma once

#include <QString>

namespace merlode {

/// What an item of the media library is.
enum class MediaKind { Song, Other };

/// One item of the local media library, with what the program looks at. Missing texts are empty; missing
/// numbers, and those that are too large for any record, are 0.
struct MediaItem {
    quint64 persistentID = 0; ///< the same for the same file in every run; never 0 for an item of a library
    QString title = {};
    QString artistName = {};
    QString albumTitle = {};
    QString albumArtist = {};
    quint32 totalTime = 0; ///< milliseconds
    quint16 trackNumber = 0;
    quint16 discNumber = 0;
    quint16 discCount = 0;
    bool isCompilation = false;
    bool hasArtwork = false;
    MediaKind mediaKind = MediaKind::Song;
    bool isUserDisabled = false;
};

} // namespace merlode
