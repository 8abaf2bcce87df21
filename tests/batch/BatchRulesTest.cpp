#include "TestSandbox.h"
#include "BatchRules.h"

#include <QDir>
#include <QtTest>

class BatchRulesTest : public QObject
{
    Q_OBJECT

private slots:
    void countTexts_data()
    {
        // What a person reads at the end of a run: one file, and from two on.
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("finished");
        QTest::addColumn<QString>("failed");
        QTest::addColumn<QString>("cancelled");
        QTest::newRow("none") << 0 << "" << "" << "Saved in /p";
        QTest::newRow("one") << 1 << "1 file have been successfully converted!" << "1 file could not be converted:"
                             << "Saved in /p; 1 file failed";
        QTest::newRow("two") << 2 << "2 files have been successfully converted!" << "2 files could not be converted:"
                             << "Saved in /p; 2 files failed";
        QTest::newRow("many") << 31 << "31 files have been successfully converted!"
                              << "31 files could not be converted:" << "Saved in /p; 31 files failed";
    }

    void countTexts()
    {
        QFETCH(int, count);
        QFETCH(QString, finished);
        QFETCH(QString, failed);
        QFETCH(QString, cancelled);
        QCOMPARE(BatchRules::finishedText(count), finished);
        QCOMPARE(BatchRules::failedText(count), failed);
        QCOMPARE(BatchRules::cancelDetailText(count, "/p"), QDir::toNativeSeparators(cancelled));
    }

    void progressNeverDividesByZero()
    {
        QCOMPARE(BatchRules::progressPercent(1, 3), 33);
        QCOMPARE(BatchRules::progressPercent(3, 3), 100);
        QCOMPARE(BatchRules::progressPercent(2, 0), 0);
    }

    void removeTickedRow_data()
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

    void removeTickedRow()
    {
        QFETCH(QList<int>, before);
        QFETCH(int, row);
        QFETCH(QList<int>, after);
        BatchRules::removeTickedRow(before, row);
        QCOMPARE(before, after);
    }
};

PICTOVA_TEST_GUILESS_MAIN(BatchRulesTest)
#include "BatchRulesTest.moc"
