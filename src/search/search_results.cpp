#include "search/search_results.h"

#include <algorithm>

namespace merlode {

namespace {

template<class Item, class Copy>
std::vector<std::shared_ptr<Item>> topOf(const std::vector<std::shared_ptr<Item>>& items,
                                         ItemSourceType preferred, std::size_t most, Copy copy) {
    std::vector<std::shared_ptr<Item>> top;
    const auto pick = [&](auto accepts) {
        for (const auto& item : items) {
            if (top.size() == most)
                return;
            if (accepts(*item))
                top.push_back(copy(*item));
        }
    };
    pick([preferred](const Item& item) { return item.sourceType().contains(preferred); });
    if (top.empty())
        pick([](const Item&) { return true; });
    return top;
}

} // namespace

void pickTopItems(SearchResults& results, MusicItemSourceType preferredService, std::size_t numberTopItems) {
    const auto preferred = sourceOf(preferredService);
    results.topTracks = topOf(results.tracks, preferred, numberTopItems,
                              [](const Track& track) { return Track::copyTrack(track); });
    results.topAlbums = topOf(results.albums, preferred, numberTopItems,
                              [](const Album& album) { return Album::copyAlbum(album); });
    const auto count = std::min(numberTopItems, results.pandora.size());
    results.topPandora.assign(results.pandora.begin(),
                              results.pandora.begin() + static_cast<std::ptrdiff_t>(count));
}

} // namespace merlode
