#include "ThreadBudget.h"

#include <algorithm>
#include <atomic>
#include <thread>

namespace decodex {

namespace {
std::atomic<int> g_callsUnderWay{0};
}

ThreadBudget::ThreadBudget()
{
    const int calls = g_callsUnderWay.fetch_add(1) + 1;
    m_threads = share(int(std::thread::hardware_concurrency()), calls);
}

ThreadBudget::~ThreadBudget()
{
    g_callsUnderWay.fetch_sub(1);
}

int ThreadBudget::share(int cores, int calls)
{
    return std::max(1, std::max(1, cores) / std::max(1, calls));
}

} // namespace decodex
