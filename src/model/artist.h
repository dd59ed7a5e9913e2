#pragma once

#include "model/item_identity.h"
#include "model/music_item.h"

#include <vector>

namespace merlode {

/// A performer. Two are equal when their names are, whatever the case.
class Artist final : public MusicItem {
  public:
    /// With an address the artist's picture starts to load at once.
    static std::shared_ptr<Artist> make(const QString& id, const QString& name,
                                        const std::optional<QString>& imageURL, ItemSourceType sourceType);

    const ItemIdentity& identity() const { return identity_; }
    bool operator==(const Artist& other) const { return identity_ == other.identity_; }

    std::vector<std::shared_ptr<Album>> albums() const { return read(albums_); }
    void setAlbums(std::vector<std::shared_ptr<Album>> albums) { write(albums_, std::move(albums)); }

    bool isArtistType(ItemSourceType type) const { return sourceType().contains(type); }
    QString description() const;

  private:
    Artist(ItemSourceType sourceType, const QString& id, const QString& name);

    const ItemIdentity identity_;
    std::vector<std::shared_ptr<Album>> albums_;
};

} // namespace merlode
