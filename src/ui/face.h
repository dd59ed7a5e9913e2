#pragma once

#include "platform/status_item.h"
#include "ui/status_item_view.h"
#include "ui/window.h"

#include <memory>
#include <optional>

namespace merlode {

class PanelViewController;

/// The panel's window, which is a drop-down beside the item in the bar or, on a desktop without a bar, a
/// small window among the others.
class PanelWindowPart : public Window {
  public:
    /// Whether it is a window among the others, which stays until it is closed. Takes effect while hidden.
    virtual void setStandalone(bool standalone) = 0;
};

/// Makes the windows and the parts of the item that need a display. Main thread.
class Face {
  public:
    virtual ~Face() = default;

    /// Draws what the controller says, as its view and window.
    virtual std::unique_ptr<PanelWindowPart> makePanelWindow(PanelViewController& controller) = 0;
    // Null for a window that this program does not have.
    virtual std::unique_ptr<Window> makeMainWindow() { return nullptr; }
    virtual std::unique_ptr<Window> makeSettingsWindow() { return nullptr; }
    virtual std::unique_ptr<Window> makeLastFMWindow() { return nullptr; }

    /// Asks the user for a folder, beginning at `from`; `done` is called with its path, or not at all.
    /// Returns at once.
    virtual void chooseFolder(const QString& title, const QString& from,
                              std::function<void(const QString& folder)> done) = 0;

    /// An item of the older kind that X11 bars show; null where there is no such bar.
    virtual std::unique_ptr<StatusItem> makeFallbackItem(StatusItem::Events events) = 0;

    /// The item's image in points, and its picture for a state; `textColor` is the bar's.
    virtual QSizeF statusImageSize() const = 0;
    virtual StatusIcon statusIcon(StatusItemViewState state, const QColor& textColor) = 0;
    /// Points that a text takes in the bar's font of this size.
    virtual double widthOfString(const QString& text, double fontSize) = 0;

    /// The screen at a place that a bar has told, in the unit that the bar has, and that place in points.
    struct Place {
        QPoint point;
        Screen screen;
    };
    virtual Place placeOf(const QPoint& told) = 0;
    virtual Screen mainScreen() = 0;
};

} // namespace merlode
