#include "platform/linux/freedesktop_notification_center.h"

#include "base/dispatch_queue.h"
#include "platform/activation_token.h"

#include <QDBusArgument>
#include <QDBusError>
#include <QDBusMetaType>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>

namespace merlode {

namespace {

Q_LOGGING_CATEGORY(lcNotifications, "merlode.platform", QtWarningMsg)

const QString kService = u"org.freedesktop.Notifications"_qs;
const QString kPath = u"/org/freedesktop/Notifications"_qs;
const QString kDefaultAction = u"default"_qs;
constexpr uchar kUrgencyLow = 0;
constexpr uchar kUrgencyNormal = 1;
constexpr int kTimeOfTheDesktop = -1;

bool isError(const QDBusMessage& answer) {
    return answer.type() == QDBusMessage::ErrorMessage;
}

QString typeOf(const UserNotification& notification) {
    return notification.userInfo.value(u"type"_qs).toString();
}

std::optional<NotificationPicture> pictureOf(const Image& image) {
    QImage pixels = image.pixels();
    constexpr int side = FreedesktopNotificationCenter::kPictureSide;
    if (pixels.width() > side || pixels.height() > side)
        pixels = pixels.scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    pixels.convertTo(QImage::Format_RGBA8888);
    if (pixels.isNull())
        return std::nullopt;
    // Four bytes a pixel leave no gap at the end of a row: some daemons refuse a picture whose length is not
    // to the byte what they expect, and they differ about a gap in the last row.
    const auto* bytes = reinterpret_cast<const char*>(pixels.constBits());
    const int stride = static_cast<int>(pixels.bytesPerLine());
    return NotificationPicture{.width = pixels.width(),
                               .height = pixels.height(),
                               .rowStride = stride,
                               .bytes = QByteArray(bytes, stride * pixels.height())};
}

QVariantMap hintsFor(const UserNotification& notification,
                     const std::optional<NotificationPicture>& picture) {
    // What plays is of no more interest once it has been seen.
    const bool passing = typeOf(notification) == u"Playing Notification";
    QVariantMap hints{{u"desktop-entry"_qs, u"co.vantry.Merlode"_qs},
                      {u"category"_qs, u"x-gnome.music"_qs},
                      {u"urgency"_qs, QVariant::fromValue(passing ? kUrgencyLow : kUrgencyNormal)},
                      {u"transient"_qs, passing}};
    if (picture)
        hints.insert(u"image-data"_qs, QVariant::fromValue(*picture));
    return hints;
}

} // namespace

QDBusArgument& operator<<(QDBusArgument& argument, const NotificationPicture& picture) {
    argument.beginStructure();
    argument << picture.width << picture.height << picture.rowStride << picture.hasAlpha
             << picture.bitsPerSample << picture.channels << picture.bytes;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, NotificationPicture& picture) {
    argument.beginStructure();
    argument >> picture.width >> picture.height >> picture.rowStride >> picture.hasAlpha >>
        picture.bitsPerSample >> picture.channels >> picture.bytes;
    argument.endStructure();
    return argument;
}

FreedesktopNotificationCenter::FreedesktopNotificationCenter(const QDBusConnection& connection,
                                                             RunLoop& runLoop, DispatchQueue& queue,
                                                             double callSeconds)
    : connection_(connection),
      runLoop_(runLoop),
      queue_(queue),
      callMilliseconds_(static_cast<int>(callSeconds * 1000)) {
    qDBusRegisterMetaType<NotificationPicture>();
}

// Not before the first notification: every program's notifications are announced to those who listen.
void FreedesktopNotificationCenter::subscribe() {
    if (std::exchange(subscribed_, true))
        return;
    connection_.connect({}, kPath, kService, u"NotificationClosed"_qs, this,
                        SLOT(notificationClosed(QDBusMessage)));
    connection_.connect({}, kPath, kService, u"ActivationToken"_qs, this,
                        SLOT(activationToken(QDBusMessage)));
    connection_.connect({}, kPath, kService, u"ActionInvoked"_qs, this, SLOT(actionInvoked(QDBusMessage)));
    watcher_.setConnection(connection_);
    watcher_.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
    watcher_.addWatchedService(kService);
    connect(&watcher_, &QDBusServiceWatcher::serviceOwnerChanged, this,
            &FreedesktopNotificationCenter::ownerChanged);
}

void FreedesktopNotificationCenter::call(const QString& receiver, const QString& method,
                                         const QVariantList& arguments, Reply reply) {
    auto message = QDBusMessage::createMethodCall(receiver, kPath, kService, method);
    message.setArguments(arguments);
    auto* watcher = new QDBusPendingCallWatcher(connection_.asyncCall(message, callMilliseconds_), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [reply = std::move(reply)](QDBusPendingCallWatcher* finished) {
                finished->deleteLater();
                reply(finished->reply());
            });
}

void FreedesktopNotificationCenter::deliver(const UserNotification& notification) {
    auto& kind = kinds_[typeOf(notification)];
    kind.wanted = notification;
    proceed(kind);
}

void FreedesktopNotificationCenter::proceed(Kind& kind) {
    if (kind.busy || !kind.wanted)
        return;
    if (!delegate_ || !delegate_->shouldPresentNotification(*kind.wanted)) {
        kind.wanted.reset();
        return;
    }
    subscribe();
    if (!capabilities_)
        return askCapabilities();
    kind.busy = true;
    const auto notification = *std::exchange(kind.wanted, std::nullopt);
    prepare(kind, notification);
}

void FreedesktopNotificationCenter::askCapabilities() {
    if (std::exchange(asking_, true))
        return;
    call(kService, u"GetCapabilities"_qs, {}, [this](const QDBusMessage& answer) {
        asking_ = false;
        if (isError(answer)) {
            qCInfo(lcNotifications) << "no notifications:" << answer.errorName();
            for (auto& [type, kind] : kinds_)
                kind.wanted.reset();
            return;
        }
        capabilities_ =
            answer.signature() == u"as" ? answer.arguments().constFirst().toStringList() : QStringList();
        owner_ = answer.service();
        for (auto& [type, kind] : kinds_)
            proceed(kind);
    });
}

void FreedesktopNotificationCenter::prepare(Kind& kind, const UserNotification& notification) {
    if (!notification.contentImage)
        return send(kind, notification, std::nullopt);
    queue_.async([this, weak = std::weak_ptr(alive_), &loop = runLoop_, &kind, notification] {
        loop.async([this, weak, &kind, notification, picture = pictureOf(notification.contentImage)] {
            if (weak.lock())
                send(kind, notification, picture);
        });
    });
}

void FreedesktopNotificationCenter::send(Kind& kind, const UserNotification& notification,
                                         const std::optional<NotificationPicture>& picture) {
    if (!capabilities_) { // the service was restarted while the picture was being prepared
        kind.busy = false;
        kind.wanted = kind.wanted.value_or(notification);
        return proceed(kind);
    }
    const bool markup = capabilities_->contains(u"body-markup"_qs);
    const QString body = markup ? notification.informativeText.toHtmlEscaped() : notification.informativeText;
    // A daemon without actions may show a dialog for a notification that has some.
    const auto actions =
        capabilities_->contains(u"actions"_qs) ? QStringList{kDefaultAction, u"Open"_qs} : QStringList();
    // By its unique name: the number of what it is to replace means nothing to a successor.
    call(owner_, u"Notify"_qs,
         {u"Merlode"_qs, kind.id, u"merlode"_qs, notification.title, body, actions,
          hintsFor(notification, picture), kTimeOfTheDesktop},
         [this, &kind, notification, receiver = owner_](const QDBusMessage& answer) {
             sent(kind, notification, receiver, answer);
         });
}

void FreedesktopNotificationCenter::sent(Kind& kind, const UserNotification& notification,
                                         const QString& receiver, const QDBusMessage& answer) {
    kind.busy = false;
    kind.id = answer.signature() == u"u" ? answer.arguments().constFirst().toUInt() : 0;
    kind.shown = notification;
    if (isError(answer)) {
        qCInfo(lcNotifications) << "notification refused:" << answer.errorName();
        capabilities_.reset(); // it is asked for a sign of life before it gets more
        // A successor gets what was meant for one that has gone, but not what that one died of.
        if (receiver != owner_ && QDBusError(answer).type() != QDBusError::NoReply)
            kind.wanted = kind.wanted.value_or(notification);
    }
    proceed(kind);
}

void FreedesktopNotificationCenter::ownerChanged(const QString&, const QString&, const QString& newOwner) {
    if (newOwner == owner_)
        return;
    capabilities_.reset();
    owner_.clear();
    for (auto& [type, kind] : kinds_)
        kind.id = 0;
}

FreedesktopNotificationCenter::Kind* FreedesktopNotificationCenter::kindOnScreen(const QDBusMessage& signal,
                                                                                 QStringView signature) {
    if (signal.service() != owner_ || signal.signature() != signature)
        return nullptr;
    const auto id = signal.arguments().constFirst().toUInt();
    const auto found =
        std::ranges::find_if(kinds_, [id](const auto& entry) { return id != 0 && entry.second.id == id; });
    return found == kinds_.end() ? nullptr : &found->second;
}

void FreedesktopNotificationCenter::notificationClosed(const QDBusMessage& signal) {
    if (auto* kind = kindOnScreen(signal, u"uu"))
        kind->id = 0;
}

// Comes before the action that it is for.
void FreedesktopNotificationCenter::activationToken(const QDBusMessage& signal) {
    if (kindOnScreen(signal, u"us"))
        keepActivationToken(signal.arguments().at(1).toString());
}

void FreedesktopNotificationCenter::actionInvoked(const QDBusMessage& signal) {
    const auto* kind = kindOnScreen(signal, u"us");
    if (!kind || signal.arguments().at(1).toString() != kDefaultAction)
        return;
    runLoop_.async([this, weak = std::weak_ptr(alive_), notification = kind->shown] {
        if (weak.lock() && delegate_)
            delegate_->didActivateNotification(notification);
    });
}

} // namespace merlode
