#include "HdrToneMapper.h"

#include "HevcDecoder.h"
#include "PlanarImage.h"
#include "RgbConverter.h"

#include <algorithm>
#include <cstring>

namespace decodex {

namespace {

// libjpeg's RGB to YCbCr (jccolor.c): 16 fractional bits, luma rounded,
// chroma rounded a hair below one half so 255 never becomes 256.
constexpr int32_t fix(double v) { return int32_t(v * 65536 + 0.5); }
constexpr int32_t kHalf = 1 << 15;
constexpr int32_t kChromaOffset = (128 << 16) + kHalf - 1;

// libheif's Kr and Kb by matrix (nclx.cc), as single-precision numbers so
// the coefficients below come out exactly as libheif computes them.
bool krKb(int matrix, float& kr, float& kb)
{
    switch (matrix) {
    case 1: kr = 0.2126f; kb = 0.0722f; return true;
    case 4: kr = 0.30f; kb = 0.11f; return true;
    case 5:
    case 6: kr = 0.299f; kb = 0.114f; return true;
    case 7: kr = 0.212f; kb = 0.087f; return true;
    case 9: kr = 0.2627f; kb = 0.0593f; return true;
    default: return false;
    }
}

} // namespace

bool HdrToneMapper::supports(int matrix)
{
    float kr, kb;
    return matrix == 2 || krKb(matrix, kr, kb);
}

HdrToneMapper::HdrToneMapper(int bitDepth, int transfer, int matrix, bool fullRange)
    : m_tone(RgbConverter::toneTable(bitDepth, transfer)), m_maxCode((1 << bitDepth) - 1)
{
    float kr = 0, kb = 0;
    if (krKb(matrix, kr, kb)) {
        m_rCr = 2 * (-kr + 1);
        m_gCb = 2 * kb * (-kb + 1) / (kb + kr - 1);
        m_gCr = 2 * kr * (-kr + 1) / (kb + kr - 1);
        m_bCb = 2 * (-kb + 1);
    } else { // libheif's defaults: BT.601
        m_rCr = 1.402f;
        m_gCb = -0.344136f;
        m_gCr = -0.714136f;
        m_bCb = 1.772f;
    }
    // What libheif makes of each code before the matrix, limited range
    // stretched with its own factors.
    const float offset = float(16 << (bitDepth - 8));
    const int half = 1 << (bitDepth - 1);
    m_luma.resize(size_t(m_maxCode) + 1);
    m_chroma.resize(size_t(m_maxCode) + 1);
    for (int v = 0; v <= m_maxCode; ++v) {
        float y = float(v), c = float(v - half);
        if (!fullRange) {
            y = (y - offset) * 1.1689f;
            c = c * 1.1429f;
        }
        m_luma[size_t(v)] = y;
        m_chroma[size_t(v)] = c;
    }
}

// One chroma block: every pixel's Y'CbCr through R'G'B' codes and the tone
// table to JPEG's Y'CbCr, luma written at once, chroma summed. Columns and
// rows past the picture's edge repeat the last one, as libjpeg pads.
template <typename Sample, int SX, int SY>
struct HdrToneMapper::Block
{
    const HdrToneMapper& m;
    const Sample* luma[SY];
    uint8_t* out[SY];

    void run(int x, int lastX, float cb, float cr, int& cbSum, int& crSum) const
    {
        const float rCr = m.m_rCr * cr, gCb = m.m_gCb * cb, gCr = m.m_gCr * cr, bCb = m.m_bCb * cb;
        const int top = m.m_maxCode;
        auto code = [top](float f) { // libheif's clip_f_u16
            const long v = long(f + 0.5f);
            return size_t(v < 0 ? 0 : v > top ? top : v);
        };
        for (int dy = 0; dy < SY; ++dy) {
            for (int dx = 0; dx < SX; ++dx) {
                const int at = std::min(x + dx, lastX);
                const float y = m.m_luma[std::min<size_t>(luma[dy][at], size_t(top))];
                const int32_t r = m.m_tone[code(y + rCr)];
                const int32_t g = m.m_tone[code(y + gCb + gCr)];
                const int32_t b = m.m_tone[code(y + bCb)];
                out[dy][at] = uint8_t((fix(0.29900) * r + fix(0.58700) * g + fix(0.11400) * b + kHalf) >> 16);
                cbSum += (-fix(0.16874) * r - fix(0.33126) * g + fix(0.50000) * b + kChromaOffset) >> 16;
                crSum += (fix(0.50000) * r - fix(0.41869) * g - fix(0.08131) * b + kChromaOffset) >> 16;
            }
        }
    }
};

template <typename Sample, int SX, int SY>
void HdrToneMapper::mapPlanes(const DecodedPicture& picture, int x0, int y0, int width, int height,
                              PlanarImage& out) const
{
    constexpr int kShift = (SX - 1) + (SY - 1);
    auto row = [](const DecodedPicture::Plane& plane, int y) {
        return reinterpret_cast<const Sample*>(plane.data + ptrdiff_t(y) * plane.stride);
    };
    for (int cy = 0; cy * SY < height; ++cy) {
        Block<Sample, SX, SY> block{*this, {}, {}};
        for (int dy = 0; dy < SY; ++dy) {
            const int y = std::min(cy * SY + dy, height - 1);
            block.luma[dy] = row(picture.planes[0], y);
            block.out[dy] = out.plane(0).row(y0 + y) + x0;
        }
        const Sample* cbIn = row(picture.planes[1], cy);
        const Sample* crIn = row(picture.planes[2], cy);
        uint8_t* cbOut = out.plane(1).row(y0 / SY + cy) + x0 / SX;
        uint8_t* crOut = out.plane(2).row(y0 / SY + cy) + x0 / SX;
        for (int cx = 0; cx * SX < width; ++cx) {
            int cbSum = 0, crSum = 0;
            block.run(cx * SX, width - 1, m_chroma[std::min<size_t>(cbIn[cx], size_t(m_maxCode))],
                      m_chroma[std::min<size_t>(crIn[cx], size_t(m_maxCode))], cbSum, crSum);
            // libjpeg's downsampling (jcsample.c) rounds with a bias that
            // alternates from one output column to the next.
            const int column = x0 / SX + cx;
            const int bias = kShift == 2 ? 1 + (column & 1) : kShift == 1 ? (column & 1) : 0;
            cbOut[cx] = uint8_t((cbSum + bias) >> kShift);
            crOut[cx] = uint8_t((crSum + bias) >> kShift);
        }
    }
}

void HdrToneMapper::map(const DecodedPicture& picture, int x0, int y0, int width, int height, PlanarImage& out) const
{
    const bool wide = picture.bitDepth > 8;
    switch (out.chromaFormat()) {
    case 1:
        return wide ? mapPlanes<uint16_t, 2, 2>(picture, x0, y0, width, height, out)
                    : mapPlanes<uint8_t, 2, 2>(picture, x0, y0, width, height, out);
    case 2:
        return wide ? mapPlanes<uint16_t, 2, 1>(picture, x0, y0, width, height, out)
                    : mapPlanes<uint8_t, 2, 1>(picture, x0, y0, width, height, out);
    default:
        return wide ? mapPlanes<uint16_t, 1, 1>(picture, x0, y0, width, height, out)
                    : mapPlanes<uint8_t, 1, 1>(picture, x0, y0, width, height, out);
    }
}

} // namespace decodex
