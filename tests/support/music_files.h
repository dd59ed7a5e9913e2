#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace merlode::testing_support {

struct MusicFile {
    QString path;
    QString title = {};
    QString album = {};
    QStringList artists = {};
    QString albumArtist = {};
    QString track = {}; ///< as tagged: "3/12"
    QString disc = {};  ///< likewise
    bool isCompilation = false;
    QByteArray picture = {}; ///< embedded; empty for none
};

/// Writes a silent minute as a FLAC file with these tags; empty ones are left out. Makes its folder. False on
/// failure.
bool writeMusicFile(const MusicFile& file);

/// A square PNG of noise, about 3 * side * side bytes.
QByteArray noisePicture(int side);

} // namespace merlode::testing_support
