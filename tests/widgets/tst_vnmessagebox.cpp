#include "VNMessageBox.h"
#include "VNStyleButton.h"
#include "VNStyleWidgetTitle.h"

#include <QLabel>
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
    void titleBarCloseGivesZero();
    void onlyFlaggedButtonsShow();
    void textsAndTitle();
    void smallOkButton();
};

void TestVNMessageBox::resultIsTheButtonThatClosed_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("result");
    QTest::newRow("yes") << "pushButton_yes" << 1;
    QTest::newRow("no") << "pushButton_no" << 2;
    QTest::newRow("ok") << "pushButton_ok" << 4;
    QTest::newRow("cancel") << "pushButton_cancel" << 8;
}

void TestVNMessageBox::resultIsTheButtonThatClosed()
{
    QFETCH(QString, name);
    QFETCH(int, result);
    VNMessageBox box(QStringLiteral("Overwrite?"), QStringLiteral("Pictova"), 1 | 2 | 4 | 8);
    VNStyleButton* target = button(box, qPrintable(name));
    QVERIFY(target);
    // Run it modally, the way callers do, and click from inside the loop.
    QTimer::singleShot(0, [&] { QTest::mouseClick(target, Qt::LeftButton); });
    box.exec();
    QCOMPARE(box.result(), result);
    QVERIFY(!box.isVisible());
}

void TestVNMessageBox::titleBarCloseGivesZero()
{
    VNMessageBox box(QStringLiteral("Nothing to choose"), QString(), 0);
    auto* title = box.findChild<VNStyleWidgetTitle*>(QStringLiteral("widget"));
    QVERIFY(title);
    QTimer::singleShot(0, [&] { QTest::mouseClick(title->closeButton(), Qt::LeftButton); });
    box.exec();
    QCOMPARE(box.result(), 0);
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

void TestVNMessageBox::textsAndTitle()
{
    VNMessageBox box(QStringLiteral("The folder cannot be written."), QString(), 2);
    auto* title = box.findChild<VNStyleWidgetTitle*>(QStringLiteral("widget"));
    QCOMPARE(title->titleText(), VNMessageBox::defaultTitle());
    QVERIFY(!VNMessageBox::defaultTitle().isEmpty());
    QCOMPARE(box.findChild<QLabel*>(QStringLiteral("label"))->text(), QStringLiteral("The folder cannot be written."));
    QCOMPARE(button(box, "pushButton_no")->text(), QStringLiteral("NO"));

    box.setButtonTexts("Sure", "Never", "Fine", "Stop");
    QCOMPARE(button(box, "pushButton_yes")->text(), QStringLiteral("Sure"));
    QCOMPARE(button(box, "pushButton_no")->text(), QStringLiteral("Never"));
    QCOMPARE(button(box, "pushButton_ok")->text(), QStringLiteral("Fine"));
    QCOMPARE(button(box, "pushButton_cancel")->text(), QStringLiteral("Stop"));

    VNMessageBox titled(QStringLiteral("x"), QStringLiteral("Done"), 4);
    QCOMPARE(titled.findChild<VNStyleWidgetTitle*>(QStringLiteral("widget"))->titleText(), QStringLiteral("Done"));
}

void TestVNMessageBox::smallOkButton()
{
    VNMessageBox box(QStringLiteral("x"), QString(), 4);
    box.useSmallOkButton();
    VNStyleButton* ok = button(box, "pushButton_ok");
    QCOMPARE(ok->size(), QSize(105, 21));
    QVERIFY(ok->currentImage().endsWith(QLatin1String("/ok_105_21_1.png")));
    QTimer::singleShot(0, [&] { QTest::mouseClick(ok, Qt::LeftButton); });
    box.exec();
    QCOMPARE(box.result(), 4);
}

QTEST_MAIN(TestVNMessageBox)
#include "tst_vnmessagebox.moc"
