#pragma once

#include "SampleMapper.h"

namespace decodex {

class HeifLayout;
class PlanarImage;

// Decodes the HEVC tiles of a direct layout and lays their planes side by
// side, tiles spread over `threads` threads, each thread with one decoder
// for all the tiles it takes. Every tile lands in its own rectangle, so the
// result does not depend on the thread count or the order the tiles finish
// in.
class TileDecoder
{
public:
    enum class Outcome
    {
        Decoded,
        Refused, // not for this path (a stream or format it does not take): libheif may manage
        Damaged, // a tile's stream is broken: the photo cannot be shown as it is
    };

    static Outcome decode(const HeifLayout& layout, int threads, const SampleMapper::Colour& colour, PlanarImage& out);
};

} // namespace decodex
