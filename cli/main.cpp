#include "BatchConverter.h"
#include "DecoderLibrary.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QLoggingCategory>
#include <QTextStream>

#include <cstdio>

namespace {

constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;

int usageError(QCommandLineParser& parser, QTextStream& err, const QString& message)
{
    err << QCoreApplication::applicationName() << ": " << message << Qt::endl
        << Qt::endl << parser.helpText();
    return kExitUsage;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("pictova-convert"));
    QCoreApplication::setApplicationVersion(QStringLiteral(PICTOVA_VERSION));
    // Every failure is printed once below, with the file it belongs to.
    QLoggingCategory::setFilterRules(QStringLiteral("pictova.engine.warning=false"));

    QTextStream out(stdout);
    QTextStream err(stderr);

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Converts HEIC photos to JPEG files in FOLDER/Vantora (default: the desktop)."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption qualityOption({QStringLiteral("q"), QStringLiteral("quality")},
                                           QStringLiteral("JPEG quality, 0 to 100 (default 100)."),
                                           QStringLiteral("QUALITY"), QStringLiteral("100"));
    const QCommandLineOption folderOption({QStringLiteral("o"), QStringLiteral("output")},
                                          QStringLiteral("Folder below which Vantora is made."),
                                          QStringLiteral("FOLDER"));
    QCommandLineOption decoderOption(QStringLiteral("decoder"),
                                     QStringLiteral("Decoding library to load instead of Decodex."),
                                     QStringLiteral("LIBRARY"));
    decoderOption.setFlags(QCommandLineOption::HiddenFromHelp);
    parser.addOption(qualityOption);
    parser.addOption(folderOption);
    parser.addOption(decoderOption);
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("HEIC photos to convert."),
                                 QStringLiteral("FILE..."));

    if (!parser.parse(QCoreApplication::arguments()))
        return usageError(parser, err, parser.errorText());
    if (parser.isSet(QStringLiteral("help"))) {
        out << parser.helpText();
        return 0;
    }
    if (parser.isSet(QStringLiteral("version"))) {
        out << QCoreApplication::applicationName() << ' '
            << QCoreApplication::applicationVersion() << Qt::endl;
        return 0;
    }

    BatchConverter::Options options;
    bool qualityOk = false;
    options.quality = parser.value(qualityOption).toInt(&qualityOk);
    if (!qualityOk || options.quality < 0 || options.quality > 100)
        return usageError(parser, err,
                          QStringLiteral("quality must be a whole number from 0 to 100, not \"%1\"")
                              .arg(parser.value(qualityOption)));
    options.outputFolder = parser.value(folderOption);
    if (parser.isSet(folderOption) && options.outputFolder.isEmpty())
        return usageError(parser, err, QStringLiteral("the output folder is empty"));
    options.files = parser.positionalArguments();
    if (options.files.isEmpty())
        return usageError(parser, err, QStringLiteral("no files given"));

    const DecoderLibrary::Functions library = parser.isSet(decoderOption)
        ? DecoderLibrary::bindFrom(parser.value(decoderOption))
        : DecoderLibrary::bind();

    BatchConverter converter(library.convert, out, err);
    return converter.convert(options) == 0 ? 0 : kExitFailed;
}
