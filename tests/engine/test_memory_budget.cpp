#include "TestSandbox.h"
#include "EngineTestSupport.h"
#include "MemoryBudget.h"

#include <atomic>
#include <thread>
#include <vector>

class MemoryBudgetTest : public QObject
{
    Q_OBJECT

private slots:
    void photosWaitForRoomInTheOrderTheyAsked();
};

void MemoryBudgetTest::photosWaitForRoomInTheOrderTheyAsked()
{
    MemoryBudget budget(100);
    std::vector<std::thread> threads;
    // Whatever fails below, no thread is left waiting or unjoined.
    struct Joiner
    {
        MemoryBudget& budget;
        std::vector<std::thread>& threads;
        ~Joiner()
        {
            budget.setLimit(qint64(1) << 40);
            for (std::thread& t : threads)
                if (t.joinable())
                    t.join();
        }
    } joiner{budget, threads};
    std::atomic_int started{0};
    auto ask = [&](qint64 bytes) {
        const int before = budget.waiting();
        threads.emplace_back([&, bytes] {
            budget.acquire(bytes);
            ++started;
        });
        // Each asks only once the one before is in line.
        QTRY_VERIFY(budget.waiting() > before || started.load() == int(threads.size()));
    };

    // Alone, a photo bigger than the whole budget still starts.
    budget.acquire(250);
    QCOMPARE(budget.inUse(), qint64(250));
    ask(60);
    ask(10); // would fit, but waits its turn
    QTest::qWait(100);
    QCOMPARE(started.load(), 0);

    // Room for the first; the small one behind it then fits beside it too.
    budget.release(250);
    QTRY_COMPARE(started.load(), 2);

    // A big photo waiting is not overtaken by a small one asking after it.
    ask(80);
    ask(5);
    QTest::qWait(100);
    QCOMPARE(started.load(), 2);
    // A larger limit lets both in at once.
    budget.setLimit(1000);
    QTRY_COMPARE(started.load(), 4);
    QCOMPARE(budget.inUse(), qint64(155));

    for (std::thread& t : threads)
        t.join();
    QCOMPARE(budget.waiting(), 0);
    for (qint64 bytes : {60, 10, 80, 5})
        budget.release(bytes);
    QCOMPARE(budget.inUse(), qint64(0));
    budget.setLimit(0);
    QVERIFY(budget.limit() > 0); // the default: a share of the machine's memory
}

PICTOVA_TEST_GUILESS_MAIN(MemoryBudgetTest)
#include "test_memory_budget.moc"
