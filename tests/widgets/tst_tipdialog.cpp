#include "SkinStyle.h"
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
    QLabel* picture = dialog.findChild<QLabel*>(QStringLiteral("label_StatesImage"));
    VNStyleWidgetTitle* title = dialog.findChild<VNStyleWidgetTitle*>(QStringLiteral("widget_Title"));

    Tip() { dialog.show(); }
    void click(QWidget* button) { QTest::mouseClick(button, Qt::LeftButton); }
};

QImage skinPicture(const char* path)
{
    return QImage(SkinStyle().skinDir() + QLatin1String(path)).convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

} // namespace

class TestTipDialog : public QObject
{
    Q_OBJECT

private slots:
    void variants_data();
    void variants();
    void cancelledCountTurnsNoIntoOk();
    void quitSignalsThenCloses();
    void variantsDropOnlySelfConnections();
    void keyboardAnswers_data();
    void keyboardAnswers();
    void reopenedTipShowsNoHover();
};

using Setter = void (TipDialog::*)();
Q_DECLARE_METATYPE(Setter)

void TestTipDialog::variants_data()
{
    QTest::addColumn<Setter>("setter");
    QTest::addColumn<QString>("headline");
    QTest::addColumn<int>("pixels");
    QTest::addColumn<QString>("second"); // empty: hidden
    QTest::addColumn<QString>("yes");
    QTest::addColumn<QString>("picture");
    QTest::addColumn<QByteArray>("yesSignal");
    QTest::newRow("cancel") << &TipDialog::setCancelConvertTip << "Are you sure to cancel the file conversion?"
                            << 14 << "" << "Yes" << "/Label/tips_confirm.png"
                            << QByteArray(SIGNAL(signal_CancelConver()));
    QTest::newRow("clear") << &TipDialog::setClearTableTip << "Are you sure to trash all the files here?" << 14
                           << "" << "Yes" << "/Label/tips_confirm.png" << QByteArray(SIGNAL(signal_ClearTable()));
    QTest::newRow("cancelled") << &TipDialog::setConvertCancelledTip << "Conversion Cancelled!" << 16
                               << "0 files have been successfully converted." << "Open Folder"
                               << "/Label/tips_cancel.png" << QByteArray(SIGNAL(signal_OpenFolder()));
}

void TestTipDialog::variants()
{
    QFETCH(Setter, setter);
    QFETCH(QString, headline);
    QFETCH(int, pixels);
    QFETCH(QString, second);
    QFETCH(QString, yes);
    QFETCH(QString, picture);
    QFETCH(QByteArray, yesSignal);
    Tip tip;
    (tip.dialog.*setter)();
    QCOMPARE(tip.headline->text(), headline);
    QCOMPARE(tip.headline->font().pixelSize(), pixels);
    QCOMPARE(tip.second->isVisible(), !second.isEmpty());
    if (!second.isEmpty())
        QCOMPARE(tip.second->text(), second);
    QCOMPARE(tip.yes->text(), yes);
    QCOMPARE(tip.ok->text(), QStringLiteral("No"));
    QCOMPARE(tip.picture->pixmap(Qt::ReturnByValue).toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied),
             skinPicture(qPrintable(picture)));

    // Yes sends the variant's own signal and leaves the next step to the
    // owner; "No" only closes.
    std::vector<std::unique_ptr<QSignalSpy>> spies;
    for (const char* signal : {SIGNAL(signal_CancelConver()), SIGNAL(signal_ClearTable()),
                               SIGNAL(signal_OpenFolder()), SIGNAL(signal_ExitApp())})
        spies.push_back(std::make_unique<QSignalSpy>(&tip.dialog, signal));
    tip.click(tip.yes);
    QVERIFY(tip.dialog.isVisible());
    tip.click(tip.ok);
    QVERIFY(!tip.dialog.isVisible());
    for (const auto& spy : spies)
        QCOMPARE(spy->count(), spy->signal() == yesSignal.mid(1) ? 1 : 0);
}

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
    QTest::newRow("clear, Escape") << &TipDialog::setClearTableTip << QList<int>{Qt::Key_Escape} << none << true;
    QTest::newRow("cancelled notice, Enter") << &TipDialog::setConvertCancelledTip
                                             << QList<int>{Qt::Key_Return} << none << true;
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

void TestTipDialog::reopenedTipShowsNoHover()
{
    Tip tip;
    tip.dialog.setQuitTip();
    const QString normalLook = tip.yes->styleSheet();
    // The pointer rests on "Yes" when Escape closes the tip.
    QEvent enter(QEvent::Enter);
    QApplication::sendEvent(tip.yes, &enter);
    QHoverEvent hover(QEvent::HoverEnter, QPointF(5, 5), QPointF(-1, -1));
    QApplication::sendEvent(tip.yes, &hover);
    QVERIFY(tip.yes->currentImage().endsWith("_hover.png"));
    QVERIFY(tip.yes->styleSheet() != normalLook);
    QTest::keyClick(&tip.dialog, Qt::Key_Escape);
    QVERIFY(!tip.dialog.isVisible());

    tip.dialog.show();
    QVERIFY(tip.yes->currentImage().endsWith("_normal.png"));
    QCOMPARE(tip.yes->styleSheet(), normalLook);
}

QTEST_MAIN(TestTipDialog)
#include "tst_tipdialog.moc"
