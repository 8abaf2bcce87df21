#pragma once

#include "HeifLayout.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

namespace decodex {

// One decoded HEVC picture as the decoder holds it: valid until the
// decoder's next decode or its end.
struct DecodedPicture
{
    struct Plane
    {
        const uint8_t* data = nullptr;
        ptrdiff_t stride = 0; // in bytes, also for 16-bit samples
        int width = 0;
        int height = 0;
    };

    int chromaFormat = 1;   // 0 monochrome, 1 4:2:0, 2 4:2:2, 3 4:4:4
    int bitDepth = 8;       // of every plane; above 8, 16-bit samples in native order
    bool fullRange = false; // the bitstream's own flag; limited when it says nothing
    int matrix = 2;         // the bitstream's matrix coefficients (H.273); 2 when it says nothing
    Plane planes[3];

    int components() const { return chromaFormat == 0 ? 1 : 3; }
};

// Decodes the one picture a HEIF item holds. Two libraries can do the job:
// FFmpeg's libavcodec, two to four times faster, and libde265, which libheif
// uses too. create() picks them in this one place, and the decoder it gives
// falls back to libde265 on its own when libavcodec is not built in or
// refuses a stream, so callers never learn which one ran. A decoder is for
// one thread; it keeps its state (buffers, threads) from one picture to the
// next, so a worker that decodes many tiles opens it once.
class HevcDecoder
{
public:
    enum class Outcome
    {
        Decoded,
        Refused, // a stream this decoder does not handle; another way may
        Damaged, // the stream is broken: no decoder is to guess the picture
    };
    enum class Backend { Libavcodec, Libde265 };

    virtual ~HevcDecoder() = default;

    // `tile` holds the parameter sets and the length-prefixed NAL units of
    // one picture, each length `nalLengthSize` bytes.
    virtual Outcome decode(const HeifLayout::Tile& tile, int nalLengthSize, DecodedPicture& picture) = 0;

    // The decoder every caller uses. `threads` > 1 spreads one picture over
    // that many threads (slices or wavefront rows, where the stream has them).
    static std::unique_ptr<HevcDecoder> create(int threads);

    // Exactly one library, for tests that compare the two; null when this
    // build has no such backend.
    static std::unique_ptr<HevcDecoder> create(Backend backend, int threads);

    // Calls `unit` for every NAL unit of the tile's data that is not empty,
    // in order. False when a length runs past the data's end.
    static bool forEachUnit(const HeifLayout::Tile& tile, int nalLengthSize,
                            const std::function<bool(const uint8_t* unit, size_t size)>& unit);
};

} // namespace decodex
