#include "TestSandbox.h"
#include "TipDialog.h"
#include "VNStyleButton.h"
#include "VNStyleWidgetTitle.h"

#include <QLabel>
#include <QSignalSpy>
#include <QtTest>

#include <memory>
#include <vector>

namespace {

struct Tip
{
    TipDialog dialog;
    VNStyleButton* yes = dialog.findChild<VNStyleButton*>(QStringLiteral("pushButton_Yes"));
    VNStyleButton* ok = dialog.findChild<VNStyleButton*>(QStringLiteral("pushButton_OK"));
    QLabel* headline = dialog.findChild<QLabel*>(QStringLiteral("label_StatesText"));
    QLabel* second = dialog.findChild<QLabel*>(QStringLiteral("label_SuccessText"));
    VNStyleWidgetTitle* title = dialog.findChild<VNStyleWidgetTitle*>(QStringLiteral("widget_Title"));

    Tip() { dialog.show(); }
    void click(QWidget* button) { QTest::mouseClick(button, Qt::LeftButton); }
};


} // namespace

class TestTipDialog : public QObject
{
    Q_OBJECT

private slots:
    void cancelledCountTurnsNoIntoOk();
    void quitSignalsThenCloses();
    void variantsDropOnlySelfConnections();
    void keyboardAnswers_data();
    void keyboardAnswers();
};

using Setter = void (TipDialog::*)();
Q_DECLARE_METATYPE(Setter)

void TestTipDialog::cancelledCountTurnsNoIntoOk()
{
    Tip tip;
    tip.dialog.setConvertCancelledTip();
    tip.dialog.setConvertedCount(12);
    QCOMPARE(tip.second->text(), QStringLiteral("12 files have been successfully converted."));
    QCOMPARE(tip.ok->text(), QStringLiteral("OK"));
    tip.dialog.setConvertedCount(0);
    QCOMPARE(tip.second->text(), QStringLiteral("0 files have been successfully converted."));
}

void TestTipDialog::quitSignalsThenCloses()
{
    Tip tip;
    tip.title->setTitleText(QStringLiteral("something else"));
    tip.dialog.setQuitTip();
    QCOMPARE(tip.headline->text(), QStringLiteral("Are you sure to quit the program?"));
    QCOMPARE(tip.headline->font().pixelSize(), 16); // as construction left it
    QCOMPARE(tip.title->titleText(), QStringLiteral("Attention"));
    QCOMPARE(tip.yes->text(), QStringLiteral("Yes"));
    QCOMPARE(tip.ok->text(), QStringLiteral("No"));

    QSignalSpy exit(&tip.dialog, &TipDialog::signal_ExitApp);
    bool visibleWhenSignalled = false;
    connect(&tip.dialog, &TipDialog::signal_ExitApp, [&] { visibleWhenSignalled = tip.dialog.isVisible(); });
    tip.click(tip.yes);
    QCOMPARE(exit.count(), 1);
    QVERIFY(visibleWhenSignalled);
    QVERIFY(!tip.dialog.isVisible());
}

void TestTipDialog::variantsDropOnlySelfConnections()
{
    Tip tip;
    QObject outsider;
    int outsiderCalls = 0;
    connect(&tip.dialog, SIGNAL(signal_ClearTable()), &tip.dialog, SLOT(slot_Close()));
    connect(&tip.dialog, &TipDialog::signal_ClearTable, &outsider, [&] { ++outsiderCalls; });
    tip.dialog.setCancelConvertTip();

    emit tip.dialog.signal_ClearTable();
    QVERIFY(tip.dialog.isVisible()); // the dialog's own link is gone
    QCOMPARE(outsiderCalls, 1);      // other receivers keep theirs
}

