#pragma once

#include "platform/status_item.h"

#include <functional>
#include <vector>

namespace merlode {

class NowPlayingControls;
class UserDefaults;
class Session;

/// What the item's menu leads to; an empty function stands for what is not there, and has no entry.
struct StatusMenuActions {
    std::function<void()> openPanel;
    std::function<void()> openWindow;
    std::function<void()> openSettings;
    std::function<void()> quit;
};

/// The menu of the item in the bar, as it is to be now: what plays, the transport, the way in, the settings
/// of the item itself, and the end. Main thread.
std::vector<MenuEntry> statusMenu(Session& session, NowPlayingControls& controls,
                                  const StatusMenuActions& actions);

} // namespace merlode
