#include "EngineTestSupport.h"
#include "WorkQueue.h"

#include <algorithm>
#include <array>
#include <thread>
#include <vector>

class WorkQueueTest : public QObject
{
    Q_OBJECT

private slots:
    void emptyQueueAnswersExitEveryTime();
    void firstInFirstOutWithOddItems();
    void leftOversComeBeforeTheNextRun();
    void fourTakersShareEveryPathExactlyOnce();
    void globalQueueIsOneObject();
};

void WorkQueueTest::emptyQueueAnswersExitEveryTime()
{
    WorkQueue queue;
    for (int i = 0; i < 3; ++i)
        QCOMPARE(queue.take(), QString("exit"));
    // The marker is made up, never stored: a put afterwards comes out first.
    queue.put("/a.heic");
    QCOMPARE(queue.take(), QString("/a.heic"));
    QCOMPARE(queue.take(), QString("exit"));
}

void WorkQueueTest::firstInFirstOutWithOddItems()
{
    WorkQueue queue;
    const QStringList items{"/x/1.HEIC", "exit", "", "/x/1.HEIC", "/y/ü.heic"};
    for (const QString& item : items)
        queue.put(item);
    for (const QString& item : items)
        QCOMPARE(queue.take(), item);
    QCOMPARE(queue.take(), QString("exit"));
}

void WorkQueueTest::leftOversComeBeforeTheNextRun()
{
    WorkQueue queue;
    queue.put("/run1/a");
    queue.put("/run1/b");
    queue.put("/run1/c");
    QCOMPARE(queue.take(), QString("/run1/a")); // the run is stopped here
    queue.put("/run2/a");
    QCOMPARE(queue.take(), QString("/run1/b"));
    QCOMPARE(queue.take(), QString("/run1/c"));
    QCOMPARE(queue.take(), QString("/run2/a"));
    QCOMPARE(queue.take(), QString("exit"));
}

void WorkQueueTest::fourTakersShareEveryPathExactlyOnce()
{
    constexpr int kPaths = 4000;
    WorkQueue queue;
    for (int i = 0; i < kPaths; ++i)
        queue.put(QString::number(i));

    // Takers run as the workers do: take until the marker comes.
    std::array<std::vector<QString>, 4> taken;
    std::array<int, 4> exits{};
    std::vector<std::thread> takers;
    for (int t = 0; t < 4; ++t) {
        takers.emplace_back([&, t] {
            for (;;) {
                QString path = queue.take();
                if (path == QLatin1String("exit")) {
                    ++exits[t];
                    return;
                }
                taken[t].push_back(std::move(path));
            }
        });
    }
    for (auto& taker : takers)
        taker.join();

    std::vector<int> seen;
    for (const auto& list : taken) {
        // Each taker sees its share in queue order.
        for (std::size_t i = 1; i < list.size(); ++i)
            QVERIFY(list[i - 1].toInt() < list[i].toInt());
        for (const QString& path : list)
            seen.push_back(path.toInt());
    }
    std::sort(seen.begin(), seen.end());
    QCOMPARE(int(seen.size()), kPaths);
    for (int i = 0; i < kPaths; ++i)
        QCOMPARE(seen[std::size_t(i)], i);
    for (int count : exits)
        QCOMPARE(count, 1);
    QCOMPARE(queue.take(), QString("exit"));
}

void WorkQueueTest::globalQueueIsOneObject()
{
    QCOMPARE(&WorkQueue::global(), &WorkQueue::global());
    WorkQueue::global().put("/g");
    QCOMPARE(WorkQueue::global().take(), QString("/g"));
    QCOMPARE(WorkQueue::global().take(), QString("exit"));
}

PICTOVA_TEST_MAIN_WITH_TEMP_HOME(WorkQueueTest)
#include "test_work_queue.moc"
