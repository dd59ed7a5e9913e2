#include "platform/linux/taglib_pictures.h"

// Loaded with the first music file that is looked into: most players name their art themselves.
extern "C" bool merlodeReadEmbeddedPicture(const QByteArray* path, QByteArray* picture) {
    auto found = merlode::embeddedPicture(*path);
    if (found)
        *picture = std::move(*found);
    return found.has_value();
}
