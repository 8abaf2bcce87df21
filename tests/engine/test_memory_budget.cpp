#include "EngineTestSupport.h"
#include "MemoryBudget.h"

#include <atomic>
#include <functional>
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
    std::atomic_int started{0};
    QStringList order;
    std::mutex orderMutex;
    auto ask = [&](const QString& name, qint64 bytes) {
        threads.emplace_back([&, name, bytes] {
            budget.acquire(bytes);
            {
                const std::lock_guard<std::mutex> lock(orderMutex);
                order << name;
            }
            ++started;
        });
        // Each asks only once the one before is in line.
        QTest::qWait(50);
    };

    // Alone, a photo bigger than the whole budget still starts.
    budget.acquire(250);
    QCOMPARE(budget.inUse(), qint64(250));
    ask("fits later", 60);
    ask("small, behind it", 10);
    QTest::qWait(100);
    QCOMPARE(started.load(), 0);

    // Room for the first; the small one behind it then fits beside it too.
    budget.release(250);
    QTRY_COMPARE(started.load(), 2);
    QCOMPARE(order, QStringList({"fits later", "small, behind it"}));

    // A big photo waiting is not overtaken by a small one asking after it.
    ask("big", 80);
    ask("small, after the big", 5);
    QTest::qWait(100);
    QCOMPARE(started.load(), 2);
    // A larger limit lets both in at once.
    budget.setLimit(1000);
    QTRY_COMPARE(started.load(), 4);
    QCOMPARE(order.mid(2), QStringList({"big", "small, after the big"}));
    QCOMPARE(budget.inUse(), qint64(155));

    for (std::thread& t : threads)
        t.join();
    for (qint64 bytes : {60, 10, 80, 5})
        budget.release(bytes);
    QCOMPARE(budget.inUse(), qint64(0));
    budget.setLimit(0);
    QVERIFY(budget.limit() > 0); // the default: a share of the machine's memory
}

PICTOVA_TEST_MAIN_WITH_TEMP_HOME(MemoryBudgetTest)
#include "test_memory_budget.moc"
