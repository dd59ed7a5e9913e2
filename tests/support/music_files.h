#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace merlode::testing_support {

struct MusicFile {
    QString path;
    QString title;
    QString album;
    QStringList artists;
    QString albumArtist;
    QString track; ///< as tagged: "3/12"
    QString disc;
    QByteArray picture; ///< embedded; empty for none
    int seconds = 60;
};

/// Writes a silent FLAC file with these tags; empty ones are left out. Makes its folder. False on failure.
bool writeMusicFile(const MusicFile& file);

/// A PNG of noise tinted by `seed`, so that two seeds never give the same and the size in bytes is about
/// 3 * side * side.
QByteArray noisePicture(int side, unsigned seed);

} // namespace merlode::testing_support
