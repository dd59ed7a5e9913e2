#include "ui/widgets/accessibility.h"

#include <QApplication>

#include <gtest/gtest.h>

// Widgets need an application of their kind, and a place to be drawn on: in memory, unless somebody who wants
// to see them names another.
int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    merlode::installAccessibility();
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
