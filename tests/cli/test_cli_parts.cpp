#include "CommandLine.h"
#include "ConsoleReporter.h"
#include "ConversionPlan.h"
#include "EngineTestSupport.h"
#include "InputScanner.h"
#include "ProgressMeter.h"

// The rules of pictova-convert that need no process and no decoder.
class CliPartsTest : public QObject
{
    Q_OBJECT

private slots:
    void commandLineValues();
    void commandLineRefuses_data();
    void commandLineRefuses();

    void folderTakesPhotosDirectlyInside();
    void recursiveFolderTakesSubfolders();
    void photoNamedTwiceIsConvertedOnce();
    void emptyFolderHintsAtRecursion();

    void clashingNamesFoundBeforeWriting();
    void photoThatWouldReplaceItselfIsRefused();
    void jpegReplacingAnotherInputIsAClash();
    void planUsesTheWorkersFolderRule();

    void progressLine();
    void progressLineFitsItsWidth();
    void durations_data();
    void durations();
    void summaryListsEveryFailureAndSkip();
};

namespace {

QStringList parseOk(const QStringList& arguments, CommandLine& commandLine)
{
    const auto action = commandLine.parse(QStringList("pictova-convert") + arguments);
    if (action != CommandLine::Action::Run)
        qWarning("%s", qPrintable(commandLine.errorText()));
    return commandLine.options().inputs;
}

void touch(const QString& path)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QVERIFY(EngineTest::writeFile(path, "x"));
}

} // namespace

void CliPartsTest::commandLineValues()
{
    CommandLine defaults;
    QCOMPARE(parseOk({"a.heic"}, defaults), QStringList("a.heic"));
    QCOMPARE(defaults.options().quality, 100);
    QCOMPARE(defaults.options().jobs, 4);
    QVERIFY(!defaults.options().recursive);
    QVERIFY(defaults.options().outputFolder.isEmpty());

    CommandLine all;
    QCOMPARE(parseOk({"-r", "-j", "1", "-q", "0", "-o", "out", "x", "y"}, all), QStringList({"x", "y"}));
    QCOMPARE(all.options().jobs, 1);
    QCOMPARE(all.options().quality, 0);
    QVERIFY(all.options().recursive);
    QCOMPARE(all.options().outputFolder, QStringLiteral("out"));

    CommandLine longNames;
    parseOk({"--recursive", "--jobs=64", "--quality=55", "--output=o", "d"}, longNames);
    QCOMPARE(longNames.options().jobs, 64);
    QCOMPARE(longNames.options().quality, 55);

    CommandLine help;
    QCOMPARE(help.parse({"pictova-convert", "--help"}), CommandLine::Action::ShowHelp);
    QVERIFY(help.helpText().contains("--recursive"));
    QVERIFY(!help.helpText().contains("--decoder"));
    CommandLine version;
    QCOMPARE(version.parse({"pictova-convert", "--version"}), CommandLine::Action::ShowVersion);
}

void CliPartsTest::commandLineRefuses_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");
    QTest::newRow("nothing to convert") << QStringList() << "no files or folders given";
    QTest::newRow("quality word") << QStringList{"-q", "best", "a"} << "quality must be";
    QTest::newRow("quality 101") << QStringList{"-q", "101", "a"} << "quality must be";
    QTest::newRow("jobs 0") << QStringList{"-j", "0", "a"} << "jobs must be";
    QTest::newRow("jobs 65") << QStringList{"-j", "65", "a"} << "jobs must be";
    QTest::newRow("jobs fraction") << QStringList{"-j", "2.5", "a"} << "jobs must be";
    QTest::newRow("empty -o") << QStringList{"-o", "", "a"} << "output folder is empty";
    QTest::newRow("empty name") << QStringList{""} << "empty file name";
    QTest::newRow("unknown option") << QStringList{"--fast", "a"} << "Unknown option";
}

void CliPartsTest::commandLineRefuses()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, message);
    CommandLine commandLine;
    QCOMPARE(commandLine.parse(QStringList("pictova-convert") + arguments),
             CommandLine::Action::UsageError);
    QVERIFY2(commandLine.errorText().contains(message), qPrintable(commandLine.errorText()));
}

void CliPartsTest::folderTakesPhotosDirectlyInside()
{
    QTemporaryDir dir;
    for (const char* name : {"a.heic", "b.HEIC", "c.Heif", "d.hEiC", "notes.txt", "e.heic.txt",
                             ".hidden.heic", "sub/f.heic"})
        touch(dir.filePath(name));
    QVERIFY(QDir().mkpath(dir.filePath("folder.heic"))); // a folder, not a photo

    const InputScanner::Result found = InputScanner::scan({dir.path()}, false);
    QCOMPARE(found.files, QStringList({dir.filePath("a.heic"), dir.filePath("b.HEIC"),
                                       dir.filePath("c.Heif"), dir.filePath("d.hEiC")}));
    QVERIFY(found.missing.isEmpty());
    QVERIFY(found.notes.isEmpty());

    // Named on its own, a file is taken whatever it is called.
    const InputScanner::Result named = InputScanner::scan({dir.filePath("notes.txt"), dir.filePath("gone.heic")}, false);
    QCOMPARE(named.files, QStringList(dir.filePath("notes.txt")));
    QCOMPARE(named.missing.size(), 1);
    QCOMPARE(named.missing[0].path, dir.filePath("gone.heic"));
}

