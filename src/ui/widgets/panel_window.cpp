#include "ui/widgets/panel_window.h"

#include "base/notification_names.h"
#include "base/session.h"
#include "ui/widgets/accessibility.h"
#include "ui/widgets/art_view.h"
#include "ui/widgets/compositing.h"
#include "ui/widgets/cross_fade.h"
#include "ui/widgets/results_list.h"
#include "ui/widgets/search_field.h"
#include "ui/widgets/text_button.h"

#include <QApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QVBoxLayout>
#include <QWindow>

#include <utility>

namespace merlode {

namespace {

constexpr int kGrowthMilliseconds = 180;
constexpr double kFocusPause = 0.1; // seconds in which nobody has the keyboard between a menu and its panel

// Wayland gives popups to windows only, and places whatever else there is itself: an undecorated window that
// goes when it loses the keyboard comes nearest.
bool canPlaceItself() {
    return QGuiApplication::platformName() != QStringLiteral("wayland");
}

Qt::WindowFlags dropDownFlags() {
    return (canPlaceItself() ? Qt::Popup : Qt::Window) | Qt::FramelessWindowHint | Qt::NoDropShadowWindowHint;
}

} // namespace

PanelWindow::PanelWindow(Session& session, PanelViewController& controller)
    : QWidget(nullptr, dropDownFlags()),
      session_(session),
      controller_(controller),
      desktop_(session.port<DesktopSettings>()) {
    setObjectName(QStringLiteral("Panel"));
    setWindowTitle(QStringLiteral("Merlode"));
    setAccessibleName(QStringLiteral("Merlode"));
    setAttribute(Qt::WA_TranslucentBackground);
    setFocusPolicy(Qt::ClickFocus);
    setFixedWidth(panelsize::kWidth);
    body_ = new QWidget(this);
    auto* column = new QVBoxLayout(body_);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    makeTop();
    makeTransport();
    makeSearch();
    makeResults();
    makeShortcuts();
    hostMenu_ = new QMenu(this);
    menu_ = new QMenu(this);
    fade_ = new CrossFade(this);
    announcer_ = new Announcer(this);
    growth_.setDuration(kGrowthMilliseconds);
    growth_.setEasingCurve(QEasingCurve::OutCubic);
    connect(&growth_, &QVariantAnimation::valueChanged, this,
            [this](const QVariant& value) { place(value.toRect()); });
    connect(qApp, &QGuiApplication::focusWindowChanged, this, [this] { followKeyboard(); });
    controller_.setView(this);
    showScheme();
    for (const auto part : {PanelPart::Track, PanelPart::Art, PanelPart::PlayState, PanelPart::Volume,
                            PanelPart::Server, PanelPart::Results, PanelPart::Label})
        update(part);
    controller_.setMetrics(metrics());
    frame_ = QRect(0, 0, panelsize::kWidth, static_cast<int>(controller_.contentHeight()));
    place(frame_);
}

PanelWindow::~PanelWindow() {
    controller_.setView(nullptr);
    controller_.setWindow(nullptr);
}

PanelMetrics PanelWindow::metrics() const {
    PanelMetrics metrics;
    metrics.top = panelsize::kArt + panelsize::kTransport + panelsize::kSearch + arrowHeight();
    metrics.header = QFontMetrics(panelfont::header()).height() + 8;
    metrics.row = ResultsDelegate::rowHeight();
    metrics.seeMore = tables_[0].seeMore->sizeHint().height();
    metrics.notice = 2 * QFontMetrics(panelfont::small()).lineSpacing() + 8;
    return metrics;
}

// The window.

QRect PanelWindow::frame() const {
    return frame_;
}

void PanelWindow::setFrame(const QRect& frame, bool animate) {
    growth_.stop();
    const QRect from = geometry();
    frame_ = frame;
    if (!animate || desktop_.reducedMotion() || windowType() != Qt::Popup) {
        place(frame);
        return stayOnScreen();
    }
    growth_.setStartValue(from);
    growth_.setEndValue(frame);
    growth_.start();
}

// Where windows are managed, one of no fixed size may be given half of the screen, and would be torn apart.
void PanelWindow::place(const QRect& frame) {
    const bool managed = windowType() != Qt::Popup;
    setMinimumHeight(managed ? frame.height() : 0);
    setMaximumHeight(managed ? frame.height() : QWIDGETSIZE_MAX);
    setGeometry(frame);
}

// Who is not told where a window stands can only have it shown anew: it comes up in the middle, as it does as
// a rule, and so has room.
void PanelWindow::stayOnScreen() {
    const int room = screen()->availableGeometry().height();
    if (canPlaceItself() || standalone_ || !QWidget::isVisible() ||
        (room - heightWhenShown_) / 2 + height() <= room)
        return;
    isShownAnew_ = true;
    hide();
    makeKeyAndOrderFront();
    isShownAnew_ = false;
}

int PanelWindow::arrowHeight() const {
    return standalone_ || !canPlaceItself() ? 0 : panelsize::kArrowHeight;
}

void PanelWindow::moveEvent(QMoveEvent*) {
    if (growth_.state() != QVariantAnimation::Running)
        frame_.moveTopLeft(geometry().topLeft());
}

bool PanelWindow::isKey() const {
    return QWidget::isVisible() && (windowType() == Qt::Popup || hasKeyboard());
}

void PanelWindow::makeKeyAndOrderFront() {
    shapeWindow();
    heightWhenShown_ = height();
    show();
    raise();
    activateWindow();
    setFocus(Qt::PopupFocusReason);
    if (!isShownAnew_)
        controller_.opened();
}

void PanelWindow::setStandalone(bool standalone) {
    if (standalone_ == standalone)
        return;
    standalone_ = standalone;
    setWindowFlags(standalone ? Qt::Window | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                                    Qt::WindowMinimizeButtonHint | Qt::WindowCloseButtonHint
                              : dropDownFlags());
    setAttribute(Qt::WA_TranslucentBackground, !standalone);
    art_->setCornerRadius(standalone ? 0 : panelsize::kCornerRadius);
    controller_.setMetrics(metrics());
    place(frame_);
    placeBody();
}

void PanelWindow::setArrow(double arrow, bool barBelow) {
    arrow_ = arrow;
    barBelow_ = barBelow;
    placeBody();
    shapeWindow();
    QWidget::update();
}

void PanelWindow::placeBody() {
    const int arrow = arrowHeight();
    body_->setGeometry(rect().adjusted(0, barBelow_ ? 0 : arrow, 0, barBelow_ ? -arrow : 0));
}

QPainterPath PanelWindow::outline() const {
    QPainterPath path;
    if (standalone_) {
        path.addRect(rect());
        return path;
    }
    path.addRoundedRect(QRectF(body_->geometry()).adjusted(0.5, 0.5, -0.5, -0.5), panelsize::kCornerRadius,
                        panelsize::kCornerRadius);
    if (arrow_ < 0 || arrowHeight() == 0)
        return path;
    constexpr double kNearest = panelsize::kCornerRadius + panelsize::kArrowHalfWidth;
    const double x = std::clamp(arrow_, kNearest, width() - kNearest);
    const double base = barBelow_ ? body_->geometry().bottom() : body_->geometry().top() + 1;
    const double tip = barBelow_ ? height() - 0.5 : 0.5;
    QPainterPath arrow;
    arrow.addPolygon(QPolygonF({QPointF(x - panelsize::kArrowHalfWidth, base), QPointF(x, tip),
                                QPointF(x + panelsize::kArrowHalfWidth, base)}));
    arrow.closeSubpath();
    return path.united(arrow);
}

// Where nothing mixes the windows' pictures, what is outside the shape would be black.
void PanelWindow::shapeWindow() {
    if (standalone_ || isComposited())
        clearMask();
    else
        setMask(QRegion(outline().toFillPolygon().toPolygon()));
}

void PanelWindow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(standalone_ ? QPen(Qt::NoPen) : QPen(colors_.line, 1));
    painter.setBrush(colors_.background);
    painter.drawPath(outline());
}

