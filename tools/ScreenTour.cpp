// Walks the real main window through its screens and saves a screenshot of
// each, for looking at the program under Xvfb:
//
//   Xvfb :95 -screen 0 1280x800x24 &
//   DISPLAY=:95 build/bin/pictova-screen-tour /tmp/pictova-shots [photo.heic]
//
// Runs in a private home folder, so nothing is written to the real desktop.
// Not installed and not a test: a person looks at the pictures.
#include "TestSandbox.h"

#include "Pictova.h"
#include "PreviewHEIC.h"
#include "SingalConverterHome.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QMenu>
#include <QMimeData>
#include <QScreen>
#include <QTest>
#include <QTimer>
#include <QUrl>

#include <cstdio>

namespace {

QString g_outDir;

void shoot(const QString& name)
{
    QApplication::processEvents();
    QTest::qWait(150);
    const QPixmap shot = QGuiApplication::primaryScreen()->grabWindow(0);
    const QString path = g_outDir + "/" + name + ".png";
    std::printf("%s %s\n", shot.save(path) ? "saved" : "FAILED", qPrintable(path));
}

void dropFiles(QWidget* target, const QStringList& files)
{
    QList<QUrl> urls;
    for (const QString& f : files)
        urls << QUrl::fromLocalFile(f);
    QMimeData mime;
    mime.setUrls(urls);
    const QPoint at = target->rect().center();
    QDragEnterEvent enter(at, Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target, &enter);
    QDropEvent drop(at, Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target, &drop);
}

} // namespace

int main(int argc, char** argv)
{
    TestSandbox home; // the same private home the tests run in
    QApplication app(argc, argv);
    if (!home.isSealed())
        return 1;

    g_outDir = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("/tmp/pictova-shots");
    QDir().mkpath(g_outDir);
    QString photo = argc > 2 ? QString::fromLocal8Bit(argv[2])
                             : QStringLiteral(PICTOVA_CORPUS_DIR "/real/IMG_3578.heic");
    photo = QFileInfo(photo).absoluteFilePath();

    Pictova window;
    window.show();
    QTest::qWait(500);
    shoot("01-home");

    // Hover: a real pointer move, so the tile and the button react as they
    // would under a user's mouse.
    auto* tile = window.findChild<QWidget*>("label_SignalPhoto");
    QTest::mouseMove(tile, tile->rect().center());
    QEvent enter(QEvent::Enter);
    QApplication::sendEvent(tile, &enter);
    shoot("02-home-hover-single");
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(tile, &leave);

    window.slot_SinglePhotoView();
    shoot("03-single-drop");
    dropFiles(window.currentPage(), {photo});
    auto* preview = qobject_cast<PreviewHEIC*>(window.currentPage());
    for (int i = 0; preview && !preview->isPreviewShown() && i < 600; ++i)
        QTest::qWait(50);
    shoot("04-single-preview");

    QTimer::singleShot(600, [] {
        shoot("05-photo-info");
        if (QWidget* modal = QApplication::activeModalWidget())
            modal->close();
    });
    if (preview)
        preview->slot_PhotoInfo();

    window.slot_ToHome();
    window.slot_BatchPhotoView();
    shoot("06-batch-drop");
    QStringList files;
    const QDir corpus(QFileInfo(photo).absolutePath());
    for (const QFileInfo& f : corpus.entryInfoList({"*.heic", "*.HEIC"}, QDir::Files, QDir::Name))
        files << f.absoluteFilePath();
    // The batch drop takes ".HEIC" only, all or nothing: add lower-case
    // names through the page's own entry point instead.
    emit qobject_cast<SingalConverterHome*>(window.currentPage())->signal_addHeicFile(files.toVector());
    shoot("07-batch-table");

    window.slot_AddToolMenu();
    shoot("08-tools-menu");
    window.toolsMenu()->hide();

    QTimer::singleShot(600, [] {
        shoot("09-about");
        if (QWidget* modal = QApplication::activeModalWidget())
            modal->close();
    });
    window.slot_About();

    QTimer::singleShot(600, [] {
        shoot("10-quit-tip");
        if (QWidget* modal = QApplication::activeModalWidget())
            modal->close();
    });
    window.slot_Exit();
    return 0;
}
