#pragma once

namespace decodex {

class HeifLayout;
class PlanarImage;

// Decodes the HEVC tiles of a direct layout with libde265 and lays their
// planes side by side, one decoder per tile, tiles spread over `threads`
// threads. Every tile lands in its own rectangle, so the result does not
// depend on the thread count or the order the tiles finish in.
class TileDecoder
{
public:
    // False when a tile fails to decode or does not match the layout.
    static bool decode(const HeifLayout& layout, int threads, PlanarImage& out);
};

} // namespace decodex
