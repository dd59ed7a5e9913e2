#include "ui/widgets/results_list.h"

#include "ui/widgets/entry_menu.h"

#include <QAccessible>
#include <QContextMenuEvent>
#include <QPainter>
#include <QTextDocument>

#include <algorithm>
#include <utility>

namespace merlode {

namespace {

constexpr int kRowPadding = 5;
constexpr int kChipPadding = 6;
constexpr int kChipGap = 5;
constexpr int kInset = 6; ///< of the highlight from the panel's edges

struct Chip {
    MusicItemSourceType service;
    QRect place;
};

// From the row's end backwards, so that the chips of all rows stand in line.
std::vector<Chip> chipsOf(const ResultRow& row, const QRect& rect, Qt::LayoutDirection direction) {
    const QFontMetrics metrics(panelfont::small());
    const int height = metrics.height() + 4;
    std::vector<Chip> chips;
    int right = rect.right() + 1 - panelsize::kMargin;
    auto services = row.services();
    std::ranges::reverse(services);
    for (const auto service : services) {
        const int width = metrics.horizontalAdvance(serviceName(service)) + 2 * kChipPadding;
        const QRect place(right - width, rect.center().y() - height / 2, width, height);
        chips.push_back({service, QStyle::visualRect(direction, rect, place)});
        right -= width + kChipGap;
    }
    return chips;
}

void drawText(QPainter& painter, const QRect& place, const QString& text, Qt::LayoutDirection direction) {
    const QFontMetrics metrics(painter.font());
    const auto side = QStyle::visualAlignment(direction, Qt::AlignLeft);
    painter.setLayoutDirection(text.isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
    painter.drawText(place, int(side | Qt::AlignVCenter | Qt::AlignAbsolute | Qt::TextSingleLine),
                     metrics.elidedText(text, Qt::ElideRight, place.width()));
}

} // namespace

void ResultsModel::reloadData(const std::vector<ResultRow>& rows) {
    beginResetModel();
    rows_ = rows;
    endResetModel();
}

int ResultsModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant ResultsModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount())
        return {};
    const auto& shown = row(index.row());
    if (role == Qt::DisplayRole)
        return shown.title;
    if (role == Qt::AccessibleTextRole)
        return shown.spokenText();
    if (role == Qt::ToolTipRole)
        return Qt::convertFromPlainText(shown.spokenText());
    return {};
}

int ResultsDelegate::rowHeight() {
    return QFontMetrics(panelfont::detail()).height() + QFontMetrics(panelfont::small()).height() +
           2 * kRowPadding;
}

QSize ResultsDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const {
    return {option.rect.width(), rowHeight()};
}

std::optional<MusicItemSourceType> ResultsDelegate::serviceAt(const QPoint& place, const QRect& rect,
                                                              const ResultRow& row,
                                                              Qt::LayoutDirection direction) {
    for (const auto& chip : chipsOf(row, rect, direction)) {
        if (chip.place.contains(place))
            return chip.service;
    }
    return std::nullopt;
}

void ResultsDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                            const QModelIndex& index) const {
    const auto& row = static_cast<const ResultsModel*>(index.model())->row(index.row());
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    const bool chosen = option.state & QStyle::State_Selected && option.state & QStyle::State_HasFocus;
    if (chosen || option.state & QStyle::State_MouseOver) {
        painter->setPen(chosen ? QPen(colors_.text, 1.5) : QPen(Qt::NoPen));
        painter->setBrush(colors_.highlight);
        painter->drawRoundedRect(QRectF(option.rect).adjusted(kInset, 1, -kInset, -1), 6, 6);
    }
    int end = panelsize::kMargin;
    painter->setFont(panelfont::small());
    for (const auto& chip : chipsOf(row, option.rect, option.direction)) {
        painter->setBrush(Qt::NoBrush);
        painter->setPen(QPen(colors_.line, 1));
        painter->drawRoundedRect(QRectF(chip.place).adjusted(0.5, 0.5, -0.5, -0.5), chip.place.height() / 2.0,
                                 chip.place.height() / 2.0);
        painter->setPen(colors_.dimText);
        painter->drawText(chip.place, Qt::AlignCenter, serviceName(chip.service));
        end += chip.place.width() + kChipGap;
    }
    const QRect inner = option.rect.adjusted(panelsize::kMargin, kRowPadding, -end, -kRowPadding);
    const auto place = [&](int top, int height) {
        return QStyle::visualRect(option.direction, option.rect,
                                  QRect(inner.left(), top, inner.width(), height));
    };
    const int titleHeight = QFontMetrics(panelfont::detail()).height();
    const bool alone = row.detail.isEmpty();
    painter->setFont(panelfont::detail());
    painter->setPen(colors_.text);
    drawText(*painter, place(inner.top(), alone ? inner.height() : titleHeight), row.title, option.direction);
    painter->setFont(panelfont::small());
    painter->setPen(colors_.dimText);
    drawText(*painter, place(inner.top() + titleHeight, inner.height() - titleHeight), row.detail,
             option.direction);
    painter->restore();
}

