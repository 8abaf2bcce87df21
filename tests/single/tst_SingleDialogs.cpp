#include <QLabel>
#include <QProgressBar>
#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

#include "PhotoInfo.h"
#include "SingleConverting.h"
#include "VNStyleButton.h"

class TestSingleDialogs : public QObject
{
    Q_OBJECT

private slots:
    void photoInfoShowsTheCurrentPhotoEachTime();
    void photoInfoOkCloses();
    void convertingOpensFinished();
    void convertingOpenFolderKeepsItOpen();
    void convertingHoverColours();
};

namespace {
QString labelText(QWidget* dialog, const char* name)
{
    auto* label = dialog->findChild<QLabel*>(name);
    return label ? label->text() : QStringLiteral("<missing %1>").arg(name);
}
} // namespace

void TestSingleDialogs::photoInfoShowsTheCurrentPhotoEachTime()
{
    PhotoInfo info(nullptr);
    QCOMPARE(labelText(&info, "label_CreateData"), QString("Created Date:"));
    // The order in which the main window calls the setters.
    info.setCreatedDate("03-07-2019");
    info.setName("IMG_0001.HEIC");
    info.setFileSize("1.50MB");
    info.setResolution(""); // asked before the preview had decoded
    QCOMPARE(labelText(&info, "label_NameValue"), QString("IMG_0001.HEIC"));
    QCOMPARE(labelText(&info, "label_CreateDateValue"), QString("03-07-2019"));
    QCOMPARE(labelText(&info, "label_FileSizeValue"), QString("1.50MB"));
    QCOMPARE(labelText(&info, "label_ResolutionValue"), QString(""));

    info.setCreatedDate("12-31-2022");
    info.setName("b.heic");
    info.setFileSize("0.02MB");
    info.setResolution("300*200");
    QCOMPARE(labelText(&info, "label_NameValue"), QString("b.heic"));
    QCOMPARE(labelText(&info, "label_CreateDateValue"), QString("12-31-2022"));
    QCOMPARE(labelText(&info, "label_FileSizeValue"), QString("0.02MB"));
    QCOMPARE(labelText(&info, "label_ResolutionValue"), QString("300*200"));
    QCOMPARE(info.name(), QString("b.heic"));
    QCOMPARE(info.resolution(), QString("300*200"));
}

void TestSingleDialogs::photoInfoOkCloses()
{
    PhotoInfo info(nullptr);
    auto* ok = info.findChild<VNStyleButton*>("pushButton_Ok");
    QVERIFY(ok);
    bool ran = false;
    QTimer::singleShot(0, &info, [&] {
        ran = info.isVisible();
        QTest::mouseClick(ok, Qt::LeftButton);
    });
    info.exec(); // returns only because OK closed it
    QVERIFY(ran);
    QVERIFY(!info.isVisible());
}

void TestSingleDialogs::convertingOpensFinished()
{
    SingleConverting dialog(nullptr);
    QCOMPARE(labelText(&dialog, "label_States"),
             QString("The HEIC file has been successfully converted!"));
    auto* bar = dialog.findChild<QProgressBar*>("progressBar");
    QVERIFY(bar);
    QCOMPARE(bar->value(), 100);
    QVERIFY(!bar->isTextVisible());
    QVERIFY(dialog.windowFlags() & Qt::FramelessWindowHint);
    QVERIFY(dialog.testAttribute(Qt::WA_TranslucentBackground));
    QCOMPARE(dialog.findChild<VNStyleButton*>("pushButton_OpenFolder")->text(),
             QString("Open Folder"));
}

void TestSingleDialogs::convertingOpenFolderKeepsItOpen()
{
    SingleConverting dialog(nullptr);
    QSignalSpy openFolder(&dialog, &SingleConverting::signal_OpenFolder);
    auto* open = dialog.findChild<VNStyleButton*>("pushButton_OpenFolder");
    auto* ok = dialog.findChild<VNStyleButton*>("pushButton_Ok");
    QVERIFY(open && ok);
    bool openAfterOpenFolder = false;
    QTimer::singleShot(0, &dialog, [&] {
        QTest::mouseClick(open, Qt::LeftButton);
        openAfterOpenFolder = dialog.isVisible();
        QTest::mouseClick(ok, Qt::LeftButton);
    });
    dialog.exec();
    QCOMPARE(openFolder.count(), 1);
    QVERIFY(openAfterOpenFolder);
    QVERIFY(!dialog.isVisible());
}

void TestSingleDialogs::convertingHoverColours()
{
    SingleConverting dialog(nullptr);
    for (const char* name : {"pushButton_OpenFolder", "pushButton_Ok"}) {
        auto* button = dialog.findChild<VNStyleButton*>(name);
        QVERIFY(button);
        QHoverEvent enter(QEvent::HoverEnter, QPointF(5, 5), QPointF(-1, -1));
        QCoreApplication::sendEvent(button, &enter);
        QCOMPARE(button->styleSheet(), QString("color:#ffffff"));
        QHoverEvent leave(QEvent::HoverLeave, QPointF(-1, -1), QPointF(5, 5));
        QCoreApplication::sendEvent(button, &leave);
        QCOMPARE(button->styleSheet(), QString("color:#3598fe"));
    }
}

QTEST_MAIN(TestSingleDialogs)
#include "tst_SingleDialogs.moc"
