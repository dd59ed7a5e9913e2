#pragma once

#include <QImage>

#include <cstdint>

namespace merlode {

/// A square cover of 600 pixels: a motif in colours of its own for each number. Any thread, no display.
QImage paintDemoCover(int number);

} // namespace merlode