void CliPartsTest::recursiveFolderTakesSubfolders()
{
    QTemporaryDir dir;
    for (const char* name : {"z.heic", "a/x.heic", "a/b/y.HEIF", "a/b/skip.jpg"})
        touch(dir.filePath(name));
    const InputScanner::Result found = InputScanner::scan({dir.path()}, true);
    QCOMPARE(found.files, QStringList({dir.filePath("a/b/y.HEIF"), dir.filePath("a/x.heic"),
                                       dir.filePath("z.heic")}));
}

void CliPartsTest::photoNamedTwiceIsConvertedOnce()
{
    QTemporaryDir dir;
    touch(dir.filePath("a.heic"));
    QVERIFY(QFile::link(dir.filePath("a.heic"), dir.filePath("link.heic")));
    const InputScanner::Result found =
        InputScanner::scan({dir.filePath("a.heic"), dir.path() + "/./a.heic", dir.filePath("link.heic"), dir.path()}, false);
    QCOMPARE(found.files, QStringList(dir.filePath("a.heic")));
    QCOMPARE(found.repeated.size(), 4); // the folder holds both names again
}

void CliPartsTest::emptyFolderHintsAtRecursion()
{
    QTemporaryDir dir;
    touch(dir.filePath("deep/a.heic"));
    const InputScanner::Result flat = InputScanner::scan({dir.path()}, false);
    QVERIFY(flat.files.isEmpty());
    QCOMPARE(flat.notes.size(), 1);
    QVERIFY2(flat.notes[0].contains("add -r"), qPrintable(flat.notes[0]));
    QVERIFY(InputScanner::scan({dir.filePath("deep/")}, false).notes.isEmpty());
}

void CliPartsTest::clashingNamesFoundBeforeWriting()
{
    const ConversionPlan::Result plan = ConversionPlan::make(
        {"/p/a.HEIC", "/p/a.heic", "/p/b.heic", "/q/b.heic", "/q/c.heic", "/r/c.heic", "/r/d.heic"},
        "/out", "/desk");
    QCOMPARE(plan.folder, QStringLiteral("/out/Vantora"));
    QCOMPARE(plan.clashes.size(), 3);
    QCOMPARE(plan.clashes[0].target, QStringLiteral("/out/Vantora/a.jpg"));
    QCOMPARE(plan.clashes[0].sources, QStringList({"/p/a.HEIC", "/p/a.heic"}));
    QCOMPARE(plan.clashes[1].sources, QStringList({"/p/b.heic", "/q/b.heic"}));
    QCOMPARE(plan.clashes[2].sources, QStringList({"/q/c.heic", "/r/c.heic"}));
    QCOMPARE(plan.jobs.size(), 1);
    QCOMPARE(plan.jobs[0].target, QStringLiteral("/out/Vantora/d.jpg"));

    // Names that differ in more than the ending never clash; on this system
    // case alone makes a different file.
    const ConversionPlan::Result distinct =
        ConversionPlan::make({"/p/A.heic", "/p/a.heic", "/p/a.jpg.heic"}, "/out", "/desk");
    if (ConversionPlan::fileNameCase() == Qt::CaseSensitive) {
        QVERIFY(distinct.clashes.isEmpty());
        QCOMPARE(distinct.jobs.size(), 3);
    } else {
        QCOMPARE(distinct.clashes.size(), 1);
    }
}

void CliPartsTest::photoThatWouldReplaceItselfIsRefused()
{
    QTemporaryDir dir;
    const QString folder = dir.filePath("Vantora");
    touch(folder + "/IMG_1.Heic");
    touch(dir.filePath("x/IMG_1.Heic"));
    const ConversionPlan::Result plan =
        ConversionPlan::make({folder + "/IMG_1.Heic", dir.filePath("x/IMG_1.Heic")}, folder, "/desk");
    QCOMPARE(plan.refusals.size(), 1);
    QCOMPARE(plan.refusals[0].source, folder + "/IMG_1.Heic");
    QVERIFY2(plan.refusals[0].reason.contains("\".Heic\""), qPrintable(plan.refusals[0].reason));
    // The other photo of that name would replace the refused one: still a
    // clash, reported before anything is written.
    QCOMPARE(plan.clashes.size(), 1);
    QVERIFY(plan.clashes[0].replacesInput);
}

