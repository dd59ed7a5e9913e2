#include "ui/widgets/art_view.h"
#include "ui/widgets/control_button.h"
#include "ui/widgets/cross_fade.h"
#include "ui/widgets/elided_label.h"
#include "ui/widgets/panel_window.h"
#include "ui/widgets/results_list.h"
#include "ui/widgets/search_field.h"
#include "ui/widgets/text_button.h"
#include "ui/widgets/volume_slider.h"

#include <QHBoxLayout>
#include <QShortcut>
#include <QVBoxLayout>

// What the panel is made of, and which control does what.
namespace merlode {

namespace {

constexpr int kButton = 34;
constexpr int kPlayButton = 42;
constexpr int kSmallButton = 30;

QHBoxLayout* rowIn(QWidget* widget, int spacing) {
    auto* row = new QHBoxLayout(widget);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(spacing);
    return row;
}

} // namespace

void PanelWindow::makeTop() {
    auto* top = new QWidget(body_);
    top->setFixedHeight(panelsize::kArt);
    auto* row = rowIn(top, 0);
    // Unlike a margin it changes sides in a mirrored layout. The texts of buttons are in line with the
    // others.
    row->addSpacing(panelsize::kMargin - TextButton::kPadding);
    texts_ = new QWidget(top);
    auto* column = new QVBoxLayout(texts_);
    column->setContentsMargins(0, panelsize::kMargin - 2, 0, 6);
    column->setSpacing(2);
    track_ = new ElidedLabel(panelfont::title(), 2, texts_);
    artist_ = new ElidedLabel(panelfont::detail(), 1, texts_);
    album_ = new ElidedLabel(panelfont::detail(), 1, texts_);
    hintTitle_ = new ElidedLabel(panelfont::title(), 1, texts_);
    hint_ = new ElidedLabel(panelfont::detail(), 3, texts_);
    for (auto* label : {track_, artist_, album_, hintTitle_, hint_}) {
        label->setIndent(TextButton::kPadding);
        column->addWidget(label);
    }
    choose_ = new TextButton(false, texts_);
    choose_->setText(QStringLiteral("Choose Music Folder…"));
    column->addWidget(choose_);
    connect(choose_, &QAbstractButton::clicked, this, [this] {
        if (!standalone_)
            controller_.close();
        controller_.chooseMusicFolder();
    });
    column->addStretch();
    position_ = new TextButton(false, texts_);
    host_ = new TextButton(true, texts_);
    auto* line = new QHBoxLayout;
    line->setSpacing(4);
    line->addWidget(position_);
    line->addWidget(host_);
    line->addStretch();
    column->addLayout(line);
    art_ = new ArtView(panelsize::kArt, top);
    art_->setCornerRadius(panelsize::kCornerRadius);
    row->addWidget(texts_, 1);
    row->addWidget(art_);
    body_->layout()->addWidget(top);
    connect(position_, &QAbstractButton::clicked, this, [this] {
        controller_.controls().playerPositionButtonSelected();
        showPosition();
    });
    connect(host_, &QAbstractButton::clicked, this, [this] { openHostMenu(); });
}

void PanelWindow::makeTransport() {
    auto* transport = new QWidget(body_);
    transport->setFixedHeight(panelsize::kTransport);
    auto* row = rowIn(transport, 2);
    row->addSpacing(panelsize::kMargin - 8); // the shapes are in line with the texts, not the buttons
    previous_ = new ControlButton(kButton, 20, transport);
    play_ = new ControlButton(kPlayButton, 28, transport);
    next_ = new ControlButton(kButton, 20, transport);
    favorite_ = new ControlButton(kSmallButton, 18, transport);
    mute_ = new ControlButton(kSmallButton, 18, transport);
    volume_ = new VolumeSlider(transport);
    row->addWidget(previous_);
    row->addWidget(play_);
    row->addWidget(next_);
    row->addStretch();
    row->addWidget(favorite_);
    row->addWidget(mute_);
    row->addWidget(volume_);
    row->addSpacing(panelsize::kMargin - 7);
    body_->layout()->addWidget(transport);
    auto& controls = controller_.controls();
    connect(previous_, &QAbstractButton::clicked, this, [&controls] { controls.previous(); });
    connect(play_, &QAbstractButton::clicked, this, [&controls] { controls.playPause(); });
    connect(next_, &QAbstractButton::clicked, this, [&controls] { controls.next(); });
    connect(favorite_, &QAbstractButton::clicked, this, [&controls] { controls.toggleFavorite(); });
    connect(mute_, &QAbstractButton::clicked, this, [this, &controls] {
        controls.toggleMute();
        showVolume();
    });
    connect(volume_, &QSlider::sliderPressed, this,
            [this, &controls] { controls.setVolume(controls.volume(), SliderEvent::MouseDown); });
    connect(volume_, &QSlider::valueChanged, this, [this, &controls](int value) {
        controls.setVolume(value, volume_->isSliderDown() ? SliderEvent::Drag : SliderEvent::Set);
        showVolume();
    });
}

void PanelWindow::makeSearch() {
    auto* row = new QWidget(body_);
    row->setFixedHeight(panelsize::kSearch);
    auto* line = new QHBoxLayout(row);
    line->setContentsMargins(0, 0, 0, 8);
    line->setSpacing(4);
    line->addSpacing(panelsize::kMargin);
    search_ = new SearchField(row);
    search_->setPlaceholderText(QStringLiteral("Search all your music"));
    search_->setAccessibleName(QStringLiteral("Search"));
    search_->setMaxLength(1000);
    search_->installEventFilter(this);
    line->addWidget(search_);
    more_ = new TextButton(false, row);
    more_->setFont(panelfont::title());
    more_->setText(QStringLiteral("⋯"));
    more_->setToolTip(QStringLiteral("Settings and more"));
    more_->setAccessibleName(more_->toolTip());
    connect(more_, &QAbstractButton::clicked, this,
            [this] { openMenu(more_->mapToGlobal(QPoint(0, more_->height()))); });
    line->addWidget(more_);
    line->addSpacing(panelsize::kMargin - TextButton::kPadding - 4);
    body_->layout()->addWidget(row);
    connect(search_, &SearchField::clearSelected, this, [this] { emptySearch(); });
    connect(search_, &QLineEdit::returnPressed, this,
            [this] { controller_.searchFieldAction(search_->text()); });
}

void PanelWindow::makeResults() {
    results_ = new QScrollArea(body_);
    results_->setFrameShape(QFrame::NoFrame);
    results_->setWidgetResizable(true);
    results_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    results_->setFocusPolicy(Qt::NoFocus);
    results_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored); // it takes what is left
    auto* content = new QWidget;
    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    loading_ = new QLabel(content);
    loading_->setAlignment(Qt::AlignCenter);
    loading_->setTextFormat(Qt::PlainText);
    column->addWidget(loading_);
    for (std::size_t table = 0; table < kPanelTables; ++table) {
        tables_[table] = makeTable(static_cast<PanelTable>(table));
        column->addWidget(tables_[table].section);
    }
    notice_ = new ElidedLabel(panelfont::small(), 2, content);
    notice_->setContentsMargins(0, 0, 0, 0);
    auto* noticeRow = new QHBoxLayout;
    noticeRow->setContentsMargins(panelsize::kMargin, 0, panelsize::kMargin, 0);
    noticeRow->addWidget(notice_);
    column->addLayout(noticeRow);
    column->addStretch();
    results_->setWidget(content);
    results_->viewport()->setAutoFillBackground(false);
    content->setAutoFillBackground(false); // which it was given with its place
    auto* parts = static_cast<QVBoxLayout*>(body_->layout());
    parts->addWidget(results_, 1);
    parts->addStretch();
}

