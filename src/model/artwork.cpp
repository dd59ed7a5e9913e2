#include "model/artwork.h"

// A static library's resources are linked and registered only when asked for; the macro wants global scope.
static void registerModelImages() {
    Q_INIT_RESOURCE(model_images);
}

namespace merlode {

const Image& sSharedAlbumArtworkImage() {
    static const Image image = [] {
        registerModelImages();
        return Image(QImage(QStringLiteral(":/merlode/images/PanelAlbumArt.png"), "PNG"));
    }();
    return image;
}

} // namespace merlode
