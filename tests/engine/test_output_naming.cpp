#include "TestSandbox.h"
#include "EngineTestSupport.h"
#include "OutputNaming.h"

class OutputNamingTest : public QObject
{
    Q_OBJECT

private slots:
    void workerFolder_data();
    void workerFolder();
    void previewFolder_data();
    void previewFolder();
    void outputFileName_data();
    void outputFileName();
    void targetPathKeepsDoubledSeparatorOfDefaultFolder();
    void defaultsFollowTheDesktop();
};

static const QString kDesktop = QStringLiteral("C:/Users/ann/Desktop");

void OutputNamingTest::workerFolder_data()
{
    QTest::addColumn<QString>("savePath");
    QTest::addColumn<QString>("folder");
    QTest::newRow("empty: desktop with trailing slash") << "" << kDesktop + "/Vantora/";
    QTest::newRow("plain folder") << "D:/Pictures" << "D:/Pictures/Vantora";
    QTest::newRow("contains /Vantora") << "D:/My/Vantora Photos" << "D:/My/Vantora Photos";
    QTest::newRow("ends in /Vantora") << "D:/Pictures/Vantora" << "D:/Pictures/Vantora";
    QTest::newRow("case-sensitive test") << "D:/my/vantora" << "D:/my/vantora/Vantora";
    QTest::newRow("drive root gets a doubled slash") << "D:/" << "D://Vantora";
    QTest::newRow("Vantora without slash") << "D:/xVantora" << "D:/xVantora/Vantora";
}

void OutputNamingTest::workerFolder()
{
    QFETCH(QString, savePath);
    QFETCH(QString, folder);
    QCOMPARE(OutputNaming::workerFolder(savePath, kDesktop), folder);
    // The rewritten save path is stable: later files go to the same folder.
    QCOMPARE(OutputNaming::workerFolder(folder, kDesktop), folder);
}

void OutputNamingTest::previewFolder_data()
{
    QTest::addColumn<QString>("savePath");
    QTest::addColumn<QString>("folder");
    QTest::newRow("empty: desktop, no trailing slash") << "" << kDesktop + "/Vantora";
    QTest::newRow("drive root") << "D:/" << "D:/Vantora";
    QTest::newRow("ends in /Vantora") << "C:/Photos/Vantora" << "C:/Photos/Vantora";
    QTest::newRow("/Vantora in the middle") << "C:/Vantora/Photos" << "C:/Vantora/Photos";
    QTest::newRow("case-sensitive test") << "C:/vantora" << "C:/vantora/Vantora";
    QTest::newRow("unix root is not a drive") << "/" << "//Vantora";
}

void OutputNamingTest::previewFolder()
{
    QFETCH(QString, savePath);
    QFETCH(QString, folder);
    QCOMPARE(OutputNaming::previewFolder(savePath, kDesktop), folder);
    QCOMPARE(OutputNaming::previewFolder(folder, kDesktop), folder);
}

void OutputNamingTest::outputFileName_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("output");
    QTest::newRow("upper") << "IMG_0001.HEIC" << "IMG_0001.jpg";
    QTest::newRow("lower") << "IMG_0001.heic" << "IMG_0001.jpg";
    QTest::newRow("mixed case untouched") << "IMG_0001.Heic" << "IMG_0001.Heic";
    QTest::newRow("both, upper first") << "a.HEIC.heic" << "a.jpg.jpg";
    QTest::newRow("inside the name") << "photo.HEIC.jpg" << "photo.jpg.jpg";
    QTest::newRow("HEIF is not HEIC") << "p.heif" << "p.heif";
}

void OutputNamingTest::outputFileName()
{
    QFETCH(QString, input);
    QFETCH(QString, output);
    QCOMPARE(OutputNaming::outputFileName(input), output);
}

void OutputNamingTest::targetPathKeepsDoubledSeparatorOfDefaultFolder()
{
    const QString folder = OutputNaming::workerFolder(QString(), kDesktop);
    QCOMPARE(OutputNaming::targetPath(folder, "C:/in/IMG_0001.HEIC"),
             kDesktop + "/Vantora//IMG_0001.jpg");
    QCOMPARE(OutputNaming::targetPath("D:/out/Vantora", "/a/b.c/x.heic"), QString("D:/out/Vantora/x.jpg"));
    // Opening the folder keeps the worker's default as it is.
    QCOMPARE(OutputNaming::openFolderPath(kDesktop + "/Vantora/", kDesktop), kDesktop + "/Vantora/");
    QCOMPARE(OutputNaming::openFolderPath("D:/Pictures", kDesktop), QString("D:/Pictures/Vantora"));
}

void OutputNamingTest::defaultsFollowTheDesktop()
{
    const QString desktop = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
    QCOMPARE(OutputNaming::workerFolder(QString()), desktop + "/Vantora/");
    QCOMPARE(OutputNaming::previewFolder(QString()), desktop + "/Vantora");
    QCOMPARE(OutputNaming::openFolderPath(QString()), desktop + "/Vantora");
}

PICTOVA_TEST_GUILESS_MAIN(OutputNamingTest)
#include "test_output_naming.moc"
