#include "BatchTestEnvironment.h"

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

QString text(QWidget* dialog, const char* label)
{
    return dialog->findChild<QLabel*>(label)->text();
}

QPushButton* button(QWidget* dialog, const char* name)
{
    return dialog->findChild<QPushButton*>(name);
}

} // namespace

class BatchDialogsTest : public QObject
{
    Q_OBJECT

private slots:
    void settingsFormAsShipped();
    void settingsQualityFollowsTheSlider();
    void settingsFolderChooser();

    void progressStartsAtNothing();
    void finishedTexts_data();
    void finishedTexts();
    void cancelDeclinedKeepsTheRunAndTheTip();
    void cancelConfirmedSignalsOnce();
    void titleBarCloseAsksEvenWhenFinished();
    void escapeAsksInsteadOfClosing();
    void openFolderAndOk();
};

void BatchDialogsTest::settingsFormAsShipped()
{
    ConvertsionSet dialog(nullptr);
    QCOMPARE(text(&dialog, "label_Jpg"), QStringLiteral("JPG/JEPG"));
    QCOMPARE(text(&dialog, "label_QualityVakue"), QStringLiteral("100%"));
    QCOMPARE(dialog.findChild<VNStyleWidgetTitle*>("widget_Title")->titleText(),
             QStringLiteral("Conversion Settings"));
    auto* slider = dialog.findChild<QSlider*>("Slider");
    QCOMPARE(slider->minimum(), 0);
    QCOMPARE(slider->value(), 100);
    // The odd blanks stay in, so those three properties keep having no effect.
    QVERIFY(slider->styleSheet().contains("border - radius: 2px; padding - left: -1px; padding - right:-1px;"));
}

void BatchDialogsTest::settingsQualityFollowsTheSlider()
{
    ConvertsionSet dialog(nullptr);
    QSignalSpy quality(&dialog, &ConvertsionSet::signal_SetConvertQuality);
    auto* slider = dialog.findChild<QSlider*>("Slider");
    slider->setValue(0);
    QCOMPARE(text(&dialog, "label_QualityVakue"), QStringLiteral("0%"));
    slider->setValue(73);
    QCOMPARE(text(&dialog, "label_QualityVakue"), QStringLiteral("73%"));
    QCOMPARE(quality.size(), 2);
    QCOMPARE(quality.at(0).at(0).toInt(), 0);
    QCOMPARE(quality.at(1).at(0).toInt(), 73);

    // A new dialog always starts at 100, whatever was chosen before.
    ConvertsionSet next(nullptr);
    QCOMPARE(next.findChild<QSlider*>("Slider")->value(), 100);
}

void BatchDialogsTest::settingsFolderChooser()
{
    TestableSettings dialog(nullptr);
    QSignalSpy path(&dialog, &ConvertsionSet::signal_SendSavePath);
    dialog.answer = QString(); // cancelled
    button(&dialog, "pushButton_OpenFolder")->click();
    QCOMPARE(dialog.asked, 1);
    QCOMPARE(path.size(), 0);
    dialog.answer = QStringLiteral("/data/Pictures");
    button(&dialog, "pushButton_OpenFolder")->click();
    QCOMPARE(path.size(), 1);
    QCOMPARE(path.at(0).at(0).toString(), QStringLiteral("/data/Pictures"));
}

void BatchDialogsTest::progressStartsAtNothing()
{
    BatchConvertProgress dialog(nullptr);
    dialog.show();
    QCOMPARE(text(&dialog, "label_Converting") + text(&dialog, "label_Progress") + " "
                 + text(&dialog, "label_files"),
             QStringLiteral("Converting 0/0 files"));
    QCOMPARE(dialog.findChild<QProgressBar*>("progressBar")->value(), 0);
    QVERIFY(button(&dialog, "pushButton_Cancel")->isVisible());
    QVERIFY(!button(&dialog, "pushButton_OpenFolder")->isVisible());
    QVERIFY(!button(&dialog, "pushButton_OK")->isVisible());
}

void BatchDialogsTest::finishedTexts_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("text");
    QTest::newRow("none keeps Converting") << 0 << "Converting ";
    QTest::newRow("one") << 1 << "1 file have been successfully converted!";
    QTest::newRow("twelve") << 12 << "12 files have been successfully converted!";
}

