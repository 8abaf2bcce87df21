// Times the single-photo preview: from PreviewHEIC::slot_Preview to the
// first picture on label_HEIC (the photo's thumbnail when it has one) and to
// the scaled photo set on it (slot_GetJpgInfo done), against a
// command-line conversion of the same photo run as a process, in the same
// run and alternating between the two so a busy machine slows both.
//
//   preview-latency [-n RUNS] [-q QUALITY] [--convert PATH] PHOTO
//
// The first preview of the run is a warm-up (it loads the library and the
// fonts) and is not counted; so is the first conversion.
#include <QApplication>
#include <QBuffer>
#include <QImageReader>
#include <QCommandLineParser>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QSlider>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

#include "DecoderLibrary.h"
#include "HeicDecoder.h"
#include "PreviewHEIC.h"

namespace {

struct Stats
{
    double min = 0;
    double median = 0;
};

Stats summarise(std::vector<double> ms)
{
    std::sort(ms.begin(), ms.end());
    return {ms.front(), ms[ms.size() / 2]};
}

struct PreviewTimes
{
    double first = -1; // any new picture on the label: the thumbnail when the photo has one
    double full = -1;  // the decoded photo
};

// The milliseconds from slot_Preview to the first picture and to the
// photo's own pixmap on the label; negative when none came within a minute.
PreviewTimes timePreview(const QString& photo, Heif2JpgFn decoder, int quality)
{
    // A fresh page each time, sized like the window's, so every run scales
    // into the same box and none reuses the previous picture.
    auto page = std::make_unique<PreviewHEIC>(photo);
    page->setDecoderEntry(decoder);
    page->findChild<QSlider*>(QStringLiteral("Slider_PhotoQuality"))->setValue(quality);
    page->resize(900, 600);
    page->show();
    QCoreApplication::processEvents();
    auto* label = page->findChild<QLabel*>(QStringLiteral("label_HEIC"));

    // The result reaches the page as a queued signal, so the event loop must
    // run; a 1 ms poll ends it within a millisecond of the pixmap being set.
    QEventLoop loop;
    QTimer poll;
    QElapsedTimer timer;
    PreviewTimes times;
    const qint64 before = label ? label->pixmap(Qt::ReturnByValue).cacheKey() : 0;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        const QPixmap shown = label ? label->pixmap(Qt::ReturnByValue) : QPixmap();
        if (times.first < 0 && !shown.isNull() && shown.cacheKey() != before)
            times.first = timer.nsecsElapsed() / 1e6;
        if (page->isPreviewShown()) {
            times.full = timer.nsecsElapsed() / 1e6;
            loop.quit();
        } else if (timer.elapsed() > 60000) {
            loop.quit();
        }
    });
    poll.start(1);
    timer.start();
    page->slot_Preview();
    loop.exec();
    if (!page->isPreviewShown() || !label || label->pixmap(Qt::ReturnByValue).isNull())
        return {};
    if (times.first < 0)
        times.first = times.full;
    return times;
}

double timeConvert(const QString& program, const QString& photo, int quality,
                   const QString& outDir)
{
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    QElapsedTimer timer;
    timer.start();
    process.start(program, {QStringLiteral("-q"), QString::number(quality), QStringLiteral("-o"),
                            outDir, photo});
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit
        || process.exitCode() != 0)
        return -1;
    return timer.nsecsElapsed() / 1e6;
}

