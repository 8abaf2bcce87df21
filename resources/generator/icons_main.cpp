// pictova-icons DIR
// Draws the program icon for the desktop's icon theme into DIR, laid out as
// hicolor wants it: DIR/NxN/apps/pictova.png for every size up to 256, and
// DIR/scalable/apps/pictova.svg drawn by the same painter code.
#include "ArtworkPainter.h"

#include <QDir>
#include <QGuiApplication>
#include <QSaveFile>
#include <QSvgGenerator>
#include <QTextStream>

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv);
    QTextStream err(stderr);
    if (argc != 2) {
        err << "usage: pictova-icons DIR\n";
        return 2;
    }
    const QString dir = QString::fromLocal8Bit(argv[1]);
    int failures = 0;
    for (int side : {16, 22, 24, 32, 48, 64, 128, 256}) {
        const QString folder = QStringLiteral("%1/%2x%2/apps").arg(dir).arg(side);
        QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        {
            QPainter painter(&image);
            ArtworkPainter::paintAppIcon(painter, side);
        }
        QSaveFile out(folder + QStringLiteral("/pictova.png"));
        if (!QDir().mkpath(folder) || !out.open(QIODevice::WriteOnly) || !image.save(&out, "PNG") || !out.commit()) {
            err << "cannot write " << out.fileName() << "\n";
            ++failures;
        }
    }
    const QString scalable = dir + QStringLiteral("/scalable/apps");
    QSaveFile svg(scalable + QStringLiteral("/pictova.svg"));
    if (QDir().mkpath(scalable) && svg.open(QIODevice::WriteOnly)) {
        QSvgGenerator generator;
        generator.setOutputDevice(&svg);
        generator.setSize(QSize(256, 256));
        generator.setViewBox(QRect(0, 0, 256, 256));
        generator.setTitle(QStringLiteral("Pictova"));
        QPainter painter(&generator);
        ArtworkPainter::paintAppIcon(painter, 256);
        painter.end();
    }
    if (!svg.commit()) {
        err << "cannot write " << svg.fileName() << "\n";
        ++failures;
    }
    return failures == 0 ? 0 : 1;
}
