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

template <typename Sample>
int sampleAt(const DecodedPicture::Plane& plane, int x, int y, int maxCode)
{
    Sample v;
    std::memcpy(&v, plane.data + ptrdiff_t(y) * plane.stride + ptrdiff_t(x) * ptrdiff_t(sizeof(Sample)), sizeof v);
    return std::min(int(v), maxCode);
}

} // namespace

struct HdrToneMapper::Pixel
{
    int y;
    int cb; // before subsampling
    int cr;
};

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

void HdrToneMapper::convert(float luma, float rCr, float gCb, float gCr, float bCb, Pixel& pixel) const
{
    const int top = m_maxCode;
    auto code = [top](float f) { // libheif's clip_f_u16
        const long v = long(f + 0.5f);
        return v < 0 ? 0 : v > top ? top : int(v);
    };
    const int32_t r = m_tone[size_t(code(luma + rCr))];
    const int32_t g = m_tone[size_t(code(luma + gCb + gCr))];
    const int32_t b = m_tone[size_t(code(luma + bCb))];
    pixel.y = (fix(0.29900) * r + fix(0.58700) * g + fix(0.11400) * b + kHalf) >> 16;
    pixel.cb = (-fix(0.16874) * r - fix(0.33126) * g + fix(0.50000) * b + kChromaOffset) >> 16;
    pixel.cr = (fix(0.50000) * r - fix(0.41869) * g - fix(0.08131) * b + kChromaOffset) >> 16;
}

void HdrToneMapper::map(const DecodedPicture& picture, int x0, int y0, int width, int height, PlanarImage& out) const
{
    const bool wide = picture.bitDepth > 8;
    auto sample = [this, wide](const DecodedPicture::Plane& plane, int x, int y) {
        return wide ? sampleAt<uint16_t>(plane, x, y, m_maxCode) : sampleAt<uint8_t>(plane, x, y, m_maxCode);
    };
    const int sx = out.horizontalSubsampling(), sy = out.verticalSubsampling();
    const int shift = (sx - 1) + (sy - 1);
    PlanarImage::Plane& outY = out.plane(0);
    PlanarImage::Plane& outCb = out.plane(1);
    PlanarImage::Plane& outCr = out.plane(2);
    for (int cy = 0; cy * sy < height; ++cy) {
        uint8_t* cbRow = outCb.row(y0 / sy + cy) + x0 / sx;
        uint8_t* crRow = outCr.row(y0 / sy + cy) + x0 / sx;
        for (int cx = 0; cx * sx < width; ++cx) {
            const float cb = m_chroma[size_t(sample(picture.planes[1], cx, cy))];
            const float cr = m_chroma[size_t(sample(picture.planes[2], cx, cy))];
            const float rCr = m_rCr * cr, gCb = m_gCb * cb, gCr = m_gCr * cr, bCb = m_bCb * cb;
            // libjpeg fills a block that runs past the picture's edge by
            // repeating the edge pixel, so that pixel counts twice.
            int cbSum = 0, crSum = 0;
            for (int dy = 0; dy < sy; ++dy) {
                const int y = std::min(cy * sy + dy, height - 1);
                for (int dx = 0; dx < sx; ++dx) {
                    const int x = std::min(cx * sx + dx, width - 1);
                    Pixel pixel;
                    convert(m_luma[size_t(sample(picture.planes[0], x, y))], rCr, gCb, gCr, bCb, pixel);
                    outY.row(y0 + y)[x0 + x] = uint8_t(pixel.y);
                    cbSum += pixel.cb;
                    crSum += pixel.cr;
                }
            }
            // libjpeg's downsampling (jcsample.c) rounds with a bias that
            // alternates from one output column to the next.
            const int column = x0 / sx + cx;
            const int bias = shift == 2 ? 1 + (column & 1) : shift == 1 ? (column & 1) : 0;
            cbRow[cx] = uint8_t((cbSum + bias) >> shift);
            crRow[cx] = uint8_t((crSum + bias) >> shift);
        }
    }
}

} // namespace decodex
