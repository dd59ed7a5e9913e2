#pragma once

#include "model/item_source_type.h"
#include "search/search_results.h"

#include <memory>
#include <vector>

namespace merlode {

/// What one search does, settled on the main thread when it begins.
struct SearchPlan {
    QString term;
    ItemSourceType services;                ///< that are asked
    MusicItemSourceType preferredService{}; ///< whose results stand on top
    std::size_t numberTopItems = 0;         ///< length of each top list
};

/// One search, on lists of its own, so that nobody sees the results of one that was stopped. Made on the main
/// thread, run on the search's, read on the main thread when it has finished.
class SearchRun {
  public:
    explicit SearchRun(SearchPlan plan) : plan_(std::move(plan)) {}

    /// Asks the services one after the other and picks the top items; leaves early once it is cancelled.
    void execute();

    /// Stops it soon, a request that is under way at once. Any thread.
    void cancel() { cancellation_.cancel(); }
    bool isCancelled() const { return cancellation_.isCancelled(); }

    /// Whether it came to its end without being cancelled.
    bool hasFinished() const { return finished_; }
    SearchResults takeResults() { return std::move(results_); }

  private:
    void askService(MusicItemSourceType service, StepFailure (*ask)(const SearchStep&));
    StepFailure askLibrary(const SearchStep& step) const;
    template<class Ask>
    void timed(MusicItemSourceType service, Ask ask);

    const SearchPlan plan_;
    HttpCancellation cancellation_;
    SearchFindings findings_;
    SearchResults results_;
    bool finished_ = false;
};

} // namespace merlode
