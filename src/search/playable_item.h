#pragma once

#include "model/item_source_type.h"
#include "model/pandora_item.h"

#include <memory>
#include <optional>
#include <variant>

namespace merlode {

class Album;
class Track;

/// What a search finds and somebody can choose from a list of results.
using PlayableItem = std::variant<std::shared_ptr<Track>, std::shared_ptr<Album>, PandoraItem>;

/// The services that are known to have it. Any thread.
ItemSourceType sourcesOf(const PlayableItem& item);

/// Plays it on this service, or with none where it suits best. Main thread.
void playItem(const PlayableItem& item, std::optional<MusicItemSourceType> service);

} // namespace merlode