PanelWindow::TableView PanelWindow::makeTable(PanelTable table) {
    TableView view;
    view.section = new QWidget(body_);
    auto* column = new QVBoxLayout(view.section);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    const QString title = PanelViewController::title(table);
    view.header = new ElidedLabel(panelfont::header(), 1, view.section);
    view.header->setPlainText(title);
    auto* headerRow = new QHBoxLayout;
    headerRow->setContentsMargins(panelsize::kMargin, 0, panelsize::kMargin, 0);
    headerRow->addWidget(view.header);
    column->addLayout(headerRow);
    view.list = new ResultsList(
        PanelViewController::identifiers(table), title,
        [this, table](std::size_t row, const auto& service) { controller_.playRow(table, row, service); },
        view.section);
    column->addWidget(view.list);
    connect(view.list, &ResultsList::rowChosen, this, [this, list = view.list](const QRect& place) {
        const QPoint middle = list->mapTo(results_->widget(), place.center());
        results_->ensureVisible(middle.x(), middle.y(), 0, place.height());
    });
    view.seeMore = new TextButton(false, view.section);
    view.seeMore->setText(controller_.kSeeMoreText);
    view.seeMore->setAccessibleName(title + QStringLiteral(", see more"));
    column->addWidget(view.seeMore, 0, Qt::AlignHCenter);
    connect(view.seeMore, &QAbstractButton::clicked, this, [this, table] {
        if (table == PanelTable::Tracks)
            controller_.selectedTopTracksButton();
        else if (table == PanelTable::Albums)
            controller_.selectedTopAlbumsButton();
        else
            controller_.selectedTopPandoraButton();
    });
    return view;
}

void PanelWindow::addShortcut(const QKeySequence& keys, std::function<void()> action) {
    auto* shortcut = new QShortcut(keys, this);
    connect(shortcut, &QShortcut::activated, this, [act = std::move(action)] { act(); });
}

void PanelWindow::makeShortcuts() {
    constexpr int kVolumeStep = 5;
    auto& controls = controller_.controls();
    addShortcut(Qt::CTRL | Qt::Key_Left, [&controls] { controls.previous(); });
    addShortcut(Qt::CTRL | Qt::Key_Right, [&controls] { controls.next(); });
    addShortcut(Qt::CTRL | Qt::Key_P, [&controls] { controls.playPause(); });
    addShortcut(Qt::CTRL | Qt::Key_Up, [this] { changeVolume(kVolumeStep); });
    addShortcut(Qt::CTRL | Qt::Key_Down, [this] { changeVolume(-kVolumeStep); });
    addShortcut(Qt::CTRL | Qt::Key_M, [&controls] { controls.toggleMute(); });
    addShortcut(Qt::CTRL | Qt::Key_D, [&controls] { controls.toggleFavorite(); });
    addShortcut(QKeySequence::Find, [this] { selectSearchField(); });
    addShortcut(Qt::CTRL | Qt::Key_W, [this] { controller_.close(); });
    addShortcut(Qt::CTRL | Qt::Key_Q, [this] {
        if (const auto menu = controller_.menu(); !menu.empty())
            menu.back().action();
    });
}

} // namespace merlode
