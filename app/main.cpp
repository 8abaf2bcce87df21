#include "InstanceHandoff.h"
#include "Pictova.h"

#include <QApplication>

#include <cstdio>
#include <cstring>

namespace {

const char kHelp[] =
    "Usage: pictova [FILE|FOLDER...]\n"
    "Converts HEIC and HEIF photos into JPEG files, in a window.\n"
    "\n"
    "With one photo the window opens on its preview; with several photos or a\n"
    "folder (its .heic, .heif and .hif photos, sub-folders included), on the batch\n"
    "list. One copy runs per user: a later start hands its files to the running\n"
    "window, which comes to the front and opens them (into its batch list when one\n"
    "is open), and exits with status 255 (-1).\n"
    "\n"
    "Options:\n"
    "  -h, --help     Displays this help.\n"
    "  -v, --version  Displays version information.\n"
    "\n"
    "pictova-convert converts from a terminal or a script, without the window.\n";

// --help and --version are answered before Qt looks for a display, so they
// work on a console too (and help2man can read them at build time).
// Returns -1 when the program is to start.
int answerInfoRequest(int argc, char* argv[])
{
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--") == 0)
            break;
        if (std::strcmp(argv[i], "-h") == 0 || std::strcmp(argv[i], "--help") == 0) {
            std::fputs(kHelp, stdout);
            return 0;
        }
        if (std::strcmp(argv[i], "-v") == 0 || std::strcmp(argv[i], "--version") == 0) {
            std::printf("pictova %s\n", PICTOVA_VERSION);
            return 0;
        }
    }
    return -1;
}

} // namespace

int main(int argc, char* argv[])
{
    if (const int answered = answerInfoRequest(argc, argv); answered >= 0)
        return answered;
    QApplication app(argc, argv);
    // The window's class (WM_CLASS) and the desktop entry must agree, however
    // the program was started (through the "pictova" link or its own file).
    QCoreApplication::setApplicationName(QStringLiteral("Pictova"));
    QGuiApplication::setDesktopFileName(QStringLiteral("pictova"));

    QStringList arguments = app.arguments();
    arguments.removeAll(QStringLiteral("--"));
    const QStringList files = InstanceHandoff::filesFromArguments(arguments);
    InstanceHandoff instance(QStringLiteral("Pictova"));
    if (!instance.claim()) {
        // Another copy runs: it takes the files and comes forward, so the
        // person sees their photos rather than nothing at all.
        if (instance.handOver(files))
            std::fprintf(stderr, "Pictova is already running; %s.\n",
                         files.isEmpty() ? "its window was brought to the front"
                                         : "the files were handed to it");
        else
            std::fprintf(stderr, "Pictova is already running, but %s.\n",
                         qUtf8Printable(instance.problem()));
        return -1;
    }
    if (!instance.problem().isEmpty())
        std::fprintf(stderr, "Pictova: %s\n", qUtf8Printable(instance.problem()));

    int exitCode = 0;
    {
        Pictova window;
        QObject::connect(&instance, &InstanceHandoff::filesArrived, &window,
                         [&window](const QStringList& handed) {
                             window.bringToFront();
                             window.openFiles(handed);
                         });
        window.show();
        window.openFiles(files);
        exitCode = app.exec();
    }
    return exitCode;
}
