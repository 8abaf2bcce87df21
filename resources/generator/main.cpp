// pictova-artwork SKIN_DIR RESOURCE_DIR [ICON_FILE]
// Draws every picture listed in SkinImages.h: skin paths into SKIN_DIR,
// compiled-in ":/..." paths into RESOURCE_DIR (beside pictova.qrc), and the
// program icon as a Windows .ico file when ICON_FILE is given.
#include "ArtworkPainter.h"
#include "SkinImages.h"

#include <QBuffer>
#include <QDataStream>
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

// A Windows icon file with the program icon at the sizes Explorer and the
// taskbar ask for, each entry a PNG (which Windows reads since Vista). Qt's
// own icon writer keeps one size only.
bool writeIcon(const QString& file)
{
    const QVector<int> sizes{16, 24, 32, 48, 64, 256};
    QVector<QByteArray> pngs;
    for (int size : sizes) {
        QByteArray png;
        QBuffer buffer(&png);
        const QImage image = ArtworkPainter::render(QStringLiteral("/main/48x48.png"), QSize(size, size));
        if (image.isNull() || !buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, "PNG"))
            return false;
        pngs << png;
    }
    QByteArray ico;
    QDataStream out(&ico, QIODevice::WriteOnly);
    out.setByteOrder(QDataStream::LittleEndian);
    out << quint16(0) << quint16(1) << quint16(sizes.size()); // reserved, type icon, count
    quint32 offset = 6 + 16 * sizes.size();
    for (int i = 0; i < sizes.size(); ++i) {
        const quint8 side = sizes[i] >= 256 ? 0 : quint8(sizes[i]); // 0 means 256
        out << side << side << quint8(0) << quint8(0) << quint16(1) << quint16(32)
            << quint32(pngs[i].size()) << offset;
        offset += pngs[i].size();
    }
    for (const QByteArray& png : pngs)
        out.writeRawData(png.constData(), png.size());
    QSaveFile target(file);
    return target.open(QIODevice::WriteOnly) && target.write(ico) == ico.size() && target.commit();
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
    if (argc != 3 && argc != 4) {
        err << "usage: pictova-artwork SKIN_DIR RESOURCE_DIR [ICON_FILE]\n";
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
    if (argc == 4 && !writeIcon(QString::fromLocal8Bit(argv[3]))) {
        err << "cannot write the icon " << argv[3] << "\n";
        ++failures;
    }
    return failures == 0 ? 0 : 1;
}
