// Walks the real main window through its screens and saves a screenshot of
// each, for looking at the program under Xvfb:
//
//   Xvfb :95 -screen 0 1280x800x24 &
//   DISPLAY=:95 build/bin/pictova-screen-tour /tmp/pictova-shots [photo.heic]
//
// With PICTOVA_TOUR_APPSTREAM=DIR it also saves the window alone, as the
// AppStream screenshots want it: DIR/preview.png, batch.png, settings.png.
// PICTOVA_TOUR_HOME=DIR then runs it in that home instead of a temporary one,
// so the paths on the pictures read as a person's would.
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
QString g_appStreamDir = qEnvironmentVariable("PICTOVA_TOUR_APPSTREAM");

void shoot(const QString& name)
{
    QApplication::processEvents();
    QTest::qWait(150);
    const QPixmap shot = QGuiApplication::primaryScreen()->grabWindow(0);
    const QString path = g_outDir + "/" + name + ".png";
    std::printf("%s %s\n", shot.save(path) ? "saved" : "FAILED", qPrintable(path));
}

// The screen where the main window is, its shadow margin cut off (a dialog
// open over it included).
void shootWindow(const QString& name, QWidget* window)
{
    if (g_appStreamDir.isEmpty() || !window)
        return;
    QApplication::processEvents();
    QTest::qWait(150);
    const QRect area = window->frameGeometry().adjusted(5, 5, -5, -5);
    const QPixmap shot =
        QGuiApplication::primaryScreen()->grabWindow(0, area.x(), area.y(), area.width(), area.height());
    const QString path = g_appStreamDir + "/" + name + ".png";
    std::printf("%s %s\n", QDir().mkpath(g_appStreamDir) && shot.save(path) ? "saved" : "FAILED", qPrintable(path));
}

// Closes the message a page shows after a drop, once it is up.
void closeNextMessage()
{
    QTimer::singleShot(300, [] {
        if (QWidget* modal = QApplication::activeModalWidget())
            modal->close();
    });
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
    const QByteArray chosenHome = qgetenv("PICTOVA_TOUR_HOME");
    if (!chosenHome.isEmpty()) {
        qputenv("HOME", chosenHome);
        qputenv("XDG_CONFIG_HOME", chosenHome + "/.config");
        qputenv("XDG_DATA_HOME", chosenHome + "/.local/share");
        qputenv("XDG_CACHE_HOME", chosenHome + "/.cache");
    }
    QApplication app(argc, argv);
    if (chosenHome.isEmpty() && !home.isSealed())
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
    shootWindow("preview", &window);

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
    // The photos' folder, as a person drops it: its photos and sub-folders.
    closeNextMessage();
    emit qobject_cast<SingalConverterHome*>(window.currentPage())
        ->signal_addHeicFile({QFileInfo(photo).absolutePath()});
    QTest::qWait(600);
    shoot("07-batch-table");
    shootWindow("batch", &window);

    if (auto* table = window.findChild<QWidget*>("HeicFileTable")) {
        QTimer::singleShot(600, [table] {
            shoot("07b-batch-settings");
            shootWindow("settings", table->window());
            if (QWidget* modal = QApplication::activeModalWidget())
                modal->close();
        });
        QMetaObject::invokeMethod(table, "slot_BatchConvert");
    }

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
