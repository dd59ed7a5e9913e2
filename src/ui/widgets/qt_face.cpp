#include "ui/widgets/qt_face.h"

#include "base/session.h"
#include "ui/panel_placing.h"
#include "ui/widgets/accessibility.h"
#include "ui/widgets/desktop_palette.h"
#include "ui/widgets/panel_window.h"
#include "ui/widgets/tray_icon.h"

#include <QApplication>
#include <QCursor>
#include <QFileDialog>
#include <QFontMetricsF>
#include <QPainter>
#include <QScreen>
#include <QSvgRenderer>

#include <map>

// A static library's resources are linked and registered only when asked for; the macro wants global scope.
static void registerIcons() {
    Q_INIT_RESOURCE(app_icons);
}

namespace merlode {

namespace {

constexpr double kImageSide = 22;                             ///< points, as most bars have it
constexpr int kPictureSides[] = {16, 22, 24, 32, 44, 48, 64}; ///< pixels

QImage draw(const QString& name, int side) {
    QImage picture(side, side, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    QSvgRenderer drawing(QStringLiteral(":/merlode/icons/%1.svg").arg(name));
    QPainter painter(&picture);
    drawing.render(&painter);
    painter.end();
    return picture.convertToFormat(QImage::Format_ARGB32);
}

// The badge reads on any bar, but one of just its own colour: there a fine line in that of the text helps.
QImage drawForBar(const QString& name, int side, QColor line) {
    constexpr float kFine = 0.3F;
    constexpr double kCorner = 0.25; // of the side, as in the drawing
    QImage picture = draw(name, side);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    line.setAlphaF(kFine);
    painter.setPen(QPen(line, 1));
    painter.drawRoundedRect(QRectF(picture.rect()).adjusted(0.5, 0.5, -0.5, -0.5), kCorner * side,
                            kCorner * side);
    return picture;
}

Screen screenOf(const QScreen& screen) {
    return {screen.geometry(), screen.availableGeometry()};
}

class QtFace final : public Face {
  public:
    explicit QtFace(Session& session) : session_(session), palette_(session) {
        registerIcons();
        installAccessibility();
        QApplication::setWindowIcon(QIcon(QPixmap::fromImage(draw(QStringLiteral("merlode"), 128))));
    }

    std::unique_ptr<PanelWindowPart> makePanelWindow(PanelViewController& controller) override {
        return std::make_unique<PanelWindow>(session_, controller);
    }

    std::unique_ptr<StatusItem> makeFallbackItem(StatusItem::Events events) override {
        if (!TrayIcon::isAvailable())
            return nullptr;
        return std::make_unique<TrayIcon>(session_.runLoop(), std::move(events));
    }

    // Not modal: the panel is a drop-down, which has closed by now, and the music is to be controlled
    // meanwhile.
    void chooseFolder(const QString& title, const QString& from,
                      std::function<void(const QString&)> done) override {
        auto* dialog = new QFileDialog(nullptr, title, from);
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        dialog->setFileMode(QFileDialog::Directory);
        dialog->setOption(QFileDialog::ShowDirsOnly);
        QObject::connect(dialog, &QFileDialog::fileSelected, dialog,
                         [&loop = session_.runLoop(), done = std::move(done)](const QString& folder) {
                             loop.async([done, folder] { done(folder); });
                         });
        dialog->show();
    }

    QSizeF statusImageSize() const override { return {kImageSide, kImageSide}; }

    StatusIcon statusIcon(StatusItemViewState state, const QColor& textColor) override {
        auto& icon = icons_[{state, textColor.rgba()}];
        if (icon.name.isEmpty()) {
            const bool open = state == StatusItemViewState::Off;
            icon.name = open ? QStringLiteral("merlode-bar-open") : QStringLiteral("merlode-bar");
            for (const int side : kPictureSides)
                icon.pictures.push_back(drawForBar(icon.name, side, textColor));
        }
        return icon;
    }

    double widthOfString(const QString& text, double fontSize) override {
        QFont font = QApplication::font();
        font.setPixelSize(static_cast<int>(fontSize));
        return QFontMetricsF(font).horizontalAdvance(text);
    }

    // Qt keeps a screen's corner where the desktop has it, and counts from there in points.
    Place placeOf(const QPoint& told) override {
        const QPoint pixel = pixelOf(told);
        for (const auto* screen : QGuiApplication::screens()) {
            const QPoint corner = screen->geometry().topLeft();
            const QRect whole(corner, screen->size() * screen->devicePixelRatio());
            if (whole.contains(pixel))
                return {corner + (pixel - corner) / screen->devicePixelRatio(), screenOf(*screen)};
        }
        return {pixel, mainScreen()};
    }

    Screen mainScreen() override {
        const auto* screen = QGuiApplication::primaryScreen();
        return screen ? screenOf(*screen) : Screen{};
    }

  private:
    QPoint pixelOf(const QPoint& told) {
        // Elsewhere a program learns of the pointer over its own windows only.
        const auto* screen = QGuiApplication::platformName() == QStringLiteral("xcb")
                                 ? QGuiApplication::screenAt(QCursor::pos())
                                 : nullptr;
        if (screen) {
            const double scale = screen->devicePixelRatio();
            const QPointF corner = screen->geometry().topLeft();
            unit_ = pixelsPerUnit(told, corner + (QCursor::pos() - corner) * scale, scale, unit_);
        }
        return (QPointF(told) * unit_).toPoint();
    }

    Session& session_;
    DesktopPalette palette_;
    double unit_ = 1; ///< pixels in what the bar counts in
    std::map<std::pair<StatusItemViewState, QRgb>, StatusIcon> icons_;
};

} // namespace

std::unique_ptr<Face> makeQtFace(Session& session) {
    return std::make_unique<QtFace>(session);
}

} // namespace merlode
