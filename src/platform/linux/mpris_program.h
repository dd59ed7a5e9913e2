#pragma once

#include "platform/linux/mpris_player.h"
#include "platform/linux/player_program.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>

#include <map>
#include <memory>

namespace merlode {

/// Which player stands in a role, and what it is driven with.
struct MprisProgramOptions {
    /// "spotify" stands for the bus name org.mpris.MediaPlayer2.spotify and for instances of it, as in
    /// "spotify.instance7". A proxy and our own names are refused: nothing is then ever found.
    QString busSuffix;
    /// Ids of desktop files under which the player may be installed, the likeliest first.
    QStringList desktopIds;
    MprisPlayerOptions player;
};

/// The program behind a role that is played by an MPRIS player. Follows its names on the bus: several names
/// of one process are one player; of several processes the first stays until it goes. Main thread; waits for
/// nobody but, for an instant, the bus itself.
class MprisProgram final : public QObject, public PlayerProgram {
    Q_OBJECT
  public:
    /// The run loop and what the options point at must outlive this object.
    MprisProgram(const QDBusConnection& connection, RunLoop& runLoop, MprisProgramOptions options);
    ~MprisProgram() override;

    void start(PlayerProgramEvents events) override;
    void settle(double seconds) override;
    /// The desktop file, else the executable of the running player or of the name of the suffix.
    std::optional<QString> installedPath() override;
    std::optional<std::int32_t> processIdentifier() override;
    std::shared_ptr<ScriptedPlayer> player() override;
    bool launch() override;
    QString description() override;

  private Q_SLOTS:
    void ownerChanged(const QString& name, const QString& oldOwner, const QString& newOwner);
    void busGone();

  private:
    using Event = std::function<void()> PlayerProgramEvents::*;

    void tell(Event event);
    void readNames();
    void reconsider();
    void adopt(const QString& owner, bool justLaunched);
    void dismiss();
    bool ownsName(const QString& owner) const;
    QStringList desktopIds() const;
    std::optional<QString> findInstalled() const;

    QDBusConnection connection_;
    RunLoop& runLoop_;
    MprisProgramOptions options_;
    std::shared_ptr<PlayerProgramEvents> events_; // held weakly by what is queued
    QDBusServiceWatcher watcher_;
    std::map<QString, QString> owners_; // of each of the role's names on the bus
    QString owner_;                     // of the player at hand
    std::shared_ptr<MprisPlayer> player_;
    std::optional<std::int32_t> process_;
    // What was found for the player that runs. Each look at a player asks for it, and finding it is a search
    // through every folder of applications.
    std::optional<QString> installed_;
    QStringList installedIds_; // for which it was found
    QString lastDesktopEntry_; // outlives the player that told it
};

} // namespace merlode
