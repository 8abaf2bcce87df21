// What only Windows does, run under Wine: the named mutex, the decoding
// library bound by a wide path, the resources the programs carry, the
// arguments explorer gets, and names and paths that the ANSI calls and
// MAX_PATH would break.
#include "EngineTestSupport.h"
#include "Platform.h"
#include "TestSandbox.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

#include <windows.h>
#include <shellapi.h>

namespace {

QString binary(const QString& name)
{
    return QStringLiteral(PICTOVA_BIN_DIR "/") + name;
}

// The text of a program's manifest, read from its resources.
QByteArray manifestOf(const QString& program)
{
    const HMODULE module = LoadLibraryExW(reinterpret_cast<const wchar_t*>(QDir::toNativeSeparators(program).utf16()),
                                          nullptr, LOAD_LIBRARY_AS_DATAFILE);
    if (!module)
        return QByteArray();
    QByteArray text;
    if (HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(1), MAKEINTRESOURCEW(24))) {
        if (HGLOBAL data = LoadResource(module, found))
            text = QByteArray(static_cast<const char*>(LockResource(data)),
                              int(SizeofResource(module, found)));
    }
    FreeLibrary(module);
    return text;
}

bool mutexExists(const wchar_t* name)
{
    const HANDLE mutex = OpenMutexW(SYNCHRONIZE, FALSE, name);
    if (mutex)
        CloseHandle(mutex);
    return mutex != nullptr;
}

} // namespace

class tst_WindowsPlatform : public QObject
{
    Q_OBJECT

private slots:
    void runningCopyHoldsTheNamedMutex()
    {
        QVERIFY(!mutexExists(L"Pictova"));
        QProcess first;
        first.setProcessEnvironment([] {
            QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
            env.insert("QT_QPA_PLATFORM", "offscreen");
            return env;
        }());
        first.start(binary("Pictova.exe"), QStringList());
        QVERIFY(first.waitForStarted());
        QTRY_VERIFY_WITH_TIMEOUT(mutexExists(L"Pictova"), 60000);
        QProcess second;
        second.setProcessEnvironment(first.processEnvironment());
        second.start(binary("Pictova.exe"), QStringList());
        QVERIFY(second.waitForFinished(60000));
        QCOMPARE(second.exitCode(), -1);
        QCOMPARE(first.state(), QProcess::Running);
        first.kill();
        QVERIFY(first.waitForFinished(10000));
        QTRY_VERIFY_WITH_TIMEOUT(!mutexExists(L"Pictova"), 10000);
    }

    void libraryIsBoundByItsWidePath()
    {
        // Characters outside every ANSI code page: LoadLibraryA could not
        // even name this folder.
        QTemporaryDir dir;
        const QString folder = dir.filePath(QString::fromUtf8("写真 📷 Fotos"));
        QVERIFY(QDir().mkpath(folder));
        QVERIFY(QFile::copy(EngineTest::fakeLibrary() + ".dll", folder + "/Decodex.dll"));
        QString error;
        QVERIFY2(Platform::resolveFunction(folder + "/Decodex", "heif2jpg", &error), qPrintable(error));
        QVERIFY(!Platform::resolveFunction(folder + "/Decodex", "no_such_export", &error));
        QVERIFY2(error.contains("no_such_export"), qPrintable(error));
    }

    // What the about box shows, the icon Explorer shows, and the manifest
    // that makes long paths and per-monitor DPI work, on both programs.
    void programsCarryVersionIconAndManifest_data()
    {
        QTest::addColumn<QString>("program");
        QTest::newRow("Pictova") << binary("Pictova.exe");
        QTest::newRow("pictova-convert") << binary("pictova-convert.exe");
    }
    void programsCarryVersionIconAndManifest()
    {
        QFETCH(QString, program);
        QCOMPARE(Platform::fileVersion(program), QStringLiteral(PICTOVA_VERSION));
        const std::wstring wide = QDir::toNativeSeparators(program).toStdWString();
        QVERIFY(ExtractIconExW(wide.c_str(), -1, nullptr, nullptr, 0) >= 1);
        const QByteArray manifest = manifestOf(program);
        QVERIFY2(manifest.contains("<longPathAware") && manifest.contains(">true</longPathAware>"),
                 manifest.constData());
        QVERIFY(manifest.contains(">PerMonitor</dpiAwareness>"));
        QVERIFY(Platform::fileVersion(EngineTest::fakeLibrary() + ".dll").isEmpty());
    }

    void explorerGetsTheFolderWithBackslashes()
    {
        QTemporaryDir dir;
        const QString log = dir.filePath("explorer.log");
        qputenv("PICTOVA_FAKE_EXPLORER_LOG", QDir::toNativeSeparators(log).toUtf8());
        const QString folder = dir.filePath(QString::fromUtf8("Vantora photos ✓"));
        QVERIFY(Platform::openFolder(folder));
        QTRY_VERIFY_WITH_TIMEOUT(QFileInfo(log).size() > 0, 20000);
        QFile file(log);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(QString::fromUtf8(file.readAll()), QDir::toNativeSeparators(folder) + "\n");
    }

    // A photo deep in folders with Japanese and emoji names, its path far
    // beyond MAX_PATH, converted beside itself by the command-line program.
    void longAndNonAsciiPathsConvert()
    {
        QTemporaryDir dir;
        QString folder = dir.filePath(QString::fromUtf8("日本語の写真 🌸"));
        while (folder.size() < 300)
            folder += QString::fromUtf8("/サブフォルダ-subfolder-%1").arg(folder.size());
        QVERIFY(QDir().mkpath(folder));
        const QString photo = folder + QString::fromUtf8("/IMG_テスト 😀.HEIC");
        QVERIFY(EngineTest::writeFile(photo, EngineTest::fakeHeic(EngineTest::jpeg())));
        QProcess convert;
        convert.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        convert.start(binary("pictova-convert.exe"), {"--decoder", EngineTest::fakeLibrary(), photo});
        QVERIFY(convert.waitForFinished(60000));
        QCOMPARE(convert.exitCode(), 0);
        const QString jpeg = folder + QString::fromUtf8("/IMG_テスト 😀.jpg");
        QVERIFY2(QFileInfo(jpeg).size() > 0, qPrintable(jpeg));
        QCOMPARE(EngineTest::readFile(jpeg), EngineTest::jpeg());
    }

    // Windows decides names without case: "a.heic" and "A.HEIF" would both
    // be written to one "a.jpg", so the run stops before writing anything.
    void jpegNamesClashWithoutCase()
    {
        QTemporaryDir dir;
        QVERIFY(EngineTest::writeFile(dir.filePath("a.heic"), EngineTest::fakeHeic(EngineTest::jpeg())));
        QVERIFY(EngineTest::writeFile(dir.filePath("A.HEIF"), EngineTest::fakeHeic(EngineTest::jpeg())));
        QProcess convert;
        convert.start(binary("pictova-convert.exe"), {"--decoder", EngineTest::fakeLibrary(), dir.path()});
        QVERIFY(convert.waitForFinished(60000));
        QCOMPARE(convert.exitCode(), 2);
        QVERIFY(!QFileInfo::exists(dir.filePath("a.jpg")));
    }
};

PICTOVA_TEST_MAIN(tst_WindowsPlatform)
#include "tst_WindowsPlatform.moc"
