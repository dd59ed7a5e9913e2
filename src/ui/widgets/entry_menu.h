#pragma once

#include "platform/status_item.h"

#include <QMenu>

#include <vector>

namespace merlode {

/// Fills the menu with the entries, in place of what was there.
void fillMenu(QMenu& menu, const std::vector<MenuEntry>& entries);

} // namespace merlode
