#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>

// Test photos made on the fly with libheif's HEVC encoder.
struct HeicFixtureOptions
{
    int bitDepth = 8;        // 8, 10 or 12
    int chroma = 420;        // 420, 422, 444, or 400 for a grey picture (8 bits)
    int orientation = 1;     // EXIF-style 1..8, stored as irot/imir boxes
    bool alpha = false;      // keep the picture's alpha channel
    QByteArray exifTiff;     // TIFF block (no "Exif\0\0" header) to embed
    QByteArray xmp;          // XMP packet to embed
    QByteArray icc;          // ICC profile to embed as 'prof'
    int nclxPrimaries = 0;   // when non-zero: write an nclx box with these primaries
    int nclxTransfer = 13;   // sRGB transfer unless told otherwise
    bool fullRange = true;   // the nclx box's range (limited: as many cameras code)
    int nclxMatrix = 6;      // the nclx box's matrix (BT.601; cameras often write 1, BT.709)
    int encoderQuality = 90; // HEVC quality, 0..100
    int thumbnail = 0;       // when non-zero: a thumbnail of at most this many pixels a side
};

class HeicFixture
{
public:
    // Encodes the picture as a HEIC file. The returned bytes are empty when
    // libheif has no HEVC encoder or the encoding failed; `error` says why.
    static QByteArray encode(const QImage& picture, const HeicFixtureOptions& options = {},
                             QString* error = nullptr);

    // Writes encode()'s bytes to a file; false when nothing could be written.
    static bool write(const QString& path, const QImage& picture,
                      const HeicFixtureOptions& options = {});

    // A picture whose four quadrants have different colours (red top-left,
    // green top-right, blue bottom-left, white bottom-right), so rotations
    // and mirrors can be told apart after decoding.
    static QImage quadrants(int width, int height);

    // A smooth gradient, for checking that high bit depths are scaled well.
    static QImage gradient(int width, int height);

    // A minimal little-endian TIFF/EXIF block with the Orientation tag,
    // DateTimeOriginal ("YYYY:MM:DD HH:MM:SS") and a GPS latitude with its
    // reference.
    static QByteArray exifBlock(int orientation, const QByteArray& dateTimeOriginal);
    // The latitude's bytes in that block, to look for in a JPEG.
    static QByteArray gpsLatitude();

    // Folder of the real test photos, or an empty string when it is absent.
    static QString corpusDir();

    // Peak signal to noise ratio of b against a over their RGB channels, in
    // dB; 0 when the sizes differ.
    static double psnr(const QImage& a, const QImage& b);
};
