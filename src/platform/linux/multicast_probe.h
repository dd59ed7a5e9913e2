#pragma once

#include <QString>

namespace merlode {

/// Why services on the local network cannot be announced and found by this process itself, in words for
/// people; empty where they can be. Any thread; returns at once.
QString multicastProblem();

/// Whether there is a network, beside the machine itself, on which anybody could be found.
bool hasMulticastNetwork();

} // namespace merlode
