#pragma once

// Shared by the main window tests: answers to modal dialogs opened by the
// code under test, and waiting for a condition from the event loop.

#include <QApplication>
#include <QTimer>
#include <QWidget>

#include <functional>

namespace AppTestSupport {

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
