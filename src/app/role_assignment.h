#pragma once

#include "app/control_service.h"
#include "base/session.h"
#include "platform/linux/mpd_address.h"
#include "platform/linux/player_roles.h"

#include <QDBusConnection>
#include <QString>

#include <memory>
#include <optional>

namespace merlode {

class HttpClient;
class UserDefaults;

/// Puts programs into the roles as the settings say. Main thread.
class RoleAssignment {
  public:
    /// How long an MPD of the user's is looked for, in seconds, all addresses together.
    static constexpr double kMpdLookTime = 0.3;

    struct Options {
        bool localOnly = false;    ///< leaves the two other roles empty, as the demo does
        QString privateMpdState;   ///< where the private mpd keeps its database
        QString privateMpdRuntime; ///< where the private mpd has its socket
        /// The folder whose music the private mpd plays.
        std::function<QString()> musicFolder = {};
        /// The library's files for a desktop player in the local role, see `MprisPlayerOptions`.
        std::function<QByteArrayList(const LibraryQuery&)> filesFor = {};
    };

    RoleAssignment(Session& session, PlayerRoles& roles, QDBusConnection bus, Options options);

    /// Fills all roles. Waits `kMpdLookTime` at most.
    void assignAll();

    /// Stores the user's choice for a role and puts it into effect. `role` is "local", "spotify" or "rdio";
    /// `program` an MPRIS name, "none", or for the local role also "auto", "mpd" or "private". The reason
    /// where that makes no sense.
    std::optional<ControlError> use(const QString& role, const QString& program);

    /// The music lies elsewhere now: a private mpd is replaced by one for that.
    void musicFolderChanged();

    /// Starts the private mpd, where the local role is left to one.
    void launchPrivateMpd();

    /// The MPD of the user's that plays the local role; nothing where something else does.
    const std::optional<MpdAddress>& userMpd() const { return userMpd_; }

    /// The MPRIS players on the bus that stand in no role.
    QStringList otherPlayers() const;

  private:
    std::unique_ptr<PlayerProgram> makeLocal();
    std::unique_ptr<PlayerProgram> makePrivateMpd() const;
    std::unique_ptr<PlayerProgram> makeMpris(const QString& name) const;
    std::optional<ControlError> useLocal(const QString& program);
    void takeOutOfItsRole(const QString& name);
    void assignDesktopRole(PlayerRole role);
    QString desktopName(PlayerRole role) const;

    Session& session_;
    PlayerRoles& roles_;
    UserDefaults& defaults_;
    QDBusConnection bus_;
    Options options_;
    bool localIsPrivate_ = false;
    std::optional<MpdAddress> userMpd_;
};

} // namespace merlode
