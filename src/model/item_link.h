#pragma once

#include "model/library_songs.h"

#include <QString>

#include <memory>

namespace merlode {

class Favorite;
class Track;

/// What items ask of the rest of the program when they look for themselves on the services. The base class
/// does what a program without those parts would do.
class ItemLink {
  public:
    virtual ~ItemLink() = default;

    /// The songs of the local library; never null. Reads them where that was not done yet, which blocks: for
    /// background queues.
    virtual std::shared_ptr<const LibrarySongs> iTunesSongs() {
        return std::make_shared<const LibrarySongs>();
    }

    /// The two letters of the region whose catalogue is wanted. Any thread.
    virtual QString countryCode() { return countryCodeOf(QString()); }

    /// Whether this machine is the client of another, whose library counts then instead of its own. Any
    /// thread.
    virtual bool hasRemotePlayer() { return false; }

    /// Asks the host for the library key of the track. Main thread.
    virtual void fetchiTunesKeyFromHost(const std::shared_ptr<Track>&) {}

    /// Whether the track is liked. Main thread.
    virtual bool isFavorite(const Track&) { return false; }

    /// A liked track has got a new key, which its stored record is to take up. Main thread.
    virtual void updateFavorite(const std::shared_ptr<Favorite>&, const std::shared_ptr<Track>&) {}

    /// The region of a locale's identifier of language, underscore and region ("de_AT": "AT"). Desktops
    /// without a language ("C") have none; they get the largest catalogue, that of the "US".
    static QString countryCodeOf(const QString& localeIdentifier);
};

} // namespace merlode
