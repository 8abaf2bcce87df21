#include "TestSandbox.h"
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QSignalSpy>
#include <QSlider>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

#include "DecoderLibrary.h"
#include "EngineTestSupport.h"
#include "HeicFixture.h"
#include "PreviewHEIC.h"
#include "SavedChoices.h"
#include "SingleConverting.h"
#include "VNStyleButton.h"

// Stands in for the desktop's file manager.
class FolderOpener : public QObject
{
    Q_OBJECT

public:
    QList<QUrl> opened;

public slots:
    void open(const QUrl& url) { opened << url; }
};

namespace {

// The page with its two dialogs answered by the test.
class ScriptedPreview : public PreviewHEIC
{
public:
    using PreviewHEIC::PreviewHEIC;

    QString folderAnswer;
    QStringList startFolders;
    int dialogsRun = 0;

protected:
    QString chooseSaveFolder(const QString& startFolder) override
    {
        startFolders << startFolder;
        return folderAnswer;
    }
    void runConvertingDialog(SingleConverting*) override { ++dialogsRun; }
    bool showFolder(const QString& folder) override
    {
        return !noFileManager && PreviewHEIC::showFolder(folder);
    }

public:
    bool noFileManager = false;
    QStringList messages;

protected:
    void runMessage(QDialog* box) override
    {
        messages << box->findChild<QLabel*>("label")->text();
    }
};

QLabel* previewLabel(QWidget* page)
{
    return page->findChild<QLabel*>("label_HEIC");
}

QSize shownSize(QWidget* page)
{
    return previewLabel(page)->pixmap(Qt::ReturnByValue).size();
}

} // namespace

class TestPreviewHEIC : public QObject
{
    Q_OBJECT

public:
    TestPreviewHEIC() : m_home(TestSandbox::home()) {}

private slots:
    // Every test starts as a first start does: no choices kept from before.
    void init() { SavedChoices::forget(); }

    void initTestCase()
    {
        const QString desktop = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
        QVERIFY2(desktop.startsWith(m_home), qPrintable(desktop));
        QVERIFY(QDir().mkpath(desktop));
        QVERIFY(m_work.isValid());
        // Drive-letter folders of the folder table must not land in the source tree.
        QVERIFY(QDir::setCurrent(m_work.path()));
        m_decoder = DecoderLibrary::bind().convert;
        QVERIFY2(m_decoder, "the decoding library is not beside the test");
    }

