#pragma once

#include <cstdint>

namespace decodex {

class HeifMeta;

// What makes a file unsafe to hand to libheif, found from its 'meta' box
// alone before libheif sees it. libheif 1.15 follows references by
// recursion without remembering where it has been: a loop of references
// overflows the stack (a 700-byte file killed the process), ten thousand
// nested grids start a thread per level for minutes, and a picture named
// four hundred times is decoded four hundred times. No camera or phone
// writes any of these; each is a damaged file.
class DamageCheck
{
public:
    DamageCheck() = delete;

    enum class Damage
    {
        None,
        ReferenceLoop,     // items that refer to each other in a circle, by any kind of reference
        TooDeep,           // derivations nested deeper than kMaxDepth
        RepeatedPicture,   // decoding the photo would decode one picture more than once
        ExtentOutsideFile, // an item's bytes lie beyond the file (cut short, or a length no file has)
    };

    // The longest chain of images one decode walks through: a tone map over
    // an identity (crop, turn) over a grid, whose alpha is a grid of tiles.
    static constexpr int kMaxDepth = 4;

    static Damage find(const HeifMeta& meta);
};

} // namespace decodex