void CliPartsTest::jpegReplacingAnotherInputIsAClash()
{
    QTemporaryDir dir;
    touch(dir.filePath("out/Vantora/b.jpg"));
    touch(dir.filePath("in/b.heic"));
    const ConversionPlan::Result plan = ConversionPlan::make(
        {dir.filePath("out/Vantora/b.jpg"), dir.filePath("in/b.heic")}, dir.filePath("out"), "/desk");
    QCOMPARE(plan.clashes.size(), 1);
    QVERIFY(plan.clashes[0].replacesInput);
    QCOMPARE(plan.clashes[0].target, dir.filePath("out/Vantora/b.jpg"));
    QCOMPARE(plan.clashes[0].sources, QStringList(dir.filePath("in/b.heic")));
}

void CliPartsTest::planUsesTheWorkersFolderRule()
{
    QCOMPARE(ConversionPlan::make({"/a/x.heic"}, "", "/home/u/Desktop").jobs[0].target,
             QStringLiteral("/home/u/Desktop/Vantora/x.jpg"));
    QCOMPARE(ConversionPlan::make({"/a/x.heic"}, "/m/Vantora Photos", "/d").jobs[0].target,
             QStringLiteral("/m/Vantora Photos/x.jpg"));
    QCOMPARE(ConversionPlan::make({"/a/x.HEIC.heic"}, "/m/vantora", "/d").jobs[0].target,
             QStringLiteral("/m/vantora/Vantora/x.jpg.jpg"));
}

void CliPartsTest::progressLine()
{
    QCOMPARE(ProgressMeter::line(0, 500, 0.0, 100),
             QStringLiteral("[----------------------------------------]   0/500    0.0 files/s  --:-- left"));
    QCOMPARE(ProgressMeter::line(250, 500, 25.0, 100),
             QStringLiteral("[####################--------------------] 250/500   10.0 files/s  0:25 left"));
    QCOMPARE(ProgressMeter::line(500, 500, 61.2, 100),
             QStringLiteral("[########################################] 500/500    8.2 files/s  1:02 in all"));
    QCOMPARE(ProgressMeter::secondsLeft(1, 4, 2.0), 6.0);
    QCOMPARE(ProgressMeter::rate(0, 5.0), 0.0);
}

void CliPartsTest::progressLineFitsItsWidth()
{
    for (int width : {0, 10, 30, 45, 60, 79, 200}) {
        const QString line = ProgressMeter::line(3, 12345, 1.5, width);
        QVERIFY2(line.size() <= qMax(0, width), qPrintable(QString::number(width) + ": " + line));
    }
    QVERIFY(!ProgressMeter::line(3, 10, 1.0, 40).contains('['));
    // Never more cells filled than there are, whatever the counts say.
    QVERIFY(!ProgressMeter::line(11, 10, 1.0, 100).contains('-'));
    QVERIFY(!ProgressMeter::line(1, 0, 1.0, 100).isEmpty());
}

void CliPartsTest::durations_data()
{
    QTest::addColumn<double>("seconds");
    QTest::addColumn<QString>("text");
    QTest::newRow("unknown") << -1.0 << "--:--";
    QTest::newRow("zero") << 0.0 << "0:00";
    QTest::newRow("part second rounds up") << 0.2 << "0:01";
    QTest::newRow("minutes") << 754.0 << "12:34";
    QTest::newRow("hours") << 3723.0 << "1:02:03";
    QTest::newRow("infinite") << qInf() << "--:--";
}

void CliPartsTest::durations()
{
    QFETCH(double, seconds);
    QFETCH(QString, text);
    QCOMPARE(ProgressMeter::duration(seconds), text);
}

void CliPartsTest::summaryListsEveryFailureAndSkip()
{
    BatchConverter::Result result;
    result.converted = QStringList{"/o/a.jpg", "/o/b.jpg"};
    result.failed.append(BatchConverter::Failure{"/i/c.heic", "not a HEIF file"});
    result.notStarted = QStringList{"/i/d.heic"};
    result.stopped = true;
    const QStringList lines = ConsoleReporter::summaryLines(
        result, {{"/i/gone.heic", "no such file"}}, {{"/i/a.heic", "named more than once, converted once"}});
    QCOMPARE(lines, QStringList({
        "pictova-convert: interrupted; the photos being converted were finished, 1 not started",
        "pictova-convert: 2 converted, 2 failed, 2 skipped",
        "failed:",
        "  /i/gone.heic: no such file",
        "  /i/c.heic: not a HEIF file",
        "skipped:",
        "  /i/a.heic: named more than once, converted once",
        "  /i/d.heic: not started, the run was interrupted",
    }));
    QCOMPARE(ConsoleReporter::summaryLines({}, {}, {}),
             QStringList("pictova-convert: 0 converted, 0 failed, 0 skipped"));
}

QTEST_GUILESS_MAIN(CliPartsTest)
#include "test_cli_parts.moc"
