#include "TestSandbox.h"
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
    ConvertJob job;
    QVERIFY(!queue.take(&job));
    // Odd items come out as they went in: "exit" is a photo like any other.
    const QStringList run1{"/x/1.HEIC", "exit", "", "/x/1.HEIC", "/y/ü.heic"};
    for (const QString& item : run1)
        queue.put(item);
    QVERIFY(queue.take(&job));
    QCOMPARE(job.source, run1[0]);
    // A cancelled run leaves nothing behind for the next one.
    QCOMPARE(queue.clear(), run1.size() - 1);
    queue.put(ConvertJob{"/run2/a", "/out/a (2).jpg"});
    QVERIFY(queue.take(&job));
    QCOMPARE(job.source, QString("/run2/a"));
    QCOMPARE(job.target, QString("/out/a (2).jpg"));
    QVERIFY(!queue.take(&job));
}

void WorkQueueTest::fourTakersShareEveryPathExactlyOnce()
{
    constexpr int kPaths = 4000;
    WorkQueue queue;
    for (int i = 0; i < kPaths; ++i)
        queue.put(QString::number(i));

    // Takers run as the workers do: take until the queue is empty.
    std::array<std::vector<QString>, 4> taken;
    std::array<int, 4> exits{};
    std::vector<std::thread> takers;
    for (int t = 0; t < 4; ++t) {
        takers.emplace_back([&, t] {
            ConvertJob job;
            while (queue.take(&job))
                taken[t].push_back(job.source);
            ++exits[t];
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
    ConvertJob job;
    QVERIFY(!queue.take(&job));
}

PICTOVA_TEST_GUILESS_MAIN(WorkQueueTest)
#include "test_work_queue.moc"
