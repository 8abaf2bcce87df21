// The real main window driven the way a person uses it: photos dropped on
// the pages, buttons clicked, dialogs answered; then the JPEG files on disk
// are checked. Needs the real decoding library beside the tests.
#include "TestSandbox.h"
#include "AppTestSupport.h"

#include "HeicFileTable.h"
#include "HeicFixture.h"
#include "Pictova.h"
#include "PreviewHEIC.h"
#include "SingalConverterHome.h"
#include "VNStyleCheckBox.h"

#include <QCheckBox>
#include <QDir>
#include <QLabel>
#include <QMimeData>
#include <QTableWidget>
#include <QtTest>

namespace {

template <typename T>
T* child(const QObject* parent, const char* name)
{
    return parent->findChild<T*>(QString::fromLatin1(name));
}

void click(const QObject* parent, const char* name)
{
    auto* button = child<QAbstractButton>(parent, name);
    QVERIFY2(button && button->isVisible(), name);
    QTest::mouseClick(button, Qt::LeftButton);
}

// What a file manager delivers: a "text/uri-list" drag over the page, then
// the drop.
void dropFiles(QWidget* page, const QStringList& files)
{
    QList<QUrl> urls;
    for (const QString& f : files)
        urls << QUrl::fromLocalFile(f);
    QMimeData mime;
    mime.setUrls(urls);
    const QPoint at = page->rect().center();
    QDragEnterEvent enter(at, Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(page, &enter);
    QVERIFY(enter.isAccepted());
    QDropEvent drop(at, Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(page, &drop);
}

// A JPEG written by the program: decodes, has the expected size, and kept
// the photo's capture date in its EXIF block.
void checkJpeg(const QString& path, const QSize& size, const QByteArray& date)
{
    QFile file(path);
    QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(path));
    const QByteArray bytes = file.readAll();
    QVERIFY2(bytes.contains(date), qPrintable(path));
    QImage image;
    QVERIFY(image.loadFromData(bytes, "JPEG"));
    QCOMPARE(image.size(), size);
}

} // namespace

class tst_EndToEnd : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void singlePhotoFromDropToJpeg();
    void batchOfFiveFromDropToJpegs();

private:
    QTemporaryDir m_photos;
    QString m_outputDir;
    QByteArray m_date = "2024:05:17 10:11:12";
};

void tst_EndToEnd::initTestCase()
{
    {
        Pictova probe;
        if (!probe.decoder())
            QSKIP("the decoding library is not beside the tests");
    }
    QVERIFY(m_photos.isValid());
    m_outputDir = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation) + "/Vantora";
}

void tst_EndToEnd::singlePhotoFromDropToJpeg()
{
    // Orientation 6: stored sideways, shown upright, so the JPEG is taller
    // than the stored picture is wide.
    HeicFixtureOptions options;
    options.orientation = 6;
    options.exifTiff = HeicFixture::exifBlock(6, m_date);
    const QString photo = m_photos.filePath("IMG_E2E.HEIC");
    QVERIFY(HeicFixture::write(photo, HeicFixture::quadrants(320, 240), options));

    Pictova window;
    click(&window, "pushButton_SingleStart");
    auto* drop = qobject_cast<SingalConverterHome*>(window.currentPage());
    QVERIFY(drop);
    dropFiles(drop, {photo});

    auto* preview = qobject_cast<PreviewHEIC*>(window.currentPage());
    QVERIFY(preview);
    QTRY_VERIFY_WITH_TIMEOUT(preview->isPreviewShown(), 60000);
    const QPixmap shown = child<QLabel>(preview, "label_HEIC")->pixmap(Qt::ReturnByValue);
    QVERIFY(!shown.isNull());
    QVERIFY2(shown.height() > shown.width(), "the preview is not upright");

    QStringList info;
    AppTestSupport::answerNextModal(
        [&info](QWidget* dialog) {
            for (const char* name : {"label_NameValue", "label_ResolutionValue"})
                info << child<QLabel>(dialog, name)->text();
            click(dialog, "pushButton_Ok");
        },
        "PhotoInfo");
    QTest::mouseClick(child<QAbstractButton>(preview, "pushButton_PhotoInfo"), Qt::LeftButton);
    QCOMPARE(info, QStringList({"IMG_E2E.HEIC", "240*320"}));

    // Convert decodes again off the GUI thread; the success dialog opens when
    // the file is on disk.
    bool succeeded = false;
    AppTestSupport::answerNextModal(
        [&succeeded](QWidget* dialog) {
            succeeded = true;
            click(dialog, "pushButton_Ok");
        },
        "SingleConverting", 60000);
    click(preview, "pushButton_Convert");
    QTRY_VERIFY_WITH_TIMEOUT(succeeded, 60000);

    checkJpeg(m_outputDir + "/IMG_E2E.jpg", QSize(240, 320), m_date);
    QVERIFY(QFileInfo(photo).exists());

    click(&window, "pushButton_BackHome");
    QVERIFY(!window.currentPage());
}

