// Makes the benchmark photos that the corpus lacks, with the tests' own
// HeifBuilder and libheif's encoder (x265):
//   OUTDIR/phone200-thumbnail.heic  a 200 MP phone-style grid (32x24 tiles of
//                                   512x512) with a 512x384 thumbnail, for the
//                                   preview's time to first picture
//   OUTDIR/NAME-irot.heic           for every CAMERA photo given: its coded
//                                   picture and colour box with an 'irot' of
//                                   a quarter turn, as cameras write portraits
//   OUTDIR/NAME-pq.heic             for every PICTURE.png given: a 10-bit
//                                   4:2:2 HDR (PQ, BT.2020) photo of it with
//                                   an nclx box, as HDR cameras write them
//   OUTDIR/NAME-hlg.heic            the same picture as 10-bit 4:2:0 HLG
//   OUTDIR/NAME-portrait.heic       for --phone PICTURE.png: the picture
//                                   as phones store a portrait photo, a grid
//                                   of 512x512 tiles with an 'irot' of 3
//
//   make-bench-fixtures OUTDIR [CAMERA.heic | PICTURE.png | --phone PICTURE.png ...]
#include "HeicFixture.h"
#include "HeifBuilder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>

#include <cstdio>

namespace {

bool save(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    const bool ok = !bytes.isEmpty() && file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
    std::printf("%s %s (%lld bytes)\n", ok ? "wrote" : "FAILED", qPrintable(path), qlonglong(bytes.size()));
    return ok;
}

QByteArray readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// A phone's portrait photo: the sensor's landscape picture coded as a grid
// of 512x512 tiles (8-bit 4:2:0, as iPhones write them) with an 'irot' of a
// quarter turn clockwise that stands it up.
QByteArray portraitGrid(const QImage& lying, QString* error)
{
    const int tile = 512;
    const int columns = (lying.width() + tile - 1) / tile, rows = (lying.height() + tile - 1) / tile;
    HeifBuilder file;
    const int grid = file.addItem("grid", HeifBuilder::gridDescriptor(rows, columns, lying.width(), lying.height()), true);
    file.addProperty(grid, "ispe", HeifBuilder::ispe(lying.width(), lying.height()));
    QList<int> tiles;
    for (int y = 0; y < rows; ++y) {
        for (int x = 0; x < columns; ++x) {
            const QByteArray coded = HeicFixture::encode(lying.copy(x * tile, y * tile, tile, tile), {}, error);
            if (coded.isEmpty())
                return {};
            tiles << file.addHevc(HeifBuilder::hevcOf(coded));
        }
    }
    file.addReference("dimg", grid, tiles);
    file.addProperty(grid, "irot", QByteArray(1, char(3)), true);
    file.setPrimary(grid);
    return file.build();
}

} // namespace

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv);
    const QStringList args = app.arguments().mid(1);
    if (args.isEmpty()) {
        std::fprintf(stderr, "usage: make-bench-fixtures OUTDIR [CAMERA.heic...]\n");
        return 2;
    }
    const QDir out(args.first());
    QDir().mkpath(out.path());
    bool ok = true;

    // Every tile item has its own copy of one coded tile: a grid may not name
    // one tile twice. The picture is a gradient, enough for timing.
    // At a low quality, so 768 tiles make a file of well under a megabyte.
    QString error;
    HeicFixtureOptions tileOptions;
    tileOptions.encoderQuality = 30;
    const QByteArray tileFile = HeicFixture::encode(HeicFixture::gradient(512, 512), tileOptions, &error);
    const QByteArray thumbFile = HeicFixture::encode(HeicFixture::quadrants(512, 384), {}, &error);
    if (tileFile.isEmpty() || thumbFile.isEmpty()) {
        std::fprintf(stderr, "no HEVC encoder: %s\n", qPrintable(error));
        return 1;
    }
    const HeifBuilder::Hevc tile = HeifBuilder::hevcOf(tileFile);
    HeifBuilder phone;
    const int columns = 32, rows = 24;
    // 16320x12240 as 200 MP phones write it; the last tiles hang over the edge.
    const int width = 16320, height = 12240;
    const int grid = phone.addItem("grid", HeifBuilder::gridDescriptor(rows, columns, width, height), true);
    phone.addProperty(grid, "ispe", HeifBuilder::ispe(width, height));
    QList<int> tiles;
    for (int i = 0; i < columns * rows; ++i)
        tiles << phone.addHevc(tile);
    phone.addReference("dimg", grid, tiles);
    const int thumbnail = phone.addHevc(HeifBuilder::hevcOf(thumbFile));
    phone.addReference("thmb", thumbnail, {grid});
    phone.setPrimary(grid);
    ok &= save(out.filePath("phone200-thumbnail.heic"), phone.build());

    const QStringList rest = args.mid(1);
    for (int i = 0; i < rest.size(); ++i) {
        const QString& camera = rest[i];
        if (camera == QLatin1String("--phone") && i + 1 < rest.size()) {
            const QString picture = rest[++i];
            ok &= save(out.filePath(QFileInfo(picture).completeBaseName() + "-portrait.heic"),
                       portraitGrid(QImage(picture), &error));
            continue;
        }
        if (camera.endsWith(QLatin1String(".png"))) {
            HeicFixtureOptions hdr;
            hdr.bitDepth = 10;
            hdr.chroma = 422;
            hdr.nclxPrimaries = 9;
            hdr.nclxMatrix = 9;
            hdr.nclxTransfer = 16;
            hdr.fullRange = false;
            hdr.encoderQuality = 75;
            const QImage picture(camera);
            const QString base = QFileInfo(camera).completeBaseName();
            ok &= save(out.filePath(base + "-pq.heic"), HeicFixture::encode(picture, hdr, &error));
            hdr.chroma = 420;
            hdr.nclxTransfer = 18;
            ok &= save(out.filePath(base + "-hlg.heic"), HeicFixture::encode(picture, hdr, &error));
            continue;
        }
        const QByteArray heic = readAll(camera);
        HeifBuilder turned;
        const int item = turned.addHevc(HeifBuilder::hevcOf(heic));
        const QByteArray colr = HeifBuilder::findBox(heic, "colr");
        if (!colr.isEmpty())
            turned.addProperty(item, "colr", colr);
        turned.addProperty(item, "irot", QByteArray(1, char(3)), true);
        ok &= save(out.filePath(QFileInfo(camera).completeBaseName() + "-irot.heic"), turned.build());
    }
    return ok ? 0 : 1;
}
