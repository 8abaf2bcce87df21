#include "InterruptWatcher.h"

#include <atomic>
#include <csignal>
#include <cstdlib>

namespace {

// Lock-free on every system we build for, hence safe in a signal handler.
std::atomic_int g_interrupts{0};

extern "C" void onInterrupt(int signalNumber)
{
    if (g_interrupts.fetch_add(1) > 0)
        std::_Exit(InterruptWatcher::kExitInterrupted);
    // Some systems reset the handler once it has run.
    std::signal(signalNumber, onInterrupt);
}

// How soon a Ctrl-C is acted on; the workers only look between photos anyway.
constexpr int kPollMs = 50;

} // namespace

InterruptWatcher::InterruptWatcher(QObject* parent) : QObject(parent)
{
    g_interrupts.store(0);
    std::signal(SIGINT, onInterrupt);
    std::signal(SIGTERM, onInterrupt);
#ifdef SIGPIPE
    std::signal(SIGPIPE, SIG_IGN);
#endif
    connect(&m_timer, &QTimer::timeout, this, &InterruptWatcher::poll);
    m_timer.start(kPollMs);
}

InterruptWatcher::~InterruptWatcher()
{
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
}

void InterruptWatcher::poll()
{
    if (m_reported || g_interrupts.load() == 0)
        return;
    m_reported = true;
    emit interrupted();
}
