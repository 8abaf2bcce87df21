#include "TileDecoder.h"

#include "HeifLayout.h"
#include "PlanarImage.h"

#include <libde265/de265.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <atomic>
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

// Limited ("video") range to full range, rounded and clamped, as JPEG's
// YCbCr wants it: luma 16..235 onto 0..255, chroma 16..240 around 128.
std::array<uint8_t, 256> makeStretch(double offset, double scale, double centre)
{
    std::array<uint8_t, 256> table{};
    for (int v = 0; v < 256; ++v)
        table[size_t(v)] = uint8_t(std::clamp(int(std::lround((v - offset) * scale + centre)), 0, 255));
    return table;
}

const std::array<uint8_t, 256> kLimitedLuma = makeStretch(16.0, 255.0 / 219.0, 0.0);
const std::array<uint8_t, 256> kLimitedChroma = makeStretch(128.0, 255.0 / 224.0, 128.0);

bool copyPicture(const de265_image* picture, const HeifLayout& layout, size_t index, TileDecoder::Range range,
                 PlanarImage& out)
{
    if (int(de265_get_chroma_format(picture)) != out.chromaFormat())
        return false;
    // JPEG's YCbCr is BT.601 at full range. Other matrices go the libheif
    // way, which converts them properly; limited range (as many cameras
    // code it) is only stretched, which is cheap enough to do here rather
    // than decoding the whole picture a second time through libheif.
    const int matrix = de265_get_image_matrix_coefficients(picture);
    if (matrix != 2 && matrix != 5 && matrix != 6)
        return false;
    const bool limited = range == TileDecoder::Range::FromBitstream ? !de265_get_image_full_range_flag(picture)
                                                                     : range == TileDecoder::Range::Limited;
    const int x0 = int(index % size_t(layout.columns)) * layout.tileWidth;
    const int y0 = int(index / size_t(layout.columns)) * layout.tileHeight;
    for (int c = 0; c < out.components(); ++c) {
        if (de265_get_bits_per_pixel(picture, c) != 8)
            return false;
        PlanarImage::Plane& plane = out.plane(c);
        const int sx = c == 0 ? 1 : out.horizontalSubsampling();
        const int sy = c == 0 ? 1 : out.verticalSubsampling();
        const int px = x0 / sx;
        const int py = y0 / sy;
        const int w = std::min((layout.tileWidth + sx - 1) / sx, plane.width - px);
        const int h = std::min((layout.tileHeight + sy - 1) / sy, plane.height - py);
        int stride = 0;
        const uint8_t* source = de265_get_image_plane(picture, c, &stride);
        if (!source || w <= 0 || h <= 0 || de265_get_image_width(picture, c) < w
            || de265_get_image_height(picture, c) < h)
            return false;
        if (!limited) {
            for (int y = 0; y < h; ++y)
                std::memcpy(plane.row(py + y) + px, source + size_t(y) * size_t(stride), size_t(w));
            continue;
        }
        const std::array<uint8_t, 256>& stretch = c == 0 ? kLimitedLuma : kLimitedChroma;
        for (int y = 0; y < h; ++y) {
            const uint8_t* in = source + size_t(y) * size_t(stride);
            uint8_t* outRow = plane.row(py + y) + px;
            for (int x = 0; x < w; ++x)
                outRow[x] = stretch[in[x]];
        }
    }
    return true;
}

bool decodeTile(const HeifLayout& layout, size_t index, TileDecoder::Range range, PlanarImage& out)
{
    std::unique_ptr<de265_decoder_context, DecoderDeleter> decoder(de265_new_decoder());
    if (!decoder || !pushTile(decoder.get(), layout, layout.tiles[index]))
        return false;
    int more = 1;
    while (more) {
        more = 0;
        const de265_error err = de265_decode(decoder.get(), &more);
        if (err != DE265_OK)
            break;
        if (const de265_image* picture = de265_get_next_picture(decoder.get())) {
            const bool copied = copyPicture(picture, layout, index, range, out);
            de265_release_next_picture(decoder.get());
            return copied;
        }
    }
    // A bitstream that ends without a picture is a damaged tile.
    return false;
}

} // namespace

bool TileDecoder::decode(const HeifLayout& layout, int threads, Range range, PlanarImage& out)
{
    if (!layout.direct || layout.tiles.empty() || !out.allocate(layout.width, layout.height, layout.chromaFormat))
        return false;

    std::atomic<size_t> next{0};
    std::atomic<bool> failed{false};
    auto work = [&] {
        for (size_t i = next++; i < layout.tiles.size() && !failed; i = next++) {
            if (!decodeTile(layout, i, range, out))
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
