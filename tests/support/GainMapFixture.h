#pragma once

#include "HeifBuilder.h"

#include <QImage>
#include <QList>
#include <QSize>

#include <limits>

// HEIC photos with an HDR gain map laid out as phones write them, for the
// gain-map tests and benchmarks.
struct GainMapFixture
{
    static const char kApple[];
    static const char kSamsung[];

    // One coded picture, or a grid of tiles (row by row) on a canvas.
    struct Image
    {
        QList<HeifBuilder::Hevc> tiles;
        int columns = 1;
        int rows = 1;
        QSize size;
    };
    // `picture` coded whole or cut into columns x rows tiles; chroma 400 is
    // a monochrome picture (Apple's maps), 420 of a grey picture has the
    // neutral chroma of Samsung's. No tiles when the encoder failed.
    static Image code(const QImage& picture, int chroma = 420, int columns = 1, int rows = 1);

    Image photo;
    Image map;
    const char* auxType = kApple;
    int quarterTurns = 0; // 'irot' on the photo and its map
    QByteArray mapXmp;    // XMP item describing the map
    QByteArray photoXmp;  // the photo's own XMP
    QByteArray exifTiff;  // the photo's EXIF
    QByteArray toneMap;   // payload of a 'tmap' item over the photo and its map

    QByteArray build() const;

    // A big-endian EXIF block with PixelXDimension, PixelYDimension and an
    // Apple maker note with tag 33 and tag 48 as signed rationals, each
    // left out when NaN.
    static QByteArray exif(QSize pixels, double tag33 = std::numeric_limits<double>::quiet_NaN(),
                           double tag48 = std::numeric_limits<double>::quiet_NaN());
    // ISO 21496-1 metadata for one channel, SDR base, own denominators.
    static QByteArray toneMapPayload(double min, double max, double gamma, double baseHeadroom,
                                     double alternateHeadroom);
    // The photo XMP of a Samsung HDR photo: a rating and a directory naming
    // a HEIC gain map of length 0.
    static QByteArray samsungXmp();
    // The XMP packet of an iPhone photo, ending with a NUL byte, and the one
    // of its gain map: the version alone, or with a headroom when > 0.
    static QByteArray applePhotoXmp();
    static QByteArray appleMapXmp(double headroom = 0);
};
