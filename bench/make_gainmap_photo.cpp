// Makes a phone-like HDR photo for the gain-map benchmark: the pixels of a
// real photo (decoded by the library), coded again as one HEVC image, with
// an Apple-style gain map a quarter of its size made from its own
// brightness and a headroom in the map's XMP. The corpus has no photo with
// a gain map, and its photos may not be copied into the repository.
//   make-gainmap-photo IN.heic OUT.heic
#include "HeicFixture.h"
#include "HeifBuilder.h"
#include "decodex/heif2jpg.h"

#include <QFile>
#include <QCoreApplication>
#include <QImage>

#include <cstdio>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s IN.heic OUT.heic\n", argv[0]);
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
    // Brighter parts get more boost, as in a phone's map.
    const QImage map = photo.scaled(photo.width() / 4, photo.height() / 4, Qt::IgnoreAspectRatio,
                                    Qt::SmoothTransformation)
                           .convertToFormat(QImage::Format_Grayscale8);
    HeicFixtureOptions grey;
    grey.chroma = 400;
    const QByteArray photoHeic = HeicFixture::encode(photo), mapHeic = HeicFixture::encode(map, grey);
    if (photoHeic.isEmpty() || mapHeic.isEmpty())
        return 1;
    HeifBuilder b;
    const int primary = b.addHevc(HeifBuilder::hevcOf(photoHeic));
    const int gainMap = b.addHevc(HeifBuilder::hevcOf(mapHeic));
    b.addProperty(gainMap, "auxC",
                  QByteArray(4, '\0') + QByteArray("urn:com:apple:photo:2020:aux:hdrgainmap", 40), true);
    b.addReference("auxl", gainMap, {primary});
    const QByteArray xmp(
        "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\"><rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">"
        "<rdf:Description rdf:about=\"\" xmlns:HDRGainMap=\"http://ns.apple.com/HDRGainMap/1.0/\""
        " HDRGainMap:HDRGainMapVersion=\"65536\" HDRGainMap:HDRGainMapHeadroom=\"4.0\"/></rdf:RDF></x:xmpmeta>");
    b.addReference("cdsc", b.addItem("mime", xmp), {gainMap});
    b.setPrimary(primary);
    QFile out(QString::fromLocal8Bit(argv[2]));
    return out.open(QIODevice::WriteOnly) && out.write(b.build()) > 0 ? 0 : 1;
}
