#pragma once

#include "base/notification_center.h"
#include "ui/now_playing_controls.h"
#include "ui/panel_placing.h"
#include "ui/remote_client_control.h"
#include "ui/result_row.h"

#include <array>
#include <memory>
#include <vector>

namespace merlode {

class BackgroundSchemeController;
class HotkeysLink;
class Image;

enum class PanelDisplayState { None, Loading, Results, NoResults };

/// The panel's lists of results, in their order.
enum class PanelTable { Tracks, Albums, Pandora };
inline constexpr std::size_t kPanelTables = 3;

/// The fixed names of a table and of what it is made of.
struct PanelTableIdentifiers {
    QString table;
    QString column;
    QString cell;
};

/// What of the panel is to be looked at again.
enum class PanelPart { Track, Art, PlayState, Volume, Position, Scheme, Server, Results, Label, Search };

/// Who draws the panel. Main thread.
class PanelView {
  public:
    virtual ~PanelView() = default;
    virtual void update(PanelPart part) = 0;
    /// Puts the keyboard into the search field, with its text selected.
    virtual void selectSearchField() = 0;
    /// Takes the keyboard out of whatever has it, into the panel itself.
    virtual void makeFirstResponder() = 0;
    /// Has a screen reader say a text, if the panel is to be seen.
    virtual void announce(const QString& text) = 0;
    /// Points from the panel's left edge to the tip of its arrow, and on which edge that is.
    virtual void setArrow(double arrow, bool barBelow) = 0;
};

/// Heights of rows in points, which depend on the font.
struct PanelMetrics {
    double top = 220;    ///< all above the results
    double header = 26;  ///< over each table
    double row = 42;     ///< of a table
    double seeMore = 26; ///< under each table
    double space = 6;    ///< between sections
    double notice = 38;  ///< two lines of a message
};

/// Heights in points of a table's part of the panel; all 0 for one that is not shown.
struct PanelTableHeights {
    double header = 0;
    double table = 0;
    double seeMore = 0;
    double space = 0;
    double total() const { return header + table + seeMore + space; }
    bool operator==(const PanelTableHeights&) const = default;
};

/// Heights in points of what stands under the panel's top part.
struct PanelSections {
    double loading = 0;
    std::array<PanelTableHeights, kPanelTables> tables;
    double notice = 0;
    double bottomPadding = 0;
    double total() const;
};

/// The content of the panel: the controls of what plays at the top, a search field, and under it the top
/// results, for which the panel grows downward. Knows nothing of widgets. Main thread.
class PanelViewController {
  public:
    const QString kLoadingLabelLoadingMessage = QStringLiteral("Loading");
    const QString kLoadingLabelNoResultsMessage = QStringLiteral("No Results Found");
    const QString kSeeMoreText = QStringLiteral("See more ▸");
    const double loadingViewHeight = 40.0;        ///< points, of the row that holds the label
    const double panelBottomPaddingHeight = 10.0; ///< points under the last section
    const double kSameSearchInterval = 3.0;       ///< seconds in which one term starts no second search

    explicit PanelViewController(Session& session);
    PanelViewController(const PanelViewController&) = delete;
    PanelViewController& operator=(const PanelViewController&) = delete;

    /// The view and the window, which must outlive the controller's use; null takes them back.
    void setView(PanelView* view) { view_ = view; }
    void setWindow(Window* window) { window_ = window; }
    Window* window() const { return window_; }
    void setMetrics(const PanelMetrics& metrics);
    /// Whether there is a main window to hand the user over to; without one nothing leads there.
    void setHasMainWindow(bool has);

    void registerForNotifications();

    // What the user does.

