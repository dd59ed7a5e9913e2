#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace merlode {

/// What a desktop file tells of an application: only what is needed to find and start it.
struct DesktopEntry {
    QString id;   ///< the file's name without ".desktop"
    QString path; ///< of the file
    QString name;
    QString icon;
    QString exec; ///< the command line as it stands, quoting and field codes included
    QString tryExec;
    QString workingFolder;
    bool dBusActivatable = false;
    bool terminal = false;
    bool hidden = false; ///< as good as deleted
};

/// The folders that hold an "applications" folder, the user's own first; flatpak's and snap's exports
/// included, which are missing from XDG_DATA_DIRS in sessions begun before their installation.
QStringList applicationDataFolders();

/// Reads the text of a desktop file; nothing where it has no "Desktop Entry" group. `id` and `path` stay
/// empty.
std::optional<DesktopEntry> parseDesktopEntry(const QString& text);

/// The first of these ids that is installed. The first file of an id decides: a hidden one hides those behind
/// it, and one whose TryExec is missing does not count.
std::optional<DesktopEntry> findDesktopEntry(const QStringList& ids,
                                             const QStringList& folders = applicationDataFolders());

/// The program and its arguments, for no files; empty where the command line is malformed.
QStringList execArguments(const DesktopEntry& entry);

/// Starts the application on its own, with no shell between. False where it cannot be started; an application
/// that wants a terminal is not.
bool launchDesktopEntry(const DesktopEntry& entry);

} // namespace merlode
