#include "ui/widgets/qt_face.h"

#include "base/session.h"
#include "ui/widgets/panel_window.h"
#include "ui/widgets/tray_icon.h"

#include <QApplication>
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

QImage draw(const QString& name, int side, const QColor& around) {
    QImage picture(side, side, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    QSvgRenderer drawing(QStringLiteral(":/merlode/icons/%1.svg").arg(name));
    QPainter painter(&picture);
    drawing.render(&painter);
    Q_UNUSED(around);
    painter.end();
    return picture.convertToFormat(QImage::Format_ARGB32);
}

Screen screenOf(const QScreen& screen) {
    return {screen.geometry(), screen.availableGeometry()};
}

class QtFace final : public Face {
  public:
    explicit QtFace(Session& session) : session_(session) {
        registerIcons();
        QApplication::setWindowIcon(QIcon(QPixmap::fromImage(draw(QStringLiteral("merlode"), 128, {}))));
    }

    std::unique_ptr<PanelWindowPart> makePanelWindow(PanelViewController& controller) override {
        return std::make_unique<PanelWindow>(session_, controller);
    }

    std::unique_ptr<StatusItem> makeFallbackItem(StatusItem::Events events) override {
        if (!TrayIcon::isAvailable())
            return nullptr;
        return std::make_unique<TrayIcon>(session_.runLoop(), std::move(events));
    }

    QSizeF statusImageSize() const override { return {kImageSide, kImageSide}; }

    StatusIcon statusIcon(StatusItemViewState state, const QColor& textColor) override {
        auto& icon = icons_[{state, textColor.rgba()}];
        if (icon.name.isEmpty()) {
            const bool open = state == StatusItemViewState::Off;
            icon.name = open ? QStringLiteral("merlode-bar-open") : QStringLiteral("merlode-bar");
            for (const int side : kPictureSides)
                icon.pictures.push_back(draw(icon.name, side, textColor));
        }
        return icon;
    }

    double widthOfString(const QString& text, double fontSize) override {
        QFont font = QApplication::font();
        font.setPixelSize(static_cast<int>(fontSize));
        return QFontMetricsF(font).horizontalAdvance(text);
    }

    // Qt keeps a screen's corner where the desktop has it, and counts from there in points.
    Place placeOf(const QPoint& pixel) override {
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
    Session& session_;
    std::map<std::pair<StatusItemViewState, QRgb>, StatusIcon> icons_;
};

} // namespace

std::unique_ptr<Face> makeQtFace(Session& session) {
    return std::make_unique<QtFace>(session);
}

} // namespace merlode
