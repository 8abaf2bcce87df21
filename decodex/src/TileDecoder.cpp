#include "TileDecoder.h"

#include "HeifLayout.h"
#include "PlanarImage.h"

#include <libde265/de265.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <memory>
#include <system_error>
#include <thread>
#include <vector>

namespace decodex {

namespace {

struct DecoderDeleter
{
    void operator()(de265_decoder_context* d) const { de265_free_decoder(d); }
};

bool pushTile(de265_decoder_context* decoder, const HeifLayout& layout, const HeifLayout::Tile& tile)
{
    for (const HeifLayout::Span& set : tile.parameterSets) {
        if (!de265_isOK(de265_push_NAL(decoder, set.data, int(set.size), 0, nullptr)))
            return false;
    }
    const uint8_t* p = tile.data.data;
    size_t left = tile.data.size;
    const size_t lengthSize = size_t(layout.nalLengthSize);
    while (left >= lengthSize) {
        size_t length = 0;
        for (size_t i = 0; i < lengthSize; ++i)
            length = (length << 8) | p[i];
        p += lengthSize;
        left -= lengthSize;
        if (length > left || length > size_t(INT32_MAX))
            return false;
        if (length > 0 && !de265_isOK(de265_push_NAL(decoder, p, int(length), 0, nullptr)))
            return false;
        p += length;
        left -= length;
    }
    return de265_isOK(de265_flush_data(decoder));
}

// How the samples of one decode become JPEG's 8-bit full-range YCbCr: one
// table per kind of plane, indexed by the coded sample. Limited ("video")
// range is stretched, luma 16..235 onto 0..255 and chroma 16..240 around
// 128 (in units of the coded depth); more than 8 bits are scaled down with
// rounding. One lookup a sample does both.
struct SampleMap
{
    int bitDepth = 8;
    bool limited = false;
    bool identity = true; // 8-bit full range: a plain copy
    std::vector<uint8_t> luma;
    std::vector<uint8_t> chroma;

