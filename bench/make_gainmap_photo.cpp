// Makes phone-like HDR photos for the gain-map benchmark, one of each kind
// phones write, from the pixels of a real photo (decoded by the library) and
// a gain map made from its own brightness. The corpus has no photo with a
// gain map, and its photos may not be copied into the repository.
//   make-gainmap-photo IN.heic OUTDIR
// writes into OUTDIR:
//   apple-headroom.heic    4032x3024, 1008x756 monochrome map, headroom 4 in
//                          the map's XMP
//   apple-tag33.heic       the same map described by maker-note tag 33
//                          (0.8786) alone, the photo's XMP ending in a NUL
//   apple-tag33-48.heic    tags 33 (1.2) and 48 (0.005)
//   samsung-grid.heic      4000x1848, a 'tmap' item and a 1000x462 map coded
//                          4:2:0 as a grid of two tiles, a directory of its own
//                          in the photo's XMP
//   samsung200-turned.heic 16320x12240 grid of 32x24 tiles and a 4080x3060
//                          map grid of 8x6 tiles, both 'irot' 3 (turned 270)
//   iso-tmap.heic          4032x3024, one 4:2:0 map picture, a 'tmap' item
//                          with a negative minimum and a gamma below 1
#include "GainMapFixture.h"
#include "HeicFixture.h"
#include "decodex/heif2jpg.h"

#include <QDir>
#include <QFile>
#include <QCoreApplication>
#include <QImage>

#include <cstdio>

namespace {

bool save(const QDir& dir, const char* name, const QByteArray& bytes)
{
    QFile file(dir.filePath(QString::fromLatin1(name)));
    const bool ok = !bytes.isEmpty() && file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
    std::printf("%s %s (%lld bytes)\n", ok ? "wrote" : "FAILED", qPrintable(file.fileName()), qlonglong(bytes.size()));
    return ok;
}

// Brighter parts get more boost, as in a phone's map.
QImage mapOf(const QImage& photo, QSize size)
{
    return photo.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation).convertToFormat(QImage::Format_Grayscale8);
}

// columns x rows copies of `tile` coded once, at a low quality as
// make-bench-fixtures' 200 MP phone, so the file stays small.
GainMapFixture::Image repeated(const QImage& tile, int columns, int rows, QSize canvas)
{
    HeicFixtureOptions low;
    low.encoderQuality = 30;
    const QByteArray coded = HeicFixture::encode(tile, low);
    GainMapFixture::Image image;
    for (int i = 0; !coded.isEmpty() && i < columns * rows; ++i)
        image.tiles << HeifBuilder::hevcOf(coded);
    image.columns = columns;
    image.rows = rows;
    image.size = canvas;
    return image;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s IN.heic OUTDIR\n", argv[0]);
        return 2;
    }
    QFile in(QString::fromLocal8Bit(argv[1]));
    if (!in.open(QIODevice::ReadOnly))
        return 1;
    const QByteArray heic = in.readAll();
    const auto* data = reinterpret_cast<const uint8_t*>(heic.constData());
    QByteArray jpeg(heif2jpg_capacity(data, heic.size(), 95), '\0');
    const int n = heif2jpg(data, heic.size(), 95, reinterpret_cast<uint8_t*>(jpeg.data()), jpeg.size(), nullptr);
    const QImage photo = n > 0 ? QImage::fromData(jpeg.left(n), "JPG") : QImage();
    if (photo.isNull())
        return 1;
    const QDir out(QString::fromLocal8Bit(argv[2]));
    QDir().mkpath(out.path());
    bool ok = true;

    GainMapFixture apple;
    apple.photo = GainMapFixture::code(photo);
    apple.map = GainMapFixture::code(mapOf(photo, photo.size() / 4), 400);
    apple.mapXmp = GainMapFixture::appleMapXmp(4.0);
    ok &= save(out, "apple-headroom.heic", apple.build());
    apple.mapXmp = GainMapFixture::appleMapXmp();
    apple.photoXmp = GainMapFixture::applePhotoXmp();
    apple.exifTiff = GainMapFixture::exif(photo.size(), 0.8786);
    ok &= save(out, "apple-tag33.heic", apple.build());
    apple.exifTiff = GainMapFixture::exif(photo.size(), 1.2, 0.005);
    ok &= save(out, "apple-tag33-48.heic", apple.build());

    GainMapFixture samsung;
    samsung.auxType = GainMapFixture::kSamsung;
    const QImage wide = photo.scaled(4000, 1848, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    samsung.photo = GainMapFixture::code(wide);
    samsung.map = GainMapFixture::code(mapOf(wide, {1000, 462}), 420, 2);
    samsung.toneMap = GainMapFixture::toneMapPayload(0, 1.9, 1, 0, 1.9);
    samsung.photoXmp = GainMapFixture::samsungXmp();
    samsung.exifTiff = GainMapFixture::exif(wide.size());
    ok &= save(out, "samsung-grid.heic", samsung.build());

    // The last tiles hang over the canvas, as 200 MP phones write them.
    GainMapFixture big = samsung;
    big.photo = repeated(photo.copy(0, 0, 512, 512), 32, 24, {16320, 12240});
    big.map = repeated(mapOf(photo, photo.size() / 4).copy(0, 0, 512, 512), 8, 6, {4080, 3060});
    big.quarterTurns = 3;
    big.exifTiff = GainMapFixture::exif({16320, 12240});
    ok &= save(out, "samsung200-turned.heic", big.build());

    GainMapFixture iso;
    iso.auxType = GainMapFixture::kSamsung;
    iso.photo = apple.photo;
    iso.map = GainMapFixture::code(mapOf(photo, photo.size() / 4), 420);
    iso.toneMap = GainMapFixture::toneMapPayload(-0.25, 3, 0.8, 0, 3);
    ok &= save(out, "iso-tmap.heic", iso.build());
    return ok ? 0 : 1;
}
