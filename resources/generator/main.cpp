// pictova-artwork SKIN_DIR RESOURCE_DIR
// Draws every picture listed in SkinImages.h: skin paths into SKIN_DIR,
// compiled-in ":/..." paths into RESOURCE_DIR (beside pictova.qrc).
#include "ArtworkPainter.h"
#include "SkinImages.h"

#include <QDir>
#include <QFont>
#include <QFileInfo>
#include <QGuiApplication>
#include <QSaveFile>
#include <QTextStream>

namespace {

bool writeImage(const QString& file, const QImage& image)
{
    if (!QDir().mkpath(QFileInfo(file).absolutePath()))
        return false;
    // Atomic, so an interrupted build never leaves a torn picture that the
    // next build would take as up to date.
    QSaveFile out(file);
    if (!out.open(QIODevice::WriteOnly))
        return false;
    const bool jpeg = file.endsWith(QLatin1String(".jpg"));
    if (!image.save(&out, jpeg ? "JPG" : "PNG", jpeg ? 92 : -1))
        return false;
    return out.commit();
}

} // namespace

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv); // text in the pictures needs the font system
    // Same fallback as the program's SkinStyle, so the words drawn into the
    // pictures use the face the screens use.
    QFont::insertSubstitutions(QStringLiteral("Segoe UI"),
                               {QStringLiteral("Open Sans"), QStringLiteral("Noto Sans"),
                                QStringLiteral("Liberation Sans"), QStringLiteral("DejaVu Sans")});
    QTextStream err(stderr);
    if (argc != 3) {
        err << "usage: pictova-artwork SKIN_DIR RESOURCE_DIR\n";
        return 2;
    }
    const QString skinDir = QString::fromLocal8Bit(argv[1]);
    const QString resourceDir = QString::fromLocal8Bit(argv[2]);

    int failures = 0;
    auto produce = [&](const SkinImages::Image& entry, const QString& file, qreal scale) {
        const QString path = QString::fromLatin1(entry.path);
        const QImage image = ArtworkPainter::render(path, QSize(entry.width, entry.height), scale);
        if (image.isNull()) {
            err << "no drawing for " << path << "\n";
            ++failures;
        } else if (!writeImage(file, image)) {
            err << "cannot write " << file << "\n";
            ++failures;
        }
    };
    // The loose skin also gets "name@2x.png" copies drawn at twice the pixels,
    // which the program loads on high-DPI screens (SkinStyle::pixmap).
    for (const auto& entry : SkinImages::skin) {
        const QString file = skinDir + QString::fromLatin1(entry.path);
        produce(entry, file, 1.0);
        produce(entry, SkinImages::highDpiFileName(file), 2.0);
    }
    for (const auto& entry : SkinImages::resources)
        produce(entry, resourceDir + QLatin1Char('/') + QString::fromLatin1(entry.path).mid(2), 1.0);
    return failures == 0 ? 0 : 1;
}
