#pragma once

#include "ui/panel_view_controller.h"
#include "ui/widgets/panel_style.h"

#include <QAbstractListModel>
#include <QListView>
#include <QStyledItemDelegate>
#include <QTimer>

#include <functional>
#include <optional>

namespace merlode {

/// The rows of one of the panel's tables.
class ResultsModel final : public QAbstractListModel {
    Q_OBJECT
  public:
    using QAbstractListModel::QAbstractListModel;

    void reloadData(const std::vector<ResultRow>& rows);
    const ResultRow& row(int index) const { return rows_[std::size_t(index)]; }

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;

  private:
    std::vector<ResultRow> rows_;
};

/// Draws a row: title over detail, and at its end a chip for each service that has it.
class ResultsDelegate final : public QStyledItemDelegate {
    Q_OBJECT
  public:
    explicit ResultsDelegate(QObject* parent) : QStyledItemDelegate(parent) {}

    void setColors(const PanelColors& colors) { colors_ = colors; }
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

    /// The service whose chip is at this place in a row that is drawn in `rect`.
    static std::optional<MusicItemSourceType> serviceAt(const QPoint& place, const QRect& rect,
                                                        const ResultRow& row, Qt::LayoutDirection direction);

    static int rowHeight();

  private:
    PanelColors colors_;
};

/// One of the panel's tables of results. A click or Return plays the row where it suits best, a click on a
/// chip or the row's menu on that service. The arrow keys leave the table at its ends.
class ResultsList final : public QListView {
    Q_OBJECT
  public:
    using Play = std::function<void(std::size_t row, std::optional<MusicItemSourceType> service)>;

    ResultsList(const PanelTableIdentifiers& identifiers, const QString& title, Play play, QWidget* parent);

    void reloadData(const std::vector<ResultRow>& rows) { model_.reloadData(rows); }
    void setColors(const PanelColors& colors);
    /// Chooses the first row, or the last, and takes the keyboard.
    void enter(bool first);

  Q_SIGNALS:
    /// A row was chosen by a key; it stands at `place` in the list.
    void rowChosen(const QRect& place);

  protected:
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;

  private:
    void leave(bool down);
    void tellRow();
    void playRow(const QModelIndex& index, std::optional<MusicItemSourceType> service);

    ResultsModel model_;
    ResultsDelegate delegate_;
    Play play_;
    QPersistentModelIndex pressed_;
    QTimer tell_; ///< runs out at once
};

} // namespace merlode
