// Draws the batch page and its dialogs into PNG files, for looking at them
// without the main window:
//   batch_snapshots OUTPUT_FOLDER [HEIC files...]
// Without files it makes a dozen small photos in a temporary folder. Run it
// on a real display or Xvfb; the offscreen platform draws no fonts.

#include "BatchConvertProgress.h"
#include "ConvertsionSet.h"
#include "HeicFileTable.h"
#include "HeicFixture.h"
#include "TipDialog.h"
#include "VNStyleCheckBox.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QLabel>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QVBoxLayout>

#include <cstdio>

namespace {

void save(QWidget* widget, const QString& path)
{
    widget->show();
    QApplication::processEvents();
    widget->repaint();
    QApplication::processEvents();
    const bool ok = widget->grab().save(path);
    std::printf("%s %s\n", ok ? "wrote" : "FAILED", qPrintable(path));
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: batch_snapshots OUTPUT_FOLDER [HEIC files...]\n");
        return 2;
    }
    const QString out = QString::fromLocal8Bit(argv[1]);
    QDir().mkpath(out);

    QTemporaryDir made;
    QVector<QString> files;
    for (int i = 2; i < argc; ++i)
        files << QString::fromLocal8Bit(argv[i]);
    if (files.isEmpty()) {
        for (int i = 0; i < 12; ++i) {
            const QString path = made.filePath(QString("IMG_%1.HEIC").arg(4100 + i));
            HeicFixture::write(path, HeicFixture::gradient(320 + 16 * i, 240));
            files << path;
        }
    }

    // The page as the main window hosts it: on the light page background.
    QWidget window;
    window.setStyleSheet("background-color: rgb(243, 248, 254);");
    auto* layout = new QVBoxLayout(&window);
    layout->setContentsMargins(5, 5, 5, 5);
    auto* page = new HeicFileTable(&window);
    page->setStyleSheet("background-color: #ffffff;");
    layout->addWidget(page);
    page->addFiles(files);
    auto* table = page->findChild<QTableWidget*>("tableWidget");
    for (int row : {1, 2, 4, 7}) {
        if (QWidget* box = table->cellWidget(row, 0))
            box->findChild<QCheckBox*>()->click();
    }
    save(&window, out + "/batch-table.png");

    ConvertsionSet settings(page);
    save(&settings, out + "/batch-settings.png");
    settings.hide();

    BatchConvertProgress running(page);
    running.setProgress(33, "4/12");
    save(&running, out + "/batch-progress-running.png");
    running.hide();

    BatchConvertProgress finished(page);
    finished.setProgress(100, "12/12");
    finished.setFinished(12);
    save(&finished, out + "/batch-progress-finished.png");
    finished.hide();

    TipDialog question(page);
    question.setCancelConvertTip();
    save(&question, out + "/batch-cancel-question.png");
    question.hide();

    TipDialog notice(page);
    notice.setConvertCancelledTip();
    notice.setConvertedCount(4);
    save(&notice, out + "/batch-cancel-notice.png");
    notice.hide();
    return 0;
}
