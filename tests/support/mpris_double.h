#pragma once

#include <QDBusConnection>
#include <QDBusVirtualObject>
#include <QStringList>
#include <QThread>
#include <QVariantMap>

#include <mutex>
#include <optional>

namespace merlode {

/// An MPRIS player that does what a test says. It has a connection and a thread of its own, so that it
/// answers, or keeps silent, whatever the test's thread is doing. All methods may be called from the test's
/// thread.
class MprisDouble {
  public:
    /// Owns org.mpris.MediaPlayer2.`suffix` on the bus `connection` leads to, which must be used by nobody
    /// else.
    MprisDouble(QDBusConnection connection, const QString& suffix, const QVariantMap& properties = {});
    /// Gives up the name, as a program that ends.
    ~MprisDouble();
    MprisDouble(const MprisDouble&) = delete;
    MprisDouble& operator=(const MprisDouble&) = delete;

    /// Changes properties without a word.
    void change(const QVariantMap& properties);
    /// Changes properties and announces them in one signal.
    void announce(const QVariantMap& properties);
    /// Announces properties as changed without their values.
    void invalidate(const QStringList& names);
    void announceSeek(qint64 microseconds);
    /// Sends any PropertiesChanged signal, well-formed or not.
    void sendSignal(const QVariantList& arguments);

    /// While true, calls are neither answered nor heeded: the player hangs.
    void setMute(bool mute);
    /// Reading all properties answers this instead of the properties; an empty list answers an error, nothing
    /// the properties again.
    void answerAllWith(const std::optional<QVariantList>& arguments);

    /// The calls so far, without reads: "Play", "OpenUri file:///x", "SetVolume 0.5".
    QStringList calls() const;
    /// How often all properties were read.
    int readings() const;

    /// A track's metadata with the usual fields.
    static QVariantMap metadata(const QString& title, const QString& album = u"Album"_qs);

  private:
    class Object;

    QDBusConnection connection_;
    QString name_;
    QThread thread_;
    std::unique_ptr<Object> object_;
};

} // namespace merlode
