#include "TestSandbox.h"
#include "API_VersionControl.h"
#include "MenuLinks.h"
#include "PrivateProfile.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <string>

using LL::API_VersionControl;

namespace {

// Little-endian UTF-16 of ASCII text, built by hand so that the expected
// bytes do not come from the code under test; zero-padded to `units`.
QByteArray ascii16(const char* text, int units)
{
    QByteArray out(2 * units, '\0');
    for (int i = 0; text[i] && i < units; ++i)
        out[2 * i] = text[i];
    return out;
}

QByteArray le32(qint32 v)
{
    QByteArray out(4, '\0');
    for (int i = 0; i < 4; ++i)
        out[i] = char((quint32(v) >> (8 * i)) & 0xFF);
    return out;
}

QByteArray record(qint32 state, const QByteArray& url512)
{
    return le32(state) + url512;
}

bool writeAll(const QString& path, const QByteArray& bytes)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size();
}

QString urlOf(API_VersionControl& vc, int number, int* state)
{
    wchar_t url[API_VersionControl::kPathChars] = L"untouched";
    vc.GetMenuStateAndURL(number, state, url);
    return QString::fromWCharArray(url);
}

std::wstring w(const QString& s)
{
    return s.toStdWString();
}

// An address with a letter outside Latin-1 and one outside the basic plane,
// which is where a four-byte wchar_t copied into the file would show.
const QString kWideUrl = QStringLiteral("https://www.example.org/caf\u00e9/\U0001F600");
QByteArray wideUrlBytes()
{
    QByteArray b = ascii16("https://www.example.org/caf", 27);
    b += QByteArray("\xE9\x00/\x00\x3D\xD8\x00\xDE", 8);
    b.append(512 - b.size(), '\0');
    return b;
}

const char kMarker[] = "E15436C9-F797-4CBD-B3AA-9E27D649D47E";

} // namespace

class tst_ProductConfiguration : public QObject
{
    Q_OBJECT

private slots:
    void missingFileOrKeyGivesEmptyAddressAndStateOne()
    {
        QTemporaryDir dir;
        API_VersionControl vc;
        vc.SetProgramDirectory(dir.path());

        int state = 7;
        QCOMPARE(urlOf(vc, 3, &state), QString());
        QCOMPARE(state, 1);

        // A file that has other keys but not this one behaves the same.
        QVERIFY(writeAll(dir.filePath("Version.ini"),
                         "[VERSION]\r\nVANTORA_MENU_CONTACT_US=https://c.example/\r\n"
                         "[STATE]\r\nVANTORA_MENU_CONTACT_US=0\r\n"));
        state = 7;
        QCOMPARE(urlOf(vc, 3, &state), QString());
        QCOMPARE(state, 1);
        QCOMPARE(urlOf(vc, 6, &state), QStringLiteral("https://c.example/"));
        QCOMPARE(state, 0);
    }

    void shippedConfigurationOpensShippedHelp()
    {
        // The test runs from the build's program folder, where the shipped
        // Version.ini and help pages are copied: the tutorial and the FAQ open a
        // page that is there, and no entry carries an address of its own.
        QVERIFY(QFile::exists(QCoreApplication::applicationDirPath() + "/Version.ini"));
        API_VersionControl vc;
        for (int id = 3; id <= 8; ++id) {
            int state = 0;
            const QString configured = urlOf(vc, id, &state);
            QCOMPARE(configured, QString());
            const QUrl page = MenuLinks::target(id, configured, false);
            if (id <= 4)
                QVERIFY2(page.isLocalFile() && QFile::exists(page.toLocalFile()), qPrintable(page.toString()));
            else
                QVERIFY(page.isEmpty());
        }
    }

    void onlyWebAddressesLeaveTheProgram_data()
    {
        QTest::addColumn<int>("id");
        QTest::addColumn<QString>("configured");
        QTest::addColumn<QString>("opened"); // "help" for the shipped page

        QTest::newRow("https") << 6 << " https://example.org/c?a=1 " << "https://example.org/c?a=1";
        QTest::newRow("upper-case http") << 5 << "HTTP://example.org/r" << "http://example.org/r";
        QTest::newRow("non-ASCII kept") << 3 << "https://example.org/f\u00fchrer" << "https://example.org/f%C3%BChrer";
        QTest::newRow("file on the tutorial") << 3 << "file:///etc/passwd" << "help";
        QTest::newRow("program path") << 4 << "/usr/bin/xterm" << "help";
        QTest::newRow("javascript") << 7 << "javascript:alert(1)" << "";
        QTest::newRow("no host") << 8 << "https:///x" << "";
        QTest::newRow("other scheme") << 6 << "ftp://example.org/" << "";
        QTest::newRow("no scheme") << 5 << "example.org" << "";
    }

