#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace merlode {

/// Writes the playlist `name` with these files into `folder`, in place of one of the same name, and gives its
/// path. The file is either the old or the new one, whatever happens meanwhile. Nothing where no file can be
/// listed or the folder cannot be written.
std::optional<QString> writePlaylist(const QString& folder, const QString& name, const QStringList& files);

} // namespace merlode
