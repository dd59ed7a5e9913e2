#include "search/search_run.h"

#include "base/session.h"
#include "model/item_link.h"
#include "search/library_step.h"

#include <algorithm>

namespace merlode {

namespace {

double uptime() {
    return Session::current().runLoop().uptime();
}

ItemSourceType sourceOf(MusicItemSourceType service) {
    switch (service) {
    case MusicItemSourceType::Spotify:
        return ItemSourceType::Spotify;
    case MusicItemSourceType::Rdio:
        return ItemSourceType::Rdio;
    case MusicItemSourceType::Pandora:
        return ItemSourceType::Pandora;
    default:
        return ItemSourceType::iTunes;
    }
}

// Copies of the first items that the preferred service has or, if it has none, of the first ones at all. They
// look for their keys themselves, since the rows below are others.
template<class Item, class Copy>
std::vector<std::shared_ptr<Item>> topOf(const std::vector<std::shared_ptr<Item>>& items,
                                         const SearchPlan& plan, Copy copy) {
    std::vector<std::shared_ptr<Item>> top;
    const auto pick = [&](auto accepts) {
        for (const auto& item : items) {
            if (top.size() == plan.numberTopItems)
                return;
            if (accepts(*item))
                top.push_back(copy(*item));
        }
    };
    const auto preferred = sourceOf(plan.preferredService);
    pick([preferred](const Item& item) { return item.sourceType().contains(preferred); });
    if (top.empty())
        pick([](const Item&) { return true; });
    for (const auto& item : top)
        item->getPlayKeys();
    return top;
}

} // namespace

void SearchRun::execute() {
    const double start = uptime();
    // Results of the library come first, so that in every fold the library's item is the one that stays.
    if (plan_.services.contains(ItemSourceType::iTunes))
        timed(MusicItemSourceType::iTunes, [this](const SearchStep& step) { return askLibrary(step); });
    askService(MusicItemSourceType::Spotify, searchSpotify);
    askService(MusicItemSourceType::Rdio, searchRdio);
    askService(MusicItemSourceType::Pandora, searchPandora);
    if (isCancelled())
        return;
    pickTopItems();
    results_.tracks = findings_.tracks.items();
    results_.albums = findings_.albums.items();
    results_.pandora = findings_.pandora;
    results_.seconds = uptime() - start;
    finished_ = !isCancelled();
}

void SearchRun::askService(MusicItemSourceType service, StepFailure (*ask)(const SearchStep&)) {
    if (plan_.services.contains(sourceOf(service)))
        timed(service, ask);
}

template<class Ask>
void SearchRun::timed(MusicItemSourceType service, Ask ask) {
    if (isCancelled())
        return;
    const double start = uptime();
    const std::function<bool()> cancelled = [this] { return isCancelled(); };
    auto failure = ask(SearchStep{plan_.term, cancelled, cancellation_, findings_});
    results_.steps.push_back({service, uptime() - start, std::move(failure)});
}

StepFailure SearchRun::askLibrary(const SearchStep& step) const {
    const auto songs = Session::current().port<ItemLink>().iTunesSongs();
    searchLibrary(*songs, step.term, step.isCancelled, step.findings.tracks, step.findings.albums);
    return std::nullopt;
}

void SearchRun::pickTopItems() {
    results_.topTracks =
        topOf(findings_.tracks.items(), plan_, [](const Track& track) { return Track::copyTrack(track); });
    results_.topAlbums =
        topOf(findings_.albums.items(), plan_, [](const Album& album) { return Album::copyAlbum(album); });
    const auto count = std::min(plan_.numberTopItems, findings_.pandora.size());
    results_.topPandora.assign(findings_.pandora.begin(),
                               findings_.pandora.begin() + static_cast<std::ptrdiff_t>(count));
}

} // namespace merlode
