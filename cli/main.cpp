#include "AtomicFileWriter.h"
#include "BatchConverter.h"
#include "ByteSafeUtf8Codec.h"
#include "CommandLine.h"
#include "ConsoleReporter.h"
#include "ConversionPlan.h"
#include "DecoderLibrary.h"
#include "InputScanner.h"
#include "InterruptWatcher.h"
#include "MemoryBudget.h"
#include "OutputNaming.h"
#include "Terminal.h"

#include <QCoreApplication>
#include <QDir>
#include <QLoggingCategory>
#include <QFileInfo>
#include <QHash>
#include <QTextStream>

#include <cstdio>

namespace {

constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;
// Returned by a step when the run goes on.
constexpr int kGoOn = -1;

QString shown(const QString& path)
{
    return ConsoleReporter::shown(path);
}

int fail(QTextStream& err, const QString& message, int code)
{
    err << "pictova-convert: " << message << Qt::endl;
    return code;
}

// Help, version and usage errors end here.
int readArguments(CommandLine& commandLine, QTextStream& out, QTextStream& err)
{
    switch (commandLine.parse(QCoreApplication::arguments())) {
    case CommandLine::Action::ShowHelp:
        out << commandLine.helpText();
        return 0;
    case CommandLine::Action::ShowVersion:
        out << "pictova-convert " << QCoreApplication::applicationVersion() << Qt::endl;
        return 0;
    case CommandLine::Action::UsageError:
        err << "pictova-convert: " << commandLine.errorText() << Qt::endl
            << Qt::endl << commandLine.helpText();
        return kExitUsage;
    case CommandLine::Action::Run:
        break;
    }
    return kGoOn;
}

// Two photos for one JPEG stop the run before anything is written.
int refuseClashes(const ConversionPlan::Result& plan, QTextStream& err)
{
    if (plan.clashes.isEmpty())
        return kGoOn;
    for (const ConversionPlan::Clash& clash : plan.clashes) {
        QStringList names;
        for (const QString& source : clash.sources)
            names << shown(source);
        if (clash.replacesInput)
            err << "pictova-convert: the JPEG of " << names.join(QStringLiteral(", "))
                << " would replace the photo " << shown(clash.target) << Qt::endl;
        else
            err << "pictova-convert: these photos would all be written to " << shown(clash.target)
                << ":\n  " << names.join(QStringLiteral("\n  ")) << Qt::endl;
    }
    return fail(err, QStringLiteral("nothing was converted; rename one of each, or convert them "
                                    "in separate runs with different -o folders"),
                kExitUsage);
}

// A missing or read-only -o folder is one clear message instead of one
// failure per photo.
int prepareOutputFolder(const QString& given, const QString& folder, QTextStream& err)
{
    QString why;
    if (!QDir().mkpath(folder))
        return fail(err, QStringLiteral("cannot create the output folder %1; nothing was converted").arg(shown(given)),
                    kExitFailed);
    if (!AtomicFileWriter::canWriteInto(folder, &why))
        return fail(err, QStringLiteral("cannot write into the folder %1: %2; nothing was converted")
                             .arg(shown(folder), why),
                    kExitFailed);
    return kGoOn;
}

struct Work
{
    QVector<ConvertJob> jobs;
    QVector<InputScanner::Problem> failedBefore;
};

// Every folder that already exists and will receive JPEGs is tried once (a
// write-protected card): its photos fail with the reason at once, without
// being decoded first. Folders still to be made are made by the workers,
// below a folder tried here or above.
Work sortOutWork(const ConversionPlan::Result& plan, const QVector<InputScanner::Problem>& failedScanning)
{
    Work work;
    work.failedBefore = failedScanning;
    QHash<QString, QString> folderProblem;
    for (const ConversionPlan::Job& job : plan.jobs) {
        const QString folder = QFileInfo(job.target).absolutePath();
        if (!folderProblem.contains(folder)) {
            QString why;
            if (QFileInfo(folder).isDir() && !AtomicFileWriter::canWriteInto(folder, &why))
                folderProblem.insert(folder, QStringLiteral("cannot write into the folder %1: %2")
                                                 .arg(QDir::toNativeSeparators(folder), why));
            else
                folderProblem.insert(folder, QString());
        }
        const QString problem = folderProblem.value(folder);
        if (problem.isEmpty())
            work.jobs.append({job.source, job.target});
        else
            work.failedBefore.append({job.source, problem});
    }
    return work;
}

ConsoleReporter::Style reporterStyle()
{
    const bool progressBar = Terminal::isTerminal(stderr);
    ConsoleReporter::Style style;
    style.progressBar = progressBar;
    style.convertedLines = !progressBar || !Terminal::isTerminal(stdout);
    style.width = progressBar ? Terminal::columns(stderr) : 80;
    return style;
}

BatchConverter::Result convertAll(const Work& work, const CommandLine::Options& options,
                                  ConsoleReporter& reporter, InterruptWatcher& interrupts)
{
    const DecoderLibrary::Functions library = options.decoderPath.isEmpty()
        ? DecoderLibrary::bind()
        : DecoderLibrary::bindFrom(options.decoderPath);
    if (!library.isBound() && !work.jobs.isEmpty())
        reporter.note(QStringLiteral("pictova-convert: ") + library.error);

    BatchConverter converter(library.convert);
    converter.setOptions(options.conversion);
    QObject::connect(&converter, &BatchConverter::fileConverted, &reporter, &ConsoleReporter::fileConverted);
    QObject::connect(&converter, &BatchConverter::fileFailed, &reporter, &ConsoleReporter::fileFailed);
    QObject::connect(&interrupts, &InterruptWatcher::interrupted, &converter, [&] {
        reporter.stopping();
        converter.stop();
    });

    reporter.start(work.jobs.size());
    BatchConverter::Result result;
    if (interrupts.isInterrupted()) {
        result.stopped = true;
        for (const ConvertJob& job : work.jobs)
            result.notStarted << job.source;
    } else if (!work.jobs.isEmpty()) {
        result = converter.convert(work.jobs, options.quality, options.jobs);
    }
    return result;
}

int exitStatus(const BatchConverter::Result& result, const Work& work, const ConsoleReporter& reporter)
{
    if (result.stopped)
        return InterruptWatcher::kExitInterrupted;
    // Photos kept by -n or named twice are done; anything else not converted
    // is a failure of the run.
    const bool allDone = result.failed.isEmpty() && work.failedBefore.isEmpty() && result.notStarted.isEmpty();
    return allDone && !reporter.outputFailed() ? 0 : kExitFailed;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("pictova-convert"));
    QCoreApplication::setApplicationVersion(QStringLiteral(PICTOVA_VERSION));
    // File names are bytes: one that is not valid UTF-8 is read, written and
    // printed as the bytes it is. Before the arguments are read.
    ByteSafeUtf8Codec::install();
    const Terminal::Utf8Output utf8Console;
    // Ctrl-C is ours from the start: one that comes while the arguments are
    // read or the folders scanned ends the run with 130 and a message, not
    // by the default signal action.
    InterruptWatcher interrupts;
    // Every failure is printed once below, with the file it belongs to.
    QLoggingCategory::setFilterRules(QStringLiteral("pictova.engine.warning=false"));
    QTextStream out(stdout);
    QTextStream err(stderr);

