#pragma once

#include "base/run_loop.h"
#include "platform/user_notification_center.h"

#include <QByteArray>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QStringList>

#include <functional>
#include <map>
#include <memory>
#include <optional>

class QDBusArgument;

namespace merlode {

class DispatchQueue;

/// A picture as the hint "image-data" carries it: rows of red, green, blue and alpha without any gap.
struct NotificationPicture {
    int width = 0;
    int height = 0;
    int rowStride = 0; ///< bytes from one row to the next
    bool hasAlpha = true;
    int bitsPerSample = 8;
    int channels = 4;
    QByteArray bytes;
};

QDBusArgument& operator<<(QDBusArgument& argument, const NotificationPicture& picture);
const QDBusArgument& operator>>(const QDBusArgument& argument, NotificationPicture& picture);

/// The notifications of a freedesktop.org desktop: the service org.freedesktop.Notifications on the session
/// bus, which the bus starts where it can. Nothing here waits for that service. One that does not answer gets
/// nothing but a small question at the next notification, until it answers that: a daemon that wakes up again
/// must not have an evening's tracks to show.
///
/// Of each kind (the "type" in `userInfo`) one notification is on screen, replaced by the next, and one call
/// is under way; of those that come meanwhile the newest is kept. Main thread.
class FreedesktopNotificationCenter final : public QObject, public UserNotificationCenter {
    Q_OBJECT
  public:
    /// Longest side of a picture, in pixels: daemons show less, and take in each pixel of it.
    static constexpr int kPictureSide = 256;
    /// How long the service may take to answer, in seconds; starting it counts.
    static constexpr double kCallSeconds = 5;

    /// Pictures are scaled on `queue`. Both references must outlive this object.
    FreedesktopNotificationCenter(const QDBusConnection& connection, RunLoop& runLoop, DispatchQueue& queue,
                                  double callSeconds = kCallSeconds);

    void setDelegate(UserNotificationCenterDelegate* delegate) override { delegate_ = delegate; }
    /// A notification that waits is dropped where the delegate no longer agrees when its turn comes.
    void deliver(const UserNotification& notification) override;

  private Q_SLOTS:
    void notificationClosed(const QDBusMessage& signal);
    void activationToken(const QDBusMessage& signal);
    void actionInvoked(const QDBusMessage& signal);
    void ownerChanged(const QString& service, const QString& oldOwner, const QString& newOwner);

  private:
    struct Kind {
        std::optional<UserNotification> wanted; ///< the newest that is still to be shown
        bool busy = false;                      ///< one is being prepared or sent
        quint32 id = 0;                         ///< of the one on screen, 0 for none
        UserNotification shown;                 ///< the one on screen
    };
    using Reply = std::function<void(const QDBusMessage& answer)>;

    void subscribe();
    void call(const QString& receiver, const QString& method, const QVariantList& arguments, Reply reply);
    void askCapabilities();
    void proceed(Kind& kind);
    void prepare(Kind& kind, const UserNotification& notification);
    void send(Kind& kind, const UserNotification& notification,
              const std::optional<NotificationPicture>& picture);
    void sent(Kind& kind, const UserNotification& notification, const QString& receiver,
              const QDBusMessage& answer);
    Kind* kindOnScreen(const QDBusMessage& signal, QStringView signature);

    QDBusConnection connection_;
    RunLoop& runLoop_;
    DispatchQueue& queue_;
    int callMilliseconds_;
    UserNotificationCenterDelegate* delegate_ = nullptr;
    QDBusServiceWatcher watcher_;
    bool subscribed_ = false;
    std::optional<QStringList> capabilities_; ///< of a service that answers
    QString owner_;                           ///< the unique name of that service
    bool asking_ = false;
    std::map<QString, Kind> kinds_; ///< by type; none is ever removed, so that references stay good
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

} // namespace merlode
