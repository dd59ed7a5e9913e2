#include "appearance/background_scheme_controller.h"
#include "ui/widgets/art_view.h"
#include "ui/widgets/control_button.h"
#include "ui/widgets/cross_fade.h"
#include "ui/widgets/elided_label.h"
#include "ui/widgets/entry_menu.h"
#include "ui/widgets/panel_window.h"
#include "ui/widgets/results_list.h"
#include "ui/widgets/search_field.h"
#include "ui/widgets/text_button.h"
#include "ui/widgets/volume_slider.h"

#include <QContextMenuEvent>
#include <QScrollBar>

// What the panel shows, in which colours, and its menus.
namespace merlode {

void PanelWindow::update(PanelPart part) {
    switch (part) {
    case PanelPart::Track:
        return showTrack();
    case PanelPart::Art:
        return showArt();
    case PanelPart::PlayState:
        return showPlayState();
    case PanelPart::Volume:
        return showVolume();
    case PanelPart::Position:
        return showPosition();
    case PanelPart::Scheme:
        return showScheme();
    case PanelPart::Server:
        return showServer();
    case PanelPart::Results:
        return showResults();
    case PanelPart::Label:
        return showLabel();
    case PanelPart::Search:
        if (!search_->hasFocus() && search_->text() != controller_.searchText())
            search_->setText(controller_.searchText());
    }
}

double PanelWindow::fadeTime() const {
    return desktop_.reducedMotion() ? 0 : controller_.scheme().fadeTime;
}

void PanelWindow::showTrack() {
    const auto& controls = controller_.controls();
    track_->setPlainText(controls.trackName());
    artist_->setPlainText(controls.artistName());
    album_->setPlainText(controls.albumName());
    hintTitle_->setPlainText(controller_.emptyTitle());
    hint_->setPlainText(controller_.emptyText());
    for (auto* label : {track_, artist_, album_, hintTitle_, hint_})
        label->setVisible(!label->text().isEmpty());
    choose_->setVisible(controller_.canChooseMusicFolder());
    favorite_->setImage(controls.isFavorite() ? controller_.scheme().images().heartOnImage
                                              : controller_.scheme().images().heartOffImage);
    favorite_->setAction(controls.favoriteToolTip(), QStringLiteral("Ctrl+D"));
    favorite_->setEnabled(controls.canFavorite());
    previous_->setEnabled(controls.canGoPrevious());
    next_->setEnabled(controls.canGoNext());
    art_->setVisible(controller_.hasAlbumArt() && hintTitle_->text().isEmpty());
    showPosition();
}

void PanelWindow::showArt() {
    fade_->begin(fadeTime());
    art_->setArt(controller_.albumArt());
    showTrack();
}

void PanelWindow::showPlayState() {
    const auto& controls = controller_.controls();
    const auto& images = controller_.scheme().images();
    play_->setImage(controls.isPlaying() ? images.pauseImage : images.playImage);
    play_->setAction(controls.playToolTip(), QStringLiteral("Space"));
    play_->setEnabled(controls.canPlay());
    previous_->setEnabled(controls.canGoPrevious());
    next_->setEnabled(controls.canGoNext());
}

void PanelWindow::showVolume() {
    const auto& controls = controller_.controls();
    const auto& images = controller_.scheme().images();
    const QSignalBlocker quiet(volume_);
    if (!volume_->isSliderDown())
        volume_->setValue(controls.volume());
    volume_->setEnabled(controls.canSetVolume());
    volume_->setToolTip(QStringLiteral("Volume %1").arg(controls.volume()));
    mute_->setImage(controls.isMuted() ? images.muteOnImage : images.muteOffImage);
    mute_->setAction(controls.muteToolTip(), QStringLiteral("Ctrl+M"));
    mute_->setEnabled(controls.canSetVolume());
}

void PanelWindow::showPosition() {
    const QString text = controller_.controls().positionText();
    if (position_->text() != text)
        position_->setText(text);
    position_->setVisible(!text.isEmpty());
    position_->setToolTip(QStringLiteral("Time passed or left"));
}

void PanelWindow::showServer() {
    const QString text = controller_.remoteClient().text();
    host_->setText(text);
    host_->setToolTip(QStringLiteral("Which machine's players are controlled"));
    host_->setAccessibleDescription(host_->toolTip());
    host_->setWantedWidth(static_cast<int>(
        RemoteClientControl::buttonWidth(host_->fontMetrics().horizontalAdvance(text), host_->arrowWidth())));
    if (hostMenu_->isVisible())
        fillMenu(*hostMenu_, controller_.remoteClient().remoteClientMenu());
    showTrack();
}

void PanelWindow::openHostMenu() {
    fillMenu(*hostMenu_, controller_.remoteClient().triangleButtonSelected());
    const QPoint corner(host_->layoutDirection() == Qt::RightToLeft ? host_->width() : 0, host_->height());
    hostMenu_->popup(host_->mapToGlobal(corner));
}

void PanelWindow::openMenu(const QPoint& place) {
    fillMenu(*menu_, controller_.menu());
    if (!menu_->isEmpty())
        menu_->popup(place);
}

void PanelWindow::contextMenuEvent(QContextMenuEvent* event) {
    openMenu(event->globalPos());
}

void PanelWindow::showResults() {
    for (std::size_t table = 0; table < kPanelTables; ++table)
        tables_[table].list->reloadData(controller_.rows(static_cast<PanelTable>(table)));
}

void PanelWindow::showLabel() {
    const auto& sections = controller_.sections();
    const auto height = [](double points) { return static_cast<int>(points); };
    loading_->setText(controller_.loadingLabel());
    loading_->setFixedHeight(height(sections.loading));
    loading_->setVisible(sections.loading > 0);
    for (std::size_t table = 0; table < kPanelTables; ++table) {
        const auto& heights = sections.tables[table];
        auto& view = tables_[table];
        view.section->setVisible(heights.total() > 0);
        view.section->setFixedHeight(height(heights.total()));
        view.header->setFixedHeight(height(heights.header));
        view.list->setFixedHeight(height(heights.table));
        view.seeMore->setVisible(heights.seeMore > 0);
    }
    notice_->setPlainText(controller_.notice());
    notice_->setVisible(sections.notice > 0);
    results_->setVisible(sections.total() > 0);
}

void PanelWindow::showScheme() {
    const auto colors = PanelColors::of(controller_.scheme());
    if (colors != colors_)
        fade_->begin(fadeTime());
    colors_ = colors;
    colourWidgets();
    showPlayState();
    showVolume();
    showTrack();
    QWidget::update();
}

void PanelWindow::colourWidgets() {
    const auto& images = controller_.scheme().images();
    art_->setBackground(colors_.background);
    for (auto* label : {track_, hintTitle_})
        label->setColor(colors_.text);
    for (auto* label : {artist_, album_, hint_, notice_})
        label->setColor(colors_.dimText);
    for (auto* button : {previous_, play_, next_, favorite_, mute_})
        button->setColors(colors_.control, colors_.highlight);
    choose_->setColors(colors_.text, colors_.highlight);
    for (auto* button : {position_, host_, more_})
        button->setColors(colors_.dimText, colors_.highlight);
    previous_->setImage(images.previousImage);
    previous_->setAction(QStringLiteral("Previous"), QStringLiteral("Ctrl+Left"));
    next_->setImage(images.nextImage);
    next_->setAction(QStringLiteral("Next"), QStringLiteral("Ctrl+Right"));
    volume_->setImages(images.sliderBarImage, images.sliderKnobImage, colors_.control);
    QPalette label = loading_->palette();
    label.setColor(QPalette::WindowText, colors_.dimText);
    loading_->setPalette(label);
    for (auto& table : tables_) {
        table.header->setColor(colors_.dimText);
        table.list->setColors(colors_);
        table.seeMore->setColors(colors_.dimText, colors_.highlight);
    }
    search_->setColors(colors_);
    results_->verticalScrollBar()->setStyleSheet(
        QStringLiteral("QScrollBar { background: transparent; width: 8px; }"
                       "QScrollBar::handle { background: %1; border-radius: 3px; margin: 1px; "
                       "min-height: 24px; }"
                       "QScrollBar::add-line, QScrollBar::sub-line { height: 0; }"
                       "QScrollBar::add-page, QScrollBar::sub-page { background: none; }")
            .arg(colors_.dimText.name()));
}

} // namespace merlode
