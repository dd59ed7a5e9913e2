#pragma once

#include "appearance/background_scheme_controller.h"
#include "appearance/color.h"

#include <QColor>
#include <QFont>

namespace merlode {

/// Sizes of the panel in points.
namespace panelsize {
inline constexpr int kWidth = 340;
inline constexpr int kArrowHeight = 10;
inline constexpr int kArrowHalfWidth = 11;
inline constexpr int kCornerRadius = 12;
inline constexpr int kMargin = 16;
inline constexpr int kArt = 136;
inline constexpr int kTransport = 50;
inline constexpr int kSearch = 48;
inline constexpr int kTextGap = 10;
} // namespace panelsize

/// The colours of the panel for one scheme; all text has the contrast of `kTextContrast`.
struct PanelColors {
    QColor background;
    QColor text;
    QColor dimText;   ///< second lines
    QColor control;   ///< large shapes
    QColor field;     ///< behind what is being written
    QColor highlight; ///< behind a row or button that is pointed at
    QColor line;      ///< around things

    static PanelColors of(const BackgroundSchemeController& scheme);
    bool operator==(const PanelColors&) const = default;
};

/// The fonts of the panel, by the desktop's own.
namespace panelfont {
QFont title();
QFont detail();
QFont small();
QFont header();
} // namespace panelfont

} // namespace merlode
