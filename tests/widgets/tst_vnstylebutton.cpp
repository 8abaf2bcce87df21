#include "TestSandbox.h"
#include "VNStyleButton.h"

#include <QCursor>
#include <QMouseEvent>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

namespace {

void send(QWidget* w, QEvent::Type type, QPoint at, Qt::MouseButton button)
{
    QMouseEvent event(type, at, w->mapToGlobal(at), button,
                      type == QEvent::MouseButtonRelease ? Qt::MouseButtons() : Qt::MouseButtons(button),
                      Qt::NoModifier);
    QApplication::sendEvent(w, &event);
}

void enter(QWidget* w)
{
    QEvent e(QEvent::Enter);
    QApplication::sendEvent(w, &e);
}

void leave(QWidget* w)
{
    QEvent e(QEvent::Leave);
    QApplication::sendEvent(w, &e);
}

} // namespace

class TestVNStyleButton : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void stateMachine();
    void onlyALeftReleaseInsideClicks();
    void disabledPicture();
    void hoverEndsWhenHiddenOrLeftUnderAModal();

private:
    QTemporaryDir m_dir;
    QString m_normal, m_hover, m_pressed, m_disabled;
};

void TestVNStyleButton::initTestCase()
{
    QVERIFY(m_dir.isValid());
    auto make = [&](const char* name, QColor colour) {
        QImage image(10, 10, QImage::Format_RGB32);
        image.fill(colour);
        const QString path = m_dir.filePath(name);
        image.save(path);
        return path;
    };
    m_normal = make("n.png", Qt::red);
    m_hover = make("h.png", Qt::green);
    m_pressed = make("p.png", Qt::blue);
    m_disabled = make("d.png", Qt::gray);
}

void TestVNStyleButton::stateMachine()
{
    VNStyleButton button;
    button.resize(100, 30);
    QSignalSpy entered(&button, &VNStyleButton::mouseEnter);
    QSignalSpy left(&button, &VNStyleButton::mouseLeave);
    QSignalSpy clicked(&button, &QAbstractButton::clicked);
    QSignalSpy pressedSpy(&button, &QAbstractButton::pressed);

    // Without pictures the state stays 0, but the hover signals still come.
    enter(&button);
    QCOMPARE(button.state(), int(VNStyleButton::NoImages));
    QCOMPARE(entered.count(), 1);

    button.setImages(m_normal, m_hover, m_pressed, QString());
    QCOMPARE(button.state(), int(VNStyleButton::Normal));
    enter(&button);
    QCOMPARE(button.state(), int(VNStyleButton::Hover));
    send(&button, QEvent::MouseButtonPress, QPoint(50, 15), Qt::LeftButton);
    QCOMPARE(button.state(), int(VNStyleButton::Pressed));
    QCOMPARE(button.currentImage(), m_pressed);
    send(&button, QEvent::MouseButtonRelease, QPoint(50, 15), Qt::LeftButton);
    QCOMPARE(button.state(), int(VNStyleButton::Hover));
    QCOMPARE(clicked.count(), 1);
    QCOMPARE(clicked.at(0).at(0).toBool(), false);
    leave(&button);
    QCOMPARE(button.state(), int(VNStyleButton::Normal));
    QCOMPARE(left.count(), 1);
    // The base class's press handling never runs.
    QCOMPARE(pressedSpy.count(), 0);
    QVERIFY(!button.isDown());
}

void TestVNStyleButton::onlyALeftReleaseInsideClicks()
{
    VNStyleButton button;
    button.resize(100, 30);
    button.setImages(m_normal, m_hover, m_pressed);
    QSignalSpy clicked(&button, &QAbstractButton::clicked);
    send(&button, QEvent::MouseButtonPress, QPoint(50, 15), Qt::RightButton);
    QCOMPARE(button.state(), int(VNStyleButton::Normal));
    send(&button, QEvent::MouseButtonRelease, QPoint(50, 15), Qt::RightButton);
    send(&button, QEvent::MouseButtonPress, QPoint(50, 15), Qt::LeftButton);
    send(&button, QEvent::MouseButtonRelease, QPoint(150, 15), Qt::LeftButton);
    QCOMPARE(clicked.count(), 0);
    // Where it is let go counts, not where it was pressed.
    send(&button, QEvent::MouseButtonRelease, QPoint(99, 29), Qt::LeftButton);
    QCOMPARE(clicked.count(), 1);

    // Without pictures it is still a button.
    VNStyleButton plain;
    plain.resize(100, 30);
    QSignalSpy plainClicked(&plain, &QAbstractButton::clicked);
    QTest::mouseClick(&plain, Qt::LeftButton);
    QCOMPARE(plainClicked.count(), 1);
}

void TestVNStyleButton::disabledPicture()
{
    VNStyleButton withLook;
    withLook.setImages(m_normal, m_hover, m_pressed, m_disabled);
    withLook.setEnabled(false);
    QCOMPARE(withLook.currentImage(), m_disabled);
    // A press on a disabled button changes nothing.
    send(&withLook, QEvent::MouseButtonPress, QPoint(1, 1), Qt::LeftButton);
    QCOMPARE(withLook.state(), int(VNStyleButton::Normal));

    // Without a disabled look the last state's picture stays.
    VNStyleButton without;
    without.setImages(m_normal, m_hover, m_pressed, QString());
    enter(&without);
    without.setEnabled(false);
    QCOMPARE(without.currentImage(), m_hover);

    // The three-picture setter keeps the disabled picture set before.
    VNStyleButton kept;
    kept.setImages(m_normal, m_hover, m_pressed, m_disabled);
    kept.setImages(m_normal, m_hover, m_pressed);
    kept.setEnabled(false);
    QCOMPARE(kept.currentImage(), m_disabled);

}

void TestVNStyleButton::hoverEndsWhenHiddenOrLeftUnderAModal()
{
    QWidget window;
    window.setGeometry(300, 300, 200, 100);
    auto* button = new VNStyleButton(&window);
    button->setGeometry(10, 10, 100, 30);
    button->setImages(m_normal, m_hover, m_pressed);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));

    // The click opens something modal; when it returns the pointer is far
    // away and no leave event came.
    QCursor::setPos(5, 5);
    bool hoveredDuringClick = false;
    connect(button, &QAbstractButton::clicked,
            [&] { hoveredDuringClick = button->state() == VNStyleButton::Hover; });
    enter(button);
    send(button, QEvent::MouseButtonPress, QPoint(50, 15), Qt::LeftButton);
    send(button, QEvent::MouseButtonRelease, QPoint(50, 15), Qt::LeftButton);
    QVERIFY(hoveredDuringClick);
    QCOMPARE(button->currentImage(), m_normal);

    // Hidden under the pointer (its dialog closed): normal when shown again,
    // and the screens' hover filters hear that the pointer left.
    int hoverLeaves = 0;
    struct Counter : QObject
    {
        int* count;
        bool eventFilter(QObject*, QEvent* e) override
        {
            *count += e->type() == QEvent::HoverLeave;
            return false;
        }
    } counter;
    counter.count = &hoverLeaves;
    button->installEventFilter(&counter);
    enter(button);
    window.hide();
    window.show();
    QCOMPARE(button->currentImage(), m_normal);
    QCOMPARE(hoverLeaves, 1);
}

PICTOVA_TEST_MAIN(TestVNStyleButton)
#include "tst_vnstylebutton.moc"
