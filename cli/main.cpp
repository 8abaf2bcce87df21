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

QString shown(const QString& path)
{
    return ConsoleReporter::shown(path);
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
    auto fail = [&err](const QString& message, int code) {
        err << "pictova-convert: " << message << Qt::endl;
        return code;
    };

    CommandLine commandLine;
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
    const CommandLine::Options& options = commandLine.options();
    MemoryBudget::global().setLimit(qint64(options.memoryMB) << 20);

    const InputScanner::Result inputs = InputScanner::scan(options.inputs, options.recursive,
                                                           [&] { return interrupts.isInterrupted(); });
    if (inputs.stopped) {
        err << "pictova-convert: stopped while looking for photos; nothing was converted" << Qt::endl;
        return InterruptWatcher::kExitInterrupted;
    }

    const QString outputFolder = options.outputFolder.isEmpty()
        ? QString()
        : QDir::cleanPath(QDir(options.outputFolder).absolutePath());
    const ConversionPlan::Result plan =
        ConversionPlan::make(inputs.photos, outputFolder, options.noClobber);

    if (!plan.clashes.isEmpty()) {
        for (const ConversionPlan::Clash& clash : plan.clashes) {
            QStringList names;
            for (const QString& source : clash.sources)
                names << shown(source);
            if (clash.replacesInput)
                err << "pictova-convert: the JPEG of " << names.join(QStringLiteral(", "))
                    << " would replace the photo " << shown(clash.target) << Qt::endl;
            else
                err << "pictova-convert: these photos would all be written to "
                    << shown(clash.target) << ":\n  " << names.join(QStringLiteral("\n  "))
                    << Qt::endl;
        }
        return fail(QStringLiteral("nothing was converted; rename one of each, or convert them "
                                   "in separate runs with different -o folders"),
                    kExitUsage);
    }

    if (!outputFolder.isEmpty() && !plan.jobs.isEmpty()) {
        // A missing or read-only -o folder is one clear message instead of
        // one failure per photo.
        QString why;
        if (!QDir().mkpath(outputFolder))
            return fail(QStringLiteral("cannot create the output folder %1; nothing was converted")
                            .arg(shown(options.outputFolder)),
                        kExitFailed);
        if (!AtomicFileWriter::canWriteInto(outputFolder, &why))
            return fail(QStringLiteral("cannot write into the folder %1: %2; nothing was converted")
                            .arg(shown(outputFolder), why),
                        kExitFailed);
    }

    // Every folder that already exists and will receive JPEGs is tried once
    // (a write-protected card): its photos fail with the reason at once,
    // without being decoded first. Folders still to be made are made by the
    // workers, below a folder tried here or above.
    QVector<InputScanner::Problem> failedBefore = inputs.failed;
    QVector<ConvertJob> work;
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
            work.append({job.source, job.target});
        else
            failedBefore.append({job.source, problem});
    }
    const QVector<InputScanner::Problem> skipped = inputs.repeated + plan.kept;

    const bool progressBar = Terminal::isTerminal(stderr);
    ConsoleReporter::Style style;
    style.progressBar = progressBar;
    style.convertedLines = !progressBar || !Terminal::isTerminal(stdout);
    style.width = progressBar ? Terminal::columns(stderr) : 80;
    ConsoleReporter reporter(out, err, style);

    for (const InputScanner::Problem& problem : failedBefore)
        reporter.problem(problem.path, problem.reason);
    for (const QString& note : inputs.notes)
        reporter.note(QStringLiteral("pictova-convert: ") + note);

    if (inputs.photos.isEmpty() && inputs.repeated.isEmpty() && failedBefore.isEmpty()) {
        reporter.note(QStringLiteral("pictova-convert: no photos found; nothing was converted"));
        return kExitFailed;
    }

    const DecoderLibrary::Functions library = options.decoderPath.isEmpty()
        ? DecoderLibrary::bind()
        : DecoderLibrary::bindFrom(options.decoderPath);
    if (!library.isBound() && !work.isEmpty())
        reporter.note(QStringLiteral("pictova-convert: ") + library.error);

    BatchConverter converter(options.gainMap || !library.convertWithoutGainMap ? library.convert
                                                                               : library.convertWithoutGainMap);
    QObject::connect(&converter, &BatchConverter::fileConverted, &reporter,
                     &ConsoleReporter::fileConverted);
    QObject::connect(&converter, &BatchConverter::fileFailed, &reporter,
                     &ConsoleReporter::fileFailed);
    QObject::connect(&interrupts, &InterruptWatcher::interrupted, &converter, [&] {
        reporter.stopping();
        converter.stop();
    });

    reporter.start(work.size());
    BatchConverter::Result result;
    if (interrupts.isInterrupted()) {
        result.stopped = true;
        for (const ConvertJob& job : work)
            result.notStarted << job.source;
    } else if (!work.isEmpty()) {
        result = converter.convert(work, options.quality, options.jobs);
    }
    reporter.summary(result, failedBefore, skipped);

    if (result.stopped)
        return InterruptWatcher::kExitInterrupted;
    // Photos kept by -n or named twice are done; anything else not converted
    // is a failure of the run.
    const bool allDone = result.failed.isEmpty() && failedBefore.isEmpty() && result.notStarted.isEmpty();
    return allDone && !reporter.outputFailed() ? 0 : kExitFailed;
}
