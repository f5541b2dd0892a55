#include <QGuiApplication>

#include <gtest/gtest.h>

// A GUI application object (offscreen) so clipboard, fonts and image plugins work
// exactly as in the program, without a display.
int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
