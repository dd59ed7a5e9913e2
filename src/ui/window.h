#pragma once

#include <QRect>

namespace merlode {

/// A window of the program, as the code that decides about windows sees it. Rectangles are on the desktop, in
/// points, y downwards. Main thread.
///
/// Whoever implements it posts "NSWindowDidResignKeyNotification" and "NSWindowWillCloseNotification" on the
/// session's notification centre, with the window as the object.
class Window {
  public:
    virtual ~Window() = default;
    virtual QRect frame() const = 0;
    /// Moves and resizes; with `animate` in a short movement, where the user does not mind movement.
    virtual void setFrame(const QRect& frame, bool animate) = 0;
    virtual bool isVisible() const = 0;
    /// Whether the window has the keyboard.
    virtual bool isKey() const = 0;
    /// Shows the window in front of the others and gives it the keyboard.
    virtual void makeKeyAndOrderFront() = 0;
    /// Takes the window off the screen; it keeps all that it shows.
    virtual void orderOut() = 0;
};

/// A screen of the desktop, in points.
struct Screen {
    QRect frame;
    QRect visibleFrame; ///< without the bars
};

} // namespace merlode
