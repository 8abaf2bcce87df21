#include "TestSandbox.h"
#include "BatchRules.h"

#include <QtTest>

class BatchRulesTest : public QObject
{
    Q_OBJECT

private slots:
    void sizeTexts_data();
    void sizeTexts();
    void progress_data();
    void progress();
    void removeTickedRow_data();
    void removeTickedRow();
};

void BatchRulesTest::sizeTexts_data()
{
    QTest::addColumn<double>("bytes");
    QTest::addColumn<QString>("text");
    QTest::newRow("one MiB") << 1048576.0 << "1.0MB";
    QTest::newRow("empty") << 0.0 << "0.0MB";
    // Qt rounds the one decimal; 0.05 MiB is just above the halfway point.
    QTest::newRow("rounded up") << 52429.0 << "0.1MB";
    QTest::newRow("beyond 2 GiB") << 3.0 * 1024 * 1024 * 1024 << "3072.0MB";
}

void BatchRulesTest::sizeTexts()
{
    QFETCH(double, bytes);
    QFETCH(QString, text);
    QCOMPARE(BatchRules::megabytesText(bytes), text);
}

void BatchRulesTest::progress_data()
{
    QTest::addColumn<int>("done");
    QTest::addColumn<int>("total");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("percent");
    QTest::newRow("1 of 3") << 1 << 3 << "1/3" << 33;
    QTest::newRow("2 of 3 truncates") << 2 << 3 << "2/3" << 66;
    QTest::newRow("3 of 3") << 3 << 3 << "3/3" << 100;
    QTest::newRow("29 of 100 falls short") << 29 << 100 << "29/100" << 28;
    QTest::newRow("57 of 100 falls short") << 57 << 100 << "57/100" << 56;
    QTest::newRow("nothing ticked") << 2 << 0 << "2/0" << 0;
}

void BatchRulesTest::progress()
{
    QFETCH(int, done);
    QFETCH(int, total);
    QFETCH(QString, text);
    QFETCH(int, percent);
    QCOMPARE(BatchRules::progressText(done, total), text);
    QCOMPARE(BatchRules::progressPercent(done, total), percent);
}

void BatchRulesTest::removeTickedRow_data()
{
    QTest::addColumn<QList<int>>("before");
    QTest::addColumn<int>("row");
    QTest::addColumn<QList<int>>("after");
    QTest::newRow("single") << QList<int>{2, 0, 5} << 0 << QList<int>{2, 5};
    QTest::newRow("absent") << QList<int>{2, 0} << 7 << QList<int>{2, 0};
    QTest::newRow("second of an adjacent pair survives") << QList<int>{3, 3} << 3 << QList<int>{3};
    QTest::newRow("apart, both go") << QList<int>{4, 0, 4} << 4 << QList<int>{0};
    QTest::newRow("pair in the middle") << QList<int>{0, 2, 2, 1} << 2 << QList<int>{0, 2, 1};
}

void BatchRulesTest::removeTickedRow()
{
    QFETCH(QList<int>, before);
    QFETCH(int, row);
    QFETCH(QList<int>, after);
    BatchRules::removeTickedRow(before, row);
    QCOMPARE(before, after);
}

PICTOVA_TEST_GUILESS_MAIN(BatchRulesTest)
#include "BatchRulesTest.moc"
