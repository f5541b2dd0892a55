#include <QApplication>
#include <QLocale>

#include <QTemporaryDir>

#include <gtest/gtest.h>

// Widget tests run on the offscreen platform: real events, no display.
int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // The user's own artwork folder lives under here: never the real one.
    const QTemporaryDir data;
    qputenv("XDG_DATA_HOME", QFile::encodeName(data.path()));
    QApplication app(argc, argv);
    // Readouts are read as English numbers ("1.25") whatever the machine's locale.
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
