// Makes the hostile files that tests/decodex/data keeps (the library must
// refuse them as damaged, or convert the two "photo-" ones) and that seed
// the fuzzer with reference graphs to mutate, with the tests' own
// HeifBuilder and libheif's encoder:
//   make-hostile-files OUTDIR           the small set, as kept in the tests
//   make-hostile-files OUTDIR --large   the same at the sizes a person met:
//                                       10,000 nested grids, one 16 MP picture
//                                       named 400 times (for bench/RESULTS.md)
// data/README.md says what each file is.
#include "HeicFixture.h"
#include "HeifBuilder.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QtEndian>

#include <cstdio>

namespace {

HeifBuilder::Hevc flatTile(int width, int height)
{
    QImage picture(width, height, QImage::Format_RGB32);
    picture.fill(Qt::gray);
    HeicFixtureOptions options;
    options.chroma = 444;
    options.encoderQuality = 30;
    return HeifBuilder::hevcOf(HeicFixture::encode(picture, options));
}

// A derived image of width x height over `inputs`: a grid (rows x
// columns), an overlay with every input at the top-left corner, or an
// identity image cropping nothing.
int derived(HeifBuilder& file, const char* type, const QList<int>& inputs, int width = 64, int height = 48,
            int rows = 1, int columns = 1)
{
    const QByteArray kind(type);
    QByteArray data;
    if (kind == "grid")
        data = HeifBuilder::gridDescriptor(rows, columns, width, height);
    if (kind == "iovl") { // version, flags, fill colour, canvas size, the inputs' offsets
        data = QByteArray(14 + 4 * inputs.size(), '\0');
        qToBigEndian<quint16>(quint16(width), data.data() + 10);
        qToBigEndian<quint16>(quint16(height), data.data() + 12);
    }
    const int item = file.addItem(type, data, true);
    file.addProperty(item, "ispe", HeifBuilder::ispe(width, height));
    if (kind == "iden") {
        QByteArray clap(32, '\0');
        for (int i = 0; i < 8; ++i)
            qToBigEndian<quint32>(i == 0 ? width : i == 2 ? height : i % 2, clap.data() + 4 * i);
        file.addProperty(item, "clap", clap, true);
    }
    if (!inputs.isEmpty())
        file.addReference("dimg", item, inputs);
    return item;
}

// The file of one kind below, from a 64x48 `tile` and a 640x480 `big`
// picture (a 4096x4096 one for the large set).
QByteArray crafted(const QString& kind, const HeifBuilder::Hevc& tile, HeifBuilder::Hevc big, int nesting)
{
    const QByteArray alpha = QByteArray(4, '\0') + "urn:mpeg:hevc:2015:auxid:1" + QByteArray(1, '\0');
    HeifBuilder file;
    int primary = 0;
    if (kind == "overlay far beyond its canvas") { // sixteen honest 640x480 pictures on a 64x48 canvas
        QList<int> inputs;
        for (int i = 0; i < 16; ++i)
            inputs << file.addHevc(big);
        primary = derived(file, "iovl", inputs);
    } else if (kind.contains("beyond its ispe")) { // the 640x480 picture labelled 64x48
        big.width = 64;
        big.height = 48;
        primary = file.addHevc(tile);
        const int other = file.addHevc(big);
        if (kind.startsWith("alpha")) {
            file.addProperty(other, "auxC", alpha);
            file.addReference("auxl", other, {primary});
        } else {
            primary = derived(file, "grid", {primary, other}, 128, 48, 1, 2);
        }
    } else if (kind == "two grids, each the other's tile" || kind == "three grids in a circle") {
        primary = derived(file, "grid", {});
        const int second = derived(file, "grid", {primary});
        file.addReference("dimg", primary, {kind.startsWith("two") ? second : derived(file, "grid", {second})});
    } else if (kind == "an overlay and a grid") {
        primary = derived(file, "grid", {});
        file.addReference("dimg", primary, {derived(file, "iovl", {primary})});
    } else if (kind == "two pictures, each the other's alpha" || kind == "two thumbnails of each other") {
        primary = file.addHevc(tile);
        const int other = file.addHevc(tile);
        const char* type = kind.contains("alpha") ? "auxl" : "thmb";
        for (int item : {primary, other})
            file.addProperty(item, "auxC", alpha);
        file.addReference(type, primary, {other});
        file.addReference(type, other, {primary});
    } else if (kind == "a grid that is its own tile's alpha") { // a loop only when decoding
        primary = file.addHevc(tile);
        const int grid = derived(file, "grid", {primary});
        file.addProperty(grid, "auxC", alpha);
        file.addReference("auxl", grid, {primary});
    } else if (kind == "nested grids") {
        primary = file.addHevc(tile);
        for (int level = 0; level < nesting; ++level)
            primary = derived(file, "grid", {primary});
    } else if (kind == "one picture named 400 times, under a crop") {
        const int picture = file.addHevc(big);
        primary = derived(file, "iden", {derived(file, "iovl", QVector<int>(400, picture).toList(), big.width, big.height)},
                          big.width, big.height);
    } else if (kind == "an extent of 0xffffffff bytes") {
        file.setPrimary(file.addHevc(tile));
        QByteArray bytes = file.build();
        // HeifBuilder's iloc: 4-byte offsets and lengths, the first item's
        // length 20 bytes into the box's body.
        qToBigEndian(quint32(0xffffffff), bytes.data() + bytes.indexOf("iloc") + 24);
        return bytes;
    } else if (kind == "converts: a crop over a grid") {
        const QList<int> tiles{file.addHevc(tile), file.addHevc(tile), file.addHevc(tile), file.addHevc(tile)};
        primary = derived(file, "iden", {derived(file, "grid", tiles, 128, 96, 2, 2)}, 128, 96);
    } else if (kind == "converts: a premultiplied alpha") {
        primary = file.addHevc(tile);
        const int mask = file.addHevc(tile);
        file.addProperty(mask, "auxC", alpha);
        file.addReference("auxl", mask, {primary});
        file.addReference("prem", primary, {mask});
    }
    file.setPrimary(primary);
    return file.build();
}

} // namespace

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv);
    const QStringList args = app.arguments().mid(1);
    if (args.isEmpty()) {
        std::fprintf(stderr, "usage: make-hostile-files OUTDIR [--large]\n");
        return 2;
    }
    const bool large = args.contains("--large");
    const QDir out(args.first());
    QDir().mkpath(out.path());
    const HeifBuilder::Hevc tile = flatTile(64, 48);
    const HeifBuilder::Hevc big = large ? flatTile(4096, 4096) : flatTile(640, 480);
    if (tile.data.isEmpty() || big.data.isEmpty()) {
        std::fprintf(stderr, "libheif has no HEVC encoder\n");
        return 1;
    }
    const QList<QPair<QString, QString>> files{
        {"damaged-grid-tile-beyond-ispe", "grid tile beyond its ispe"},
        {"damaged-alpha-beyond-ispe", "alpha beyond its ispe"},
        {"damaged-overlay-far-beyond-canvas", "overlay far beyond its canvas"},
        {"damaged-loop-two-grids", "two grids, each the other's tile"},
        {"damaged-loop-three-grids", "three grids in a circle"},
        {"damaged-loop-overlay-and-grid", "an overlay and a grid"},
        {"damaged-loop-alpha", "two pictures, each the other's alpha"},
        {"damaged-loop-alpha-of-own-tile", "a grid that is its own tile's alpha"},
        {"damaged-loop-thumbnails", "two thumbnails of each other"},
        {"damaged-nested-grids", "nested grids"},
        {"damaged-picture-named-400-times", "one picture named 400 times, under a crop"},
        {"damaged-extent-ffffffff", "an extent of 0xffffffff bytes"},
        {"photo-crop-over-grid", "converts: a crop over a grid"},
        {"photo-premultiplied-alpha", "converts: a premultiplied alpha"}};
    bool ok = true;
    for (const auto& file : files) {
        if (large && !file.first.contains("nested") && !file.first.contains("400"))
            continue;
        const QByteArray bytes = crafted(file.second, tile, big, large ? 10000 : 100);
        QFile target(out.filePath(file.first + ".heic"));
        const bool written = !bytes.isEmpty() && target.open(QIODevice::WriteOnly) && target.write(bytes) == bytes.size();
        std::printf("%s %s (%lld bytes)\n", written ? "wrote" : "FAILED", qPrintable(target.fileName()), qlonglong(bytes.size()));
        ok = ok && written;
    }
    return ok ? 0 : 1;
}
