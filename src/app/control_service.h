#pragma once

#include "app/follower_pipes.h"
#include "app/status_publisher.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <QVariantMap>

#include <functional>
#include <optional>
#include <variant>

namespace merlode {

class PlayerController;

/// A refused command: the name of a D-Bus error and a message for people.
struct ControlError {
    QString name;
    QString message;
};

/// Called once, with a text for people or why there is none.
using AnswerLater = std::function<void(const std::variant<QString, ControlError>&)>;

/// What the service asks of the program around it.
struct ControlActions {
    std::function<QList<QVariantMap>()> players;
    /// Puts a program into a role; the reason where that cannot be done.
    std::function<std::optional<ControlError>(const QString& role, const QString& program)> usePlayer;
    /// Runs the checks in the background and calls back on the main thread.
    std::function<void(std::function<void(QList<QVariantMap>)> done)> doctor;
    /// Has the art written to a file and calls back when it is there, after a moment at most.
    std::function<void(std::function<void()> done)> wantArt;
    /// Searches everything and calls back with the results as JSON, or with why there are none.
    std::function<void(const QString& term, AnswerLater done)> search;
    /// Plays a row of the last search; a message for people, or why it cannot be played.
    std::function<std::variant<QString, ControlError>(uint row, const QString& service)> playRow;
    /// Begins or cancels a scan of the library, or neither, and calls back with its state.
    std::function<void(const QString& action, std::function<void(const QVariantMap&)> done)> libraryState;
    /// Signs in to Spotify's catalogue or out of it, or neither, and calls back with a message for people.
    std::function<void(const QStringList& words, AnswerLater done)> spotify;
    /// Looks for music in these folders from now on; the reason where that makes no sense.
    std::function<std::optional<ControlError>(const QStringList& folders)> useMusicFolders;
    /// The services by name, each with whether it is switched on; and the switch.
    std::function<QVariantMap()> services;
    std::function<std::optional<ControlError>(const QString& service, bool enabled)> enableService;
    /// The link to other machines; see `LinkCommands`.
    std::function<void(std::function<void(const QVariantMap&)> done)> hosts;
    std::function<void(const QString& name, AnswerLater done)> connectToHost;
    std::function<void(AnswerLater done)> disconnectFromHost;
    std::function<void(bool on, AnswerLater done)> serve;
    std::function<void(const QString& name, AnswerLater done)> rename;
    std::function<void()> reopen;
    std::function<void()> quit;
};

/// The program on the session bus, as `base/control_interface.h` tells. Calls are carried out through the run
/// loop and answered afterwards, so that a modal alert holds them up like everything else. Main thread.
class ControlService final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "co.vantry.Merlode1")
  public:
    ControlService(Session& session, StatusPublisher& publisher, ControlActions actions);

    /// Puts the object on the bus; the service name is the caller's business.
    bool registerOn(QDBusConnection bus);

  public Q_SLOTS:
    // Called by D-Bus; their names and types are the interface.
    QVariantMap Status();
    QDBusUnixFileDescriptor Follow();
    void PlayPause();
    void Play();
    void Pause();
    void Next();
    void Previous();
    void Seek(double seconds);
    void SeekBy(double seconds);
    void SetVolume(int volume);
    void ChangeVolume(int difference);
    void ToggleMute();
    QList<QVariantMap> Players();
    void UsePlayer(const QString& role, const QString& program);
    QList<QVariantMap> Doctor();
    QString Search(const QString& term);
    QVariantMap Library(const QString& action);
    QVariantMap Services();
    void EnableService(const QString& service, bool enabled);
    void UseMusicFolders(const QStringList& folders);
    QString PlayRow(uint row, const QString& service);
    QString Spotify(const QString& action, const QString& clientID, const QString& secret);
    QVariantMap Hosts();
    QString Connect(const QString& host);
    QString Disconnect();
    QString Serve(bool on);
    QString Rename(const QString& name);
    void Reopen();
    void ReopenWithToken(const QString& token);
    void Quit();

  private:
    using Outcome = std::optional<ControlError>;

    /// Runs `work` on the run loop, then answers the current call with what it gives.
    void answer(std::function<QVariant()> work);
    /// Runs `work`, which answers the current call by what it is handed, at some later time.
    void answerLater(std::function<void(const AnswerLater&)> work);
    /// The same for an answer of several values.
    void describeLater(std::function<void(const std::function<void(const QVariantMap&)>&)> work);
    /// The same for a command, which is refused without an active player.
    void command(std::function<Outcome(PlayerController&)> work);

    Session& session_;
    StatusPublisher& publisher_;
    ControlActions actions_;
    FollowerPipes followers_;
};

} // namespace merlode
