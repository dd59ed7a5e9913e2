#pragma once

#include "base/executor.h"

#include <memory>

namespace merlode {

/// An executor on real threads, for tests of what several threads do to one object. It is the program's own
/// pool, but under the thread sanitizer one of plain standard threads: Qt's library is not built for the
/// sanitizer, which therefore does not see that QThreadPool hands work over properly.
std::unique_ptr<Executor> makeThreadExecutor();

} // namespace merlode
