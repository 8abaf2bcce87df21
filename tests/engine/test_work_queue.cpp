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
    void orderMarkerAndCarryOver();
    void fourTakersShareEveryPathExactlyOnce();
};

void WorkQueueTest::orderMarkerAndCarryOver()
{
    WorkQueue queue;
    QCOMPARE(queue.take(), QString("exit"));
    QCOMPARE(queue.take(), QString("exit")); // the marker is made up, never used up
    // Odd items, the marker's own text included, come out as they went in.
    const QStringList run1{"/x/1.HEIC", "exit", "", "/x/1.HEIC", "/y/ü.heic"};
    for (const QString& item : run1)
        queue.put(item);
    QCOMPARE(queue.take(), run1[0]); // the run is stopped here
    // What the stopped run left goes before the next run's paths.
    queue.put("/run2/a");
    for (const QString& item : run1.mid(1))
        QCOMPARE(queue.take(), item);
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

PICTOVA_TEST_MAIN_WITH_TEMP_HOME(WorkQueueTest)
#include "test_work_queue.moc"
