#include <QGuiApplication>

#include <QTemporaryDir>

#include <gtest/gtest.h>

// A GUI application object (offscreen) so clipboard, fonts and image plugins work
// exactly as in the program, without a display.
int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // The user's own artwork folder lives under here: never the real one.
    const QTemporaryDir data;
    qputenv("XDG_DATA_HOME", QFile::encodeName(data.path()));
    QGuiApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
