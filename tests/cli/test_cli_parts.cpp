#include "TestSandbox.h"
#include "ByteSafeUtf8Codec.h"
#include "CommandLine.h"
#include "ConsoleReporter.h"
#include "ConversionPlan.h"
#include "EngineTestSupport.h"
#include "InputScanner.h"
#include "ProgressMeter.h"

#ifdef Q_OS_UNIX
#include <sys/stat.h>
#endif

// The rules of pictova-convert that need no process and no decoder.

namespace {

void touch(const QString& path)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QVERIFY(EngineTest::writeFile(path, "x"));
}

QStringList pathsOf(const QVector<InputScanner::Photo>& photos)
{
    QStringList paths;
    for (const InputScanner::Photo& photo : photos)
        paths << photo.path;
    return paths;
}

} // namespace

class CliPartsTest : public QObject
{
    Q_OBJECT

private slots:
    void commandLineAccepts_data()
    {
        // Every option of --help, short and long, must parse to its setting.
        QTest::addColumn<QStringList>("arguments");
        // quality jobs memory recursive no-clobber gain-map output max-size location
        QTest::addColumn<QString>("settings");
        QTest::newRow("defaults") << QStringList{"x"} << "100 %1 0 0 0 1  0 1";
        QTest::newRow("short") << QStringList{"-r", "-n", "-j", "1", "-q", "0", "-o", "out", "x", "y"}
                               << "0 1 0 1 1 1 out 0 1";
        QTest::newRow("long") << QStringList{"--recursive", "--no-clobber", "--jobs=64", "--quality=55",
                                             "--output=o", "--memory=300", "--no-gain-map", "--max-size=2048",
                                             "--no-location", "d"}
                              << "55 64 300 1 1 0 o 2048 0";
        QTest::newRow("long, separate values") << QStringList{"--quality", "100", "--jobs", "2", "--memory", "1",
                                                              "--output", "o", "--max-size", "1", "x"}
                                               << "100 2 1 0 0 1 o 1 1";
    }

