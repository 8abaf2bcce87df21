#include "HdrToneMapper.h"

#include "HevcDecoder.h"
#include "PlanarImage.h"
#include "RgbConverter.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

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
    : m_maxCode((1 << bitDepth) - 1)
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
    // The tone table, widened on both sides to every code the matrix can
    // give before libheif clips it: out there it repeats its ends, so the
    // inner loop clips by looking up, without a branch a noisy highlight
    // would keep mispredicting.
    const float chromaMost = std::max(std::fabs(m_chroma.front()), std::fabs(m_chroma.back()));
    const float shareMost =
        chromaMost * std::max({std::fabs(m_rCr), std::fabs(m_gCb) + std::fabs(m_gCr), std::fabs(m_bCb)});
    m_toneOffset = int(std::ceil(shareMost - std::min(m_luma.front(), 0.0f))) + 2;
    const int highest = int(std::ceil(std::max(m_luma.back(), float(m_maxCode)) + shareMost)) + 2;
    const std::vector<uint8_t> tone = RgbConverter::toneTable(bitDepth, transfer);
    m_tone.resize(size_t(m_toneOffset + highest) + 1);
    for (size_t i = 0; i < m_tone.size(); ++i)
        m_tone[i] = tone[size_t(std::clamp(int(i) - m_toneOffset, 0, m_maxCode))];
}

// A tile row by row. For each row of chroma samples: their share of R', G'
// and B' once; then each luma row's pixels through R'G'B' codes and the
// tone table to JPEG's Y'CbCr, luma stored at once and chroma kept at full
// resolution; then each chroma block averaged. Everything the inner loop
// reads is held in locals: its byte stores could otherwise alias any of it.
template <typename Sample, int SX, int SY>
void HdrToneMapper::mapPlanes(const DecodedPicture& picture, int x0, int y0, int width, int height,
                              PlanarImage& out) const
{
    constexpr int kShift = (SX - 1) + (SY - 1);
    const int chromaWidth = (width + SX - 1) / SX;
    const int paddedWidth = chromaWidth * SX;
    std::vector<float> shares(size_t(chromaWidth) * 4);
    std::vector<int32_t> fullChroma(size_t(paddedWidth) * 2 * SY);
    const float* lumaValue = m_luma.data();
    const float* chromaValue = m_chroma.data();
    const uint8_t* tone = m_tone.data() + m_toneOffset; // tone[libheif's code], clipped
    const int mask = m_maxCode; // decoders never give more; a sample cannot reach past the tables
    const float rCrK = m_rCr, gCbK = m_gCb, gCrK = m_gCr, bCbK = m_bCb;
    auto row = [](const DecodedPicture::Plane& plane, int y) {
        return reinterpret_cast<const Sample*>(plane.data + ptrdiff_t(y) * plane.stride);
    };
    for (int cy = 0; cy * SY < height; ++cy) {
        const Sample* cbIn = row(picture.planes[1], cy);
        const Sample* crIn = row(picture.planes[2], cy);
        float* shareOf = shares.data();
        for (int cx = 0; cx < chromaWidth; ++cx) {
            const float cb = chromaValue[cbIn[cx] & mask], cr = chromaValue[crIn[cx] & mask];
            shareOf[4 * cx] = rCrK * cr;
            shareOf[4 * cx + 1] = gCbK * cb;
            shareOf[4 * cx + 2] = gCrK * cr;
            shareOf[4 * cx + 3] = bCbK * cb;
        }
        for (int dy = 0; dy < SY; ++dy) {
            // A row past the picture's bottom repeats the last one, and a
            // column past its right edge the last column, as libjpeg pads.
            const int y = std::min(cy * SY + dy, height - 1);
            const Sample* luma = row(picture.planes[0], y);
            uint8_t* lumaOut = out.plane(0).row(y0 + y) + x0;
            int32_t* cbFull = fullChroma.data() + size_t(dy) * 2 * size_t(paddedWidth);
            int32_t* crFull = cbFull + paddedWidth;
            for (int x = 0; x < width; ++x) {
                const float* share = shareOf + 4 * (x / SX);
                const float value = lumaValue[luma[x] & mask];
                // libheif: (long)(y + share + 0.5f), added in that order
                const int32_t r = tone[int(value + share[0] + 0.5f)];
                const int32_t g = tone[int(value + share[1] + share[2] + 0.5f)];
                const int32_t b = tone[int(value + share[3] + 0.5f)];
                lumaOut[x] = uint8_t((fix(0.29900) * r + fix(0.58700) * g + fix(0.11400) * b + kHalf) >> 16);
                cbFull[x] = (-fix(0.16874) * r - fix(0.33126) * g + fix(0.50000) * b + kChromaOffset) >> 16;
                crFull[x] = (fix(0.50000) * r - fix(0.41869) * g - fix(0.08131) * b + kChromaOffset) >> 16;
            }
            for (int x = width; x < paddedWidth; ++x) {
                cbFull[x] = cbFull[width - 1];
                crFull[x] = crFull[width - 1];
            }
        }
        uint8_t* cbOut = out.plane(1).row(y0 / SY + cy) + x0 / SX;
        uint8_t* crOut = out.plane(2).row(y0 / SY + cy) + x0 / SX;
        for (int cx = 0; cx < chromaWidth; ++cx) {
            int cbSum = 0, crSum = 0;
            for (int dy = 0; dy < SY; ++dy) {
                const int32_t* cbFull = fullChroma.data() + size_t(dy) * 2 * size_t(paddedWidth);
                const int32_t* crFull = cbFull + paddedWidth;
                for (int dx = 0; dx < SX; ++dx) {
                    cbSum += cbFull[cx * SX + dx];
                    crSum += crFull[cx * SX + dx];
                }
            }
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
