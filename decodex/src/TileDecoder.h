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
    // The colour matrix the file's nclx box names. JPEG's YCbCr is BT.601;
    // BT.709 (as many cameras write) is turned into it on the planes.
    // Without an nclx box each tile's bitstream must say BT.601.
    enum class Matrix { FromBitstream, Bt601, Bt709 };

    // False when a tile fails to decode or does not match the layout.
    static bool decode(const HeifLayout& layout, int threads, Range range, Matrix matrix, PlanarImage& out);
};

} // namespace decodex