    SampleMap(int depth, bool limitedRange) : bitDepth(depth), limited(limitedRange)
    {
        identity = depth == 8 && !limited;
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

// Both maps, made once per decode: the range is the file's when it has an
// nclx box, otherwise each tile's bitstream flag (one tile could differ
// from the next).
struct SampleMaps
{
    SampleMap full;
    SampleMap limited;
    TileDecoder::Range range;
    TileDecoder::Matrix matrix;

    SampleMaps(int depth, TileDecoder::Range r, TileDecoder::Matrix m)
        : full(depth, false), limited(depth, true), range(r), matrix(m)
    {
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
    const int rows = std::min(h, luma.height - y0), columns = std::min(w, luma.width - x0);
    for (int y = 0; y < rows; ++y) {
        uint8_t* row = luma.row(y0 + y) + x0;
        const uint8_t* cbRow = cb.row((y0 + y) / sy);
        const uint8_t* crRow = cr.row((y0 + y) / sy);
        for (int x = 0; x < columns; ++x) {
            const int c = (x0 + x) / sx;
            row[x] = clamp8(row[x] + ((m.yCb * (cbRow[c] - 128) + m.yCr * (crRow[c] - 128) + 8192) >> 14));
        }
    }
    const int cx0 = x0 / sx, cy0 = y0 / sy;
    const int chromaRows = std::min((h + sy - 1) / sy, cb.height - cy0);
    const int chromaColumns = std::min((w + sx - 1) / sx, cb.width - cx0);
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
void mapRows(const uint8_t* source, int stride, int w, int h, const std::vector<uint8_t>& table, int mask,
             PlanarImage::Plane& plane, int px, int py)
{
    for (int y = 0; y < h; ++y) {
        const auto* in = reinterpret_cast<const Sample*>(source + size_t(y) * size_t(stride));
        uint8_t* outRow = plane.row(py + y) + px;
        for (int x = 0; x < w; ++x)
            outRow[x] = table[size_t(in[x] & mask)];
    }
}

bool copyPicture(const de265_image* picture, const HeifLayout& layout, size_t index, const SampleMaps& maps,
                 PlanarImage& out)
{
    if (int(de265_get_chroma_format(picture)) != out.chromaFormat())
        return false;
    // JPEG's YCbCr is BT.601 at full range. Other matrices go the libheif
    // way, which converts them properly; limited range (as many cameras
    // code it) is only stretched, which is cheap enough to do here rather
    // than decoding the whole picture a second time through libheif.
    if (maps.matrix == TileDecoder::Matrix::FromBitstream) {
        const int matrix = de265_get_image_matrix_coefficients(picture);
        if (matrix != 2 && matrix != 5 && matrix != 6)
            return false;
    }
    const bool limited = maps.range == TileDecoder::Range::FromBitstream ? !de265_get_image_full_range_flag(picture)
                                                                         : maps.range == TileDecoder::Range::Limited;
    const SampleMap& map = limited ? maps.limited : maps.full;
    const int x0 = int(index % size_t(layout.columns)) * layout.tileWidth;
    const int y0 = int(index / size_t(layout.columns)) * layout.tileHeight;
    for (int c = 0; c < out.components(); ++c) {
        if (de265_get_bits_per_pixel(picture, c) != map.bitDepth)
            return false;
        PlanarImage::Plane& plane = out.plane(c);
        const int sx = c == 0 ? 1 : out.horizontalSubsampling();
        const int sy = c == 0 ? 1 : out.verticalSubsampling();
        const int px = x0 / sx;
        const int py = y0 / sy;
        const int w = std::min((layout.tileWidth + sx - 1) / sx, plane.width - px);
        const int h = std::min((layout.tileHeight + sy - 1) / sy, plane.height - py);
        int stride = 0; // in bytes, also for 16-bit samples
        const uint8_t* source = de265_get_image_plane(picture, c, &stride);
        if (!source || w <= 0 || h <= 0 || de265_get_image_width(picture, c) < w
            || de265_get_image_height(picture, c) < h)
            return false;
        if (map.identity) {
            for (int y = 0; y < h; ++y)
                std::memcpy(plane.row(py + y) + px, source + size_t(y) * size_t(stride), size_t(w));
            continue;
        }
        const std::vector<uint8_t>& table = c == 0 ? map.luma : map.chroma;
        const int mask = (1 << map.bitDepth) - 1;
        if (map.bitDepth == 8)
            mapRows<uint8_t>(source, stride, w, h, table, mask, plane, px, py);
        else
            mapRows<uint16_t>(source, stride, w, h, table, mask, plane, px, py);
    }
    if (maps.matrix == TileDecoder::Matrix::Bt709 && out.components() == 3)
        bt709ToBt601(out, x0, y0, layout.tileWidth, layout.tileHeight);
    return true;
}

bool decodeTile(const HeifLayout& layout, size_t index, int threads, const SampleMaps& maps, PlanarImage& out)
{
    std::unique_ptr<de265_decoder_context, DecoderDeleter> decoder(de265_new_decoder());
    if (!decoder)
        return false;
    // A camera's photo is often one picture, not a grid of tiles: its rows
    // of coding blocks (wavefronts) or slices are then spread over the
    // threads this decode may use. Without them it decodes on one core.
    if (threads > 1)
        de265_start_worker_threads(decoder.get(), threads);
    if (!pushTile(decoder.get(), layout, layout.tiles[index]))
        return false;
    int more = 1;
    while (more) {
        more = 0;
        const de265_error err = de265_decode(decoder.get(), &more);
        if (err != DE265_OK)
            break;
        if (const de265_image* picture = de265_get_next_picture(decoder.get())) {
            const bool copied = copyPicture(picture, layout, index, maps, out);
            de265_release_next_picture(decoder.get());
            return copied;
        }
    }
    // A bitstream that ends without a picture is a damaged tile.
    return false;
}

} // namespace

bool TileDecoder::decode(const HeifLayout& layout, int threads, Range range, Matrix matrix, PlanarImage& out)
{
    if (!layout.direct || layout.tiles.empty() || !out.allocate(layout.width, layout.height, layout.chromaFormat))
        return false;

    const SampleMaps maps(layout.bitDepth, range, matrix);
    // Threads left over when there are fewer tiles than threads go into the
    // tiles' decoders.
    const int tiles = int(std::min<size_t>(layout.tiles.size(), size_t(INT32_MAX)));
    const int perTile = std::max(1, threads / std::max(tiles, 1));
    std::atomic<size_t> next{0};
    std::atomic<bool> failed{false};
    auto work = [&] {
        for (size_t i = next++; i < layout.tiles.size() && !failed; i = next++) {
            if (!decodeTile(layout, i, perTile, maps, out))
                failed = true;
        }
    };
    const int helpers = std::min(threads, int(layout.tiles.size())) - 1;
    std::vector<std::thread> pool;
    try {
        for (int i = 0; i < helpers; ++i)
            pool.emplace_back(work);
    } catch (const std::system_error&) {
        // Fewer threads only means a slower decode.
    }
    work();
    for (std::thread& t : pool)
        t.join();
    return !failed;
}

} // namespace decodex
