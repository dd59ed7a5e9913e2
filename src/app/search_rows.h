#pragma once

#include "app/control_service.h"
#include "app/diverted_alerts.h"
#include "search/playable_item.h"

#include <QJsonObject>

#include <functional>
#include <memory>
#include <variant>
#include <vector>

namespace merlode {

/// Searches for whoever asks over the bus, and plays what was found by its row. Rows are numbered from 1
/// through tracks, albums and stations, and keep their numbers until the next search has finished, whoever
/// began it. Main thread.
class SearchRows {
  public:
    using Answer = std::variant<QString, ControlError>;

    SearchRows(Session& session, DivertedAlerts& alerts);

    /// Searches and calls back with the results as JSON; with an error when another search takes its place.
    void search(const QString& term, std::function<void(const Answer&)> done);

    /// Plays a row, on the named service or where it suits best. Gives a message for people, which may be
    /// empty.
    Answer play(uint row, const QString& service);

  private:
    void searchBegan();
    void searchFinished();
    void numberRows();
    QJsonObject json() const;

    Session& session_;
    DivertedAlerts& alerts_;
    QString term_; ///< last searched for here; the controller forgets it when a host does not answer
    std::vector<PlayableItem> rows_;
    std::function<void(const Answer&)> waiting_;
    std::vector<Observation> observations_;
};

} // namespace merlode
