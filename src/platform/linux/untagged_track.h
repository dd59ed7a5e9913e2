#pragma once

#include "platform/scripted_player.h"

namespace merlode {

/// Gives a file's track what its tags leave out, as people and the rest of the program expect it: an absent
/// title becomes the file's name, an absent artist or album an empty text. A track that is no file (a stream,
/// a web service's) stays as the player told it: there an absent text means that the player does not know it.
///
/// `location` is the file's address ("file:///..."), its path, or its place in the player's library.
void completeFileTrack(ScriptedTrack& track, const QString& location);

} // namespace merlode
