#include "support/mpris_double.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>

namespace merlode {

namespace {

const QString kPath = u"/org/mpris/MediaPlayer2"_qs;
const QString kPlayer = u"org.mpris.MediaPlayer2.Player"_qs;
const QString kProperties = u"org.freedesktop.DBus.Properties"_qs;
const QString kPrefix = u"org.mpris.MediaPlayer2."_qs;

QString text(const QVariant& value) {
    if (value.canConvert<QDBusObjectPath>())
        return value.value<QDBusObjectPath>().path();
    return value.toString();
}

} // namespace

class MprisDouble::Object final : public QDBusVirtualObject {
  public:
    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        const std::lock_guard lock(mutex);
        message.setDelayedReply(true);
        if (mute)
            return true;
        if (message.interface() == kProperties)
            connection.send(answerProperties(message));
        else
            connection.send(answerCommand(message));
        return true;
    }

    mutable std::mutex mutex;
    QVariantMap properties;
    std::optional<QVariantList> everything;
    QStringList calls;
    int readings = 0;
    bool mute = false;

  private:
    QDBusMessage answerProperties(const QDBusMessage& message) {
        const auto arguments = message.arguments();
        const QString name = arguments.value(1).toString();
        if (message.member() == u"GetAll")
            return answerAll(message);
        if (message.member() == u"Set") {
            const QVariant value = arguments.value(2).value<QDBusVariant>().variant();
            calls += u"Set%1 %2"_qs.arg(name, text(value));
            properties[name] = value;
            return message.createReply();
        }
        if (arguments.value(0).toString() != kPlayer || !properties.contains(name))
            return message.createErrorReply(QDBusError::InvalidArgs, u"no such property"_qs);
        return message.createReply(QVariant::fromValue(QDBusVariant(properties[name])));
    }

    QDBusMessage answerAll(const QDBusMessage& message) {
        ++readings;
        if (!everything)
            return message.createReply(QVariant(properties));
        if (everything->isEmpty())
            return message.createErrorReply(QDBusError::Failed, u"not today"_qs);
        return message.createReply(*everything);
    }

    QDBusMessage answerCommand(const QDBusMessage& message) {
        QStringList words{message.member()};
        for (const auto& argument : message.arguments())
            words += text(argument);
        calls += words.join(u' ');
        return message.createReply();
    }
};

MprisDouble::MprisDouble(QDBusConnection connection, const QString& suffix, const QVariantMap& properties)
    : connection_(std::move(connection)), name_(kPrefix + suffix), object_(std::make_unique<Object>()) {
    object_->properties = properties;
    object_->moveToThread(&thread_);
    thread_.start();
    connection_.registerVirtualObject(kPath, object_.get());
    if (!connection_.registerService(name_))
        qFatal("the double cannot own its bus name");
}

MprisDouble::~MprisDouble() {
    connection_.unregisterService(name_);
    connection_.unregisterObject(kPath);
    thread_.quit();
    thread_.wait();
}

void MprisDouble::change(const QVariantMap& properties) {
    const std::lock_guard lock(object_->mutex);
    object_->properties.insert(properties);
}

void MprisDouble::announce(const QVariantMap& properties) {
    change(properties);
    sendSignal({kPlayer, properties, QStringList()});
}

void MprisDouble::invalidate(const QStringList& names) {
    sendSignal({kPlayer, QVariantMap(), names});
}

void MprisDouble::announceSeek(qint64 microseconds) {
    change({{u"Position"_qs, microseconds}});
    auto signal = QDBusMessage::createSignal(kPath, kPlayer, u"Seeked"_qs);
    signal << QVariant::fromValue(microseconds);
    connection_.send(signal);
}

void MprisDouble::sendSignal(const QVariantList& arguments) {
    auto signal = QDBusMessage::createSignal(kPath, kProperties, u"PropertiesChanged"_qs);
    signal.setArguments(arguments);
    connection_.send(signal);
}

void MprisDouble::setMute(bool mute) {
    const std::lock_guard lock(object_->mutex);
    object_->mute = mute;
}

void MprisDouble::answerAllWith(const std::optional<QVariantList>& arguments) {
    const std::lock_guard lock(object_->mutex);
    object_->everything = arguments;
}

QStringList MprisDouble::calls() const {
    const std::lock_guard lock(object_->mutex);
    return object_->calls;
}

int MprisDouble::readings() const {
    const std::lock_guard lock(object_->mutex);
    return object_->readings;
}

QVariantMap MprisDouble::metadata(const QString& title, const QString& album) {
    return {{u"mpris:trackid"_qs, QVariant::fromValue(QDBusObjectPath(u"/track/1"_qs))},
            {u"xesam:url"_qs, u"file:///music/"_qs + title},
            {u"xesam:title"_qs, title},
            {u"xesam:album"_qs, album},
            {u"xesam:artist"_qs, QStringList{u"Artist"_qs}},
            {u"mpris:length"_qs, qint64(180'000'000)}};
}

} // namespace merlode
