#pragma once

#include <QWidget>

namespace merlode {

/// Tells screen readers of what happened, such as a search that has ended, wherever the keyboard is. Cannot
/// be seen.
class Announcer final : public QWidget {
    Q_OBJECT
  public:
    explicit Announcer(QWidget* parent);

    void announce(const QString& text);
};

/// Adds to what Qt tells screen readers: the panel, which as a popup is left out of the program's windows,
/// that the cover is a picture, and announcements. Before the first window is made.
void installAccessibility();

} // namespace merlode
