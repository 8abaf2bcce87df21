#include "SampleMapper.h"

#include "HdrToneMapper.h"
#include "HevcDecoder.h"
#include "PlanarImage.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace decodex {

namespace {

constexpr int kMatrixBt709 = 1;

// How the samples of one kind of plane become 8 bits: one table a plane
// kind, indexed by the coded sample. Limited ("video") range is stretched,
// luma 16..235 onto 0..255 and chroma 16..240 around 128 (in units of the
// coded depth); more than 8 bits are scaled down with rounding. One lookup
// a sample does both.
struct SampleMap
{
    int bitDepth = 8;
    bool identity = true; // 8-bit full range: a plain copy
    std::vector<uint8_t> luma;
    std::vector<uint8_t> chroma;

    SampleMap(int depth, bool limited) : bitDepth(depth), identity(depth == 8 && !limited)
    {
        if (identity)
            return;
        const int levels = 1 << depth;
        const double unit = double(levels) / 256.0; // one 8-bit step in coded units
        luma.resize(size_t(levels));
        chroma.resize(size_t(levels));
        for (int v = 0; v < levels; ++v) {
            const double y = limited ? (v / unit - 16.0) * 255.0 / 219.0 : v * 255.0 / (levels - 1);
            const double c = limited ? (v / unit - 128.0) * 255.0 / 224.0 + 128.0 : v * 255.0 / (levels - 1);
            luma[size_t(v)] = uint8_t(std::clamp(int(std::lround(y)), 0, 255));
            chroma[size_t(v)] = uint8_t(std::clamp(int(std::lround(c)), 0, 255));
        }
    }
};

// BT.709 YCbCr to BT.601 YCbCr, the way libheif and a JPEG encoder would
// go through RGB: grey stays grey, so luma only gains a share of the chroma
// (read from the chroma sample covering each pixel, as libheif upsamples)
// and chroma is mixed with itself. Fixed point, 14 fractional bits.
struct MatrixMix
{
    int yCb, yCr, cbCb, cbCr, crCb, crCr;

    MatrixMix()
    {
        const double kr7 = 0.2126, kb7 = 0.0722, kg7 = 1 - kr7 - kb7;
        const double kr6 = 0.299, kb6 = 0.114, kg6 = 1 - kr6 - kb6;
        auto mix = [&](double cb, double cr, double out[3]) {
            const double r = 2 * (1 - kr7) * cr, b = 2 * (1 - kb7) * cb;
            const double g = -(kr7 * r + kb7 * b) / kg7;
            const double y = kr6 * r + kg6 * g + kb6 * b;
            out[0] = y;
            out[1] = (b - y) / (2 * (1 - kb6));
            out[2] = (r - y) / (2 * (1 - kr6));
        };
        double fromCb[3], fromCr[3];
        mix(1, 0, fromCb);
        mix(0, 1, fromCr);
        auto fixed = [](double v) { return int(std::lround(v * 16384)); };
        yCb = fixed(fromCb[0]);
        yCr = fixed(fromCr[0]);
        cbCb = fixed(fromCb[1]);
        cbCr = fixed(fromCr[1]);
        crCb = fixed(fromCb[2]);
        crCr = fixed(fromCr[2]);
    }
};

uint8_t clamp8(int v) { return uint8_t(std::clamp(v, 0, 255)); }

// Converts one tile's rectangle of the planes, luma first (it needs the
// chroma as the file coded it).
void bt709ToBt601(PlanarImage& out, int x0, int y0, int w, int h)
{
    static const MatrixMix m;
    const int sx = out.horizontalSubsampling(), sy = out.verticalSubsampling();
    PlanarImage::Plane& luma = out.plane(0);
    PlanarImage::Plane& cb = out.plane(1);
    PlanarImage::Plane& cr = out.plane(2);
    for (int y = 0; y < h; ++y) {
        uint8_t* row = luma.row(y0 + y) + x0;
        const uint8_t* cbRow = cb.row((y0 + y) / sy);
        const uint8_t* crRow = cr.row((y0 + y) / sy);
        for (int x = 0; x < w; ++x) {
            const int c = (x0 + x) / sx;
            row[x] = clamp8(row[x] + ((m.yCb * (cbRow[c] - 128) + m.yCr * (crRow[c] - 128) + 8192) >> 14));
        }
    }
    const int cx0 = x0 / sx, cy0 = y0 / sy;
    const int chromaRows = (h + sy - 1) / sy, chromaColumns = (w + sx - 1) / sx;
    for (int y = 0; y < chromaRows; ++y) {
        uint8_t* cbRow = cb.row(cy0 + y) + cx0;
        uint8_t* crRow = cr.row(cy0 + y) + cx0;
        for (int x = 0; x < chromaColumns; ++x) {
            const int u = cbRow[x] - 128, v = crRow[x] - 128;
            cbRow[x] = clamp8(128 + ((m.cbCb * u + m.cbCr * v + 8192) >> 14));
            crRow[x] = clamp8(128 + ((m.crCb * u + m.crCr * v + 8192) >> 14));
        }
    }
}

template <typename Sample>
void mapRows(const DecodedPicture::Plane& source, int w, int h, const std::vector<uint8_t>& table, int mask,
             PlanarImage::Plane& plane, int px, int py)
{
    for (int y = 0; y < h; ++y) {
        const auto* in = reinterpret_cast<const Sample*>(source.data + ptrdiff_t(y) * source.stride);
        uint8_t* outRow = plane.row(py + y) + px;
        for (int x = 0; x < w; ++x)
            outRow[x] = table[size_t(in[x] & mask)];
    }
}

} // namespace

