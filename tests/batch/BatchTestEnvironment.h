#pragma once

#include <QApplication>
#include <QTemporaryDir>
#include <QtTest>

#include <cstdlib>

// Runs a Qt Test object with the user's folders moved into a temporary home,
// so the default output folder ("Vantora" on the desktop) and anything Qt
// writes for the user land there and never on the real desktop. The
// variables must be set before the application object exists.
#define PICTOVA_BATCH_TEST_MAIN(TestClass)                                        \
    int main(int argc, char** argv)                                                \
    {                                                                              \
        QTemporaryDir home;                                                        \
        if (!home.isValid())                                                       \
            return 2;                                                              \
        qputenv("HOME", home.path().toLocal8Bit());                                \
        qputenv("XDG_CONFIG_HOME", (home.path() + "/.config").toLocal8Bit());      \
        qputenv("XDG_DATA_HOME", (home.path() + "/.local/share").toLocal8Bit());   \
        qputenv("XDG_CACHE_HOME", (home.path() + "/.cache").toLocal8Bit());        \
        qunsetenv("XDG_DESKTOP_DIR");                                              \
        QApplication app(argc, argv);                                              \
        app.setAttribute(Qt::AA_Use96Dpi, true);                                   \
        TestClass test;                                                            \
        return QTest::qExec(&test, argc, argv);                                    \
    }
