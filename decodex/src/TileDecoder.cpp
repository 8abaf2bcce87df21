#include "TileDecoder.h"

#include "HeifLayout.h"
#include "HevcDecoder.h"
#include "PlanarImage.h"

#include <algorithm>
#include <atomic>
#include <system_error>
#include <thread>
#include <vector>

namespace decodex {

TileDecoder::Outcome TileDecoder::decode(const HeifLayout& layout, int threads, const SampleMapper::Colour& colour,
                                         PlanarImage& out)
{
    if (!layout.direct || layout.tiles.empty() || !out.allocate(layout.width, layout.height, layout.chromaFormat))
        return Outcome::Refused;

    const SampleMapper mapper(layout.bitDepth, colour);
    // Threads left over when there are fewer tiles than threads go into the
    // tiles' decoders.
    const int tiles = int(std::min<size_t>(layout.tiles.size(), size_t(INT32_MAX)));
    const int perTile = std::max(1, threads / std::max(tiles, 1));
    std::atomic<size_t> next{0};
    std::atomic<int> outcome{int(Outcome::Decoded)};
    auto fail = [&outcome](Outcome why) {
        // Damage outranks a refusal: a photo with a broken tile is broken
        // whichever way it is decoded.
        int seen = outcome.load();
        while (seen != int(Outcome::Damaged) && !outcome.compare_exchange_weak(seen, int(why))) {
        }
    };
    auto decodeTiles = [&] {
        const std::unique_ptr<HevcDecoder> decoder = HevcDecoder::create(perTile);
        DecodedPicture picture;
        for (size_t i = next++; i < layout.tiles.size() && outcome == int(Outcome::Decoded); i = next++) {
            const HevcDecoder::Outcome decoded = decoder->decode(layout.tiles[i], layout.nalLengthSize, picture);
            if (decoded != HevcDecoder::Outcome::Decoded) {
                fail(decoded == HevcDecoder::Outcome::Damaged ? Outcome::Damaged : Outcome::Refused);
                continue;
            }
            const int x0 = int(i % size_t(layout.columns)) * layout.tileWidth;
            const int y0 = int(i / size_t(layout.columns)) * layout.tileHeight;
            const int width = std::min(layout.tileWidth, layout.width - x0);
            const int height = std::min(layout.tileHeight, layout.height - y0);
            if (!mapper.place(picture, x0, y0, width, height, out))
                fail(Outcome::Refused);
        }
    };
    // Nothing may escape a thread; memory running out on one is a refusal
    // like any other, and libheif gets its turn.
    auto work = [&] {
        try {
            decodeTiles();
        } catch (...) {
            fail(Outcome::Refused);
        }
    };
    const int helpers = std::min(threads, tiles) - 1;
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
    return Outcome(outcome.load());
}

} // namespace decodex
