#include "TestSandbox.h"

#include "BatchConvertProgress.h"
#include "ConvertsionSet.h"
#include "TipDialog.h"
#include "VNStyleButton.h"
#include "VNStyleWidgetTitle.h"

#include <QKeyEvent>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QSlider>

#include <functional>

namespace {

class TestableSettings : public ConvertsionSet
{
public:
    using ConvertsionSet::ConvertsionSet;
    QString answer;
    int asked = 0;

protected:
    QString chooseFolder() override
    {
        ++asked;
        return answer;
    }
};

class TestableProgress : public BatchConvertProgress
{
public:
    using BatchConvertProgress::BatchConvertProgress;
    std::function<int(QDialog*)> onModal;
    QList<QDialog*> shown;

protected:
    int runModal(QDialog* dialog) override
    {
        shown.append(dialog);
        return onModal ? onModal(dialog) : int(QDialog::Rejected);
    }
};

QPushButton* button(QWidget* dialog, const char* name)
{
    return dialog->findChild<QPushButton*>(name);
}

} // namespace

class BatchDialogsTest : public QObject
{
    Q_OBJECT

private slots:
    void settingsQualityAndFolder()
    {
        TestableSettings dialog(nullptr);
        QSignalSpy quality(&dialog, &ConvertsionSet::signal_SetConvertQuality);
        auto* slider = dialog.findChild<QSlider*>("Slider");
        slider->setValue(0);
        slider->setValue(73);
        QCOMPARE(quality.size(), 2);
        QCOMPARE(quality.at(1).at(0).toInt(), 73);

        // A cancelled folder choice sends nothing.
        QSignalSpy path(&dialog, &ConvertsionSet::signal_SendSavePath);
        button(&dialog, "pushButton_OpenFolder")->click();
        QCOMPARE(dialog.asked, 1);
        QCOMPARE(path.size(), 0);
        dialog.answer = QStringLiteral("/data/Pictures");
        button(&dialog, "pushButton_OpenFolder")->click();
        QCOMPARE(path.size(), 1);
        QCOMPARE(path.at(0).at(0).toString(), QStringLiteral("/data/Pictures"));
    }

    void finishedOffersTheFolder()
    {
        BatchConvertProgress dialog(nullptr);
        dialog.show();
        dialog.setProgress(83, QStringLiteral("10/12"));
        dialog.setFinished(12);
        QVERIFY(!dialog.findChild<QLabel*>("label_Progress")->isVisible());
        QVERIFY(!button(&dialog, "pushButton_Cancel")->isVisible());
        QVERIFY(button(&dialog, "pushButton_OK")->isVisible());
        QCOMPARE(dialog.findChild<QProgressBar*>("progressBar")->value(), 83); // bar keeps its value

        QSignalSpy open(&dialog, &BatchConvertProgress::signal_OpenFolder);
        button(&dialog, "pushButton_OpenFolder")->click();
        QCOMPARE(open.size(), 1);
        button(&dialog, "pushButton_OK")->click();
        QVERIFY(!dialog.isVisible());
    }

    void cancelAsksFirst()
    {
        TestableProgress dialog(nullptr);
        dialog.show();
        QSignalSpy cancel(&dialog, &BatchConvertProgress::signal_CancelConvert);
        bool yes = false;
        dialog.onModal = [&](QDialog* tip) {
            button(tip, yes ? "pushButton_Yes" : "pushButton_OK")->click();
            return int(yes ? QDialog::Accepted : QDialog::Rejected);
        };
        button(&dialog, "pushButton_Cancel")->click();
        button(&dialog, "pushButton_Cancel")->click();
        QCOMPARE(cancel.size(), 0);
        QCOMPARE(dialog.shown.at(0), dialog.shown.at(1)); // "No" keeps the same tip
        QVERIFY(dialog.isVisible());

        yes = true;
        button(&dialog, "pushButton_Cancel")->click();
        QCOMPARE(cancel.size(), 1);
        // A confirmed tip is gone; asking again makes a new one.
        QPointer<QDialog> first = dialog.shown.at(0);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(first.isNull());
        dialog.slot_isCancelView();
        QCOMPARE(cancel.size(), 2);
    }

    void everyWayOutAsks()
    {
        // While running, the title bar's close and Escape ask before cancelling;
        // once finished there is nothing to cancel and closing just closes.
        TestableProgress dialog(nullptr);
        dialog.show();
        QSignalSpy cancel(&dialog, &BatchConvertProgress::signal_CancelConvert);
        dialog.onModal = [](QDialog* tip) {
            button(tip, "pushButton_OK")->click(); // "No"
            return int(QDialog::Rejected);
        };
        dialog.findChild<VNStyleWidgetTitle*>("widget")->closeButton()->click();
        QTest::keyClick(&dialog, Qt::Key_Escape);
        QCOMPARE(dialog.shown.size(), 2);
        QVERIFY(dialog.isVisible());

        dialog.setFinished(3);
        dialog.findChild<VNStyleWidgetTitle*>("widget")->closeButton()->click();
        QCOMPARE(dialog.shown.size(), 2);
        QCOMPARE(cancel.size(), 0);
        QVERIFY(!dialog.isVisible());
    }
};

PICTOVA_TEST_MAIN(BatchDialogsTest)
#include "BatchDialogsTest.moc"
