#pragma once

#include "HeifMeta.h"
#include "PlaneTransform.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace decodex {

// How the primary image of a HEIF file is coded, read straight from the
// boxes. libheif 1.15 turns every tile into RGB before pasting it into the
// grid and converts back when asked for YCbCr, which costs more than the
// HEVC decoding itself on a phone photo; with this description the tiles can
// be handed to libde265 directly and their planes go to the JPEG encoder
// untouched. Anything this reader does not fully understand is marked not
// direct, and the caller goes the libheif way instead.
class HeifLayout
{
public:
    using Span = HeifMeta::Span;

    // Describes the file whose meta box `meta` holds; never reads outside
    // the bytes the meta box was read from.
    static HeifLayout read(const HeifMeta& meta);
    static HeifLayout read(const uint8_t* data, size_t size) { return read(HeifMeta::read(data, size)); }

    // True when every tile is a plain HEVC item stored in the file and no
    // crop applies; only then are the fields below the chroma format
    // complete.
    bool direct = false;

    // False when an image is derived from an item the file does not have.
    // libheif 1.15 asserts on such files instead of failing, so they must
    // never reach its decoder.
    bool referencesResolve = true;

    // False when the file has a structure no camera or phone writes and
    // libheif handles badly: an AV1 item whose data is empty (the system AV1
    // decoder leaks on every such call). Such a file must not reach any
    // decoder. (Loops, deep nesting and repeated pictures are DamageCheck's.)
    bool structureSound = true;

    // False when a parameter set declares a picture larger than the item's
    // 'ispe' (plus padding to whole coding blocks). libde265 allocates what
    // the parameter set says, so such a file must not reach any decoder.
    bool codedSizesFit = true;
    // The pictures decoding the primary image and its thumbnails would
    // produce, in pixels, as their parameter sets declare them.
    uint64_t codedPixels = 0;

    // From the first HEVC configuration found for the primary image, also
    // when it is not direct: 0 monochrome, 1 4:2:0, 2 4:2:2, 3 4:4:4, -1
    // unknown.
    int chromaFormat = -1;
    int bitDepth = 0; // of every tile, 8 to 12, when direct

    std::vector<PlaneTransform::Step> transforms; // the primary's turns and mirrors, in order

    int width = 0;      // the primary image before any transform
    int height = 0;
    int columns = 1;    // a lone HEVC item is a 1x1 grid
    int rows = 1;
    int tileWidth = 0;
    int tileHeight = 0;

    struct Tile
    {
        Span data;                       // length-prefixed NAL units
        std::vector<Span> parameterSets; // VPS, SPS, PPS NAL units from hvcC
    };
    int nalLengthSize = 4;
    std::vector<Tile> tiles; // row by row
};

} // namespace decodex
