#pragma once

#include "search/playable_item.h"

#include <QString>

#include <vector>

namespace merlode {

/// A service as people know it.
QString serviceName(MusicItemSourceType service);

/// A row in a list of results: how an item is shown, and where it can be played. A value; main thread.
struct ResultRow {
    PlayableItem item;
    QString title;
    QString detail; ///< the second line; may be empty

    /// Those that are known to have it by now, in their fixed order: items go on looking after the search.
    std::vector<MusicItemSourceType> services() const;

    /// For somebody who hears the row: title, detail and services.
    QString spokenText() const;
};

ResultRow resultRowOf(const PlayableItem& item);

} // namespace merlode
