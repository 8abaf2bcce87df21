#include "TestSandbox.h"
#include "VNStyleButton.h"
#include "VNStyleWidget.h"
#include "VNStyleWidgetTitle.h"

#include <QLabel>
#include <QMouseEvent>
#include <QSignalSpy>
#include <QtTest>

namespace {

void sendMouse(QWidget* w, QEvent::Type type, QPoint local, QPoint global, Qt::MouseButton button,
               Qt::MouseButtons buttons)
{
    QMouseEvent event(type, local, local, global, button, buttons, Qt::NoModifier);
    QApplication::sendEvent(w, &event);
}

// A window with a title bar at the shadow offset, as every dialog has.
struct Window
{
    QWidget target;
    VNStyleWidget* bar = new VNStyleWidget(&target);

    Window()
    {
        target.resize(300, 200);
        target.move(100, 100);
        bar->setGeometry(5, 5, 290, 34);
        bar->setParentWidget(&target, QPoint(5, 5), true);
    }
    void press(QPoint at, Qt::MouseButton button = Qt::LeftButton)
    {
        sendMouse(bar, QEvent::MouseButtonPress, at, at, button, button);
    }
    void moveTo(QPoint global, Qt::MouseButtons held = Qt::LeftButton)
    {
        sendMouse(bar, QEvent::MouseMove, QPoint(1, 1), global, Qt::NoButton, held);
    }
    void release() { sendMouse(bar, QEvent::MouseButtonRelease, QPoint(1, 1), QPoint(1, 1), Qt::LeftButton, {}); }
};

} // namespace

class TestVNStyleWidget : public QObject
{
    Q_OBJECT

private slots:
    void dragMovesTheWindowByTheGrabPointUntilRelease();
    void dragLimits_data();
    void dragLimits();
    void limitsFollowTheAvailableSize();
    void noDragWithoutLeftPressOrHeldButton();
    void closeWithAndWithoutTarget();
    void titleCloseButtonClosesOrSignals();
};

void TestVNStyleWidget::dragMovesTheWindowByTheGrabPointUntilRelease()
{
    Window w;
    w.press(QPoint(10, 10));
    w.moveTo(QPoint(500, 300));
    QCOMPARE(w.target.pos(), QPoint(485, 285));
    w.release();
    w.moveTo(QPoint(600, 400));
    QCOMPARE(w.target.pos(), QPoint(485, 285));
}

void TestVNStyleWidget::dragLimits_data()
{
    QTest::addColumn<QPoint>("destination");
    QTest::addColumn<bool>("allowed");
    QTest::newRow("left -800 refused") << QPoint(-800, 100) << false;
    QTest::newRow("left -799 allowed") << QPoint(-799, 100) << true;
    QTest::newRow("top 22 refused") << QPoint(100, 22) << false;
    QTest::newRow("top 23 allowed") << QPoint(100, 23) << true;
}

void TestVNStyleWidget::dragLimits()
{
    QFETCH(QPoint, destination);
    QFETCH(bool, allowed);
    Window w;
    const QPoint before = w.target.pos();
    w.press(QPoint(10, 10));
    // The mouse that puts the window's top-left at destination.
    w.moveTo(destination + QPoint(5, 5) + QPoint(10, 10));
    QCOMPARE(w.target.pos(), allowed ? destination : before);
}

void TestVNStyleWidget::limitsFollowTheAvailableSize()
{
    const QSize screen(1920, 1040);
    const QPoint none(0, 0);
    QCOMPARE(VNStyleWidget::dragDestination(QPoint(1720, 500), none, none, screen), QPoint(1720, 500));
    QVERIFY(!VNStyleWidget::dragDestination(QPoint(1721, 500), none, none, screen));
    QCOMPARE(VNStyleWidget::dragDestination(QPoint(500, 940), none, none, screen), QPoint(500, 940));
    QVERIFY(!VNStyleWidget::dragDestination(QPoint(500, 941), none, none, screen));
}

void TestVNStyleWidget::noDragWithoutLeftPressOrHeldButton()
{
    Window w;
    const QPoint before = w.target.pos();
    w.press(QPoint(10, 10), Qt::RightButton);
    w.moveTo(QPoint(500, 300), Qt::RightButton);
    QCOMPARE(w.target.pos(), before);

    // Pressed, but the move reports no button held (the release went
    // elsewhere): nothing moves.
    w.press(QPoint(10, 10));
    w.moveTo(QPoint(500, 300), Qt::NoButton);
    QCOMPARE(w.target.pos(), before);

    // A bar that does not move its window leaves the press to the parent.
    w.release();
    w.bar->setParentWidget(&w.target, QPoint(5, 5), false);
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(10, 10), QPointF(10, 10), QPointF(10, 10), Qt::LeftButton,
                      Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(w.bar, &press);
    QVERIFY(!press.isAccepted());
    w.moveTo(QPoint(500, 300));
    QCOMPARE(w.target.pos(), before);
}

void TestVNStyleWidget::closeWithAndWithoutTarget()
{
    VNStyleWidget lone;
    lone.show();
    lone.slotClosePWidget(); // no target: nothing happens
    QVERIFY(lone.isVisible());

    Window w;
    w.target.show();
    w.bar->slotClosePWidget();
    QVERIFY(!w.target.isVisible());

    // A target destroyed first is forgotten, not called.
    auto* gone = new QWidget;
    lone.setParentWidget(gone, QPoint(5, 5), true);
    delete gone;
    lone.slotClosePWidget();
}

void TestVNStyleWidget::titleCloseButtonClosesOrSignals()
{
    for (bool signalOnly : {false, true}) {
        QWidget window;
        auto* title = new VNStyleWidgetTitle(&window);
        title->setParentWidget(&window, QPoint(5, 5), true);
        title->setEmitCloseSignal(signalOnly);
        window.show();
        QSignalSpy closeSignal(title, &VNStyleWidgetTitle::signal_Close);
        QTest::mouseClick(title->closeButton(), Qt::LeftButton);
        QCOMPARE(window.isVisible(), signalOnly);
        QCOMPARE(closeSignal.count(), signalOnly ? 1 : 0);
    }
}

PICTOVA_TEST_MAIN(TestVNStyleWidget)
#include "tst_vnstylewidget.moc"
