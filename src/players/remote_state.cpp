#include "players/remote_state.h"

#include <QRegularExpression>

#include <cmath>
#include <limits>

namespace merlode::remotestate {

namespace {

template<class T>
std::optional<T> typed(const QVariantMap& message, const QString& key) {
    const auto found = message.constFind(key);
    if (found == message.constEnd() || found->typeId() != QMetaType::fromType<T>().id())
        return std::nullopt;
    return found->template value<T>();
}

std::optional<QString> textOfForm(const QVariantMap& message, const QString& key,
                                  const QRegularExpression& form) {
    auto found = typed<QString>(message, key);
    return found && form.match(*found).hasMatch() ? found : std::nullopt;
}

bool isNumber(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Float:
    case QMetaType::Double:
        return true;
    default:
        return false;
    }
}

} // namespace

std::optional<int> integer(const QVariantMap& message, const QString& key) {
    const QVariant value = message.value(key);
    if (!isNumber(value))
        return std::nullopt;
    const double number = std::trunc(value.toDouble());
    // Written so that it is false for what is no number at all.
    if (!(number >= std::numeric_limits<int>::min() && number <= std::numeric_limits<int>::max()))
        return std::nullopt;
    return static_cast<int>(number);
}

std::optional<bool> flag(const QVariantMap& message, const QString& key) {
    return typed<bool>(message, key);
}

std::optional<QString> text(const QVariantMap& message, const QString& key) {
    return typed<QString>(message, key);
}

std::optional<QString> iTunesPlayKey(const QVariantMap& item) {
    return text(item, QStringLiteral("iTunesPlayKey"));
}

std::optional<QString> spotifyPlayKey(const QVariantMap& item) {
    static const QRegularExpression form(QStringLiteral("\\Aspotify(:[A-Za-z0-9_-]{1,64}){2,5}\\z"));
    return textOfForm(item, QStringLiteral("spotifyPlayKey"), form);
}

std::optional<QString> rdioPlayKey(const QVariantMap& item) {
    static const QRegularExpression form(QStringLiteral("\\A[a-z]{1,2}[0-9]{1,18}\\z"));
    return textOfForm(item, QStringLiteral("rdioPlayKey"), form);
}

std::optional<QVariantMap> dictionary(const QVariantMap& message, const QString& key) {
    return typed<QVariantMap>(message, key);
}

std::optional<QVariantList> list(const QVariantMap& message, const QString& key) {
    return typed<QVariantList>(message, key);
}

std::optional<Position> position(const QVariantMap& message) {
    const auto duration = integer(message, QStringLiteral("trackDuration"));
    const auto position = integer(message, QStringLiteral("playerPosition"));
    if (!duration || !position || *duration < 0 || *position < 0)
        return std::nullopt;
    return Position{*duration, *position};
}

std::optional<Availability> availability(const QVariantMap& message) {
    const auto iTunes = flag(message, QStringLiteral("iTunesAvailable"));
    const auto spotify = flag(message, QStringLiteral("SpotifyAvailable"));
    const auto rdio = flag(message, QStringLiteral("RdioAvailable"));
    const auto pandora = flag(message, QStringLiteral("PandoraAvailable"));
    if (!iTunes || !spotify || !rdio || !pandora)
        return std::nullopt;
    return Availability{*iTunes, *spotify, *rdio, *pandora};
}

std::optional<TrackState> trackState(const QVariantMap& message) {
    const auto source = text(message, QStringLiteral("source"));
    const auto available = availability(message);
    // Without the dictionary nothing plays; something else under its name is no message of ours.
    const QVariant dictionary = message.value(QStringLiteral("trackDictionary"));
    if (!source || !available || (dictionary.isValid() && dictionary.typeId() != QMetaType::QVariantMap))
        return std::nullopt;
    const QVariantMap track = dictionary.toMap();
    const auto name = text(track, QStringLiteral("trackName"));
    const auto album = text(track, QStringLiteral("albumName"));
    const auto artist = text(track, QStringLiteral("artistName"));
    if (dictionary.isValid() && (!name || !album || !artist))
        return std::nullopt;
    TrackState state;
    state.trackName = name.value_or(QString());
    state.albumName = album.value_or(QString());
    state.artistName = artist.value_or(QString());
    state.iTunesPlayKey = iTunesPlayKey(track);
    state.rdioPlayKey = rdioPlayKey(track);
    state.spotifyPlayKey = spotifyPlayKey(track);
    state.source = musicItemSourceTypeFromRawValue(*source);
    state.available = *available;
    state.pandoraStationName = text(message, QStringLiteral("pandoraStationName"));
    state.clientName = text(message, QStringLiteral("ClientName"));
    state.position = position(message);
    state.rating = integer(message, QStringLiteral("iTunesRating"));
    if (state.rating && (*state.rating < 0 || *state.rating > 100))
        state.rating.reset();
    return state;
}

} // namespace merlode::remotestate
