#pragma once

#include "app/art_file.h"
#include "app/status_publisher.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QObject>
#include <QVariantMap>

#include <functional>

namespace merlode {

class MprisService;

/// org.mpris.MediaPlayer2: who we are.
class MprisRootAdaptor final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2")
    Q_PROPERTY(bool CanQuit READ yes)
    Q_PROPERTY(bool CanRaise READ yes)
    Q_PROPERTY(bool HasTrackList READ no)
    Q_PROPERTY(QString Identity READ identity)
    Q_PROPERTY(QString DesktopEntry READ desktopEntry)
    Q_PROPERTY(QStringList SupportedUriSchemes READ nothing)
    Q_PROPERTY(QStringList SupportedMimeTypes READ nothing)
  public:
    explicit MprisRootAdaptor(MprisService& service);

    bool yes() const { return true; }
    bool no() const { return false; }
    QString identity() const { return QStringLiteral("Merlode"); }
    QString desktopEntry() const { return QStringLiteral("co.vantry.Merlode"); }
    QStringList nothing() const { return {}; }

  public Q_SLOTS:
    void Raise();
    void Quit();

  private:
    MprisService& service_;
};

/// org.mpris.MediaPlayer2.Player: whatever is active.
class MprisPlayerAdaptor final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2.Player")
    Q_PROPERTY(QString PlaybackStatus READ playbackStatus)
    Q_PROPERTY(double Rate READ rate)
    Q_PROPERTY(double MinimumRate READ rate)
    Q_PROPERTY(double MaximumRate READ rate)
    Q_PROPERTY(QVariantMap Metadata READ askedMetadata)
    Q_PROPERTY(double Volume READ volume WRITE setVolume)
    Q_PROPERTY(qlonglong Position READ position)
    Q_PROPERTY(bool CanGoNext READ canGoNext)
    Q_PROPERTY(bool CanGoPrevious READ canGoPrevious)
    Q_PROPERTY(bool CanPlay READ canPlay)
    Q_PROPERTY(bool CanPause READ canPause)
    Q_PROPERTY(bool CanSeek READ canSeek)
    Q_PROPERTY(bool CanControl READ canControl)
  public:
    explicit MprisPlayerAdaptor(MprisService& service);

    QString playbackStatus() const;
    double rate() const { return 1.0; }
    QVariantMap metadata() const;
    /// As above for somebody on the bus, who may want to show the art.
    QVariantMap askedMetadata() const;
    double volume() const;
    void setVolume(double volume);
    qlonglong position() const;
    bool canGoNext() const;
    bool canGoPrevious() const;
    bool canPlay() const;
    bool canPause() const;
    bool canSeek() const;
    bool canControl() const { return true; }

  public Q_SLOTS:
    void PlayPause();
    void Play();
    void Pause();
    void Stop();
    void Next();
    void Previous();
    void Seek(qlonglong offset);
    void SetPosition(const QDBusObjectPath& trackId, qlonglong position);
    void OpenUri(const QString&) {}

  Q_SIGNALS:
    void Seeked(qlonglong position);

  private:
    MprisService& service_;
};

/// Shows whatever is active as the MPRIS player "merlode", so that media keys and desktop panels reach it.
/// Main thread.
class MprisService final : public QObject {
    Q_OBJECT
  public:
    MprisService(Session& session, StatusPublisher& publisher, ArtFile& artFile, std::function<void()> reopen,
                 std::function<void()> quit);

    /// Puts the object on the bus and takes the name. False when the name is taken.
    bool registerOn(QDBusConnection bus);

    Session& session() const { return session_; }
    ArtFile& artFile() const { return artFile_; }
    /// Runs a command on the controller through the run loop.
    void command(std::function<void()> work);
    void reopen() { command(reopen_); }
    void quit() { command(quit_); }

  private:
    void publish();
    QVariantMap properties() const;

    Session& session_;
    ArtFile& artFile_;
    std::function<void()> reopen_;
    std::function<void()> quit_;
    MprisRootAdaptor root_;
    MprisPlayerAdaptor player_;
    std::optional<QDBusConnection> bus_;
    QVariantMap published_;
    qlonglong expectedPosition_ = 0;
    double expectedAt_ = 0;
};

} // namespace merlode
