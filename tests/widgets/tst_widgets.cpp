#include "SkinImages.h"
#include "SkinStyle.h"
#include "TestSandbox.h"
#include "TipDialog.h"
#include "VNMessageBox.h"
#include "VNStyleButton.h"
#include "VNStyleWidget.h"
#include "VNStyleWidgetTitle.h"

#include <QImageReader>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

#include <memory>
#include <vector>

namespace {

void mouse(QWidget* w, QEvent::Type type, QPoint at, Qt::MouseButton button, QPoint global = {},
           Qt::MouseButtons held = {})
{
    if (held == Qt::MouseButtons() && type != QEvent::MouseButtonRelease)
        held = button;
    QMouseEvent event(type, at, global.isNull() ? w->mapToGlobal(at) : global, button, held, Qt::NoModifier);
    QApplication::sendEvent(w, &event);
}

} // namespace

using Setter = void (TipDialog::*)();
Q_DECLARE_METATYPE(Setter)

// The skinned controls every screen is built from: a button that gets stuck
// or clicks on the wrong release, a title bar that drags a window off the
// screen, a dialog whose keys answer the wrong question.
class TestWidgets : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        auto make = [&](const char* name, QColor colour) {
            QImage image(10, 10, QImage::Format_RGB32);
            image.fill(colour);
            image.save(m_dir.filePath(name));
            return m_dir.filePath(name);
        };
        m_normal = make("n.png", Qt::red);
        m_hover = make("h.png", Qt::green);
        m_pressed = make("p.png", Qt::blue);
    }

    void buttonClicksOnlyOnALeftReleaseInside()
    {
        VNStyleButton button;
        button.resize(100, 30);
        button.setImages(m_normal, m_hover, m_pressed);
        QSignalSpy clicked(&button, &QAbstractButton::clicked);
        mouse(&button, QEvent::MouseButtonPress, {50, 15}, Qt::RightButton);
        mouse(&button, QEvent::MouseButtonRelease, {50, 15}, Qt::RightButton);
        mouse(&button, QEvent::MouseButtonPress, {50, 15}, Qt::LeftButton);
        QCOMPARE(button.currentImage(), m_pressed);
        mouse(&button, QEvent::MouseButtonRelease, {150, 15}, Qt::LeftButton);
        QCOMPARE(clicked.count(), 0);
        // Where it is let go counts, not where it was pressed.
        mouse(&button, QEvent::MouseButtonRelease, {99, 29}, Qt::LeftButton);
        QCOMPARE(clicked.count(), 1);
        QVERIFY(!button.isDown());

        // Without pictures it is still a button.
        VNStyleButton plain;
        plain.resize(100, 30);
        QSignalSpy plainClicked(&plain, &QAbstractButton::clicked);
        QTest::mouseClick(&plain, Qt::LeftButton);
        QCOMPARE(plainClicked.count(), 1);
    }

    void titleBarDragsItsWindowButNotOffTheScreen()
    {
        QWidget target;
        target.setGeometry(100, 100, 300, 200);
        auto* bar = new VNStyleWidget(&target);
        bar->setGeometry(5, 5, 290, 34);
        bar->setParentWidget(&target, QPoint(5, 5), true);
        auto moveTo = [&](QPoint global, Qt::MouseButtons held = Qt::LeftButton) {
            mouse(bar, QEvent::MouseMove, {1, 1}, Qt::NoButton, global, held);
        };

        mouse(bar, QEvent::MouseButtonPress, {10, 10}, Qt::LeftButton, {10, 10});
        moveTo({500, 300});
        QCOMPARE(target.pos(), QPoint(485, 285)); // held by the grab point
        moveTo({-5000, 300});
        QCOMPARE(target.pos(), QPoint(485, 285)); // never lost off the screen
        moveTo({500, -5000});
        QCOMPARE(target.pos(), QPoint(485, 285));
        // The move reports no button held (the release went elsewhere).
        moveTo({600, 400}, Qt::NoButton);
        QCOMPARE(target.pos(), QPoint(485, 285));
        mouse(bar, QEvent::MouseButtonRelease, {1, 1}, Qt::LeftButton);
        moveTo({600, 400});
        QCOMPARE(target.pos(), QPoint(485, 285));

        // The limit follows the available size, not a fixed screen.
        const QPoint none(0, 0);
        QVERIFY(VNStyleWidget::dragDestination({1700, 500}, none, none, {1920, 1040}));
        QVERIFY(!VNStyleWidget::dragDestination({1700, 500}, none, none, {1280, 700}));

        // A bar that does not move its window leaves the press to the parent.
        bar->setParentWidget(&target, QPoint(5, 5), false);
        QMouseEvent press(QEvent::MouseButtonPress, QPointF(10, 10), QPointF(10, 10), QPointF(10, 10),
                          Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(bar, &press);
        QVERIFY(!press.isAccepted());
    }

    void titleBarCloseSurvivesItsTarget()
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
        // A target destroyed first is forgotten, not called.
        VNStyleWidget lone;
        auto* gone = new QWidget;
        lone.setParentWidget(gone, QPoint(5, 5), true);
        delete gone;
        lone.slotClosePWidget();
    }

    void tipKeyboardAnswers_data()
    {
        QTest::addColumn<Setter>("setter");
        QTest::addColumn<QList<int>>("keys"); // 0: the tip is opened again
        QTest::addColumn<QByteArray>("answer"); // the signal sent, empty for none
        QTest::addColumn<bool>("closed");
        const QByteArray none, quit(SIGNAL(signal_ExitApp()));
        QTest::newRow("quit, Enter") << &TipDialog::setQuitTip << QList<int>{Qt::Key_Return} << quit << true;
        QTest::newRow("quit, Escape") << &TipDialog::setQuitTip << QList<int>{Qt::Key_Escape} << none << true;
        QTest::newRow("quit, Tab to No, Enter") << &TipDialog::setQuitTip
                                                << QList<int>{Qt::Key_Tab, Qt::Key_Enter} << none << true;
        QTest::newRow("quit, Escape, again, Enter") << &TipDialog::setQuitTip
                                                   << QList<int>{Qt::Key_Escape, 0, Qt::Key_Return} << quit << true;
        QTest::newRow("cancel, Enter") << &TipDialog::setCancelConvertTip << QList<int>{Qt::Key_Return}
                                       << QByteArray(SIGNAL(signal_CancelConver())) << false;
        QTest::newRow("clear, Escape") << &TipDialog::setClearTableTip << QList<int>{Qt::Key_Escape} << none << true;
        QTest::newRow("cancelled notice, Enter") << &TipDialog::setConvertCancelledTip
                                                 << QList<int>{Qt::Key_Return} << none << true;
        QTest::newRow("cancelled notice, Open Folder")
            << &TipDialog::setConvertCancelledTip << QList<int>{Qt::Key_Backtab, Qt::Key_Space}
            << QByteArray(SIGNAL(signal_OpenFolder())) << false;
    }

    void tipKeyboardAnswers()
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

    void tipVariantsDropOnlyTheirOwnConnections()
    {
        TipDialog dialog;
        dialog.show();
        int outsiderCalls = 0;
        connect(&dialog, SIGNAL(signal_ClearTable()), &dialog, SLOT(slot_Close()));
        connect(&dialog, &TipDialog::signal_ClearTable, this, [&] { ++outsiderCalls; });
        dialog.setCancelConvertTip();
        emit dialog.signal_ClearTable();
        QVERIFY(dialog.isVisible()); // the dialog's own link is gone
        QCOMPARE(outsiderCalls, 1);  // other receivers keep theirs
        disconnect(&dialog, &TipDialog::signal_ClearTable, this, nullptr);
    }

    void messageBoxResultIsTheButtonThatClosed_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("result");
        QTest::newRow("yes") << "pushButton_yes" << 1;
        QTest::newRow("no") << "pushButton_no" << 2;
        QTest::newRow("ok") << "pushButton_ok" << 4;
        QTest::newRow("cancel") << "pushButton_cancel" << 8;
        QTest::newRow("title bar close") << "close" << 0;
    }

    void messageBoxResultIsTheButtonThatClosed()
    {
        QFETCH(QString, name);
        QFETCH(int, result);
        VNMessageBox box(QStringLiteral("Overwrite?"), QStringLiteral("Pictova"), 1 | 2 | 4 | 8);
        QAbstractButton* target = name == "close"
            ? box.findChild<VNStyleWidgetTitle*>()->closeButton()
            : box.findChild<VNStyleButton*>(name);
        QVERIFY(target);
        // Run it modally, the way callers do, and click from inside the loop.
        QTimer::singleShot(0, [&] { QTest::mouseClick(target, Qt::LeftButton); });
        box.exec();
        QCOMPARE(box.result(), result);
        QVERIFY(!box.isVisible());
    }

    void sizeScalingEnds()
    {
        double out = -1;
        QCOMPARE(SkinStyle::scaleSize(3.0 * 1024 * 1024, 1024.0, out), 2);
        QCOMPARE(out, 3.0);
        // Values that could never come down end instead of recursing forever.
        QCOMPARE(SkinStyle::scaleSize(5000.0, 1.0, out), 0);
        QCOMPARE(SkinStyle::scaleSize(qInf(), 1024.0, out), 0);
    }

    // Every picture the program can ask for must be there after the build, at
    // the size its layout shows it, with its high-DPI copy at twice the pixels.
    void skinPicturesExist_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QSize>("size");
        const QString skinDir = SkinStyle().skinDir();
        for (const auto& image : SkinImages::skin) {
            const QString file = skinDir + QLatin1String(image.path);
            const QSize size(image.width, image.height);
            QTest::newRow(image.path) << file << size;
            QTest::addRow("%s@2x", image.path) << SkinImages::highDpiFileName(file) << size * 2;
        }
        for (const auto& image : SkinImages::resources)
            QTest::newRow(image.path) << QString::fromLatin1(image.path) << QSize(image.width, image.height);
    }

    void skinPicturesExist()
    {
        QFETCH(QString, path);
        QFETCH(QSize, size);
        const SkinStyle style; // registers the compiled-in pictures
        QImageReader reader(path);
        const QImage image = reader.read();
        QVERIFY2(!image.isNull(), qPrintable(path + ": " + reader.errorString()));
        QCOMPARE(image.size(), size);
    }

private:
    QTemporaryDir m_dir;
    QString m_normal, m_hover, m_pressed;
};

PICTOVA_TEST_MAIN(TestWidgets)
#include "tst_widgets.moc"