void tst_EndToEnd::batchOfFiveFromDropToJpegs()
{
    QStringList photos;
    HeicFixtureOptions options;
    options.exifTiff = HeicFixture::exifBlock(1, m_date);
    for (int i = 1; i <= 5; ++i) {
        const QString path = m_photos.filePath(QStringLiteral("IMG_B%1.HEIC").arg(i));
        QVERIFY(HeicFixture::write(path, HeicFixture::gradient(96 + 16 * i, 64), options));
        photos << path;
    }

    Pictova window;
    click(&window, "pushButton_BatchStart");
    auto* drop = qobject_cast<SingalConverterHome*>(window.currentPage());
    QVERIFY(drop && drop->isBatchMode());
    dropFiles(drop, photos);

    auto* table = qobject_cast<HeicFileTable*>(window.currentPage());
    QVERIFY(table);
    QCOMPARE(child<QTableWidget>(table, "tableWidget")->rowCount(), 5);

    // Dropped photos come ticked, ready to convert.
    QCOMPARE(table->tickedRows().size(), 5);

    QString progressText;
    bool finished = false;
    auto answerProgress = [&](QWidget* progress) {
        // Wait for the count to reach the total, then close the dialog the
        // way the user does; give up (and close it) after a minute.
        auto* label = child<QLabel>(progress, "label_Progress");
        AppTestSupport::whenTrue(
            [label] { return label->text() == QLatin1String("5/5"); },
            [&progressText, &finished, label, progress] {
                progressText = label->text();
                finished = true;
                click(progress, "pushButton_OK");
            },
            [&progressText, &finished, label, progress] {
                progressText = label->text();
                finished = true;
                progress->close();
            },
            60000);
    };
    AppTestSupport::answerNextModal(
        [&](QWidget* settings) {
            AppTestSupport::answerNextModal(answerProgress, "BatchConvertProgress");
            click(settings, "pushButton_Convert");
        },
        "ConvertsionSet");
    click(table, "pushButton_Convert");
    QTRY_VERIFY_WITH_TIMEOUT(finished, 90000);
    QCOMPARE(progressText, QStringLiteral("5/5"));

    for (int i = 1; i <= 5; ++i)
        checkJpeg(QStringLiteral("%1/IMG_B%2.jpg").arg(m_outputDir).arg(i), QSize(96 + 16 * i, 64),
                  m_date);
    const QStringList written = QDir(m_outputDir).entryList({"IMG_B*"}, QDir::Files);
    QCOMPARE(written.size(), 5); // nothing half-written left beside them

    click(&window, "pushButton_BackHome");
    QVERIFY(!window.currentPage());
}

PICTOVA_TEST_MAIN(tst_EndToEnd)
#include "tst_EndToEnd.moc"