void BatchDialogsTest::finishedTexts()
{
    QFETCH(int, count);
    QFETCH(QString, text);
    BatchConvertProgress dialog(nullptr);
    dialog.show();
    dialog.setProgress(83, QStringLiteral("10/12"));
    dialog.setFinished(count);
    QCOMPARE(::text(&dialog, "label_Converting"), text);
    QVERIFY(!dialog.findChild<QLabel*>("label_Progress")->isVisible());
    QVERIFY(!dialog.findChild<QLabel*>("label_files")->isVisible());
    QVERIFY(!button(&dialog, "pushButton_Cancel")->isVisible());
    QVERIFY(button(&dialog, "pushButton_OpenFolder")->isVisible());
    QVERIFY(button(&dialog, "pushButton_OK")->isVisible());
    QCOMPARE(dialog.findChild<QProgressBar*>("progressBar")->value(), 83); // bar keeps its value
}

void BatchDialogsTest::cancelDeclinedKeepsTheRunAndTheTip()
{
    TestableProgress dialog(nullptr);
    dialog.show();
    QSignalSpy cancel(&dialog, &BatchConvertProgress::signal_CancelConvert);
    QString question;
    dialog.onModal = [&](QDialog* tip) {
        question = tip->findChild<QLabel*>("label_StatesText")->text();
        button(tip, "pushButton_OK")->click(); // "No"
        return int(QDialog::Rejected);
    };
    button(&dialog, "pushButton_Cancel")->click();
    button(&dialog, "pushButton_Cancel")->click();
    QCOMPARE(question, QStringLiteral("Are you sure to cancel the file conversion?"));
    QCOMPARE(cancel.size(), 0);
    QCOMPARE(dialog.shown.size(), 2);
    QCOMPARE(dialog.shown.at(0), dialog.shown.at(1)); // the same tip object again
    QVERIFY(dialog.isVisible());
    QVERIFY(button(&dialog, "pushButton_Cancel")->isVisible());
}

void BatchDialogsTest::cancelConfirmedSignalsOnce()
{
    TestableProgress dialog(nullptr);
    QSignalSpy cancel(&dialog, &BatchConvertProgress::signal_CancelConvert);
    dialog.onModal = [](QDialog* tip) {
        button(tip, "pushButton_Yes")->click();
        return int(QDialog::Accepted);
    };
    dialog.slot_isCancelView();
    QCOMPARE(cancel.size(), 1);
    // The tip is gone after a confirmed cancel; asking again makes a new one.
    QPointer<QDialog> first = dialog.shown.at(0);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(first.isNull());
    dialog.slot_isCancelView();
    QCOMPARE(cancel.size(), 2);
}

void BatchDialogsTest::titleBarCloseAsksEvenWhenFinished()
{
    TestableProgress dialog(nullptr);
    dialog.show();
    dialog.setFinished(3);
    QSignalSpy cancel(&dialog, &BatchConvertProgress::signal_CancelConvert);
    dialog.onModal = [](QDialog* tip) {
        button(tip, "pushButton_Yes")->click();
        return int(QDialog::Accepted);
    };
    auto* title = dialog.findChild<VNStyleWidgetTitle*>("widget");
    title->closeButton()->click();
    QCOMPARE(dialog.shown.size(), 1);
    QCOMPARE(cancel.size(), 1);
    QVERIFY(dialog.isVisible()); // closing it is the page's answer to the signal
}

void BatchDialogsTest::escapeAsksInsteadOfClosing()
{
    TestableProgress dialog(nullptr);
    dialog.show();
    QTest::keyClick(&dialog, Qt::Key_Escape);
    QCOMPARE(dialog.shown.size(), 1);
    QVERIFY(dialog.isVisible());
}

void BatchDialogsTest::openFolderAndOk()
{
    BatchConvertProgress dialog(nullptr);
    dialog.show();
    dialog.setFinished(2);
    QSignalSpy open(&dialog, &BatchConvertProgress::signal_OpenFolder);
    button(&dialog, "pushButton_OpenFolder")->click();
    QCOMPARE(open.size(), 1);
    QVERIFY(dialog.isVisible());
    button(&dialog, "pushButton_OK")->click();
    QVERIFY(!dialog.isVisible());
}

PICTOVA_BATCH_TEST_MAIN(BatchDialogsTest)
#include "BatchDialogsTest.moc"
