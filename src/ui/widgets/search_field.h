#pragma once

#include "ui/widgets/panel_style.h"

#include <QLineEdit>

namespace merlode {

/// The panel's search field: rounded, in the panel's colours, with a cross that empties it.
class SearchField final : public QLineEdit {
    Q_OBJECT
  public:
    explicit SearchField(QWidget* parent);

    void setColors(const PanelColors& colors);

  Q_SIGNALS:
    /// The cross was clicked; the text still stands.
    void clearSelected();

  protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    void makeRoomForMagnifier();

    PanelColors colors_;
    QAction* cross_;
};

} // namespace merlode
