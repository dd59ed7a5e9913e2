#pragma once

#include "platform/status_item.h"

#include <QString>

#include <functional>
#include <vector>

namespace merlode {

/// The button that tells which machine's players are controlled, and the menu by which another is chosen.
/// Main thread.
class RemoteClientControl {
  public:
    static constexpr double kMostButtonWidth = 400.0; ///< points
    static constexpr double kTextMargin = 6.0;        ///< points around the button's text

    explicit RemoteClientControl(std::function<void()> fixFirstResponderStatus)
        : fixFirstResponderStatus_(std::move(fixFirstResponderStatus)) {}

    /// "Connected to " and the host's name, or "Local".
    QString text() const;

    /// Points that the button takes, for a text of this width and the button's own arrow.
    static double buttonWidth(double textWidth, double arrowWidth);

    /// Repairs the focus of the window, begins a look around for hosts, and gives the menu as it is now.
    std::vector<MenuEntry> triangleButtonSelected();

    /// "Disconnect" where there is a connection, then the known hosts; the one that is connected has a tick.
    /// Without any it tells that they are looked for. Changes with "SocketHostListDidChange".
    std::vector<MenuEntry> remoteClientMenu();

    /// Connects to the host of this name, unless that is the one that is connected.
    void clientMenuItemSelected(const QString& title);
    /// Controls the players of this machine again.
    void clientMenuItemLocal();

  private:
    std::function<void()> fixFirstResponderStatus_;
};

} // namespace merlode
