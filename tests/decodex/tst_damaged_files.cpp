// Files made to hurt the decoder: reference loops, nesting, one picture used
// hundreds of times, an extent no file has. Each must be refused as damaged
// by every entry point before libheif sees it (libheif overflows its stack
// on a loop, or works for minutes), and the structures real files use must
// still convert.
#include "TestSandbox.h"
#include "DamageCheck.h"
#include "HeicFixture.h"
#include "HeifBuilder.h"
#include "HeifMeta.h"
#include "decodex/heif2jpg.h"

#include <QtEndian>
#include <QtTest>

#include <vector>

using decodex::DamageCheck;
using Damage = DamageCheck::Damage;

Q_DECLARE_METATYPE(Damage)

namespace {

HeifBuilder::Hevc tile(int width = 64, int height = 48)
{
    QImage picture(width, height, QImage::Format_RGB32);
    picture.fill(Qt::darkCyan);
    return HeifBuilder::hevcOf(HeicFixture::encode(picture));
}

QByteArray clap(int width, int height)
{
    QByteArray body;
    for (quint32 v : {quint32(width), 1u, quint32(height), 1u, 0u, 1u, 0u, 1u}) {
        char d[4];
        qToBigEndian(v, d);
        body.append(d, 4);
    }
    return body;
}

QByteArray alphaUrn()
{
    return QByteArray(4, '\0') + "urn:mpeg:hevc:2015:auxid:1" + QByteArray(1, '\0');
}

int grid(HeifBuilder& file, const QList<int>& tiles, int rows, int columns, int width, int height)
{
    const int item = file.addItem("grid", HeifBuilder::gridDescriptor(rows, columns, width, height), true);
    file.addProperty(item, "ispe", HeifBuilder::ispe(width, height));
    if (!tiles.isEmpty())
        file.addReference("dimg", item, tiles);
    return item;
}

// An overlay of `inputs` at the top-left corner of a 64x48 canvas.
int overlay(HeifBuilder& file, const QList<int>& inputs)
{
    QByteArray descriptor = QByteArray(10, '\0') + QByteArray("\0\x40\0\x30", 4) + QByteArray(4 * inputs.size(), '\0');
    const int item = file.addItem("iovl", descriptor, true);
    file.addProperty(item, "ispe", HeifBuilder::ispe(64, 48));
    file.addReference("dimg", item, inputs);
    return item;
}

QByteArray build(const QString& kind, const HeifBuilder::Hevc& hevc)
{
    HeifBuilder file;
    if (kind == "two grids, each the other's tile") {
        const int a = grid(file, {}, 1, 1, 64, 48);
        const int b = grid(file, {a}, 1, 1, 64, 48);
        file.addReference("dimg", a, {b});
        file.setPrimary(a);
    } else if (kind == "three grids in a circle") {
        const int a = grid(file, {}, 1, 1, 64, 48);
        const int c = grid(file, {grid(file, {a}, 1, 1, 64, 48)}, 1, 1, 64, 48);
        file.addReference("dimg", a, {c});
        file.setPrimary(a);
    } else if (kind == "an overlay and a grid") {
        const int g = grid(file, {}, 1, 1, 64, 48);
        file.addReference("dimg", g, {overlay(file, {g})});
        file.setPrimary(g);
    } else if (kind == "two pictures, each the other's alpha") {
        const int a = file.addHevc(hevc), b = file.addHevc(hevc);
        file.addProperty(a, "auxC", alphaUrn());
        file.addProperty(b, "auxC", alphaUrn());
        file.addReference("auxl", a, {b});
        file.addReference("auxl", b, {a});
        file.setPrimary(a);
    } else if (kind == "a grid that is its own tile's alpha") {
        // Both references point from the grid to the tile; only decoding
        // them goes round: the grid needs the tile, the tile its alpha.
        const int t = file.addHevc(hevc);
        const int g = grid(file, {t}, 1, 1, 64, 48);
        file.addProperty(g, "auxC", alphaUrn());
        file.addReference("auxl", g, {t});
        file.setPrimary(t);
    } else if (kind == "two thumbnails of each other") {
        const int a = file.addHevc(hevc), b = file.addHevc(hevc);
        file.addReference("thmb", a, {b});
        file.addReference("thmb", b, {a});
        file.setPrimary(a);
    } else if (kind == "a picture describing itself") {
        const int a = file.addHevc(hevc);
        file.addReference("cdsc", a, {a});
        file.setPrimary(a);
    } else if (kind == "a hundred nested grids") {
        int inner = file.addHevc(hevc);
        for (int level = 0; level < 100; ++level)
            inner = grid(file, {inner}, 1, 1, 64, 48);
        file.setPrimary(inner);
    } else if (kind == "one picture named 400 times, under a crop") {
        const int picture = file.addHevc(hevc);
        QList<int> inputs;
        for (int i = 0; i < 400; ++i)
            inputs << picture;
        const int identity = file.addItem("iden", QByteArray());
        file.addProperty(identity, "ispe", HeifBuilder::ispe(64, 48));
        file.addProperty(identity, "clap", clap(64, 48), true);
        file.addReference("dimg", identity, {overlay(file, inputs)});
        file.setPrimary(identity);
    } else if (kind == "an extent of 0xffffffff bytes") {
        file.setPrimary(file.addHevc(hevc));
        QByteArray bytes = file.build();
        // HeifBuilder's iloc: version 1, 4-byte offsets and lengths, the
        // first item's length 20 bytes into the box's body.
        const int iloc = bytes.indexOf("iloc") + 4;
        qToBigEndian(quint32(0xffffffff), bytes.data() + iloc + 20);
        return bytes;
    } else if (kind == "a crop over a grid") { // the structures real files use
        const int identity = file.addItem("iden", QByteArray());
        file.addProperty(identity, "ispe", HeifBuilder::ispe(128, 96));
        file.addProperty(identity, "clap", clap(100, 90), true);
        const QList<int> tiles{file.addHevc(hevc), file.addHevc(hevc), file.addHevc(hevc), file.addHevc(hevc)};
        file.addReference("dimg", identity, {grid(file, tiles, 2, 2, 128, 96)});
        file.setPrimary(identity);
    } else if (kind == "a premultiplied alpha") {
        const int photo = file.addHevc(hevc), alpha = file.addHevc(hevc);
        file.addProperty(alpha, "auxC", alphaUrn());
        file.addReference("auxl", alpha, {photo});
        file.addReference("prem", photo, {alpha});
        file.setPrimary(photo);
    }
    return file.build();
}

} // namespace

