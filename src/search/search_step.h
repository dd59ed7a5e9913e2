#pragma once

#include "model/album.h"
#include "model/pandora_item.h"
#include "model/track.h"
#include "platform/http_client.h"
#include "search/folded_list.h"

#include <functional>
#include <optional>

namespace merlode {

/// What a search has found so far. The steps of the services add to it one after the other.
struct SearchFindings {
    FoldedList<Track> tracks;
    FoldedList<Album> albums;
    std::vector<PandoraItem> pandora; ///< in the order of the reply
};

/// What a step works with. A step runs on the search's thread and may block; between its parts it asks
/// whether the search was cancelled, and then leaves at once.
struct SearchStep {
    const QString& term;
    const std::function<bool()>& isCancelled;
    const HttpCancellation& cancellation;
    SearchFindings& findings;
};

/// Why a service gave nothing, in words for people; nothing when it answered, whether or not with results.
using StepFailure = std::optional<QString>;

/// The most items of a kind that Spotify is asked for.
inline constexpr int kSpotifyResultLimit = 35;
/// Seconds that Rdio may take.
inline constexpr double kRdioTimeOut = 30.0;
/// Seconds that Pandora may take.
inline constexpr double kPandoraSearchTimeoutInterval = 10.0;

/// Tracks and albums of Spotify's catalogue. Its search does not tell the artist of an album, so each album
/// is asked for by itself; one of which that fails stays without an artist.
StepFailure searchSpotify(const SearchStep& step);

/// Tracks and albums of Rdio, with a token of its own.
StepFailure searchRdio(const SearchStep& step);

/// What Pandora can make a station of.
StepFailure searchPandora(const SearchStep& step);

} // namespace merlode
