#include "SkinStyle.h"
#include "TipDialog.h"
#include "VNStyleButton.h"
#include "VNStyleWidgetTitle.h"

#include <QHoverEvent>
#include <QLabel>
#include <QSignalSpy>
#include <QtTest>

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
    void construction();
    void cancelConfirmation();
    void clearConfirmation();
    void conversionCancelled();
    void convertedCountOfZero();
    void quitConfirmation();
    void variantsDropOnlySelfConnections();
    void hoverTurnsTextWhiteAndBackBlue();
};

void TestTipDialog::construction()
{
    Tip tip;
    QVERIFY(tip.yes && tip.ok && tip.headline && tip.second && tip.picture && tip.title);
    QCOMPARE(tip.dialog.size(), QSize(490, 210));
    QCOMPARE(tip.title->titleText(), QStringLiteral("Attention"));
    QVERIFY(tip.dialog.windowFlags() & Qt::FramelessWindowHint);
    QVERIFY(tip.dialog.testAttribute(Qt::WA_TranslucentBackground));
    QCOMPARE(tip.yes->state(), int(VNStyleButton::Normal));
    QVERIFY(tip.yes->currentImage().endsWith(QLatin1String("/Button/button100_normal.png")));
    // The title bar sits in the shadow margin and drags the dialog.
    QCOMPARE(tip.title->geometry().topLeft(), QPoint(5, 5));
    QCOMPARE(tip.title->height(), 34);
}

void TestTipDialog::cancelConfirmation()
{
    Tip tip;
    tip.dialog.setCancelConvertTip();
    QCOMPARE(tip.headline->text(), QStringLiteral("Are you sure to cancel the file conversion?"));
    QCOMPARE(tip.headline->font().pixelSize(), 14);
    QVERIFY(!tip.second->isVisible());
    QCOMPARE(tip.yes->text(), QStringLiteral("Yes"));
    QCOMPARE(tip.ok->text(), QStringLiteral("No"));
    QCOMPARE(tip.picture->pixmap(Qt::ReturnByValue).toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied), skinPicture("/Label/tips_confirm.png"));

    QSignalSpy cancel(&tip.dialog, &TipDialog::signal_CancelConver);
    tip.click(tip.yes);
    QCOMPARE(cancel.count(), 1);
    QVERIFY(tip.dialog.isVisible()); // the owner decides what happens next

    // "No" only closes.
    QSignalSpy others[] = {QSignalSpy(&tip.dialog, &TipDialog::signal_ClearTable),
                           QSignalSpy(&tip.dialog, &TipDialog::signal_OpenFolder),
                           QSignalSpy(&tip.dialog, &TipDialog::signal_ExitApp)};
    tip.click(tip.ok);
    QVERIFY(!tip.dialog.isVisible());
    QCOMPARE(cancel.count(), 1);
    for (const QSignalSpy& spy : others)
        QCOMPARE(spy.count(), 0);
}

void TestTipDialog::clearConfirmation()
{
    Tip tip;
    tip.dialog.setClearTableTip();
    QCOMPARE(tip.headline->text(), QStringLiteral("Are you sure to trash all the files here?"));
    QVERIFY(!tip.second->isVisible());
    QCOMPARE(tip.ok->text(), QStringLiteral("No"));
    QSignalSpy clear(&tip.dialog, &TipDialog::signal_ClearTable);
    QSignalSpy cancel(&tip.dialog, &TipDialog::signal_CancelConver);
    tip.click(tip.yes);
    QCOMPARE(clear.count(), 1);
    QCOMPARE(cancel.count(), 0);
    tip.click(tip.ok);
    QVERIFY(!tip.dialog.isVisible());
}

