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
    // How the samples' range is decided: the file's nclx box when it has one
    // (as libheif does), otherwise each tile's own bitstream flag.
    enum class Range { FromBitstream, Full, Limited };

    // False when a tile fails to decode or does not match the layout.
    static bool decode(const HeifLayout& layout, int threads, Range range, PlanarImage& out);
};

} // namespace decodex
