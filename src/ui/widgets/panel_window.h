#pragma once

#include "platform/desktop_settings.h"
#include "ui/face.h"
#include "ui/panel_view_controller.h"
#include "ui/widgets/panel_style.h"

#include <QLabel>
#include <QMenu>
#include <QPainterPath>
#include <QScrollArea>
#include <QVariantAnimation>
#include <QWidget>

#include <array>

namespace merlode {

class Announcer;
class ArtView;
class ControlButton;
class CrossFade;
class ElidedLabel;
class ResultsList;
class SearchField;
class TextButton;
class VolumeSlider;

/// The panel on the screen: a drop-down with an arrow, or a small window. Draws what `PanelViewController`
/// says, in the colours of the cover, and hands it what the user does.
class PanelWindow final : public QWidget, public PanelWindowPart, public PanelView {
    Q_OBJECT
  public:
    PanelWindow(Session& session, PanelViewController& controller);
    ~PanelWindow() override;

    QRect frame() const override;
    void setFrame(const QRect& frame, bool animate) override;
    bool isVisible() const override { return QWidget::isVisible(); }
    bool isKey() const override;
    void makeKeyAndOrderFront() override;
    void orderOut() override { hide(); }
    void setStandalone(bool standalone) override;

    void update(PanelPart part) override;
    void selectSearchField() override;
    void makeFirstResponder() override;
    void announce(const QString& text) override;
    void setArrow(double arrow, bool barBelow) override;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    struct TableView {
        QWidget* section = nullptr;
        ElidedLabel* header = nullptr;
        ResultsList* list = nullptr;
        TextButton* seeMore = nullptr;
    };

    void makeTop();
    void makeTransport();
    void makeSearch();
    void makeResults();
    TableView makeTable(PanelTable table);
    void makeShortcuts();
    void addShortcut(const QKeySequence& keys, std::function<void()> action);
    PanelMetrics metrics() const;

    void showTrack();
    void showArt();
    void showPlayState();
    void showVolume();
    void showPosition();
    void showServer();
    void showResults();
    void showLabel();
    void showScheme();
    void colourWidgets();
    void openHostMenu();
    void openMenu(const QPoint& place);
    void enterResults();
    void changeVolume(int difference);
    void emptySearch();
    void dismiss();

    double fadeTime() const;
    void place(const QRect& frame);
    void stayOnScreen();
    bool hasKeyboard() const;
    void followKeyboard();
    int arrowHeight() const;
    QPainterPath outline() const;
    void placeBody();
    void shapeWindow();

    Session& session_;
    PanelViewController& controller_;
    const DesktopSettings& desktop_;
    PanelColors colors_;

    QWidget* body_ = nullptr;
    ArtView* art_ = nullptr;
    QWidget* texts_ = nullptr;
    ElidedLabel* track_ = nullptr;
    ElidedLabel* artist_ = nullptr;
    ElidedLabel* album_ = nullptr;
    ElidedLabel* hintTitle_ = nullptr;
    ElidedLabel* hint_ = nullptr;
    TextButton* choose_ = nullptr;
    TextButton* position_ = nullptr;
    TextButton* host_ = nullptr;
    QMenu* hostMenu_ = nullptr;
    TextButton* more_ = nullptr;
    QMenu* menu_ = nullptr;
    ControlButton* previous_ = nullptr;
    ControlButton* play_ = nullptr;
    ControlButton* next_ = nullptr;
    ControlButton* favorite_ = nullptr;
    ControlButton* mute_ = nullptr;
    VolumeSlider* volume_ = nullptr;
    SearchField* search_ = nullptr;
    QScrollArea* results_ = nullptr;
    QLabel* loading_ = nullptr;
    ElidedLabel* notice_ = nullptr;
    std::array<TableView, kPanelTables> tables_;
    CrossFade* fade_ = nullptr;
    Announcer* announcer_ = nullptr;

    QVariantAnimation growth_;
    QRect frame_; ///< where the window is or is on its way to
    bool standalone_ = false;
    bool barBelow_ = false;
    double arrow_ = -1; ///< no arrow below 0
    int heightWhenShown_ = 0;
    bool isShownAnew_ = false;
    bool hadKeyboard_ = false; ///< since it was shown
    Timer focusTimer_;
};

} // namespace merlode
