#pragma once

#include "app/control_service.h"

#include <QString>
#include <QStringList>

namespace merlode {

class UserDefaults;

/// Where the user's music lies: one folder, or several that are joined under one by links, since the private
/// mpd takes no more than one. Main thread.
class MusicFolders {
  public:
    /// `joinedFolder` holds the links; nothing else is kept there. The settings must outlive this object.
    MusicFolders(UserDefaults& userDefaults, QString joinedFolder);

    /// The setting, else the desktop's music folder.
    QStringList folders() const;

    /// The folder that holds all of them: the one that there is, or the one with the links.
    QString root() const;

    /// Makes the links anew where there are several. A link's name depends on its folder alone, so that songs
    /// keep their identity when other folders come and go.
    void join() const;

    /// Stores and joins other folders; an empty list is the desktop's own again. The reason where one of them
    /// is not there, and nothing is changed then.
    std::optional<ControlError> use(const QStringList& folders);

  private:
    UserDefaults& defaults_;
    const QString joinedFolder_;
};

} // namespace merlode
