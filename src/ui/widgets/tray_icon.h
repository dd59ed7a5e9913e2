#pragma once

#include "base/run_loop.h"
#include "platform/status_item.h"

#include <QMenu>
#include <QSystemTrayIcon>

#include <memory>

namespace merlode {

/// An item in bars of the older kind, that X11 programs put their own small window into. Shows no text beside
/// the icon.
class TrayIcon final : public QObject, public StatusItem {
    Q_OBJECT
  public:
    /// Whether there is such a bar at the moment.
    static bool isAvailable() { return QSystemTrayIcon::isSystemTrayAvailable(); }

    TrayIcon(RunLoop& loop, Events events);

    void setIcon(const StatusIcon& icon) override;
    void setText(const QString&, const QString&) override {}
    void setToolTip(const QString& title, const QString& text) override;
    void setMenu(std::vector<MenuEntry> entries) override;
    std::optional<bool> isShown() const override { return isAvailable(); }

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void activated(QSystemTrayIcon::ActivationReason reason);
    void later(std::function<void()> work);

    RunLoop& loop_;
    Events events_;
    QMenu menu_;
    std::vector<MenuEntry> entries_; ///< shown when the menu opens
    QSystemTrayIcon icon_;
    int wheel_ = 0; ///< eighths of a degree that make no notch yet
    std::shared_ptr<char> life_ = std::make_shared<char>();
};

} // namespace merlode
