#pragma once

#include "ConversionOptions.h"

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QString>
#include <QStringList>

// The options of pictova-convert, read from its arguments without touching
// the file system, so every rule of the command line is tested in-process.
class CommandLine
{
public:
    // Each worker holds a whole decoded photo (a 48 MP picture is about
    // 150 MB), so more than this only trades speed for swapping.
    static constexpr int kMaxJobs = 64;
    // One worker a core: a photo's decode already spreads over the cores a
    // lone conversion may have, so more workers than cores bought no speed
    // and held a picture more each.
    static int defaultJobs();
    // The largest side a photo can have at all.
    static constexpr int kMaxSize = 65535;

    struct Options
    {
        int quality = 100;
        int jobs = defaultJobs();
        int memoryMB = 0;     // working memory of all photos in flight; 0: a quarter of the machine's
        bool recursive = false;
        bool noClobber = false;
        ConversionOptions conversion; // --max-size, --no-location, --no-gain-map
        QString outputFolder; // as given; empty: beside each photo
        QString decoderPath;  // empty: the Decodex beside the program
        QStringList inputs;   // files and folders, as given
    };

    enum class Action { Run, ShowHelp, ShowVersion, UsageError };

    CommandLine();

    // `arguments` includes the program name first, as QCoreApplication gives it.
    Action parse(const QStringList& arguments);

    const Options& options() const { return m_options; }
    QString errorText() const { return m_error; }
    QString helpText() const { return m_parser.helpText(); }

private:
    QCommandLineParser m_parser;
    QCommandLineOption m_quality;
    QCommandLineOption m_output;
    QCommandLineOption m_jobs;
    QCommandLineOption m_memory;
    QCommandLineOption m_recursive;
    QCommandLineOption m_noClobber;
    QCommandLineOption m_decoder;
    QCommandLineOption m_noGainMap;
    QCommandLineOption m_maxSize;
    QCommandLineOption m_noLocation;
    Options m_options;
    QString m_error;
};
