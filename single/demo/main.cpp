// Hosts the single-photo pages in a plain window until the main window
// exists: drop or pick a photo, see its preview, convert it.
//
//   pictova-single-demo [PHOTO]                 interactive
//   pictova-single-demo --shots DIR PHOTO       saves home.png, preview.png,
//                                               photoinfo.png, converting.png
//                                               in DIR and quits
#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QElapsedTimer>
#include <QPixmap>
#include <QScreen>
#include <QStackedWidget>
#include <QTimer>
#include <QVBoxLayout>

#include "DecoderLibrary.h"
#include "PhotoInfo.h"
#include "PreviewHEIC.h"
#include "SingalConverterHome.h"
#include "SingleConverting.h"

namespace {

bool save(QWidget* widget, const QString& path)
{
    // Translucent dialogs are rendered by themselves, so their shadow margin
    // stays transparent in the PNG; a screen grab without a compositor would
    // show it black. Opaque windows are grabbed from the screen as shown.
    QPixmap shot;
    if (!widget->testAttribute(Qt::WA_TranslucentBackground) && widget->screen()
        && QGuiApplication::platformName() == "xcb")
        shot = widget->screen()->grabWindow(widget->winId());
    if (shot.isNull())
        shot = widget->grab();
    const bool ok = shot.save(path);
    qInfo("%s %s", ok ? "saved" : "could not save", qUtf8Printable(path));
    return ok;
}

void settle(int ms)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < ms)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QCommandLineParser parser;
    parser.addHelpOption();
    QCommandLineOption shots("shots", "Save screenshots into DIR and quit.", "DIR");
    parser.addOption(shots);
    parser.addPositionalArgument("photo", "A HEIC photo to preview at once.");
    parser.process(app);

    const Heif2JpgFn decoder = DecoderLibrary::bind().convert;

    QWidget window;
    window.setWindowTitle("Pictova single-photo pages");
    auto* layout = new QVBoxLayout(&window);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* stack = new QStackedWidget(&window);
    layout->addWidget(stack);

    auto* home = new SingalConverterHome(stack);
    home->setBatchMode(false);
    stack->addWidget(home);

    PhotoInfo* info = nullptr;
    PreviewHEIC* preview = nullptr;
    auto openPreview = [&](const QString& path) {
        if (preview)
            preview->deleteLater();
        preview = new PreviewHEIC(path, stack);
        preview->setDecoderEntry(decoder);
        QObject::connect(preview, &PreviewHEIC::signal_PhotoInfo,
                         [&](const QString& name, const QString& date, const QString& size,
                             const QString& resolution) {
                             if (!info)
                                 info = new PhotoInfo(&window);
                             info->setCreatedDate(date);
                             info->setName(name);
                             info->setFileSize(size);
                             info->setResolution(resolution);
                             if (!parser.isSet(shots))
                                 info->exec();
                         });
        stack->addWidget(preview);
        stack->setCurrentWidget(preview);
        preview->slot_Preview();
    };
    QObject::connect(home, &SingalConverterHome::signal_ToPreviewView, openPreview);

    window.show();
    const QStringList args = parser.positionalArguments();
    if (!parser.isSet(shots)) {
        if (!args.isEmpty())
            openPreview(args.first());
        return app.exec();
    }

    if (args.isEmpty())
        parser.showHelp(2);
    const QDir dir(parser.value(shots));
    settle(300);
    bool ok = save(&window, dir.filePath("home.png"));

    openPreview(args.first());
    QElapsedTimer waited;
    waited.start();
    while (!preview->isPreviewShown() && waited.elapsed() < 60000)
        settle(50);
    settle(300);
    ok &= save(&window, dir.filePath("preview.png"));

    preview->slot_PhotoInfo();
    info->show();
    settle(300);
    ok &= save(info, dir.filePath("photoinfo.png"));
    info->hide();

    auto* converting = new SingleConverting(&window);
    converting->show();
    settle(300);
    ok &= save(converting, dir.filePath("converting.png"));
    return ok ? 0 : 1;
}
