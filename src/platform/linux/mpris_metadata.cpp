#include "platform/linux/mpris_metadata.h"

#include "platform/linux/untagged_track.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QRegularExpression>

#include <cmath>

namespace merlode::mpris {

namespace {

constexpr double kMicroseconds = 1e6;
constexpr int kHighestTrackNumber = 100'000;
constexpr int kDeepestNesting = 64; // D-Bus allows no deeper message

QString withoutControls(QString text) {
    std::ranges::replace_if(
        text, [](QChar c) { return c.category() == QChar::Other_Control; }, QChar(u' '));
    return text;
}

std::optional<QString> shortText(const QVariant& value) {
    const auto text = textFrom(value);
    if (!text || text->size() > kLongestPlayerText)
        return std::nullopt;
    return withoutControls(*text);
}

// The standard says list; players that send one string, or the list as variants, are common.
std::optional<QString> joinedText(const QVariant& value) {
    const QVariant bare = bareValue(value);
    if (bare.typeId() != QMetaType::QStringList && bare.typeId() != QMetaType::QVariantList)
        return shortText(bare);
    QStringList parts;
    for (const auto& part : bare.toList()) {
        const auto text = textFrom(part);
        if (!text)
            return std::nullopt;
        parts += *text;
    }
    return shortText(parts.join(u", "));
}

// Players that build the address from a path by hand leave its spaces as they are.
std::optional<QString> address(const QVariant& value) {
    const auto text = textFrom(value);
    if (!text || text->isEmpty() || text->size() > kLongestPlayerText || *text != withoutControls(*text))
        return std::nullopt;
    return QString(*text).replace(u' ', u"%20"_qs);
}

std::optional<int> trackNumber(const QVariant& value) {
    const auto number = numberFrom(value);
    if (!number || *number < 1 || *number > kHighestTrackNumber)
        return std::nullopt;
    return static_cast<int>(*number);
}

bool saysNoTrack(const QString& trackId) {
    return trackId.endsWith(u"/TrackList/NoTrack");
}

// An advertisement often tells no names. It has to pass for a track all the same: one that is not known at
// all would take the track before it off the show.
void fillIn(ScriptedTrack& track) {
    for (auto* text : {&track.name, &track.album, &track.artist})
        *text = text->value_or(QString());
}

bool isAdvertisement(const std::optional<QString>& identity) {
    return identity && identity->startsWith(u"spotify:ad:");
}

// What a track id or an address of Spotify names, as its service writes it. Only from the beginning: "/ad/"
// can stand in the ids of any other player, and "ad" be the title of a local file.
std::optional<QString> spotifyItem(const QString& text) {
    static const QRegularExpression form(
        u"^(?:spotify:|/com/spotify/|https?://open\\.spotify\\.com/(?:intl-[A-Za-z-]+/)?)"
        "(?:(track|episode)[:/]([A-Za-z0-9]+)|(ad)[:/]([^?#]*))(?:[?#].*)?$"_qs);
    const auto match = form.match(text);
    if (!match.hasMatch())
        return std::nullopt;
    return u"spotify:%1:%2"_qs.arg(match.captured(1) + match.captured(3),
                                   match.captured(2) + match.captured(4));
}

} // namespace

QVariant bareValue(const QVariant& value) {
    QVariant bare = value;
    for (int depth = 0; depth < kDeepestNesting && bare.metaType() == QMetaType::fromType<QDBusVariant>();
         ++depth)
        bare = bare.value<QDBusVariant>().variant();
    return bare;
}

std::optional<double> numberFrom(const QVariant& value) {
    const QVariant bare = bareValue(value);
    switch (bare.typeId()) {
    case QMetaType::UChar:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::QString: {
        bool valid = false;
        const double number = bare.toDouble(&valid);
        return valid && std::isfinite(number) ? std::optional(number) : std::nullopt;
    }
    default:
        return std::nullopt;
    }
}

std::optional<QString> textFrom(const QVariant& value) {
    const QVariant bare = bareValue(value);
    if (bare.typeId() == QMetaType::QString)
        return bare.toString();
    if (bare.metaType() == QMetaType::fromType<QDBusObjectPath>())
        return bare.value<QDBusObjectPath>().path();
    return std::nullopt;
}

std::optional<bool> boolFrom(const QVariant& value) {
    const QVariant bare = bareValue(value);
    return bare.typeId() == QMetaType::Bool ? std::optional(bare.toBool()) : std::nullopt;
}

QVariantMap mapFrom(const QVariant& value) {
    const QVariant bare = bareValue(value);
    if (bare.typeId() == QMetaType::QVariantMap)
        return bare.toMap();
    if (bare.metaType() != QMetaType::fromType<QDBusArgument>())
        return {};
    const auto argument = bare.value<QDBusArgument>();
    if (argument.currentSignature() != u"a{sv}")
        return {};
    return qdbus_cast<QVariantMap>(argument);
}

std::optional<ScriptedTrack> trackFrom(const QVariantMap& metadata) {
    const QString trackId = shortText(metadata.value(u"mpris:trackid"_qs)).value_or(QString());
    if (saysNoTrack(trackId))
        return std::nullopt;
    ScriptedTrack track;
    track.url = address(metadata.value(u"xesam:url"_qs));
    track.id = identityOf(trackId, track.url.value_or(QString()));
    track.name = shortText(metadata.value(u"xesam:title"_qs));
    track.album = shortText(metadata.value(u"xesam:album"_qs));
    track.artist = joinedText(metadata.value(u"xesam:artist"_qs));
    track.duration = secondsFrom(metadata.value(u"mpris:length"_qs));
    if (track.duration == 0.0)
        track.duration.reset();
    track.number = trackNumber(metadata.value(u"xesam:trackNumber"_qs));
    completeFileTrack(track, track.url.value_or(QString()));
    if (isAdvertisement(track.id))
        fillIn(track);
    return track == ScriptedTrack() ? std::nullopt : std::optional(track);
}

std::optional<QString> identityOf(const QString& trackId, const QString& url) {
    auto byId = spotifyItem(trackId);
    auto byAddress = spotifyItem(url);
    // The one may name the advertisement, the other what it is for.
    if (isAdvertisement(byAddress) || (byAddress && !byId))
        return byAddress;
    if (byId)
        return byId;
    if (!url.isEmpty())
        return url;
    return trackId.isEmpty() || saysNoTrack(trackId) ? std::nullopt : std::optional(trackId);
}

std::optional<QString> trackPathFrom(const QVariantMap& metadata) {
    static const QRegularExpression objectPath(u"^(?:/[A-Za-z0-9_]+)+$"_qs);
    auto path = shortText(metadata.value(u"mpris:trackid"_qs));
    if (!path || saysNoTrack(*path) || !objectPath.match(*path).hasMatch())
        return std::nullopt;
    return path;
}

std::optional<QString> artUrlFrom(const QVariantMap& metadata) {
    const auto url = textFrom(metadata.value(u"mpris:artUrl"_qs));
    return url && !url->isEmpty() ? url : std::nullopt;
}

std::optional<int> ratingFrom(const QVariantMap& metadata) {
    const auto rating = numberFrom(metadata.value(u"xesam:userRating"_qs));
    if (!rating || *rating < 0 || *rating > 1)
        return std::nullopt;
    return static_cast<int>(std::lround(*rating * 100));
}

std::optional<double> secondsFrom(const QVariant& microseconds) {
    const auto number = numberFrom(microseconds);
    if (!number || *number < 0 || *number > kLongestSeconds * kMicroseconds)
        return std::nullopt;
    return *number / kMicroseconds;
}

} // namespace merlode::mpris