void TestTipDialog::keyboardAnswers_data()
{
    QTest::addColumn<Setter>("setter");
    QTest::addColumn<QList<int>>("keys");
    QTest::addColumn<QByteArray>("answer"); // the signal sent, empty for none
    QTest::addColumn<bool>("closed");
    const QByteArray none;
    QTest::newRow("quit, Enter") << &TipDialog::setQuitTip << QList<int>{Qt::Key_Return}
                                 << QByteArray(SIGNAL(signal_ExitApp())) << true;
    QTest::newRow("quit, Escape") << &TipDialog::setQuitTip << QList<int>{Qt::Key_Escape} << none << true;
    QTest::newRow("quit, Tab to No, Enter") << &TipDialog::setQuitTip
                                            << QList<int>{Qt::Key_Tab, Qt::Key_Enter} << none << true;
    QTest::newRow("quit, Tab twice is Yes again, Space")
        << &TipDialog::setQuitTip << QList<int>{Qt::Key_Tab, Qt::Key_Tab, Qt::Key_Space}
        << QByteArray(SIGNAL(signal_ExitApp())) << true;
    // 0: the tip is opened again, as the next close asks again.
    QTest::newRow("quit, Escape, again, Enter") << &TipDialog::setQuitTip
                                               << QList<int>{Qt::Key_Escape, 0, Qt::Key_Return}
                                               << QByteArray(SIGNAL(signal_ExitApp())) << true;
    QTest::newRow("cancel, Enter") << &TipDialog::setCancelConvertTip << QList<int>{Qt::Key_Return}
                                   << QByteArray(SIGNAL(signal_CancelConver())) << false;
    QTest::newRow("cancel, Escape") << &TipDialog::setCancelConvertTip << QList<int>{Qt::Key_Escape} << none << true;
    QTest::newRow("clear, Enter") << &TipDialog::setClearTableTip << QList<int>{Qt::Key_Return}
                                  << QByteArray(SIGNAL(signal_ClearTable())) << false;
    QTest::newRow("clear, Escape") << &TipDialog::setClearTableTip << QList<int>{Qt::Key_Escape} << none << true;
    QTest::newRow("cancelled notice, Enter") << &TipDialog::setConvertCancelledTip
                                             << QList<int>{Qt::Key_Return} << none << true;
    QTest::newRow("cancelled notice, Tab to Open Folder, Space")
        << &TipDialog::setConvertCancelledTip << QList<int>{Qt::Key_Backtab, Qt::Key_Space}
        << QByteArray(SIGNAL(signal_OpenFolder())) << false;
}

void TestTipDialog::keyboardAnswers()
{
    QFETCH(Setter, setter);
    QFETCH(QList<int>, keys);
    QFETCH(QByteArray, answer);
    QFETCH(bool, closed);
    TipDialog dialog;
    (dialog.*setter)();
    dialog.show();
    QVERIFY(QTest::qWaitForWindowActive(&dialog));
    std::vector<std::unique_ptr<QSignalSpy>> spies;
    for (const char* signal : {SIGNAL(signal_CancelConver()), SIGNAL(signal_ClearTable()),
                               SIGNAL(signal_OpenFolder()), SIGNAL(signal_ExitApp())})
        spies.push_back(std::make_unique<QSignalSpy>(&dialog, signal));
    for (int key : keys) {
        if (key == 0) {
            dialog.show();
            QVERIFY(QTest::qWaitForWindowActive(&dialog));
            continue;
        }
        // Keys go where a person's would: to the focus, which must be an
        // answer button, never the title bar's close.
        QWidget* focus = QApplication::focusWidget();
        QVERIFY(focus && focus->window() == &dialog);
        QVERIFY2(focus->objectName().startsWith("pushButton_"), qPrintable(focus->objectName()));
        QTest::keyClick(focus, Qt::Key(key));
    }
    QCOMPARE(!dialog.isVisible(), closed);
    for (const auto& spy : spies)
        QCOMPARE(spy->count(), spy->signal() == answer.mid(1) ? 1 : 0);
}

PICTOVA_TEST_MAIN(TestTipDialog)
#include "tst_tipdialog.moc"
