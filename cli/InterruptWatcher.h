#pragma once

#include <QObject>
#include <QTimer>

// Turns Ctrl-C (SIGINT), SIGTERM and SIGHUP into a Qt signal on the thread
// that owns the watcher; only one watcher may exist at a time. The signal handler only sets a flag, the one thing it may
// safely do; a timer on the event loop looks at the flag. A Ctrl-C after the
// stop was acted on ends the process at once with status 130, removing the
// temporary files of the writes under way first.
//
// Also ignores SIGPIPE, so that a closed pipe on stdout (`| head`) does not
// kill the process while a worker is writing a photo.
class InterruptWatcher : public QObject
{
    Q_OBJECT

public:
    explicit InterruptWatcher(QObject* parent = nullptr);
    ~InterruptWatcher() override;

    static constexpr int kExitInterrupted = 130;

    // True from the first Ctrl-C on, even before the event loop has run.
    bool isInterrupted() const;

signals:
    // Once, at the first Ctrl-C, SIGTERM or SIGHUP.
    void interrupted();

private:
    void poll();

    QTimer m_timer;
};
