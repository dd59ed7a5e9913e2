#include "ui/widgets/message_box_alerts.h"
#include "ui/widgets/qt_face.h"
#include "ui/window_controllers.h"

#include <QApplication>

// Loaded where there is a display: a program without one does not carry the widgets.
extern "C" {

QCoreApplication* merlodeMakeApplication(int* argc, char** argv) {
    auto* application = new QApplication(*argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QGuiApplication::setDesktopFileName(QStringLiteral("co.vantry.Merlode"));
    return application;
}

merlode::Alerts* merlodeMakeAlerts(merlode::RunLoop* loop) {
    return new merlode::MessageBoxAlerts(*loop);
}

merlode::WindowsLink* merlodeMakeWindows(merlode::Session* session, const merlode::WindowOptions* options) {
    return new merlode::WindowControllers(*session, merlode::makeQtFace(*session), *options);
}
}
