#include "InterruptWatcher.h"

#include "AtomicFileWriter.h"

#include <atomic>
#include <csignal>
#include <initializer_list>
#include <cstdlib>

namespace {

// What the handler knows: nothing asked yet, a stop asked, or a stop asked
// and already acted on. Lock-free on every system we build for, hence safe
// in a signal handler.
enum : int { kIdle, kAsked, kActedOn };
std::atomic_int g_state{kIdle};

extern "C" void onInterrupt(int signalNumber)
{
    // Only a Ctrl-C after the stop was acted on quits at once: tools such as
    // timeout(1) send one interrupt to the process and again to its group,
    // and that pair must not count as two.
    if (g_state.load() == kActedOn) {
        // The photos in hand are abandoned: their hidden temporary files go.
        AtomicFileWriter::removeTemporaryFiles();
        std::_Exit(InterruptWatcher::kExitInterrupted);
    }
    g_state.store(kAsked);
    // Some systems reset the handler once it has run.
    std::signal(signalNumber, onInterrupt);
}

// How soon a Ctrl-C is acted on; the workers only look between photos anyway.
constexpr int kPollMs = 50;

// Ctrl-C, a polite kill, and a closed terminal (SIGHUP, where there is one)
// all stop the run the same way.
const std::initializer_list<int> kStopSignals = {SIGINT, SIGTERM,
#ifdef SIGHUP
                                                 SIGHUP,
#endif
};

} // namespace

InterruptWatcher::InterruptWatcher(QObject* parent) : QObject(parent)
{
    g_state.store(kIdle);
    for (int signalNumber : kStopSignals) {
        // A signal ignored when we started stays ignored: a shell starts
        // background jobs that way so that Ctrl-C at the terminal spares them.
        if (std::signal(signalNumber, onInterrupt) == SIG_IGN)
            std::signal(signalNumber, SIG_IGN);
    }
#ifdef SIGPIPE
    std::signal(SIGPIPE, SIG_IGN);
#endif
    connect(&m_timer, &QTimer::timeout, this, &InterruptWatcher::poll);
    m_timer.start(kPollMs);
}

InterruptWatcher::~InterruptWatcher()
{
    for (int signalNumber : kStopSignals)
        if (std::signal(signalNumber, SIG_DFL) == SIG_IGN)
            std::signal(signalNumber, SIG_IGN);
}

bool InterruptWatcher::isInterrupted() const
{
    return g_state.load() != kIdle;
}

void InterruptWatcher::poll()
{
    int asked = kAsked;
    if (g_state.compare_exchange_strong(asked, kActedOn))
        emit interrupted();
}
