#pragma once

#include <QByteArray>

#include <functional>
#include <vector>

namespace merlode {

/// By what a change of a music file is told without reading it.
struct MusicFileStamp {
    qint64 size = 0;
    qint64 modified = 0;    ///< nanoseconds since 1970
    bool isCovered = false; ///< a cover lies beside it
    bool operator==(const MusicFileStamp&) const = default;
};

/// A music file as it is found in a folder. The path is the file system's own bytes.
struct MusicFile {
    QByteArray path;
    MusicFileStamp stamp;
};

/// What a walk could not look into.
struct MusicFolderGaps {
    bool isComplete = false;         ///< false where the folder itself was not reached, or the walk cancelled
    std::vector<QByteArray> folders; ///< that could not be read, or are linked and not there, or empty
};

/// Hands over every file below `folder` whose name ends like that of music. Links are followed, each folder
/// is looked at once, and what is hidden is left out, as are pipes and devices. Asks `isCancelled` before
/// each folder. The root of all is the empty path. Blocks: for background queues.
MusicFolderGaps findMusicFiles(const QByteArray& folder, const std::function<bool()>& isCancelled,
                               const std::function<void(MusicFile)>& visit);

} // namespace merlode
