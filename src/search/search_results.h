#pragma once

#include "model/item_source_type.h"
#include "search/search_step.h"

#include <memory>
#include <vector>

namespace merlode {

/// What became of one service of a search.
struct StepReport {
    MusicItemSourceType service{};
    double seconds = 0;
    StepFailure failure; ///< nothing when it answered
};

/// What a search hands over.
struct SearchResults {
    std::vector<std::shared_ptr<Track>> tracks;
    std::vector<std::shared_ptr<Album>> albums;
    std::vector<PandoraItem> pandora;
    std::vector<std::shared_ptr<Track>> topTracks;
    std::vector<std::shared_ptr<Album>> topAlbums;
    std::vector<PandoraItem> topPandora;
    std::vector<StepReport> steps;
    double seconds = 0; ///< from the first step to the last
};

/// Fills the top lists anew: copies of the first items that the preferred service has or, if it has none, of
/// the first ones at all. They are to look for their keys themselves, since the rows below are others.
void pickTopItems(SearchResults& results, MusicItemSourceType preferredService, std::size_t numberTopItems);

} // namespace merlode
