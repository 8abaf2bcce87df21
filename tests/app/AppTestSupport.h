#pragma once

// Shared by the main window tests: a private home for each run, and answers
// to modal dialogs opened by the code under test.

#include <QApplication>
#include <QDir>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTimer>
#include <QWidget>

#include <cstdio>
#include <cstdlib>
#include <functional>

namespace AppTestSupport {

// Points HOME and the XDG folders at `home` before the application object
// exists, so the desktop (the default output folder) and the instance lock
// are private to the run.
inline void useHome(const QTemporaryDir& home)
{
    const QByteArray path = QFile::encodeName(home.path());
    qputenv("HOME", path);
    qputenv("XDG_CONFIG_HOME", path + "/config");
    qputenv("XDG_DATA_HOME", path + "/data");
    qputenv("XDG_CACHE_HOME", path + "/cache");
    qputenv("XDG_RUNTIME_DIR", path);
}

// Makes the desktop folder, as every real home has one. False when the
// desktop still points elsewhere: then the test must not run.
inline bool desktopIsInside(const QTemporaryDir& home)
{
    const QString desktop = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
    return !desktop.isEmpty()
        && QDir(desktop).absolutePath().startsWith(QDir(home.path()).absolutePath())
        && QDir().mkpath(desktop);
}

// Runs `answer` on the next modal widget of class `className` (any class
// when null), from inside the event loop that the modal's exec() runs. The
// answer must close it. Gives up after `timeoutMs`.
inline void answerNextModal(std::function<void(QWidget*)> answer, const char* className = nullptr,
                            int timeoutMs = 10000)
{
    QTimer::singleShot(10, [answer = std::move(answer), className, timeoutMs]() mutable {
        QWidget* modal = QApplication::activeModalWidget();
        if (modal && modal->isVisible()
            && (!className || modal->metaObject()->className() == QByteArray(className))) {
            answer(modal);
            return;
        }
        if (timeoutMs > 0)
            answerNextModal(std::move(answer), className, timeoutMs - 10);
    });
}

// Calls `action` once `condition` holds, polling from the event loop, or
// `onTimeout` when it has not held within `timeoutMs`.
inline void whenTrue(std::function<bool()> condition, std::function<void()> action,
                     std::function<void()> onTimeout, int timeoutMs)
{
    QTimer::singleShot(20, [=] {
        if (condition())
            action();
        else if (timeoutMs <= 0)
            onTimeout();
        else
            whenTrue(condition, action, onTimeout, timeoutMs - 20);
    });
}

} // namespace AppTestSupport

// main() for the main window tests: a private home first, then the
// application, then the test object.
#define PICTOVA_APP_TEST_MAIN(TestObject)                                                    \
    int main(int argc, char** argv)                                                          \
    {                                                                                        \
        QTemporaryDir home;                                                                  \
        if (!home.isValid())                                                                 \
            return 1;                                                                        \
        AppTestSupport::useHome(home);                                                       \
        QApplication app(argc, argv);                                                        \
        if (!AppTestSupport::desktopIsInside(home)) {                                        \
            std::fprintf(stderr, "desktop is not inside the test home; refusing to run\n"); \
            return 1;                                                                        \
        }                                                                                    \
        TestObject test;                                                                     \
        return QTest::qExec(&test, argc, argv);                                              \
    }
