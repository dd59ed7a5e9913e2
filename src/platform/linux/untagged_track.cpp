#include "platform/linux/untagged_track.h"

#include <QFileInfo>
#include <QUrl>

namespace merlode {

void completeFileTrack(ScriptedTrack& track, const QString& location) {
    const QString fileScheme = QStringLiteral("file://");
    const bool isFileAddress = location.startsWith(fileScheme);
    if (location.isEmpty() || (!isFileAddress && location.contains(QStringLiteral("://"))))
        return;
    // An address is decoded by hand: players write raw blanks and percent signs into it.
    const QString path =
        isFileAddress ? QUrl::fromPercentEncoding(location.sliced(fileScheme.size()).toUtf8()) : location;
    if (!track.name || track.name->isEmpty())
        track.name = QFileInfo(path).completeBaseName();
    if (!track.artist)
        track.artist = QString();
    if (!track.album)
        track.album = QString();
}

} // namespace merlode
