#include "model/artwork.h"

#include <QFile>

// A static library's resources are linked and registered only when asked for; the macro wants global scope.
static void registerModelImages() {
    Q_INIT_RESOURCE(model_images);
}

namespace merlode {

namespace {

Image imageNamed(const QString& name) {
    registerModelImages();
    QFile file(QStringLiteral(":/merlode/images/") + name);
    return Image::encoded(file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray());
}

} // namespace

const Image& sSharedAlbumArtworkImage() {
    static const Image image = imageNamed(QStringLiteral("PanelAlbumArt.png"));
    return image;
}

const Image& sSharedNotificationHeart() {
    static const Image image = imageNamed(QStringLiteral("NotificationHeart.png"));
    return image;
}

} // namespace merlode