void PanelWindow::resizeEvent(QResizeEvent*) {
    placeBody();
    if (!mask().isEmpty())
        shapeWindow();
    fade_->resize(size());
}

void PanelWindow::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    hadKeyboard_ = false;
    if (isShownAnew_)
        return;
    growth_.stop();
    place(frame_);
    session_.runLoop().async(
        [&center = session_.notificationCenter(), window = static_cast<const PanelWindowPart*>(this)] {
            center.post(notifications::kWindowDidResignKey, window);
        });
}

void PanelWindow::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::ApplicationFontChange)
        controller_.setMetrics(metrics());
}

// In itself or in one of its menus.
bool PanelWindow::hasKeyboard() const {
    const auto* focus = QGuiApplication::focusWindow();
    const auto* own = windowHandle();
    return focus && own && (focus == own || own->isAncestorOf(focus));
}

// A popup goes by itself.
void PanelWindow::followKeyboard() {
    focusTimer_.invalidate();
    if (!QWidget::isVisible() || standalone_ || windowType() == Qt::Popup)
        return;
    focusTimer_ = session_.runLoop().after(kFocusPause, [this] {
        if (std::exchange(hadKeyboard_, hasKeyboard()) && !hadKeyboard_)
            hide();
    });
}

void PanelWindow::makeFirstResponder() {
    // Somebody who works with the keyboard stays at the control that was used.
    if (search_->hasFocus())
        setFocus(Qt::OtherFocusReason);
}

void PanelWindow::announce(const QString& text) {
    announcer_->announce(text);
}

void PanelWindow::selectSearchField() {
    search_->setFocus(Qt::ShortcutFocusReason);
    search_->selectAll();
}

// Keys.

void PanelWindow::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape)
        return dismiss();
    if (event->key() == Qt::Key_Space)
        return controller_.controls().playPause();
    if (event->key() == Qt::Key_Down)
        return enterResults();
    if (event->key() == Qt::Key_Slash)
        return selectSearchField();
    event->ignore();
}

bool PanelWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == search_ && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Down && key->modifiers() == Qt::NoModifier) {
            enterResults();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

// From within outwards: what was written, what was found, the panel.
void PanelWindow::dismiss() {
    if (search_->text().isEmpty() && controller_.displayState() == PanelDisplayState::None)
        return controller_.close();
    emptySearch();
}

void PanelWindow::emptySearch() {
    if (results_->isAncestorOf(focusWidget()))
        setFocus(Qt::OtherFocusReason); // else whatever comes next takes the keyboard
    search_->clear();
    controller_.clearSearch();
}

void PanelWindow::enterResults() {
    for (std::size_t table = 0; table < kPanelTables; ++table) {
        if (!controller_.rows(static_cast<PanelTable>(table)).empty() && tables_[table].list->isVisible())
            return tables_[table].list->enter(true);
    }
    if (!search_->hasFocus())
        search_->setFocus(Qt::TabFocusReason);
}

void PanelWindow::changeVolume(int difference) {
    auto& controls = controller_.controls();
    if (controls.canSetVolume())
        controls.setVolume(std::clamp(controls.volume() + difference, 0, 100), SliderEvent::Set);
}

} // namespace merlode
