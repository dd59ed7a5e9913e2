#include "ui/widgets/message_box_alerts.h"

#include <QApplication>

// Loaded where there is a display: a program without one does not carry the widgets.
extern "C" {

QCoreApplication* merlodeMakeApplication(int* argc, char** argv) {
    auto* application = new QApplication(*argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    return application;
}

merlode::Alerts* merlodeMakeAlerts(merlode::RunLoop* loop) {
    return new merlode::MessageBoxAlerts(*loop);
}
}
