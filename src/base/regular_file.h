#pragma once

#include <QByteArray>

#include <optional>

/// Files whose names come from outside: what looks like one can be a pipe or a device, which would block its
/// reader for ever or never end. Paths are the file system's own bytes. Blocks: for dispatch queues.
namespace merlode {

/// Opens a regular file for reading, on a descriptor that the caller closes; -1 for what cannot be read or is
/// anything else.
int openRegularFile(const QByteArray& path);

/// The bytes of a regular file; nothing for one that is empty or has more than `mostBytes`.
std::optional<QByteArray> readRegularFile(const QByteArray& path, qint64 mostBytes);

} // namespace merlode
