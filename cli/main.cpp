#include "BatchConverter.h"
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
#include <QTemporaryFile>
#include <QTextStream>

#include <cstdio>

namespace {

constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;

QString shown(const QString& path)
{
    return QDir::toNativeSeparators(QDir::cleanPath(path));
}

// Makes the folder the workers write into the way they would (only its last
// level: -o has already been made with its parents) and proves that a file
// can be written there, so a read-only or missing folder is one clear
// message instead of one failure per photo.
bool prepareFolder(const QString& folder, QString* error)
{
    if (!QDir(folder).exists() && !QDir().mkdir(folder)) {
        *error = QStringLiteral("cannot create the folder %1").arg(shown(folder));
        return false;
    }
    QTemporaryFile probe(folder + QStringLiteral("/.pictova-convert-XXXXXX"));
    if (!probe.open()) {
        *error = QStringLiteral("cannot write into the folder %1: %2")
                     .arg(shown(folder), probe.errorString());
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("pictova-convert"));
    QCoreApplication::setApplicationVersion(QStringLiteral(PICTOVA_VERSION));
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

    const QString savePath = options.outputFolder.isEmpty()
        ? QString()
        : QDir::cleanPath(QDir(options.outputFolder).absolutePath());
    const ConversionPlan::Result plan =
        ConversionPlan::make(inputs.files, savePath, OutputNaming::desktopFolder());

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
        return fail(QStringLiteral("nothing was converted; convert these photos in separate "
                                   "runs with different -o folders"),
                    kExitUsage);
    }

    if (!savePath.isEmpty() && !QDir().mkpath(savePath))
        // On the command line -o names where the photos go, so it is made with
        // its parents; the workers then add only the Vantora level themselves.
        return fail(QStringLiteral("cannot create the output folder %1").arg(options.outputFolder),
                    kExitFailed);

    const bool progressBar = Terminal::isTerminal(stderr);
    ConsoleReporter::Style style;
    style.progressBar = progressBar;
    style.convertedLines = !progressBar || !Terminal::isTerminal(stdout);
    style.width = progressBar ? Terminal::columns(stderr) : 80;
    ConsoleReporter reporter(out, err, style);

    QVector<InputScanner::Problem> failedBefore = inputs.missing;
    for (const ConversionPlan::Refusal& refusal : plan.refusals)
        failedBefore.append({refusal.source, refusal.reason});
    for (const InputScanner::Problem& problem : failedBefore)
        reporter.note(shown(problem.path) + QStringLiteral(": ") + problem.reason);
    for (const QString& note : inputs.notes)
        reporter.note(QStringLiteral("pictova-convert: ") + note);

    QStringList sources;
    QStringList keptEndings;
    for (const ConversionPlan::Job& job : plan.jobs) {
        sources << job.source;
        if (!job.target.endsWith(QLatin1String(".jpg")))
            keptEndings << job.target;
    }
    if (!keptEndings.isEmpty())
        reporter.note(QStringLiteral("pictova-convert: %1 photo(s) keep their name, such as %2, "
                                     "and hold JPEG data: only .HEIC and .heic become .jpg")
                          .arg(keptEndings.size())
                          .arg(shown(keptEndings.first())));

    if (!sources.isEmpty()) {
        QString error;
        if (!prepareFolder(plan.folder, &error))
            return fail(error + QStringLiteral("; nothing was converted"), kExitFailed);
    }

    const DecoderLibrary::Functions library = options.decoderPath.isEmpty()
        ? DecoderLibrary::bind()
        : DecoderLibrary::bindFrom(options.decoderPath);
    if (!library.isBound() && !sources.isEmpty())
        reporter.note(QStringLiteral("pictova-convert: ") + library.error);

    BatchConverter converter(library.convert);
    QObject::connect(&converter, &BatchConverter::fileConverted, &reporter,
                     &ConsoleReporter::fileConverted);
    QObject::connect(&converter, &BatchConverter::fileFailed, &reporter,
                     &ConsoleReporter::fileFailed);
    QObject::connect(&interrupts, &InterruptWatcher::interrupted, &converter, [&] {
        reporter.stopping();
        converter.stop();
    });

    reporter.start(sources.size());
    BatchConverter::Result result;
    if (interrupts.isInterrupted()) {
        result.stopped = true;
        result.notStarted = sources;
    } else {
        result = converter.convert(sources, savePath, options.quality, options.jobs);
    }
    reporter.summary(result, failedBefore, inputs.repeated);

    if (result.stopped)
        return InterruptWatcher::kExitInterrupted;
    return result.failed.isEmpty() && failedBefore.isEmpty() ? 0 : kExitFailed;
}
