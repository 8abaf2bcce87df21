#pragma once

#include <cstdint>
#include <vector>

namespace decodex {

struct DecodedPicture;
class PlanarImage;

// HDR photos (PQ or HLG, as HDR cameras write them) straight from their
// decoded planes to the JPEG encoder's, in one pass per tile: each pixel's
// Y'CbCr to R'G'B' codes the way libheif converts them, through the tone
// table the libheif path uses (RgbConverter::toneTable), to JPEG's BT.601
// Y'CbCr the way libjpeg converts RGB, and each chroma block averaged the
// way libjpeg subsamples. The libheif path built a 16-bit RGB picture, an
// 8-bit one and libjpeg's own full-size YCbCr from it; this builds none and
// lands on the same samples.
class HdrToneMapper
{
public:
    // The matrices whose coefficients are fixed numbers (BT.601, BT.709,
    // BT.2020 non-constant luminance and their kin, or none said); the
    // others are left to libheif.
    static bool supports(int matrix);

    HdrToneMapper(int bitDepth, int transfer, int matrix, bool fullRange);

    // Maps the picture's top-left `width` x `height` pixels to (x0, y0) of
    // `out`, whose chroma format must be the picture's (4:2:0, 4:2:2 or
    // 4:4:4), (x0, y0) on a chroma block's corner.
    void map(const DecodedPicture& picture, int x0, int y0, int width, int height, PlanarImage& out) const;

private:
    template <typename Sample, int SX, int SY>
    void mapPlanes(const DecodedPicture& picture, int x0, int y0, int width, int height, PlanarImage& out) const;

    std::vector<float> m_luma;   // coded luma -> libheif's value before the matrix
    std::vector<float> m_chroma; // coded chroma -> the same, centred on 0
    std::vector<uint8_t> m_tone; // R'G'B' code + m_toneOffset -> 8-bit SDR, clipped
    int m_toneOffset = 0;
    int m_maxCode = 0;
    float m_rCr = 0, m_gCb = 0, m_gCr = 0, m_bCb = 0;
};

} // namespace decodex