class TestDamagedFiles : public QObject
{
    Q_OBJECT

private slots:
    void refusedBeforeLibheifSeesThem_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<Damage>("damage");
        for (const char* kind : {"two grids, each the other's tile", "three grids in a circle", "an overlay and a grid",
                                 "two pictures, each the other's alpha", "a grid that is its own tile's alpha",
                                 "two thumbnails of each other", "a picture describing itself"})
            QTest::newRow(kind) << QString(kind) << Damage::ReferenceLoop;
        QTest::newRow("nesting") << "a hundred nested grids" << Damage::TooDeep;
        QTest::newRow("repeats") << "one picture named 400 times, under a crop" << Damage::RepeatedPicture;
        QTest::newRow("extent") << "an extent of 0xffffffff bytes" << Damage::ExtentOutsideFile;
        QTest::newRow("crop over a grid converts") << "a crop over a grid" << Damage::None;
        QTest::newRow("premultiplied alpha converts") << "a premultiplied alpha" << Damage::None;
    }

    void refusedBeforeLibheifSeesThem()
    {
        QFETCH(QString, kind);
        QFETCH(Damage, damage);
        const HeifBuilder::Hevc hevc = tile();
        if (hevc.data.isEmpty())
            QSKIP("libheif has no HEVC encoder");
        const QByteArray heic = build(kind, hevc);
        const auto* in = reinterpret_cast<const uint8_t*>(heic.constData());
        QCOMPARE(DamageCheck::find(decodex::HeifMeta::read(in, size_t(heic.size()))), damage);

        std::vector<uint8_t> out(1 << 20);
        const int32_t written = heif2jpg(in, heic.size(), 90, out.data(), int32_t(out.size()), nullptr);
        const int32_t capacity = heif2jpg_capacity(in, heic.size(), 90);
        const int32_t thumbnail = heif2jpg_thumbnail(in, heic.size(), 90, out.data(), int32_t(out.size()));
        if (damage == Damage::None) {
            QVERIFY2(written > 0, heif2jpg_error_text(written));
            QVERIFY(capacity >= written);
        } else {
            // Damaged, not "too large": the person is told the file is broken.
            QCOMPARE(written, int32_t(DECODEX_ERR_DECODE_FAILED));
            QCOMPARE(capacity, int32_t(DECODEX_ERR_DECODE_FAILED));
            QCOMPARE(thumbnail, int32_t(DECODEX_ERR_DECODE_FAILED));
        }
    }
};

QTEST_GUILESS_MAIN(TestDamagedFiles)
#include "tst_damaged_files.moc"