// The preview's work beyond the conversion, step by step, on the JPEG the
// converter wrote: reading it back into a QImage on the decode thread, then
// on the GUI thread the pixmap and its scaling into the label.
void printBreakdown(QTextStream& out, const QString& jpegPath, int runs)
{
    QFile file(jpegPath);
    if (!file.open(QIODevice::ReadOnly))
        return;
    const QByteArray jpeg = file.readAll();
    std::vector<double> read, pixmap, scale, scaledRead;
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer timer;
        timer.start();
        const QImage image = HeicDecoder::imageFromJpeg(jpeg);
        read.push_back(timer.nsecsElapsed() / 1e6);
        timer.restart();
        const QPixmap full = QPixmap::fromImage(image);
        pixmap.push_back(timer.nsecsElapsed() / 1e6);
        timer.restart();
        const QPixmap shown = PreviewHEIC::scaledToFit(image, QSize(900, 600), 1.0);
        scale.push_back(timer.nsecsElapsed() / 1e6);
        // What the read would cost if it asked libjpeg for a picture about
        // the label's size (its DCT scaling skips most of the work).
        timer.restart();
        QBuffer buffer;
        buffer.setData(jpeg);
        QImageReader reader(&buffer, "jpeg");
        const QSize size = reader.size();
        reader.setScaledSize(size.scaled(900, 600, Qt::KeepAspectRatio));
        const QImage small = reader.read();
        scaledRead.push_back(small.isNull() ? -1 : timer.nsecsElapsed() / 1e6);
    }
    out << QStringLiteral("breakdown (medians): JPEG of %1 kB read back into a QImage %2 ms, "
                          "QPixmap::fromImage %3 ms, scaling %4 ms; "
                          "a read scaled to fit 900x600 would take %5 ms\n")
               .arg(jpeg.size() / 1024)
               .arg(summarise(read).median, 0, 'f', 0)
               .arg(summarise(pixmap).median, 0, 'f', 0)
               .arg(summarise(scale).median, 0, 'f', 0)
               .arg(summarise(scaledRead).median, 0, 'f', 0);
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", qgetenv("QT_QPA_PLATFORM").isEmpty() ? "offscreen"
                                                                    : qgetenv("QT_QPA_PLATFORM"));
    QApplication app(argc, argv);
    QCommandLineParser parser;
    parser.addHelpOption();
    QCommandLineOption runsOption({"n", "runs"}, "Timed runs of each (default 7).", "RUNS", "7");
    QCommandLineOption qualityOption({"q", "quality"}, "JPEG quality (default 100).", "Q", "100");
    QCommandLineOption convertOption(
        "convert", "The command-line converter (default: pictova-convert beside this program).",
        "PATH", QCoreApplication::applicationDirPath() + "/pictova-convert");
    parser.addOptions({runsOption, qualityOption, convertOption});
    parser.addPositionalArgument("photo", "The HEIC photo to preview.");
    parser.process(app);
    if (parser.positionalArguments().size() != 1)
        parser.showHelp(2);

    const QString photo = QFileInfo(parser.positionalArguments().first()).absoluteFilePath();
    const int runs = std::max(1, parser.value(runsOption).toInt());
    const int quality = parser.value(qualityOption).toInt();
    const QString convert = parser.value(convertOption);
    QTextStream out(stdout);

    const DecoderLibrary::Functions library = DecoderLibrary::bind();
    if (!library.isBound()) {
        fprintf(stderr, "preview-latency: %s\n", qUtf8Printable(library.error));
        return 1;
    }
    QTemporaryDir outDir;

    out << "photo: " << photo << "\nquality: " << quality << ", runs: " << runs
        << " each after one warm-up, alternating, times in ms\n";
    out << "preview: PreviewHEIC::slot_Preview until label_HEIC holds the pixmap\n";
    out << "convert: " << convert << " -q " << quality << " -o TMP PHOTO (a new process)\n";
    out.flush();

    std::vector<double> preview, firstPicture, converted;
    for (int i = 0; i <= runs; ++i) {
        const PreviewTimes times = timePreview(photo, library.convert, quality);
        const double p = times.full;
        const double c = timeConvert(convert, photo, quality, outDir.path());
        if (p < 0 || c < 0) {
            fprintf(stderr, "preview-latency: run %d failed (preview %.0f, convert %.0f)\n", i, p, c);
            return 1;
        }
        if (i == 0)
            continue;
        preview.push_back(p);
        firstPicture.push_back(times.first);
        converted.push_back(c);
    }
    const Stats ps = summarise(preview);
    const Stats cs = summarise(converted);
    const Stats fs = summarise(firstPicture);
    out << QStringLiteral("%1 %2 %3\n").arg("what", -10).arg("min", 8).arg("median", 8);
    out << QStringLiteral("%1 %2 %3\n").arg("preview", -10).arg(ps.min, 8, 'f', 0).arg(ps.median, 8, 'f', 0);
    out << QStringLiteral("%1 %2 %3\n").arg("first pic", -10).arg(fs.min, 8, 'f', 0).arg(fs.median, 8, 'f', 0);
    out << QStringLiteral("%1 %2 %3\n").arg("convert", -10).arg(cs.min, 8, 'f', 0).arg(cs.median, 8, 'f', 0);
    out << QStringLiteral("ratio preview/convert: min %1, median %2 (target at most 1.10)\n")
               .arg(ps.min / cs.min, 0, 'f', 2)
               .arg(ps.median / cs.median, 0, 'f', 2);
    const QFileInfoList written =
        QDir(outDir.path()).entryInfoList({QStringLiteral("*.jpg")}, QDir::Files)
        + QDir(outDir.path() + QStringLiteral("/Vantora")).entryInfoList({QStringLiteral("*.jpg")}, QDir::Files);
    if (!written.isEmpty())
        printBreakdown(out, written.first().absoluteFilePath(), runs);
    return 0;
}