    void commandLineAccepts()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, settings);
        CommandLine commandLine;
        const auto action = commandLine.parse(QStringList("pictova-convert") + arguments);
        QVERIFY2(action == CommandLine::Action::Run, qPrintable(commandLine.errorText()));
        const CommandLine::Options& o = commandLine.options();
        const QString got = QStringLiteral("%1 %2 %3 %4 %5 %6 %7 %8 %9").arg(o.quality).arg(o.jobs).arg(o.memoryMB)
                                .arg(int(o.recursive)).arg(int(o.noClobber)).arg(int(o.conversion.keepGainMap))
                                .arg(o.outputFolder).arg(o.conversion.maxLongSide).arg(int(o.conversion.keepLocation));
        QCOMPARE(got, settings.contains("%1") ? settings.arg(CommandLine::defaultJobs()) : settings);
        QVERIFY(!o.inputs.isEmpty());

        // The table covers every option --help shows.
        static const QRegularExpression longName(QStringLiteral("--([a-z-]+)"));
        const QString covered = QStringLiteral(
            "--recursive --no-clobber --jobs --quality --output --memory --no-gain-map --max-size --no-location");
        for (auto m = longName.globalMatch(commandLine.helpText()); m.hasNext();) {
            const QString name = m.next().captured(0);
            if (name != "--help" && name != "--version" && name != "--help-all")
                QVERIFY2(covered.contains(name), qPrintable(name + " is not exercised"));
        }
        QCOMPARE(commandLine.parse({"pictova-convert", "--help"}), CommandLine::Action::ShowHelp);
    }

    void commandLineRefuses_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("message");
        QTest::newRow("nothing to convert") << QStringList() << "no files or folders given";
        QTest::newRow("quality 101") << QStringList{"-q", "101", "a"} << "quality must be";
        QTest::newRow("jobs 0") << QStringList{"-j", "0", "a"} << "jobs must be";
        QTest::newRow("jobs 65") << QStringList{"-j", "65", "a"} << "jobs must be";
        QTest::newRow("empty -o") << QStringList{"-o", "", "a"} << "output folder is empty";
        QTest::newRow("empty name") << QStringList{""} << "empty file name";
        QTest::newRow("memory 0") << QStringList{"--memory", "0", "a"} << "memory must be";
        QTest::newRow("max-size 0") << QStringList{"--max-size", "0", "a"} << "max-size must be";
        QTest::newRow("max-size 70000") << QStringList{"--max-size=70000", "a"} << "max-size must be";
        QTest::newRow("quality not a number") << QStringList{"-q", "high", "a"} << "quality must be";
        QTest::newRow("unknown option") << QStringList{"--fast", "a"} << "Unknown option";
    }

    void commandLineRefuses()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, message);
        CommandLine commandLine;
        QCOMPARE(commandLine.parse(QStringList("pictova-convert") + arguments),
                 CommandLine::Action::UsageError);
        QVERIFY2(commandLine.errorText().contains(message), qPrintable(commandLine.errorText()));
    }

    void folderTakesPhotosDirectlyInsideOrBelow()
    {
        QTemporaryDir dir;
        for (const char* name : {"a.heic", "b.HEIC", "c.Heif", "d.HIF", "notes.txt", "e.heic.txt", ".hidden.heic",
                                 "sub/f.heic", "sub/deeper/g.HEIF", "sub/skip.jpg", ".thumbs/t.heic"})
            touch(dir.filePath(name));
        QVERIFY(QDir().mkpath(dir.filePath("folder.heic"))); // a folder, not a photo

        const QStringList top{dir.filePath("a.heic"), dir.filePath("b.HEIC"), dir.filePath("c.Heif"), dir.filePath("d.HIF")};
        const InputScanner::Result flat = InputScanner::scan({dir.path()}, false);
        QCOMPARE(pathsOf(flat.photos), top);
        QVERIFY(flat.notes.isEmpty());
        const InputScanner::Result deep = InputScanner::scan({dir.path()}, true);
        QCOMPARE(pathsOf(deep.photos), top + QStringList({dir.filePath("sub/deeper/g.HEIF"), dir.filePath("sub/f.heic")}));
        // Each remembers the folder it was found in, for mirroring.
        QCOMPARE(deep.photos.last().root, dir.path());

        // Named on its own, a file is taken whatever it is called.
        const InputScanner::Result named = InputScanner::scan({dir.filePath("notes.txt"), dir.filePath("gone.heic")}, false);
        QCOMPARE(pathsOf(named.photos), QStringList(dir.filePath("notes.txt")));
        QVERIFY(named.photos[0].root.isEmpty());
        QCOMPARE(named.failed.size(), 1);
        QCOMPARE(named.failed[0].path, dir.filePath("gone.heic"));

#ifdef Q_OS_UNIX
        // Named like photos but none: listed as left out, with the reason.
        QVERIFY(::mkfifo(QFile::encodeName(dir.filePath("pipe.heic")).constData(), 0600) == 0);
        QVERIFY(QFile::link(dir.filePath("nowhere"), dir.filePath("dangling.heic")));
        const InputScanner::Result odd = InputScanner::scan({dir.path()}, false);
        QCOMPARE(pathsOf(odd.photos), top);
        QCOMPARE(odd.leftOut.size(), 2);
        QCOMPARE(odd.leftOut[0].path, dir.filePath("dangling.heic"));
        QCOMPARE(odd.leftOut[0].reason, QString("a link to nothing"));
        QCOMPARE(odd.leftOut[1].reason, QString("not a regular file"));
#endif

        // Photos only further down: a hint to add -r.
        touch(dir.filePath("only/deep/a.heic"));
        const InputScanner::Result hint = InputScanner::scan({dir.filePath("only")}, false);
        QVERIFY(hint.photos.isEmpty());
        QCOMPARE(hint.notes.size(), 1);
        QVERIFY2(hint.notes[0].contains("add -r"), qPrintable(hint.notes[0]));

        // A stop asked part-way through a walk ends it there, marked partial.
        int asked = 0;
        const InputScanner::Result stopped = InputScanner::scan({dir.path(), dir.filePath("a.heic")}, true,
                                                                [&] { return ++asked > 3; });
        QVERIFY(stopped.stopped);
        QVERIFY(stopped.photos.isEmpty());
        QVERIFY(asked < 10);
        QVERIFY(!deep.stopped);
    }

    void photoNamedTwiceIsConvertedOnce()
    {
        QTemporaryDir dir;
        touch(dir.filePath("a.heic"));
        QStringList names{dir.filePath("a.heic"), dir.path() + "/./a.heic"};
#ifdef Q_OS_UNIX
        // Windows has no such link: QFile::link makes a shell shortcut there,
        // a file of its own.
        QVERIFY(QFile::link(dir.filePath("a.heic"), dir.filePath("link.heic")));
        names << dir.filePath("link.heic");
#endif
        const InputScanner::Result found = InputScanner::scan(names + QStringList(dir.path()), false);
        QCOMPARE(pathsOf(found.photos), QStringList(dir.filePath("a.heic")));
        QCOMPARE(found.repeated.size(), 2 * (names.size() - 1)); // the folder holds every name again
    }

    void clashingNamesFoundBeforeWriting()
    {
        // Found in folder arguments /card and /q, or named themselves.
        const QVector<InputScanner::Photo> photos{
            {"/card/DCIM/100/a.HEIC", "/card"}, {"/card/DCIM/100/a.heic", "/card"}, {"/card/DCIM/101/a.heic", "/card"},
            {"/q/DCIM/101/a.hif", "/q"}, {"/card/b.heic", "/card"}, {"/x/b.heif", ""}};
        const ConversionPlan::Result plan = ConversionPlan::make(photos, "/out");
        QCOMPARE(plan.clashes.size(), 3);
        QCOMPARE(plan.clashes[0].target, QStringLiteral("/out/DCIM/100/a.jpg"));
        QCOMPARE(plan.clashes[0].sources, QStringList({"/card/DCIM/100/a.HEIC", "/card/DCIM/100/a.heic"}));
        QCOMPARE(plan.clashes[1].sources, QStringList({"/card/DCIM/101/a.heic", "/q/DCIM/101/a.hif"}));
        QCOMPARE(plan.clashes[2].sources, QStringList({"/card/b.heic", "/x/b.heif"}));

        // Without -o every JPEG stays beside its photo: only the pair in one
        // folder meets.
        const ConversionPlan::Result beside = ConversionPlan::make(photos, QString());
        QCOMPARE(beside.clashes.size(), 1);
        QCOMPARE(beside.jobs.size(), 4);
        // (made absolute: on Windows with the current drive)
        QCOMPARE(beside.jobs[0].target, QFileInfo("/card/DCIM/101/a.jpg").absoluteFilePath());

        // A JPEG that would replace another photo of the run, given as input.
        QTemporaryDir dir;
        touch(dir.filePath("out/b.jpg"));
        touch(dir.filePath("in/b.heic"));
        const ConversionPlan::Result overInput = ConversionPlan::make(
            {{dir.filePath("out/b.jpg"), ""}, {dir.filePath("in/b.heic"), ""}}, dir.filePath("out"), true);
        QCOMPARE(overInput.clashes.size(), 1);
        QVERIFY(overInput.clashes[0].replacesInput);
        QCOMPARE(overInput.clashes[0].sources, QStringList(dir.filePath("in/b.heic")));
    }

    void namesKeepTheirBytes_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("Latin-1") << QByteArray("caf\xe9.heic");
        QTest::newRow("UTF-8") << QByteArray("caf\xc3\xa9 \xf0\x9f\x93\xb7.heic");
        QTest::newRow("cut sequence") << QByteArray("a\xe2\x82" "b");
        QTest::newRow("cut at the end") << QByteArray("a\xe2\x82");
        QTest::newRow("overlong slash") << QByteArray("\xc0\xaf");
        QTest::newRow("encoded surrogate") << QByteArray("\xed\xb2\x80x");
        QTest::newRow("every high byte") << [] {
            QByteArray all;
            for (int b = 0x80; b <= 0xFF; ++b)
                all += char(b);
            return all;
        }();
    }

    void namesKeepTheirBytes()
    {
        QFETCH(QByteArray, bytes);
        static ByteSafeUtf8Codec* codec = [] {
            ByteSafeUtf8Codec::install();
            return static_cast<ByteSafeUtf8Codec*>(QTextCodec::codecForLocale());
        }();
        const QString name = codec->toUnicode(bytes);
        QCOMPARE(codec->fromUnicode(name), bytes);
        QCOMPARE(QFile::encodeName(QFile::decodeName(bytes)), bytes);
        // Valid UTF-8 reads as UTF-8.
        if (QString::fromUtf8(bytes).toUtf8() == bytes)
            QCOMPARE(name, QString::fromUtf8(bytes));
        // Fed in pieces, as a stream is, the bytes come out the same (a stream
        // cut in the middle of a character waits for the rest).
        if (QString::fromLatin1(QTest::currentDataTag()) == "cut at the end")
            return;
        QTextCodec::ConverterState in;
        QTextCodec::ConverterState out;
        QString pieces;
        for (int i = 0; i < bytes.size(); ++i)
            pieces += codec->toUnicode(bytes.constData() + i, 1, &in);
        QCOMPARE(pieces, name);
        QByteArray back;
        for (const QChar c : pieces)
            back += codec->fromUnicode(&c, 1, &out);
        QCOMPARE(back, bytes);
    }

    void progressLine()
    {
        // The line fits the terminal and never fills more cells than there are.
        for (int width : {0, 10, 45, 79}) {
            const QString line = ProgressMeter::line(3, 12345, 1.5, width);
            QVERIFY2(line.size() <= width, qPrintable(QString::number(width) + ": " + line));
        }
        QVERIFY(!ProgressMeter::line(11, 10, 1.0, 100).contains('-'));
        QVERIFY(!ProgressMeter::line(1, 0, 1.0, 100).isEmpty());
        QCOMPARE(ProgressMeter::secondsLeft(1, 4, 2.0), 6.0);
        QCOMPARE(ProgressMeter::rate(0, 5.0), 0.0);
        QCOMPARE(ProgressMeter::duration(qInf()), ProgressMeter::duration(-1));
        QCOMPARE(ProgressMeter::duration(3723.0), QStringLiteral("1:02:03"));
    }
};

PICTOVA_TEST_GUILESS_MAIN(CliPartsTest)
#include "test_cli_parts.moc"
