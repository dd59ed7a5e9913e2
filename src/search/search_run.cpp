#include "search/search_run.h"

#include "base/session.h"
#include "model/item_link.h"
#include "search/library_step.h"

namespace merlode {

namespace {

double uptime() {
    return Session::current().runLoop().uptime();
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
    results_.tracks = findings_.tracks.items();
    results_.albums = findings_.albums.items();
    results_.pandora = findings_.pandora;
    pickTopItems(results_, plan_.preferredService, plan_.numberTopItems);
    for (const auto& track : results_.topTracks)
        track->getPlayKeys();
    for (const auto& album : results_.topAlbums)
        album->getPlayKeys();
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

} // namespace merlode