ResultsList::ResultsList(const PanelTableIdentifiers& identifiers, const QString& title, Play play,
                         QWidget* parent)
    : QListView(parent), model_(nullptr), delegate_(nullptr), play_(std::move(play)) {
    setObjectName(identifiers.table);
    setAccessibleName(title);
    setModel(&model_);
    setItemDelegate(&delegate_);
    setFrameShape(QFrame::NoFrame);
    setMouseTracking(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setEditTriggers(NoEditTriggers);
    setUniformItemSizes(true);
    viewport()->setAutoFillBackground(false);
    setAutoFillBackground(false);
    tell_.setSingleShot(true);
    connect(&tell_, &QTimer::timeout, this, &ResultsList::tellRow);
}

void ResultsList::setColors(const PanelColors& colors) {
    delegate_.setColors(colors);
    viewport()->update();
}

void ResultsList::enter(bool first) {
    setFocus(Qt::TabFocusReason);
    setCurrentIndex(model_.index(first ? 0 : model_.rowCount() - 1));
}

void ResultsList::focusInEvent(QFocusEvent* event) {
    QListView::focusInEvent(event);
    if (!currentIndex().isValid())
        setCurrentIndex(model_.index(0));
    // Qt tells screen readers of the row first and then of the list, which is what they say.
    if (QAccessible::isActive())
        tell_.start();
}

void ResultsList::tellRow() {
    if (!hasFocus() || !currentIndex().isValid())
        return;
    QAccessibleEvent event(this, QAccessible::Focus);
    event.setChild(currentIndex().row());
    QAccessible::updateAccessibility(&event);
}

void ResultsList::playRow(const QModelIndex& index, std::optional<MusicItemSourceType> service) {
    if (index.isValid())
        play_(std::size_t(index.row()), service);
}

void ResultsList::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
    QListView::currentChanged(current, previous);
    if (current.isValid() && !pressed_.isValid()) // what is under the pointer stays there
        Q_EMIT rowChosen(visualRect(current));
}

void ResultsList::mousePressEvent(QMouseEvent* event) {
    pressed_ = indexAt(event->position().toPoint());
    QListView::mousePressEvent(event);
}

void ResultsList::mouseReleaseEvent(QMouseEvent* event) {
    QListView::mouseReleaseEvent(event);
    const QPersistentModelIndex pressed = std::exchange(pressed_, {});
    const QPoint place = event->position().toPoint();
    const auto index = indexAt(place);
    // As with a button: a click that was begun elsewhere, or ends elsewhere, is none.
    if (event->button() != Qt::LeftButton || !index.isValid() || index != pressed)
        return;
    playRow(index,
            ResultsDelegate::serviceAt(place, visualRect(index), model_.row(index.row()), layoutDirection()));
}

void ResultsList::keyPressEvent(QKeyEvent* event) {
    const int row = currentIndex().row();
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        return playRow(currentIndex(), std::nullopt);
    if (event->key() == Qt::Key_Down && row + 1 >= model_.rowCount())
        return leave(true);
    if (event->key() == Qt::Key_Up && row <= 0)
        return leave(false);
    if (event->key() == Qt::Key_Space || event->key() == Qt::Key_Escape)
        return event->ignore(); // the panel's, as everywhere else in it
    QListView::keyPressEvent(event);
}

void ResultsList::leave(bool down) {
    QWidget* next = this;
    do
        next = down ? next->nextInFocusChain() : next->previousInFocusChain();
    while (next != this && !(next->isVisible() && next->focusPolicy() & Qt::TabFocus));
    if (auto* list = qobject_cast<ResultsList*>(next))
        list->enter(down);
    else
        next->setFocus(down ? Qt::TabFocusReason : Qt::BacktabFocusReason);
}

void ResultsList::contextMenuEvent(QContextMenuEvent* event) {
    const bool byKey = event->reason() == QContextMenuEvent::Keyboard;
    const auto index = byKey ? currentIndex() : indexAt(event->pos());
    if (!index.isValid())
        return;
    const auto place = byKey ? viewport()->mapToGlobal(visualRect(index).center()) : event->globalPos();
    const auto row = std::size_t(index.row());
    std::vector<MenuEntry> entries{
        {QStringLiteral("Play"), true, std::nullopt, [this, row] { play_(row, std::nullopt); }, {}}, {}};
    for (const auto service : model_.row(index.row()).services())
        entries.push_back({QStringLiteral("Play on %1").arg(serviceName(service)),
                           true,
                           std::nullopt,
                           [this, row, service] { play_(row, service); },
                           {}});
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    fillMenu(*menu, entries);
    menu->popup(place);
}

} // namespace merlode
