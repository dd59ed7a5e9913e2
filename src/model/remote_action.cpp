#include "model/remote_action.h"

#include <algorithm>
#include <array>

namespace merlode {

namespace {

// In the order of the enumeration.
constexpr std::array kRawValues = {
    QStringView(u"trackChanged"),
    QStringView(u"albumArtChanged"),
    QStringView(u"playBackStateChanged"),
    QStringView(u"setVolume"),
    QStringView(u"playPause"),
    QStringView(u"previousTrack"),
    QStringView(u"nextTrack"),
    QStringView(u"playTrack"),
    QStringView(u"playAlbum"),
    QStringView(u"remoteSearch"),
    QStringView(u"processSearchResults"),
    QStringView(u"showAlert"),
    QStringView(u"requestBroadcast"),
    QStringView(u"notifyAddedToFavorites"),
    QStringView(u"reportAddedToFavorites"),
    QStringView(u"findAndPlayTrack"),
    QStringView(u"findAndPlayAlbum"),
    QStringView(u"playerPosition"),
    QStringView(u"remoteSourceChanged"),
    QStringView(u"remoteSearchiTunesForAlbum"),
    QStringView(u"remoteSearchiTunesForTrack"),
    QStringView(u"processRemoteiTunesSearchAlbum"),
    QStringView(u"processRemoteiTunesSearchTrack"),
    QStringView(u"playPandoraItem"),
    QStringView(u"playPandoraStation"),
    QStringView(u"pandoraStationsChanged"),
    QStringView(u"remoteThumbsPandora"),
    QStringView(u"remoteiTunesRating"),
    QStringView(u"pandoraThumbsUpdated"),
    QStringView(u"itunesRatingUpdated"),
    QStringView(u"pandoraStationNameUpdated"),
};
static_assert(kRawValues.size() == kRemoteActionCount);
static_assert(static_cast<int>(RemoteAction::pandoraStationNameUpdated) == kRemoteActionCount - 1);

} // namespace

QString rawValue(RemoteAction action) {
    return kRawValues.at(static_cast<std::size_t>(action)).toString();
}

std::optional<RemoteAction> remoteActionFromRawValue(QStringView rawValue) {
    const auto found = std::find(kRawValues.begin(), kRawValues.end(), rawValue);
    if (found == kRawValues.end())
        return std::nullopt;
    return static_cast<RemoteAction>(found - kRawValues.begin());
}

} // namespace merlode
