#pragma once

#include <QImage>
#include <QPoint>
#include <QString>

#include <functional>
#include <optional>
#include <vector>

namespace merlode {

/// An entry of a menu, as whoever shows the menu needs it. A value.
struct MenuEntry {
    QString text; ///< as it is shown: "&" stands for itself; empty for a line between entries
    bool enabled = true;
    std::optional<bool> checked;     ///< for an entry with a tick, whether it is set
    std::function<void()> action;    ///< called on the main thread when the entry is chosen
    std::vector<MenuEntry> children; ///< not empty for an entry that opens another menu

    bool isSeparator() const { return text.isEmpty(); }
};

/// The picture of an item in the bar. Desktops take the name where their icon theme or the item's own folder
/// has it, else the picture of the size that suits them.
struct StatusIcon {
    QString name;
    std::vector<QImage> pictures; ///< square, one a size
};

/// An item of the program in the desktop's bar. It comes and goes with the bar that shows it; what it is told
/// meanwhile is shown when a bar is there. Main thread.
class StatusItem {
  public:
    /// What the user does with the item, and what becomes of it; all through the run loop. Each may be empty.
    struct Events {
        /// A click; `where` on the screens, in their own pixels, where the bar tells.
        std::function<void(std::optional<QPoint> where)> selected;
        /// A click with the middle button.
        std::function<void()> secondarySelected;
        /// The wheel was turned over the item, by so many notches; above 0 away from the user.
        std::function<void(int notches)> scrolled;
        /// The menu is about to be shown: entries can still be changed by `setMenu`.
        std::function<void()> menuWillOpen;
        /// Whether a bar shows the item has changed, or has been found out for the first time.
        std::function<void(bool shown)> shownChanged;
    };

    virtual ~StatusItem() = default;

    virtual void setIcon(const StatusIcon& icon) = 0;
    /// The text beside the icon, in bars that show one; empty for none. `guide` is a text of the width that
    /// the bar should keep for it, so that nothing moves about while the text changes.
    virtual void setText(const QString& text, const QString& guide) = 0;
    /// What pointing at the item shows, and screen readers say.
    virtual void setToolTip(const QString& title, const QString& text) = 0;
    virtual void setMenu(std::vector<MenuEntry> entries) = 0;

    /// Whether a bar shows the item; nothing while that is not known yet.
    virtual std::optional<bool> isShown() const = 0;
};

} // namespace merlode