    CommandLine commandLine;
    if (const int code = readArguments(commandLine, out, err); code != kGoOn)
        return code;
    const CommandLine::Options& options = commandLine.options();
    MemoryBudget::global().setLimit(qint64(options.memoryMB) << 20);

    const InputScanner::Result inputs = InputScanner::scan(options.inputs, options.recursive,
                                                           [&] { return interrupts.isInterrupted(); });
    if (inputs.stopped)
        return fail(err, QStringLiteral("stopped while looking for photos; nothing was converted"),
                    InterruptWatcher::kExitInterrupted);

    const QString outputFolder =
        options.outputFolder.isEmpty() ? QString() : QDir::cleanPath(QDir(options.outputFolder).absolutePath());
    const ConversionPlan::Result plan = ConversionPlan::make(inputs.photos, outputFolder, options.noClobber);
    if (const int code = refuseClashes(plan, err); code != kGoOn)
        return code;
    if (!outputFolder.isEmpty() && !plan.jobs.isEmpty())
        if (const int code = prepareOutputFolder(options.outputFolder, outputFolder, err); code != kGoOn)
            return code;
    const Work work = sortOutWork(plan, inputs.failed);

    ConsoleReporter reporter(out, err, reporterStyle());
    for (const InputScanner::Problem& problem : work.failedBefore)
        reporter.problem(problem.path, problem.reason);
    for (const QString& note : inputs.notes)
        reporter.note(QStringLiteral("pictova-convert: ") + note);
    const QVector<InputScanner::Problem> skipped = inputs.repeated + inputs.leftOut + plan.kept;
    if (inputs.photos.isEmpty() && skipped.isEmpty() && work.failedBefore.isEmpty()) {
        reporter.note(QStringLiteral("pictova-convert: no photos found; nothing was converted"));
        return kExitFailed;
    }

    const BatchConverter::Result result = convertAll(work, options, reporter, interrupts);
    reporter.summary(result, work.failedBefore, skipped);
    return exitStatus(result, work, reporter);
}