void TestTipDialog::conversionCancelled()
{
    Tip tip;
    tip.dialog.setConvertCancelledTip();
    QCOMPARE(tip.headline->text(), QStringLiteral("Conversion Cancelled!"));
    QCOMPARE(tip.headline->font().pixelSize(), 16);
    QVERIFY(tip.second->isVisible());
    QCOMPARE(tip.second->text(), QStringLiteral("0 files have been successfully converted."));
    QCOMPARE(tip.yes->text(), QStringLiteral("Open Folder"));
    QCOMPARE(tip.ok->text(), QStringLiteral("No"));
    QCOMPARE(tip.picture->pixmap(Qt::ReturnByValue).toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied), skinPicture("/Label/tips_cancel.png"));

    // The batch side sets the count afterwards; the right button becomes OK.
    tip.dialog.setConvertedCount(12);
    QCOMPARE(tip.dialog.convertedCount(), 12);
    QCOMPARE(tip.second->text(), QStringLiteral("12 files have been successfully converted."));
    QCOMPARE(tip.ok->text(), QStringLiteral("OK"));

    QSignalSpy open(&tip.dialog, &TipDialog::signal_OpenFolder);
    tip.click(tip.yes);
    QCOMPARE(open.count(), 1);
    tip.click(tip.ok);
    QVERIFY(!tip.dialog.isVisible());
}

void TestTipDialog::convertedCountOfZero()
{
    Tip tip;
    tip.dialog.setConvertCancelledTip();
    tip.dialog.setConvertedCount(0);
    QCOMPARE(tip.second->text(), QStringLiteral("0 files have been successfully converted."));
}

void TestTipDialog::quitConfirmation()
{
    Tip tip;
    tip.title->setTitleText(QStringLiteral("something else"));
    tip.dialog.setQuitTip();
    QCOMPARE(tip.headline->text(), QStringLiteral("Are you sure to quit the program?"));
    QCOMPARE(tip.headline->font().pixelSize(), 16); // as construction left it
    QCOMPARE(tip.title->titleText(), QStringLiteral("Attention"));
    QVERIFY(tip.yes->isVisible() && tip.ok->isVisible());
    QCOMPARE(tip.yes->text(), QStringLiteral("Yes"));
    QCOMPARE(tip.ok->text(), QStringLiteral("No"));

    QSignalSpy exit(&tip.dialog, &TipDialog::signal_ExitApp);
    bool visibleWhenSignalled = false;
    connect(&tip.dialog, &TipDialog::signal_ExitApp, [&] { visibleWhenSignalled = tip.dialog.isVisible(); });
    tip.click(tip.yes);
    QCOMPARE(exit.count(), 1);
    QVERIFY(visibleWhenSignalled); // signal first, then close
    QVERIFY(!tip.dialog.isVisible());

    // "No" closes without quitting.
    Tip again;
    again.dialog.setQuitTip();
    QSignalSpy noExit(&again.dialog, &TipDialog::signal_ExitApp);
    again.click(again.ok);
    QCOMPARE(noExit.count(), 0);
    QVERIFY(!again.dialog.isVisible());
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

void TestTipDialog::hoverTurnsTextWhiteAndBackBlue()
{
    Tip tip;
    tip.dialog.setClearTableTip();
    for (VNStyleButton* button : {tip.yes, tip.ok}) {
        button->setStyleSheet(QStringLiteral("color:#123456"));
        QHoverEvent enter(QEvent::HoverEnter, QPointF(5, 5), QPointF(-1, -1));
        QApplication::sendEvent(button, &enter);
        QCOMPARE(button->styleSheet(), QStringLiteral("color:#ffffff"));
        QCOMPARE(button->palette().color(QPalette::ButtonText), QColor(Qt::white));
        QHoverEvent leave(QEvent::HoverLeave, QPointF(-1, -1), QPointF(5, 5));
        QApplication::sendEvent(button, &leave);
        QCOMPARE(button->styleSheet(), QStringLiteral("color:#3598fe"));
    }
}

QTEST_MAIN(TestTipDialog)
#include "tst_tipdialog.moc"
