#pragma once

#include "platform/desktop_settings.h"
#include "support/neighbourhood.h"
#include "ui/links.h"
#include "ui/window_controllers.h"

namespace merlode {

/// A window that a test looks at.
class FakeWindow : public PanelWindowPart {
  public:
    QRect place{0, 0, 340, 200};
    bool visible = false;
    bool key = false;
    bool standalone = false;
    bool animated = false; ///< how it was resized last

    QRect frame() const override { return place; }
    void setFrame(const QRect& frame, bool animate) override {
        place = frame;
        animated = animate;
    }
    bool isVisible() const override { return visible; }
    bool isKey() const override { return visible && key; }
    void makeKeyAndOrderFront() override { visible = key = true; }
    void orderOut() override { visible = key = false; }
    void setStandalone(bool alone) override { standalone = alone; }
};

/// An item whose bar is the test.
class FakeStatusItem final : public StatusItem {
  public:
    explicit FakeStatusItem(Events does) : events(std::move(does)) {}

    Events events;
    StatusIcon icon;
    QString text, toolTip;
    std::vector<MenuEntry> menu;
    std::optional<bool> shown;

    void setIcon(const StatusIcon& shownIcon) override { icon = shownIcon; }
    void setText(const QString& shownText, const QString&) override { text = shownText; }
    void setToolTip(const QString& title, const QString& details) override {
        toolTip = title + u'|' + details;
    }
    void setMenu(std::vector<MenuEntry> entries) override { menu = std::move(entries); }
    std::optional<bool> isShown() const override { return shown; }

    /// The bar has come, or gone.
    void show(bool isThere) {
        shown = isThere;
        events.shownChanged(isThere);
    }
    const MenuEntry* entry(const QString& named) const {
        const auto found = std::ranges::find(menu, named, &MenuEntry::text);
        return found == menu.end() ? nullptr : &*found;
    }
};

class FakeDesktopSettings final : public DesktopSettings {
  public:
    ColorScheme scheme = ColorScheme::NoPreference;
    bool reduced = false;
    ColorScheme colorScheme() const override { return scheme; }
    bool reducedMotion() const override { return reduced; }
};

/// Windows and items without a display, on one screen with a bar at its top.
class FakeFace final : public Face {
  public:
    /// What it has made, for as long as the test keeps the one who owns them.
    FakeWindow* panel = nullptr;
    FakeWindow* main = nullptr;
    FakeWindow* settings = nullptr;
    FakeStatusItem* fallback = nullptr;
    bool hasWindows = false;
    bool hasOldBar = false;
    Screen screen{{0, 0, 1000, 800}, {0, 30, 1000, 770}};

    std::unique_ptr<PanelWindowPart> makePanelWindow(PanelViewController&) override { return made(panel); }
    std::unique_ptr<Window> makeMainWindow() override { return hasWindows ? made(main) : nullptr; }
    std::unique_ptr<Window> makeSettingsWindow() override { return hasWindows ? made(settings) : nullptr; }
    std::unique_ptr<StatusItem> makeFallbackItem(StatusItem::Events events) override {
        if (!hasOldBar)
            return nullptr;
        auto item = std::make_unique<FakeStatusItem>(std::move(events));
        fallback = item.get();
        return item;
    }
    QString chosenFolder = u"/elsewhere"_qs;
    void chooseFolder(const QString&, const QString&, std::function<void(const QString&)> done) override {
        done(chosenFolder);
    }
    QSizeF statusImageSize() const override { return {22, 22}; }
    StatusIcon statusIcon(StatusItemViewState state, const QColor&) override {
        return {state == StatusItemViewState::Off ? u"open"_qs : u"closed"_qs, {}};
    }
    double widthOfString(const QString& text, double) override { return 10.0 * double(text.size()); }
    Place placeOf(const QPoint& pixel) override { return {pixel, screen}; }
    Screen mainScreen() override { return screen; }

  private:
    static std::unique_ptr<FakeWindow> made(FakeWindow*& window) {
        auto owned = std::make_unique<FakeWindow>();
        window = owned.get();
        return owned;
    }
};

/// A machine with all that its windows ask.
class FaceMachine : public NeighbourMachine, public HotkeysLink, public FavoritesLink {
  public:
    FaceMachine() : FaceMachine(std::make_unique<Surroundings>()) {}

    void setHotkeysEnabled(bool enabled) override { hotkeys << enabled; }
    bool isAvailable() const override { return keepsFavorites; }
    void toggleFavoriteTrack(const std::shared_ptr<Track>&) override { ++toggledFavorites; }

    QList<bool> hotkeys;
    bool keepsFavorites = false;
    int toggledFavorites = 0;
    FakeDesktopSettings look;

  private:
    struct Surroundings {
        VirtualRunLoop wire;
        InMemoryNetwork network{wire};
        MemoryServices services;
    };
    explicit FaceMachine(std::unique_ptr<Surroundings> around)
        : NeighbourMachine(around->network, around->services, u"10.0.0.1"_qs, u"Den"_qs),
          around_(std::move(around)) {
        test.session.installReference<DesktopSettings>(look);
        test.session.installReference<HotkeysLink>(*this);
        test.session.installReference<FavoritesLink>(*this);
    }

    std::unique_ptr<Surroundings> around_;
};

} // namespace merlode