// Both maps, made once per photo: without an nclx box the range is each
// tile's own (one tile could differ from the next).
struct SampleMapper::Tables
{
    SampleMap full;
    SampleMap limited;
    Tables(int depth) : full(depth, false), limited(depth, true) {}
};

bool SampleMapper::supports(const Colour& colour)
{
    if (!colour.fromFile)
        return true;
    if (hdr(colour))
        return HdrToneMapper::supports(colour.matrix);
    return colour.matrix == 6 || colour.matrix == 5 || colour.matrix == 2 || colour.matrix == kMatrixBt709;
}

SampleMapper::SampleMapper(int bitDepth, const Colour& colour) : m_bitDepth(bitDepth), m_colour(colour)
{
    if (hdr(colour))
        m_hdr = std::make_unique<HdrToneMapper>(bitDepth, colour.transfer, colour.matrix, colour.fullRange);
    else
        m_tables = std::make_unique<Tables>(bitDepth);
}

SampleMapper::~SampleMapper() = default;

bool SampleMapper::place(const DecodedPicture& picture, int x0, int y0, int width, int height, PlanarImage& out) const
{
    if (picture.chromaFormat != out.chromaFormat() || picture.bitDepth != m_bitDepth)
        return false;
    for (int c = 0; c < out.components(); ++c) {
        const int sx = c == 0 ? 1 : out.horizontalSubsampling();
        const int sy = c == 0 ? 1 : out.verticalSubsampling();
        const DecodedPicture::Plane& source = picture.planes[c];
        if (!source.data || source.width < (width + sx - 1) / sx || source.height < (height + sy - 1) / sy)
            return false;
    }
    if (m_hdr) {
        if (out.chromaFormat() == 0)
            return false;
        m_hdr->map(picture, x0, y0, width, height, out);
        return true;
    }
    // JPEG's YCbCr is BT.601. Without an nclx box the bitstream must say
    // so (or nothing); other matrices go the libheif way.
    if (!m_colour.fromFile && picture.matrix != 2 && picture.matrix != 5 && picture.matrix != 6)
        return false;
    const bool limited = m_colour.fromFile ? !m_colour.fullRange : !picture.fullRange;
    const SampleMap& map = limited ? m_tables->limited : m_tables->full;
    for (int c = 0; c < out.components(); ++c) {
        PlanarImage::Plane& plane = out.plane(c);
        const int sx = c == 0 ? 1 : out.horizontalSubsampling();
        const int sy = c == 0 ? 1 : out.verticalSubsampling();
        const int px = x0 / sx, py = y0 / sy;
        const int w = (width + sx - 1) / sx, h = (height + sy - 1) / sy;
        const DecodedPicture::Plane& source = picture.planes[c];
        if (map.identity) {
            for (int y = 0; y < h; ++y)
                std::memcpy(plane.row(py + y) + px, source.data + ptrdiff_t(y) * source.stride, size_t(w));
            continue;
        }
        const std::vector<uint8_t>& table = c == 0 ? map.luma : map.chroma;
        const int mask = (1 << map.bitDepth) - 1;
        if (map.bitDepth == 8)
            mapRows<uint8_t>(source, w, h, table, mask, plane, px, py);
        else
            mapRows<uint16_t>(source, w, h, table, mask, plane, px, py);
    }
    if (m_colour.fromFile && m_colour.matrix == kMatrixBt709 && out.components() == 3)
        bt709ToBt601(out, x0, y0, width, height);
    return true;
}

} // namespace decodex
