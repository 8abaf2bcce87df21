#pragma once

#include <cstddef>
#include <cstdint>

namespace decodex {

// The picture size an HEVC sequence parameter set declares. libde265
// allocates the whole picture from these two numbers before it looks at a
// single slice, so a damaged or hostile file that claims a small image in
// its 'ispe' box but carries an SPS for a huge one would cost seconds and
// gigabytes; the caller compares the two before anything is decoded.
class HevcSps
{
public:
    // `nal` is one NAL unit with its two-byte header and emulation
    // prevention bytes as stored. False when it is not an SPS or ends
    // before the picture size.
    static bool pictureSize(const uint8_t* nal, size_t size, uint32_t& width, uint32_t& height);

    static bool isSps(const uint8_t* nal, size_t size) { return size >= 2 && ((nal[0] >> 1) & 0x3f) == 33; }
};

} // namespace decodex
