#include "GainMapFixture.h"

#include "HeicFixture.h"

#include <QtEndian>

#include <cmath>

const char GainMapFixture::kApple[] = "urn:com:apple:photo:2020:aux:hdrgainmap";
const char GainMapFixture::kSamsung[] = "urn:com:samsung:photo:2024:aux:hdrgainmap";

namespace {

void u16(QByteArray& b, quint16 v) { char d[2]; qToBigEndian(v, d); b.append(d, 2); }
void u32(QByteArray& b, quint32 v) { char d[4]; qToBigEndian(v, d); b.append(d, 4); }
void entry(QByteArray& b, quint16 tag, quint16 type, quint32 count, quint32 value)
{
    u16(b, tag);
    u16(b, type);
    u32(b, count);
    u32(b, value);
}

QByteArray packet(const QByteArray& descriptions)
{
    return R"(<?xpacket begin="" id="W5M0MpCehiHzreSzNTczkc9d"?><x:xmpmeta xmlns:x="adobe:ns:meta/">)"
           R"(<rdf:RDF xmlns:rdf="http://www.w3.org/1999/02/22-rdf-syntax-ns#">)"
           + descriptions + R"(</rdf:RDF></x:xmpmeta><?xpacket end="w"?>)";
}

} // namespace

GainMapFixture::Image GainMapFixture::code(const QImage& picture, int chroma, int columns, int rows)
{
    Image image{{}, columns, rows, picture.size()};
    HeicFixtureOptions options;
    options.chroma = chroma;
    const int w = picture.width() / columns, h = picture.height() / rows;
    for (int r = 0; r < rows; ++r)
        for (int c = 0; c < columns; ++c) {
            const QByteArray heic = HeicFixture::encode(picture.copy(c * w, r * h, w, h), options);
            if (heic.isEmpty())
                return {};
            image.tiles << HeifBuilder::hevcOf(heic);
        }
    return image;
}

QByteArray GainMapFixture::build() const
{
    if (photo.tiles.isEmpty() || map.tiles.isEmpty())
        return {};
    HeifBuilder b;
    auto add = [&](const Image& image) {
        if (image.tiles.size() == 1)
            return b.addHevc(image.tiles.first());
        const int grid = b.addItem("grid", HeifBuilder::gridDescriptor(image.rows, image.columns, image.size.width(),
                                                                       image.size.height()), true);
        b.addProperty(grid, "ispe", HeifBuilder::ispe(image.size.width(), image.size.height()));
        QList<int> tiles;
        for (const HeifBuilder::Hevc& tile : image.tiles)
            tiles << b.addHevc(tile);
        b.addReference("dimg", grid, tiles);
        return grid;
    };
    const int primary = add(photo);
    const int gainMap = add(map);
    for (int item : {primary, gainMap})
        if (quarterTurns)
            b.addProperty(item, "irot", QByteArray(1, char(quarterTurns)), true);
    b.addProperty(gainMap, "auxC", QByteArray(4, '\0') + auxType + QByteArray(1, '\0'), true);
    b.addReference("auxl", gainMap, {primary});
    if (!mapXmp.isEmpty())
        b.addReference("cdsc", b.addItem("mime", mapXmp), {gainMap});
    if (!photoXmp.isEmpty())
        b.addReference("cdsc", b.addItem("mime", photoXmp), {primary});
    if (!exifTiff.isEmpty())
        b.addReference("cdsc", b.addItem("Exif", QByteArray(4, '\0') + exifTiff), {primary});
    if (!toneMap.isEmpty())
        b.addReference("dimg", b.addItem("tmap", toneMap), {primary, gainMap});
    b.setPrimary(primary);
    return b.build();
}

QByteArray GainMapFixture::exif(QSize pixels, double tag33, double tag48)
{
    QByteArray note("Apple iOS\0\0\x01MM", 14);
    const int tags = std::isnan(tag33) ? 0 : std::isnan(tag48) ? 1 : 2;
    u16(note, quint16(tags));
    const int values = 14 + 2 + tags * 12 + 4;
    for (int i = 0; i < tags; ++i)
        entry(note, i == 0 ? 33 : 48, 10, 1, quint32(values + 8 * i));
    u32(note, 0);
    for (int i = 0; i < tags; ++i) {
        u32(note, quint32(qint32(std::lround((i == 0 ? tag33 : tag48) * 100000))));
        u32(note, 100000);
    }
    QByteArray tiff("MM\0\x2A", 4);
    u32(tiff, 8);
    u16(tiff, 1); // IFD0: the EXIF pointer
    entry(tiff, 0x8769, 4, 1, 26);
    u32(tiff, 0);
    u16(tiff, 3); // EXIF IFD at 26, tags in ascending order, the note after it
    entry(tiff, 0x927C, 7, quint32(note.size()), 26 + 2 + 3 * 12 + 4);
    entry(tiff, 0xA002, 4, 1, quint32(pixels.width()));
    entry(tiff, 0xA003, 4, 1, quint32(pixels.height()));
    u32(tiff, 0);
    return tiff + note;
}

QByteArray GainMapFixture::toneMapPayload(double min, double max, double gamma, double baseHeadroom,
                                          double alternateHeadroom)
{
    QByteArray t(6, '\0'); // version, minimum and writer versions, flags
    for (double v : {baseHeadroom, alternateHeadroom, min, max, gamma, 1.0 / 64, 1.0 / 64}) {
        u32(t, quint32(qint32(std::lround(v * 1000000))));
        u32(t, 1000000);
    }
    return t;
}

QByteArray GainMapFixture::samsungXmp()
{
    return packet(R"(
 <rdf:Description rdf:about="" xmlns:xmp="http://ns.adobe.com/xap/1.0/" hdrgm:Version="1.0" xmp:Rating="5"
   xmlns:Container="http://ns.google.com/photos/1.0/container/" xmlns:hdrgm="http://ns.adobe.com/hdr-gain-map/1.0/"
   xmlns:Item="http://ns.google.com/photos/1.0/container/item/"><Container:Directory><rdf:Seq>
   <rdf:li rdf:parseType="Resource"><Container:Item Item:Semantic="Primary" Item:Mime="image/heic"/></rdf:li>
   <rdf:li rdf:parseType="Resource"><Container:Item Item:Semantic="GainMap" Item:Mime="image/heic" Item:Length="0"/>
   </rdf:li></rdf:Seq></Container:Directory></rdf:Description>)");
}

QByteArray GainMapFixture::applePhotoXmp()
{
    return packet(R"(<rdf:Description rdf:about="" xmlns:xmp="http://ns.adobe.com/xap/1.0/" xmp:Rating="5"/>)")
           + QByteArray(1, '\0');
}

QByteArray GainMapFixture::appleMapXmp(double headroom)
{
    const QByteArray value = " HDRGainMap:HDRGainMapHeadroom=\"" + QByteArray::number(headroom, 'f', 6) + '"';
    return packet(R"(<rdf:Description rdf:about="" xmlns:HDRGainMap="http://ns.apple.com/HDRGainMap/1.0/")"
                  R"( HDRGainMap:HDRGainMapVersion="65536")" + (headroom > 0 ? value : QByteArray()) + "/>");
}
