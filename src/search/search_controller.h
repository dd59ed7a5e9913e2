#pragma once

#include "base/operation_queue.h"
#include "base/run_loop.h"
#include "model/item_source_type.h"
#include "search/art_search.h"
#include "search/search_run.h"

#include <QString>

#include <memory>
#include <optional>
#include <vector>

namespace merlode {

class UserDefaults;

/// By what the user sorts a list of results.
enum class SortType { Name, Artist, Album };
enum class SortDirection { AZ, ZA };

/// The one search over everything: the local library, Spotify, Pandora (and Rdio, whose step is switched
/// off), one after the other on one background operation, which hands over six finished lists at once. A new
/// search stops a running one. On a client the host searches its library instead, and this machine, as a
/// host, searches its own for its clients. Main thread.
class SearchController {
  public:
    static SearchController& sharedController();

    SearchController();
    ~SearchController();
    SearchController(const SearchController&) = delete;
    SearchController& operator=(const SearchController&) = delete;

    const std::size_t kNumberTopSearchItems = 3; ///< length of each top list
    const double kRemoteSearchTimeOut = 20.0;    ///< seconds that a host may take to answer a client's search

    /// The results of the last finished search; empty while one runs.
    const std::vector<std::shared_ptr<Track>>& searchTracks() const { return results_.tracks; }
    const std::vector<std::shared_ptr<Album>>& searchAlbums() const { return results_.albums; }
    const std::vector<PandoraItem>& searchPandora() const { return results_.pandora; }
    const std::vector<std::shared_ptr<Track>>& topSearchTracks() const { return results_.topTracks; }
    const std::vector<std::shared_ptr<Album>>& topSearchAlbums() const { return results_.topAlbums; }
    const std::vector<PandoraItem>& topSearchPandora() const { return results_.topPandora; }
    /// What became of each service that was asked, in the order of asking.
    const std::vector<StepReport>& stepReports() const { return results_.steps; }
    const QString& currentSearchTerm() const { return currentSearchTerm_; }
    double lastSearchTime() const { return lastSearchTime_; } ///< wall clock, seconds

    /// Searches; returns at once. "SearchControllerSearchAction" tells that the lists are empty now,
    /// "SearchControllerFinished" that they hold the results. On a client the host searches its library.
    void searchForTerm(const QString& term);

    /// As a host: searches the library for the client with this address, in the background, and sends it what
    /// was found and which services this machine has. Without the library service nothing is found. A search
    /// that comes while very many wait is passed over.
    void remoteSearchForTerm(const QString& term, const QString& address);

    /// Whether a host's answer to this search is being waited for: to an older one, or a late one, it is not.
    bool awaitsRemoteResults(const QString& term) const;

    /// As a client: merges a host's answer into the lists, unless nobody waits for it, and ends the search.
    /// The items look for their keys at those of the services on offer that can be asked from here.
    void processRemoteSearchResults(const QString& term, const std::vector<std::shared_ptr<Track>>& tracks,
                                    const std::vector<std::shared_ptr<Album>>& albums,
                                    ItemSourceType offered);

    /// Empties the lists and forgets the sorting. Tells of it by "SearchControllerSearchAction" when a search
    /// follows, else by "SearchControllerClearResults".
    void clearSearchResults(bool forSearch);

    /// Stops a running search, which then changes and tells nothing.
    void cancelSearch();

    /// The services that the user has enabled.
    ItemSourceType availableServices() const;
    /// The service whose results stand on top: Spotify, else Rdio, else always the library.
    MusicItemSourceType preferredService() const;
    /// Whether a host searches in place of this machine.
    bool isRemote() const;

    /// Sort the results by a field, capitals before small letters; again by the same field turns the
    /// direction over. The top lists stay as they are.
    void sortSearchTracks(SortType sortType);
    void sortPandoraItems(SortType sortType);
    std::optional<SortType> trackSortType() const { return trackSort_.type; }
    std::optional<SortDirection> trackSortDirection() const { return trackSort_.direction; }

    /// Find the art of the playing track, see `ArtSearch`.
    void findSpotifyAlbumArt(const QString& spotifyUrl) { art_.findSpotifyAlbumArt(spotifyUrl); }
    void findiTunesAlbumArt(const Track& track) { art_.findiTunesAlbumArt(track); }

  private:
    struct Sorting {
        std::optional<SortType> type;
        std::optional<SortDirection> direction;
        SortDirection chosen(SortType sortType);
    };

    void searchAtHost(const QString& term);
    void startRemoteSearchTimer();
    void stopRemoteSearchTimer();
    void remoteSearchTimerEnded();
    void reportOfHost(StepFailure failure);
    SearchPlan planFor(const QString& term) const;
    void startSearch(SearchPlan plan);
    void finished(const std::shared_ptr<SearchRun>& run);
    void post(NotificationName name);

    Session& session_;
    UserDefaults& defaults_;
    SearchResults results_;
    QString currentSearchTerm_;
    double lastSearchTime_;
    Sorting trackSort_;
    Sorting pandoraSort_;
    Timer remoteSearchTimer_;        ///< held while a host is searching
    double remoteSearchStartTime_;   ///< uptime
    std::shared_ptr<SearchRun> run_; ///< the search that is under way
    ArtSearch art_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true); ///< finished searches hold it weakly
    OperationQueue remoteSearchQueue_; ///< of the clients' searches, which do not wait for our own
    OperationQueue searchQueue_; // last, as the one before: their ends wait for work that uses the others
};

} // namespace merlode
