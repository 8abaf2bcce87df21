#pragma once

namespace decodex {

// Shares the machine's cores between the conversions under way: a lone call
// decodes with every core, four concurrent calls take a core or so each
// instead of each starting one thread per core. The share only changes how
// fast a call runs, never its output.
class ThreadBudget
{
public:
    ThreadBudget();
    ~ThreadBudget();
    ThreadBudget(const ThreadBudget&) = delete;
    ThreadBudget& operator=(const ThreadBudget&) = delete;

    // Threads this call may use, at least 1.
    int threads() const { return m_threads; }

    // The rule itself, for tests: max(1, cores / calls).
    static int share(int cores, int calls);

private:
    int m_threads = 1;
};

} // namespace decodex
