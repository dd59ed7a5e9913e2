#include <QCoreApplication>

#include <gtest/gtest.h>

// Every test program has a core application: the Qt run loop, the image readers and D-Bus need one. None
// needs a display.
int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