    NowPlayingControls& controls() { return controls_; }
    RemoteClientControl& remoteClient() { return remoteClient_; }
    /// Return in the search field, which holds this text.
    void searchFieldAction(const QString& text);
    void playRow(PanelTable table, std::size_t row, std::optional<MusicItemSourceType> service);
    void selectedTopTracksButton();
    void selectedTopAlbumsButton();
    void selectedTopPandoraButton();
    /// Empties the search field and takes the results away.
    void clearSearch();
    /// The panel has come up.
    void opened();
    /// Takes the panel off the screen, as the user wants by a key.
    void close() { close_(); }
    void setClose(std::function<void()> close) { close_ = std::move(close); }
    /// The program's menu, for whoever has no item in the bar to open it at; its last entry quits.
    void setMenu(std::function<std::vector<MenuEntry>()> menu) { menu_ = std::move(menu); }
    std::vector<MenuEntry> menu() const { return menu_ ? menu_() : std::vector<MenuEntry>(); }
    /// Whether the user can name another folder of music at this moment, since there is nothing in the
    /// present one; and does so.
    bool canChooseMusicFolder() const;
    void setChooseMusicFolder(std::function<void()> choose) { chooseMusicFolder_ = std::move(choose); }
    void chooseMusicFolder() { chooseMusicFolder_(); }
    /// Gives the keyboard to the panel itself, and keys back to the hotkeys if the user has them on.
    void fixFirstResponderStatus();

    /// Shows a message under everything else, until the user searches for something.
    void showMessage(const QString& text);

    // What is shown.

    PanelDisplayState displayState() const { return state_; }
    void updatePanelDisplayState(PanelDisplayState state);
    const PanelSections& sections() const { return sections_; }
    /// Of all that is shown, the top part included.
    double contentHeight() const { return metrics_.top + sections_.total(); }
    const std::vector<ResultRow>& rows(PanelTable table) const { return rows_[std::size_t(table)]; }
    static const PanelTableIdentifiers& identifiers(PanelTable table);
    static QString title(PanelTable table);
    const QString& loadingLabel() const { return loadingLabel_; }
    /// A message for the user, else which services gave nothing to the last search and why; mostly empty.
    const QString& notice() const { return message_.isEmpty() ? notice_ : message_; }
    const QString& searchText() const { return searchText_; }
    const Image& albumArt() const;
    bool hasAlbumArt() const;
    const BackgroundSchemeController& scheme() const { return scheme_; }
    /// What to do, in place of a track, where there is none; a title and a sentence, or nothing.
    QString emptyTitle() const;
    QString emptyText() const;

    // The window.

    /// Where the window stands, and how it grows from there.
    void setPlace(const PanelPlace& place, const Screen& screen);
    /// Fits the window's height to what is shown.
    void fitWindow(bool animate);

  private:
    void showSearchDisplay();
    void searchFinished();
    void clearSearchResults();
    void updateTriangleConstraint(const QVariantMap& userInfo);
    bool libraryIsEmpty() const;
    QString spokenTrack() const;
    QString spokenResults() const;
    void announce(const QString& text);
    void showPanelOnly();
    void showLoadingView();
    void showResultsView();
    void setSections(const PanelSections& sections);
    void takeRows();
    void handOver(NotificationName name);
    void tell(PanelPart part);

    Session& session_;
    BackgroundSchemeController& scheme_;
    HotkeysLink& hotkeys_;
    PanelView* view_ = nullptr;
    Window* window_ = nullptr;
    NowPlayingControls controls_;
    RemoteClientControl remoteClient_;
    PanelMetrics metrics_;
    bool hasMainWindow_ = false;
    std::function<void()> close_ = [] {};
    std::function<void()> chooseMusicFolder_;
    std::function<std::vector<MenuEntry>()> menu_;

    PanelDisplayState state_ = PanelDisplayState::None;
    PanelSections sections_;
    std::array<std::vector<ResultRow>, kPanelTables> rows_;
    QString loadingLabel_;
    QString message_;
    QString notice_;
    QString searchText_;
    QString saidTrack_; ///< what a screen reader was told last of what plays
    bool barBelow_ = false;
    std::optional<Screen> screen_;
    std::vector<Observation> observations_;
};

} // namespace merlode
