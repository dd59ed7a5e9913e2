#pragma once

#include <QString>

namespace merlode {

/// The folder for what lives no longer than the login: sockets, the address of a bus. $XDG_RUNTIME_DIR where
/// that is a folder of our own, otherwise /tmp/merlode-<uid>, which is made on first use for us alone.
///
/// Empty when neither can be trusted: somebody else got to the name in /tmp first, or /tmp cannot be written.
/// The caller does without then; it must not use another folder in its place. Any thread.
QString runtimeFolder();

/// Makes `path` a folder that only we can enter, or accepts it when it already is ours (its mode is
/// tightened). False for a symbolic link, for anything but a folder, and for what another user owns: whoever
/// made it could swap what lies inside.
bool makePrivateFolder(const QString& path);

} // namespace merlode
