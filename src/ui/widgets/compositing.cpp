#include "ui/widgets/compositing.h"

#include <QGuiApplication>

#include <cstdlib>
#include <memory>

#include <xcb/xcb.h>

namespace merlode {

namespace {

template<class Reply>
using Freed = std::unique_ptr<Reply, decltype(&std::free)>;

template<class Reply>
Freed<Reply> freed(Reply* reply) {
    return {reply, &std::free};
}

} // namespace

// A compositing manager owns a selection named for its screen; there is one screen to a display nowadays.
bool isComposited() {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    auto* connection = x11 ? x11->connection() : nullptr;
    if (!connection)
        return true; // Wayland, or a picture in memory
    constexpr std::string_view name = "_NET_WM_CM_S0";
    const auto asked = xcb_intern_atom(connection, 1, static_cast<std::uint16_t>(name.size()), name.data());
    const auto atom = freed(xcb_intern_atom_reply(connection, asked, nullptr));
    if (!atom || atom->atom == XCB_ATOM_NONE)
        return false;
    const auto owner = freed(
        xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, atom->atom), nullptr));
    return owner && owner->owner != XCB_WINDOW_NONE;
}

} // namespace merlode
