#include "CommandLine.h"

#include <QThread>

#include <algorithm>

namespace {

QString text(const char* s)
{
    return QString::fromLatin1(s);
}

} // namespace

int CommandLine::defaultJobs()
{
    return std::clamp(QThread::idealThreadCount(), 1, kMaxJobs);
}

CommandLine::CommandLine()
    : m_quality({text("q"), text("quality")}, text("JPEG quality, 0 to 100 (default 100)."),
                text("QUALITY"), text("100")),
      m_output({text("o"), text("output")},
               text("Folder the JPEG files are written into (created with its parents; "
                    "default: beside each photo). With -r the sub-folders below each FOLDER "
                    "are made again inside it."),
               text("DIR")),
      m_jobs({text("j"), text("jobs")},
             text("Photos converted at once, 1 to %1 (default: one a core).").arg(kMaxJobs),
             text("N"), QString::number(defaultJobs())),
      m_memory(text("memory"),
               text("Megabytes that the photos converted at once may take together; a big "
                    "photo waits for room (default: a quarter of the memory)."),
               text("MB")),
      m_recursive({text("r"), text("recursive")},
                  text("Also look for photos in the sub-folders of every FOLDER.")),
      m_noClobber({text("n"), text("no-clobber")},
                  text("Keep a JPEG that is already there and skip its photo, so a stopped "
                       "conversion can be resumed.")),
      m_decoder(text("decoder"), text("Decoding library to load instead of Decodex."),
                text("LIBRARY")),
      m_noGainMap(text("no-gain-map"),
                  text("Leave out the HDR gain map that recent phones store beside the photo "
                       "(kept by default, so HDR screens show the highlights brighter).")),
      m_maxSize(text("max-size"),
                text("Shrink photos whose longer side is more than PX pixels to that size, "
                     "keeping their shape (default: every photo at its own size)."),
                text("PX")),
      m_noLocation(text("no-location"),
                   text("Leave out where the photos were taken (the GPS position in EXIF and "
                        "XMP); the date and everything else are kept."))
{
    m_parser.setApplicationDescription(text(
        "Converts HEIC/HEIF photos to JPEG files. Each JPEG is written beside its photo,\n"
        "or into DIR with -o, named after the photo with its ending (.heic, .heif or .hif,\n"
        "in any case) replaced by .jpg; with -o and -r the sub-folders below each FOLDER\n"
        "are made again inside DIR, so photos of one name in different folders never\n"
        "meet. Every JPEG keeps its photo's modification time.\n"
        "\n"
        "A FOLDER argument takes the files inside it whose names end in .heic, .heif or\n"
        ".hif, in any case (hidden files and folders are left out); add -r to search its\n"
        "sub-folders too. Files named on the command line are converted whatever their\n"
        "ending. Two photos that would be written to the same file (a.heic and a.HEIC)\n"
        "stop the run before anything is written. An existing JPEG is replaced, unless\n"
        "-n is given; a symbolic link at a JPEG's name is itself replaced, never followed.\n"
        "Files are written whole or not at all, through hidden temporary files\n"
        "(.NAME.jpg.XXXXXX) that are removed if the run is killed.\n"
        "\n"
        "Progress is drawn on stderr when it is a terminal; otherwise every converted\n"
        "file is one line on stdout and every failure one line on stderr (control\n"
        "characters and backslashes in names are escaped as \\n, \\xHH, \\\\). A summary\n"
        "ends every run: every photo found is converted, failed with a reason or skipped\n"
        "with a reason. After \"No space left on device\" no new photo is started.\n"
        "Ctrl-C lets the photos in hand finish, then stops (a second Ctrl-C quits at once).\n"
        "\n"
        "Exit status: 0 every photo converted (or kept by -n); 1 any photo failed or was\n"
        "not started, no photo was found, or stdout could not be written; 2 usage error or\n"
        "clashing output names (nothing written); 130 interrupted."));
    m_parser.addHelpOption();
    m_parser.addVersionOption();
    m_decoder.setFlags(QCommandLineOption::HiddenFromHelp);
    m_parser.addOptions({m_quality, m_output, m_jobs, m_memory, m_recursive, m_noClobber,
                         m_maxSize, m_noLocation, m_noGainMap, m_decoder});
    m_parser.addPositionalArgument(text("FILE|FOLDER"), text("HEIC photos, or folders of them."),
                                   text("FILE|FOLDER..."));
}

CommandLine::Action CommandLine::parse(const QStringList& arguments)
{
    m_options = Options();
    m_error.clear();
    auto usage = [this](const QString& message) {
        m_error = message;
        return Action::UsageError;
    };

    if (!m_parser.parse(arguments))
        return usage(m_parser.errorText());
    if (m_parser.isSet(QStringLiteral("help")))
        return Action::ShowHelp;
    if (m_parser.isSet(QStringLiteral("version")))
        return Action::ShowVersion;

    bool ok = false;
    m_options.quality = m_parser.value(m_quality).toInt(&ok);
    if (!ok || m_options.quality < 0 || m_options.quality > 100)
        return usage(text("quality must be a whole number from 0 to 100, not \"%1\"")
                         .arg(m_parser.value(m_quality)));

    m_options.jobs = m_parser.value(m_jobs).toInt(&ok);
    if (!ok || m_options.jobs < 1 || m_options.jobs > kMaxJobs)
        return usage(text("jobs must be a whole number from 1 to %1, not \"%2\"")
                         .arg(kMaxJobs)
                         .arg(m_parser.value(m_jobs)));

    if (m_parser.isSet(m_memory)) {
        m_options.memoryMB = m_parser.value(m_memory).toInt(&ok);
        if (!ok || m_options.memoryMB < 1)
            return usage(text("memory must be a whole number of megabytes, not \"%1\"")
                             .arg(m_parser.value(m_memory)));
    }

    if (m_parser.isSet(m_maxSize)) {
        m_options.conversion.maxLongSide = m_parser.value(m_maxSize).toInt(&ok);
        if (!ok || m_options.conversion.maxLongSide < 1 || m_options.conversion.maxLongSide > kMaxSize)
            return usage(text("max-size must be a whole number of pixels from 1 to %1, not \"%2\"")
                             .arg(kMaxSize)
                             .arg(m_parser.value(m_maxSize)));
    }

    if (m_parser.isSet(m_output)) {
        m_options.outputFolder = m_parser.value(m_output);
        if (m_options.outputFolder.isEmpty())
            return usage(text("the output folder is empty"));
    }
    m_options.recursive = m_parser.isSet(m_recursive);
    m_options.noClobber = m_parser.isSet(m_noClobber);
    m_options.conversion.keepGainMap = !m_parser.isSet(m_noGainMap);
    m_options.conversion.keepLocation = !m_parser.isSet(m_noLocation);
    m_options.decoderPath = m_parser.value(m_decoder);
    m_options.inputs = m_parser.positionalArguments();
    if (m_options.inputs.isEmpty())
        return usage(text("no files or folders given"));
    for (const QString& input : m_options.inputs)
        if (input.isEmpty())
            return usage(text("an empty file name was given"));
    return Action::Run;
}