    void missingFileStillGetsAPage()
    {
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("does not exist"));
        PreviewHEIC page(m_work.filePath("gone.HEIC"));
        QVERIFY(page.fileName().isEmpty());
        QVERIFY(page.fileSize().isEmpty());
        QVERIFY(page.createdDate().isEmpty());
    }

    void scalingRule_data()
    {
        QTest::addColumn<QSize>("picture");
        QTest::newRow("wide") << QSize(1020, 340);
        QTest::newRow("tall") << QSize(510, 680);
        QTest::newRow("small and wide, enlarged") << QSize(100, 20);
    }

    void scalingRule()
    {
        // The preview is never squeezed: it keeps the photo's proportions.
        QFETCH(QSize, picture);
        PreviewHEIC page(m_work.filePath("none.HEIC"));
        QImage image(picture, QImage::Format_RGB32);
        image.fill(Qt::darkCyan);
        page.slot_GetJpgInfo(image, picture.width(), picture.height());
        QVERIFY(page.isPreviewShown());
        const QSize shown = shownSize(&page);
        QVERIFY2(qAbs(shown.width() * picture.height() - shown.height() * picture.width()) <= picture.width(),
                 qPrintable(QStringLiteral("%1x%2").arg(shown.width()).arg(shown.height())));
        QCOMPARE(page.resolution(), QString("%1*%2").arg(picture.width()).arg(picture.height()));
    }

    void folderChooserRemembersLastFolder()
    {
        ScriptedPreview page(m_work.filePath("a.HEIC"));
        for (const char* answer : {"/first", "" /* cancelled */, "/second"}) {
            page.folderAnswer = answer;
            page.slot_SelectSaveFolder();
        }
        QCOMPARE(page.startFolders, (QStringList{"", "/first", "/first"}));
        QCOMPARE(page.savePath(), QString("/second"));
    }

    void previewAndConvertAtBothQualities()
    {
        HeicFixtureOptions options;
        options.exifTiff = HeicFixture::exifBlock(1, "2021:06:01 12:00:00");
        const QString heic = writeHeic("gradient.HEIC", HeicFixture::gradient(640, 480), options);
        if (heic.isEmpty())
            QSKIP("libheif has no HEVC encoder here");
        const QDateTime copied(QDate(2024, 2, 3), QTime(4, 5, 6));
        {
            QFile source(heic);
            QVERIFY(source.open(QIODevice::ReadWrite));
            QVERIFY(source.setFileTime(copied, QFileDevice::FileModificationTime));
        }

        ScriptedPreview page(heic);
        page.setDecoderEntry(m_decoder);
        page.setDecoderEntry(nullptr); // keeps the entry it has
        QSignalSpy info(&page, &PreviewHEIC::signal_PhotoInfo);
        page.slot_PhotoInfo(); // before the decode: no resolution yet
        const QString out = m_work.filePath("out");
        QVERIFY(QDir().mkpath(out));
        page.folderAnswer = out;
        page.slot_SelectSaveFolder();
        page.show();

        page.slot_Preview();
        QTRY_VERIFY_WITH_TIMEOUT(page.isPreviewShown(), 20000);
        QCOMPARE(page.dialogsRun, 0);                // the preview itself writes nothing
        page.slot_PhotoInfo();
        QCOMPARE(info.count(), 2);
        QVERIFY(info.at(0).at(3).toString().isEmpty());
        QCOMPARE(info.at(1).at(3).toString(), QString("640*480"));
        // Once read, the date is when the photo was taken, not when it was copied.
        QCOMPARE(info.at(1).at(1).toString(), QString("06-01-2021"));

        const QString jpg = out + "/Vantora/gradient.jpg";
        QSignalSpy saved(&page, &PreviewHEIC::signal_JpgSaved);
        auto* slider = page.findChild<QSlider*>("Slider_PhotoQuality");
        auto* convert = page.findChild<VNStyleButton*>("pushButton_Convert");
        slider->setValue(0);
        QTest::mouseClick(convert, Qt::LeftButton);
        QTRY_COMPARE_WITH_TIMEOUT(saved.count(), 1, 20000);
        QCOMPARE(saved.at(0).at(0).toString(), jpg);
        QCOMPARE(page.dialogsRun, 1);
        QVERIFY(page.convertingDialog());
        const QByteArray atZero = EngineTest::readFile(jpg);

#ifndef Q_OS_WIN // there explorer is started itself; tst_windows_platform checks what it gets
        // "Open Folder" in the success dialog shows the folder the JPEG went to.
        FolderOpener opener;
        QDesktopServices::setUrlHandler("file", &opener, "open");
        QTest::mouseClick(page.convertingDialog()->findChild<VNStyleButton*>("pushButton_OpenFolder"), Qt::LeftButton);
        QDesktopServices::unsetUrlHandler("file");
        QCOMPARE(opener.opened, QList<QUrl>{QUrl::fromLocalFile(out + "/Vantora")});
#endif
        // Without a file manager (no xdg-open) the person is told where to look.
        page.noFileManager = true;
        QTest::mouseClick(page.convertingDialog()->findChild<VNStyleButton*>("pushButton_OpenFolder"), Qt::LeftButton);
        QVERIFY(!page.messages.isEmpty() && page.messages.last().contains(QDir::toNativeSeparators(out + "/Vantora")));
        page.noFileManager = false;

        slider->setValue(100);
        QTest::mouseClick(convert, Qt::LeftButton);
        QTRY_COMPARE_WITH_TIMEOUT(saved.count(), 2, 20000);
        const QByteArray atHundred = EngineTest::readFile(jpg);

        QVERIFY2(atHundred.size() > 2 * atZero.size(),
                 qPrintable(QString("%1 vs %2").arg(atHundred.size()).arg(atZero.size())));
        // What is on disk is the library's JPEG: it keeps the photo's EXIF.
        QVERIFY(atHundred.contains(QByteArray("Exif\0\0", 6)));
        const QImage written = QImage::fromData(atHundred, "JPG");
        QCOMPARE(written.size(), QSize(640, 480));
        // Red grows to the right, green downwards: the picture is upright and whole.
        const QColor topRight = written.pixelColor(600, 40), bottomLeft = written.pixelColor(40, 440);
        QVERIFY(topRight.red() > 200 && topRight.green() < 60);
        QVERIFY(bottomLeft.green() > 200 && bottomLeft.red() < 60);
        // The JPEG sorts with its photo in a library.
        QCOMPARE(QFileInfo(jpg).lastModified(), copied);
        // Nothing but the one JPEG in the output folder: no temporary left over.
        QCOMPARE(QDir(out + "/Vantora").entryList(QDir::Files | QDir::Hidden),
                 QStringList{"gradient.jpg"});
    }

    // Convert is ready once the photo is read; pressed while the preview
    // still decodes, it takes that decode's JPEG rather than making another.
    void convertWhileThePreviewDecodesWaitsForIt()
    {
        const QString path = m_work.filePath("slow.HEIC");
        QVERIFY(EngineTest::writeFile(path, EngineTest::fakeNamed("slow", EngineTest::jpeg(64, 48))));
        EngineTest::fakeReset();
        EngineTest::fakeGate(true);
        ScriptedPreview page(path);
        page.setDecoderEntry(DecoderLibrary::bindFrom(EngineTest::fakeLibrary()).convert);
        QSignalSpy saved(&page, &PreviewHEIC::signal_JpgSaved);
        page.slot_Preview();
        auto* convert = page.findChild<QPushButton*>("pushButton_Convert");
        QTRY_VERIFY(convert->isEnabled());
        QTRY_COMPARE(EngineTest::fakeEntered(), 1);
        page.slot_Convert();
        QCOMPARE(page.dialogsRun, 1);
        EngineTest::fakeGate(false);
        QTRY_COMPARE(saved.count(), 1);
        QVERIFY(page.isPreviewShown() && !page.isConverting());
        QCOMPARE(EngineTest::fakeEntered(), 1);
    }

    void defaultFolderIsVantoraOnTheDesktop()
    {
        const QString heic = writeHeic("a.heic.HEIC", HeicFixture::quadrants(64, 48));
        if (heic.isEmpty())
            QSKIP("libheif has no HEVC encoder here");

        ScriptedPreview page(heic);
        page.setDecoderEntry(m_decoder);
        QSignalSpy saved(&page, &PreviewHEIC::signal_JpgSaved);
        page.slot_Preview();
        QTRY_VERIFY_WITH_TIMEOUT(page.isPreviewShown(), 20000);
        page.slot_Convert();
        QTRY_COMPARE_WITH_TIMEOUT(saved.count(), 1, 20000);

        const QString desktop = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
        QCOMPARE(page.savePath(), desktop + "/Vantora");
        QCOMPARE(saved.at(0).at(0).toString(), desktop + "/Vantora/a.jpg.jpg");
        QVERIFY(QFileInfo(desktop + "/Vantora/a.jpg.jpg").size() > 0);
    }

    void unwritableTargetLeavesNothing()
    {
        const QString heic = writeHeic("blocked.HEIC", HeicFixture::quadrants(64, 48));
        if (heic.isEmpty())
            QSKIP("libheif has no HEVC encoder here");

        // A folder where the JPEG should go: the final rename cannot replace it.
        const QString out = m_work.filePath("blocked");
        QVERIFY(QDir().mkpath(out + "/Vantora/blocked.jpg"));
        ScriptedPreview page(heic);
        page.setDecoderEntry(m_decoder);
        page.folderAnswer = out;
        page.slot_SelectSaveFolder();
        QSignalSpy saved(&page, &PreviewHEIC::signal_JpgSaved);
        page.slot_Preview();
        QTRY_VERIFY_WITH_TIMEOUT(page.isPreviewShown(), 20000);

        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("cannot write .*blocked.jpg"));
        page.slot_Convert();
        QTRY_VERIFY_WITH_TIMEOUT(!page.isConverting(), 20000);
        QCOMPARE(saved.count(), 0);
        // The conversion's dialog tells the person, naming the photo; Convert
        // is ready to try again.
        const QString told = page.convertingDialog()->findChild<QLabel*>("label_States")->text();
        QVERIFY2(told.contains("blocked.HEIC"), qPrintable(told));
        QVERIFY(page.findChild<QPushButton*>("pushButton_Convert")->isEnabled());
        QCOMPARE(QDir(out + "/Vantora").entryList(QDir::Files | QDir::Hidden), QStringList());
    }

    void unreadablePhotoIsNamedWithTheReason()
    {
        for (const QByteArray& content : {QByteArray("not a photo at all"), QByteArray()}) {
            const QString path = m_work.filePath("broken.heic");
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(content);
            file.close();
            ScriptedPreview page(path);
            page.setDecoderEntry(m_decoder);
            page.slot_Preview();
            QTRY_VERIFY_WITH_TIMEOUT(!page.failure().isEmpty(), 20000);
            QVERIFY(!page.isPreviewShown());
            QVERIFY(previewLabel(&page)->text().contains("broken.heic"));
            QVERIFY(previewLabel(&page)->text().contains(page.failure()));
            QVERIFY(!page.findChild<QPushButton*>("pushButton_Convert")->isEnabled());
            QVERIFY(page.resolution().isEmpty());
            page.slot_Convert(); // does nothing
            QCOMPARE(page.dialogsRun, 0);
        }
    }

private:
    QString writeHeic(const QString& name, const QImage& picture,
                      const HeicFixtureOptions& options = {})
    {
        const QString path = m_work.filePath(name);
        if (!HeicFixture::write(path, picture, options))
            return QString();
        return path;
    }

    QString m_home;
    QTemporaryDir m_work;
    Heif2JpgFn m_decoder = nullptr;
};

PICTOVA_TEST_MAIN(TestPreviewHEIC)

#include "tst_PreviewHEIC.moc"
