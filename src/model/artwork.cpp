#include "model/artwork.h"

#include <QFile>

// A static library's resources are linked and registered only when asked for; the macro wants global scope.
static void registerModelImages() {
    Q_INIT_RESOURCE(model_images);
}

namespace merlode {

const Image& sSharedAlbumArtworkImage() {
    static const Image image = [] {
        registerModelImages();
        QFile file(QStringLiteral(":/merlode/images/PanelAlbumArt.png"));
        return Image::encoded(file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray());
    }();
    return image;
}

} // namespace merlode
