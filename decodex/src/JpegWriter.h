#pragma once

#include "PlaneTransform.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace decodex {

class PlanarImage;
struct RgbImage;

// What goes into the JPEG besides the pixels.
struct JpegMetadata
{
    std::vector<uint8_t> exif; // "Exif\0\0" + TIFF, at most one APP1 segment
    std::vector<uint8_t> xmp;  // the XMP packet alone
    std::vector<uint8_t> icc;  // split into ICC_PROFILE chunks as needed
};

// Writes a baseline JPEG straight into the caller's buffer through a libjpeg
// destination manager that stops at the buffer's end: nothing is written
// past the capacity and no second copy of the file is made.
class JpegWriter
{
public:
    JpegWriter(uint8_t* output, size_t capacity) : m_output(output), m_capacity(capacity) {}

    // YCbCr planes as JPEG codes them (BT.601, full range), fed to the
    // encoder as they are: no colour conversion and no resampling. The
    // orientation is applied strip by strip as the encoder takes them, so a
    // turned photo never needs a second full-size picture.
    int32_t writePlanar(const PlanarImage& image, int quality, const JpegMetadata& metadata,
                        PlaneTransform::Orientation orientation = {});

    // RGB rows; chromaFormat chooses the sampling (0 writes grayscale).
    int32_t writeRgb(const RgbImage& image, int chromaFormat, int quality, const JpegMetadata& metadata);

    // Bytes the metadata segments take, markers included.
    static size_t metadataSize(size_t exif, size_t xmp, size_t icc);

private:
    struct Source;
    int32_t write(const Source& source, int quality, const JpegMetadata& metadata);

    uint8_t* m_output;
    size_t m_capacity;
};

} // namespace decodex
