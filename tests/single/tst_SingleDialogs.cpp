#include "TestSandbox.h"
#include <QLabel>
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
    void convertingOpenFolderKeepsItOpen();
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
    // The second photo must replace every field of the first; an empty
    // resolution (asked before the preview decoded) shows as empty.
    const QStringList photos[] = {{"03-07-2019", "IMG_0001.HEIC", "1.50MB", ""},
                                  {"12-31-2022", "b.heic", "0.02MB", "300*200"}};
    for (const QStringList& p : photos) {
        // The order in which the main window calls the setters.
        info.setCreatedDate(p[0]);
        info.setName(p[1]);
        info.setFileSize(p[2]);
        info.setResolution(p[3]);
        QCOMPARE(labelText(&info, "label_CreateDateValue"), p[0]);
        QCOMPARE(labelText(&info, "label_NameValue"), p[1]);
        QCOMPARE(labelText(&info, "label_FileSizeValue"), p[2]);
        QCOMPARE(labelText(&info, "label_ResolutionValue"), p[3]);
    }
}

void TestSingleDialogs::convertingOpenFolderKeepsItOpen()
{
    SingleConverting dialog(nullptr);
    QCOMPARE(labelText(&dialog, "label_States"),
             QString("The HEIC file has been successfully converted!"));
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

PICTOVA_TEST_MAIN(TestSingleDialogs)
#include "tst_SingleDialogs.moc"
