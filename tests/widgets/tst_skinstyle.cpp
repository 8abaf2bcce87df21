#include "ShadowFrame.h"
#include "SkinStyle.h"

#include <QFontInfo>
#include <QImage>
#include <QPainter>
#include <QWidget>
#include <QtTest>

namespace {

// Paints only the shadow frame, like every dialog does.
class Card : public QWidget
{
public:
    Card() { setAttribute(Qt::WA_TranslucentBackground); }

protected:
    void paintEvent(QPaintEvent*) override { ShadowFrame().paint(this); }
};

} // namespace

class TestSkinStyle : public QObject
{
    Q_OBJECT

private slots:
    void fontTable_data();
    void fontTable();
    void fontAtIndex22PrefersAntialias();
    void fontFallsBackToAnInstalledFace();
    void colourTable();
    void sizeHelpers();
    void skinDirIsBesideTheProgram();
    void shadowFrame();
};

void TestSkinStyle::fontTable_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<int>("weight");
    QTest::addColumn<int>("pixels");
    // Written out by hand, not computed, so a slip in the rules shows up.
    const int table[][3] = {
        {0, 50, 14},  {1, 50, 13},  {2, 62, 15},  {3, 75, 14},  {4, 50, 11},  {5, 75, 11},
        {6, 50, 13},  {7, 75, 13},  {8, 50, 14},  {9, 75, 14},  {10, 50, 15}, {11, 75, 15},
        {12, 50, 16}, {13, 75, 16}, {14, 50, 17}, {15, 75, 17}, {20, 50, 20}, {21, 75, 20},
        {22, 75, 27}, {23, 50, 8},  {24, 50, 9},  {25, 75, 9},  {26, 50, 10}, {27, 75, 10},
        {31, 75, 12}, {32, 50, 13}, {34, 50, 14}, {35, 75, 14}, {38, 50, 16}, {39, 75, 16},
        {42, 50, 18}, {43, 75, 18}, {54, 50, 24}, {55, 75, 24}, {56, 50, 27}, {57, 50, 15},
        {-1, 50, 15}, {1000, 50, 15}};
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
    QVERIFY(!f.italic());
}

void TestSkinStyle::fontAtIndex22PrefersAntialias()
{
    const SkinStyle style;
    QCOMPARE(style.font(22).styleStrategy(), QFont::PreferAntialias);
    QCOMPARE(style.font(21).styleStrategy(), QFont::PreferDefault);
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
    for (int other : {0, 3, 4, 9, -5, 100})
        QCOMPARE(style.color(other), QColor(Qt::white));
}

void TestSkinStyle::sizeHelpers()
{
    QCOMPARE(SkinStyle::unitName(0), QStringLiteral("Byte"));
    QCOMPARE(SkinStyle::unitName(1), QStringLiteral("KB"));
    QCOMPARE(SkinStyle::unitName(2), QStringLiteral("MB"));
    QCOMPARE(SkinStyle::unitName(3), QStringLiteral("GB"));
    QCOMPARE(SkinStyle::unitName(-1), QStringLiteral("GB"));

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

void TestSkinStyle::skinDirIsBesideTheProgram()
{
    QCOMPARE(SkinStyle().skinDir(), QCoreApplication::applicationDirPath() + "/Skin");
    QCOMPARE(SkinStyle::skinDirFor("C:/Program Files/Pictova"), QStringLiteral("C:/Program Files/Pictova/Skin"));
}

void TestSkinStyle::shadowFrame()
{
    QCOMPARE(ShadowFrame::outlineAlpha(0), 111);
    QCOMPARE(ShadowFrame::outlineAlpha(1), 61);
    QCOMPARE(ShadowFrame::outlineAlpha(2), 41);
    QCOMPARE(ShadowFrame::outlineAlpha(3), 25);
    QCOMPARE(ShadowFrame::outlineAlpha(4), 11);

    Card card;
    card.resize(60, 40);
    QImage image(card.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    card.render(&image, QPoint(), QRegion(), QWidget::DrawChildren);

    // The card inside the margin is opaque white.
    for (QPoint p : {QPoint(7, 7), QPoint(30, 20), QPoint(52, 32)})
        QCOMPARE(image.pixelColor(p), QColor(Qt::white));
    // The outline fades outward across the five-pixel margin, in blue.
    const int mid = 20;
    int previous = 256;
    for (int x = 4; x >= 0; --x) {
        const QColor c = image.pixelColor(x, mid);
        QVERIFY2(c.alpha() > 0 && c.alpha() < previous, qPrintable(QString("x=%1 alpha=%2").arg(x).arg(c.alpha())));
        QVERIFY(c.blue() > c.red());
        previous = c.alpha();
    }
}

QTEST_MAIN(TestSkinStyle)
#include "tst_skinstyle.moc"