    void onlyWebAddressesLeaveTheProgram()
    {
        QFETCH(int, id);
        QFETCH(QString, configured);
        QFETCH(QString, opened);
        const bool refused = opened.isEmpty() || opened == QLatin1String("help");
        if (refused)
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression("not a web address"));
        const QUrl target = MenuLinks::target(id, configured, true);
        if (opened == QLatin1String("help"))
            QCOMPARE(target, MenuLinks::helpPage(id));
        else
            QCOMPARE(target.toString(QUrl::FullyEncoded), opened);
    }

    void iniReadsLikeWindowsProfileFunctions()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("Version.ini");
        QVERIFY(writeAll(path,
                         "; comment line\n"
                         "[version]\n"
                         "  vantora_menu_tutorial =  https://t.example/a;b,c%20d#e  \n"
                         "VANTORA_MENU_CONTACT_US=\"https://quoted.example/\"\n"
                         "VANTORA_MENU_TUTORIAL=https://second.example/\n"
                         "[ STATE ]\r\n"
                         "VANTORA_MENU_TUTORIAL=0 ; hidden\r\n"
                         "VANTORA_MENU_CONTACT_US=  -3x\r\n"
                         "VANTORA_MENU_FREQUENTLY_ASKED_QUESTIONS=\r\n"
                         "[VERSION]\n"
                         "VANTORA_MENU_FREQUENTLY_ASKED_QUESTIONS=https://later-section.example/\n"));
        API_VersionControl vc;
        vc.SetProgramDirectory(dir.path());
        int state = 0;
        // Case-insensitive names, trimmed value, no escapes, first key wins.
        QCOMPARE(urlOf(vc, 3, &state), QStringLiteral("https://t.example/a;b,c%20d#e"));
        QCOMPARE(state, 0);
        QCOMPARE(urlOf(vc, 6, &state), QStringLiteral("https://quoted.example/"));
        QCOMPARE(state, -3);
        // Only the first section of a name is read; an empty state reads as 0.
        QCOMPARE(urlOf(vc, 4, &state), QString());
        QCOMPARE(state, 0);

        // Addresses longer than the 256-character buffer are cut, not overrun.
        const QString longUrl = "https://x.example/" + QString(400, 'a');
        QVERIFY(PrivateProfile(path).writeString("VERSION", "VANTORA_MENU_CONTACT_US", longUrl));
        QCOMPARE(urlOf(vc, 6, &state), longUrl.left(255));
    }

    void notAnInstaller()
    {
        QTemporaryDir dir;
        API_VersionControl vc;
        const QString empty = dir.filePath("empty.exe");
        QVERIFY(writeAll(empty, QByteArray()));
        QVERIFY(!vc.ReadInstallFile(w(empty).c_str()));
        QVERIFY(!vc.ReadInstallFile(w(dir.filePath("absent.exe")).c_str()));

        // The right magic and marker but no "Version" word is not a trailer.
        const QString forged = dir.filePath("forged.exe");
        QVERIFY(writeAll(forged, QByteArray(9804, 'x') + le32(16534) + ascii16(kMarker, 256)
                                     + ascii16("Versio", 256) + ascii16("", 256)));
        QVERIFY(!vc.ReadInstallFile(w(forged).c_str()));

        // A trailer with no room for the table before it is refused, not read
        // from before the start of the file.
        const QString cut = dir.filePath("cut.exe");
        QVERIFY(writeAll(cut, QByteArray(100, 'x') + le32(16534) + ascii16(kMarker, 256)
                                  + ascii16("Version", 256) + ascii16("", 256)));
        QVERIFY(!vc.ReadInstallFile(w(cut).c_str()));
    }

    void binaryRecordsFromIniFile()
    {
        // GetVersionInfo reads the file beside the program as 516-byte records.
        QTemporaryDir dir;
        QVERIFY(writeAll(dir.filePath("Version.ini"),
                         record(5, ascii16("https://r0.example/", 256))
                             + record(-2, wideUrlBytes())));
        API_VersionControl vc;
        vc.SetProgramDirectory(dir.path());
        int state = 0;
        wchar_t url[API_VersionControl::kPathChars];
        QVERIFY(vc.GetVersionInfo(1, &state, url));
        QCOMPARE(state, -2);
        QCOMPARE(QString::fromWCharArray(url), kWideUrl);
        QVERIFY(!vc.GetVersionInfo(2, &state, url)); // past the last whole record
        QVERIFY(!vc.GetVersionInfo(-1, &state, url));

        // A file cut inside its last record: that record is not there.
        QVERIFY(writeAll(dir.filePath("Version.ini"),
                         record(5, ascii16("https://r0.example/", 256)) + record(-2, wideUrlBytes()).left(300)));
        QVERIFY(vc.GetVersionInfo(0, &state, url));
        QVERIFY(!vc.GetVersionInfo(1, &state, url));
    }
};

PICTOVA_TEST_GUILESS_MAIN(tst_ProductConfiguration)
#include "tst_ProductConfiguration.moc"
