#include "model/artist.h"

namespace merlode {

Artist::Artist(ItemSourceType sourceType, const QString& id, const QString& name)
    : MusicItem(sourceType, id, name), identity_({name}) {}

std::shared_ptr<Artist> Artist::make(const QString& id, const QString& name,
                                     const std::optional<QString>& imageURL, ItemSourceType sourceType) {
    std::shared_ptr<Artist> artist(new Artist(sourceType, id, name));
    artist->setImageURL(imageURL);
    return artist;
}

QString Artist::description() const {
    return QStringLiteral("Artist: \n Name: ") + name();
}

} // namespace merlode
