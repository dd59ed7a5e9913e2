#pragma once

#include <QByteArrayList>
#include <QString>

#include <optional>

namespace merlode {

/// Writes the playlist `name` with these files into `folder`, in place of one of the same name, and gives its
/// path. The files are absolute paths in the file system's own bytes. The playlist is either the old or the
/// new one, whatever happens meanwhile. Nothing where no file can be listed or the folder cannot be written.
std::optional<QString> writePlaylist(const QString& folder, const QString& name, const QByteArrayList& files);

} // namespace merlode
