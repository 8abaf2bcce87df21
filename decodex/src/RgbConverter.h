#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

struct heif_image_handle;

namespace decodex {

// Interleaved 8-bit RGB rows ready for the JPEG encoder.
struct RgbImage
{
    int width = 0;
    int height = 0;
    std::vector<uint8_t> pixels; // width * 3 bytes per row, no padding
};

// The general way through libheif: any bit depth, alpha, overlay, transform
// and colour matrix libheif understands. libheif turns the image into RGB
// at its own bit depth; this class brings it to 8 bits with rounding (never
// by dropping low bits, which would darken every value), maps PQ and HLG to
// SDR and composites alpha onto white.
class RgbConverter
{
public:
    // transfer: the nclx transfer characteristics (16 PQ, 18 HLG tone map).
    // Returns 0 or a negative decodex_error.
    static int decode(const heif_image_handle* handle, int transfer, RgbImage& out);

    // Maps a sample of `bits` bits to 8 bits: rounding for SDR, a tone map
    // for PQ (16) and HLG (18). Exposed for tests.
    static std::vector<uint8_t> toneTable(int bits, int transfer);
};

} // namespace decodex
