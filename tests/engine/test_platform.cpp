#include "TestSandbox.h"
#include "EngineTestSupport.h"
#include "Platform.h"

#include <QDesktopServices>
#include <QUrl>

// Receives the URLs that QDesktopServices would hand to the file manager.
class UrlCatcher : public QObject
{
    Q_OBJECT

public:
    QList<QUrl> urls;

public slots:
    void open(const QUrl& url) { urls << url; }
};

class PlatformTest : public QObject
{
    Q_OBJECT

private slots:
    void resolvesExportsByPath();
    void openFolderHandsTheFolderToTheFileManager();
};

void PlatformTest::resolvesExportsByPath()
{
    QString error;
    QVERIFY(Platform::resolveFunction(EngineTest::fakeLibrary(), "heif2jpg", &error));
    QVERIFY(error.isEmpty());
#ifdef Q_OS_LINUX
    // The full file name works as well as the name without prefix and suffix.
    QVERIFY(Platform::resolveFunction(QStringLiteral(FAKE_DECODEX_DIR "/libDecodex.so"), "heif2jpg"));
#endif
    QVERIFY(!Platform::resolveFunction(TestSandbox::home() + "/nowhere/Decodex", "heif2jpg", &error));
    QVERIFY(!error.isEmpty());
    QVERIFY(!Platform::resolveFunction(EngineTest::fakeLibrary(), "no_such_function", &error));
    QVERIFY2(error.contains("no_such_function"), qPrintable(error));
}

void PlatformTest::openFolderHandsTheFolderToTheFileManager()
{
#ifdef Q_OS_WIN
    QSKIP("starts explorer");
#else
    UrlCatcher catcher;
    QDesktopServices::setUrlHandler("file", &catcher, "open");
    QVERIFY(Platform::openFolder(TestSandbox::home() + "/My Photos/Vantora"));
    QDesktopServices::unsetUrlHandler("file");
    QCOMPARE(catcher.urls, QList<QUrl>{QUrl::fromLocalFile(TestSandbox::home() + "/My Photos/Vantora")});
#endif
}

PICTOVA_TEST_GUILESS_MAIN(PlatformTest)
#include "test_platform.moc"
