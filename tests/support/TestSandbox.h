#pragma once

// Every test executable runs with the user's folders moved into a temporary
// home, so the default output folder ("Vantora" on the desktop), settings,
// caches and the single-instance lock land there and never in the real home.
// On Windows the whole user profile is a throwaway Wine prefix instead.

#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>
#if defined(QT_WIDGETS_LIB)
#include <QApplication>
#elif defined(QT_GUI_LIB)
#include <QGuiApplication>
#endif

class TestSandbox
{
public:
    // Points HOME and the XDG folders into a new temporary folder. Must run
    // before the application object exists: Qt reads them once.
    TestSandbox();

    // The temporary home of the running test.
    static QString home();

    // True when the folder was made and the desktop Qt reports lies inside
    // it (the desktop is made, as every real home has one). Call once the
    // application exists; the test must not run when it is false.
    bool isSealed() const;

private:
    QTemporaryDir m_home;
};

// main() for a test object: the sandbox first, then `AppClass`, then the test.
#define PICTOVA_TEST_MAIN_WITH(AppClass, TestClass)                                       \
    int main(int argc, char** argv)                                                       \
    {                                                                                     \
        TestSandbox sandbox;                                                              \
        AppClass app(argc, argv);                                                         \
        if (!sandbox.isSealed())                                                          \
            qFatal("the desktop folder %s must be inside the test's temporary home %s",  \
                   qPrintable(QStandardPaths::writableLocation(QStandardPaths::DesktopLocation)), \
                   qPrintable(TestSandbox::home()));                                      \
        QTEST_SET_MAIN_SOURCE_PATH                                                        \
        TestClass test;                                                                   \
        return QTest::qExec(&test, argc, argv);                                           \
    }

// The application class follows what the test links, as QTEST_MAIN does.
#if defined(QT_WIDGETS_LIB)
#define PICTOVA_TEST_MAIN(TestClass) PICTOVA_TEST_MAIN_WITH(QApplication, TestClass)
#elif defined(QT_GUI_LIB)
#define PICTOVA_TEST_MAIN(TestClass) PICTOVA_TEST_MAIN_WITH(QGuiApplication, TestClass)
#else
#define PICTOVA_TEST_MAIN(TestClass) PICTOVA_TEST_MAIN_WITH(QCoreApplication, TestClass)
#endif
#define PICTOVA_TEST_GUILESS_MAIN(TestClass) PICTOVA_TEST_MAIN_WITH(QCoreApplication, TestClass)
