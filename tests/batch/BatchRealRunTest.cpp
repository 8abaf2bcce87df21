#include "TestSandbox.h"
#include "TestableFileTable.h"

#include "ConvertsionSet.h"
#include "DecoderLibrary.h"
#include "HeicFixture.h"
#include "VNStyleCheckBox.h"

#include <QCheckBox>
#include <QImageReader>
#include <QPushButton>
#include <QSignalSpy>

// The whole batch path with the real decoding library: HEIC files made by
// libheif's encoder go through the table, the queue and four workers, and
// come out as JPEG files of the same size.
class BatchRealRunTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void twentyPhotosConvertFromTheTable();

private:
    DecoderLibrary::Functions m_library;
};

void BatchRealRunTest::initTestCase()
{
    m_library = DecoderLibrary::bind();
    if (!m_library.isBound())
        QSKIP(qPrintable("the decoding library is not available: " + m_library.error));
    QString why;
    if (HeicFixture::encode(HeicFixture::quadrants(16, 16), {}, &why).isEmpty())
        QSKIP(qPrintable("no HEVC encoder: " + why));
}

void BatchRealRunTest::twentyPhotosConvertFromTheTable()
{
    QTemporaryDir sources;
    QTemporaryDir out;
    QStringList paths;
    QList<QSize> sizes;
    for (int i = 0; i < 20; ++i) {
        // Odd sizes on purpose: HEVC codes in blocks, the JPEG must not.
        const QSize size(40 + 7 * i, 30 + 3 * i);
        const QString path = sources.filePath(QString("IMG_%1.HEIC").arg(i, 4, 10, QChar('0')));
        QVERIFY(HeicFixture::write(path, HeicFixture::quadrants(size.width(), size.height())));
        paths << path;
        sizes << size;
    }
    const QString corpus = HeicFixture::corpusDir();
    if (!corpus.isEmpty() && QFile::exists(corpus + "/real/Stonehenge.heic")) {
        paths << corpus + "/real/Stonehenge.heic";
        sizes << QSize(300, 200);
    }

    TestableFileTable page;
    page.setDecoder(m_library.convert);
    page.nextChoice = paths;
    page.slot_AddItem();
    QCOMPARE(page.files().size(), paths.size());
    QCOMPARE(page.tickedRows().size(), paths.size()); // new rows come ticked

    QSignalSpy counted(&page, &HeicFileTable::signal_ConvertSuccessCount);
    QSignalSpy finished(&page, &HeicFileTable::signal_ConvertSuccessAll);
    page.onModal = [&](QDialog* dialog) {
        if (auto* settings = qobject_cast<ConvertsionSet*>(dialog)) {
            emit settings->signal_SendSavePath(out.path());
            settings->findChild<QPushButton*>("pushButton_Convert")->click();
        }
        return int(QDialog::Accepted);
    };
    page.findChild<QPushButton*>("pushButton_Convert")->click();

    QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 1, 120000);
    QCOMPARE(counted.size(), paths.size());

    const QDir folder(out.path() + "/Vantora");
    QCOMPARE(folder.entryList(QDir::Files).size(), paths.size());
    for (int i = 0; i < paths.size(); ++i) {
        const QString name = QFileInfo(paths.at(i)).completeBaseName() + ".jpg";
        QImageReader reader(folder.filePath(name));
        QCOMPARE(reader.format(), QByteArray("jpeg"));
        const QImage picture = reader.read();
        QVERIFY2(!picture.isNull(), qPrintable(name + ": " + reader.errorString()));
        QCOMPARE(picture.size(), sizes.at(i));
    }
}

PICTOVA_TEST_MAIN(BatchRealRunTest)
#include "BatchRealRunTest.moc"
