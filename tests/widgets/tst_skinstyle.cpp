#include "TestSandbox.h"
#include "SkinStyle.h"

#include <QFontInfo>
#include <QtTest>

class TestSkinStyle : public QObject
{
    Q_OBJECT

private slots:
    void fontTable_data();
    void fontTable();
    void fontFallsBackToAnInstalledFace();
    void colourTable();
    void sizeHelpers();
};

void TestSkinStyle::fontTable_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<int>("weight");
    QTest::addColumn<int>("pixels");
    // Written out by hand, not computed, so a slip in the rules shows up.
    // The odd ones, the ends of each run of sizes and the out-of-range ends.
    const int table[][3] = {
        {0, 50, 14},  {1, 50, 13},  {2, 62, 15},  {3, 75, 14},  {4, 50, 11},  {5, 75, 11},
        {6, 50, 13},  {15, 75, 17}, {20, 50, 20}, {21, 75, 20}, {22, 75, 27}, {23, 50, 8},
        {24, 50, 9},  {35, 75, 14}, {55, 75, 24}, {56, 50, 27}, {57, 50, 15}, {-1, 50, 15}};
    for (const auto& row : table)
        QTest::addRow("font(%d)", row[0]) << row[0] << row[1] << row[2];
}

void TestSkinStyle::fontTable()
{
    QFETCH(int, index);
    QFETCH(int, weight);
    QFETCH(int, pixels);
    const QFont f = SkinStyle().font(index);
    QCOMPARE(f.family(), QStringLiteral("Segoe UI"));
    QCOMPARE(f.weight(), weight);
    QCOMPARE(f.pixelSize(), pixels);
    QCOMPARE(f.pointSize(), -1);
    QCOMPARE(f.styleStrategy(), index == 22 ? QFont::PreferAntialias : QFont::PreferDefault);
}

void TestSkinStyle::fontFallsBackToAnInstalledFace()
{
    const SkinStyle style;
    const QFontInfo shown(style.font(34));
    if (shown.family() == QLatin1String("Segoe UI"))
        QSKIP("Segoe UI itself is installed");
    // Without the substitution fontconfig picks its own default, usually
    // DejaVu Sans, whose width breaks the fixed-size layouts.
    const QStringList wanted = {"Open Sans", "Noto Sans", "Liberation Sans"};
    QVERIFY2(wanted.contains(shown.family()), qPrintable(shown.family()));
}

void TestSkinStyle::colourTable()
{
    const SkinStyle style;
    QCOMPARE(style.color(1), QColor(97, 108, 114));
    QCOMPARE(style.color(2), QColor(120, 120, 120));
    QCOMPARE(style.color(5), QColor(21, 160, 245));
    QCOMPARE(style.color(6), QColor(88, 88, 88));
    QCOMPARE(style.color(7), QColor(85, 179, 104));
    QCOMPARE(style.color(8), QColor(169, 169, 169));
    for (int other : {0, 3, 4, 9, -5})
        QCOMPARE(style.color(other), QColor(Qt::white));
}

void TestSkinStyle::sizeHelpers()
{
    double out = -1;
    QCOMPARE(SkinStyle::scaleSize(1024.0, 1024.0, out), 0); // not above 1024: untouched
    QCOMPARE(out, 1024.0);
    QCOMPARE(SkinStyle::scaleSize(3.0 * 1024 * 1024, 1024.0, out), 2);
    QCOMPARE(out, 3.0);
    QCOMPARE(SkinStyle::scaleSize(5000.0, 10.0, out), 1);
    QCOMPARE(out, 500.0);
    // Values that could never come down end instead of recursing forever.
    QCOMPARE(SkinStyle::scaleSize(5000.0, 1.0, out), 0);
    QCOMPARE(SkinStyle::scaleSize(qInf(), 1024.0, out), 0);
}

PICTOVA_TEST_MAIN(TestSkinStyle)
#include "tst_skinstyle.moc"
