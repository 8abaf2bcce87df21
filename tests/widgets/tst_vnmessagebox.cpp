#include "TestSandbox.h"
#include "VNMessageBox.h"
#include "VNStyleButton.h"
#include "VNStyleWidgetTitle.h"

#include <QTimer>
#include <QtTest>

namespace {

VNStyleButton* button(VNMessageBox& box, const char* name)
{
    return box.findChild<VNStyleButton*>(QLatin1String(name));
}

} // namespace

class TestVNMessageBox : public QObject
{
    Q_OBJECT

private slots:
    void resultIsTheButtonThatClosed_data();
    void resultIsTheButtonThatClosed();
    void onlyFlaggedButtonsShow();
};

void TestVNMessageBox::resultIsTheButtonThatClosed_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("result");
    QTest::newRow("yes") << "pushButton_yes" << 1;
    QTest::newRow("no") << "pushButton_no" << 2;
    QTest::newRow("ok") << "pushButton_ok" << 4;
    QTest::newRow("cancel") << "pushButton_cancel" << 8;
    QTest::newRow("small ok") << "small ok" << 4;
    QTest::newRow("title bar close") << "close" << 0;
}

void TestVNMessageBox::resultIsTheButtonThatClosed()
{
    QFETCH(QString, name);
    QFETCH(int, result);
    VNMessageBox box(QStringLiteral("Overwrite?"), QStringLiteral("Pictova"), 1 | 2 | 4 | 8);
    QAbstractButton* target = nullptr;
    if (name == "close") {
        target = box.findChild<VNStyleWidgetTitle*>(QStringLiteral("widget"))->closeButton();
    } else if (name == "small ok") {
        box.useSmallOkButton();
        target = button(box, "pushButton_ok");
    } else {
        target = button(box, qPrintable(name));
    }
    QVERIFY(target);
    // Run it modally, the way callers do, and click from inside the loop.
    QTimer::singleShot(0, [&] { QTest::mouseClick(target, Qt::LeftButton); });
    box.exec();
    QCOMPARE(box.result(), result);
    QVERIFY(!box.isVisible());
}

void TestVNMessageBox::onlyFlaggedButtonsShow()
{
    VNMessageBox none(QStringLiteral("x"), QString(), 0);
    none.show();
    for (const char* name : {"pushButton_yes", "pushButton_no", "pushButton_ok", "pushButton_cancel"})
        QVERIFY2(!button(none, name)->isVisible(), name);

    VNMessageBox five(QStringLiteral("x"), QString(), 5);
    five.show();
    QVERIFY(button(five, "pushButton_yes")->isVisible());
    QVERIFY(button(five, "pushButton_ok")->isVisible());
    QVERIFY(!button(five, "pushButton_no")->isVisible());
    QVERIFY(!button(five, "pushButton_cancel")->isVisible());
    QVERIFY(button(five, "pushButton_yes")->x() < button(five, "pushButton_ok")->x());
}

PICTOVA_TEST_MAIN(TestVNMessageBox)
#include "tst_vnmessagebox.moc"
