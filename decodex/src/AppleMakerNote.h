#pragma once

#include <cstddef>
#include <cstdint>

namespace decodex {

// Reads the HDR headroom an iPhone stores in its EXIF maker note (tags 33
// and 48 of the "Apple iOS" note), for photos whose gain map carries no
// headroom of its own. Every offset comes from the file, so each read is
// checked against the block's bounds.
class AppleMakerNote
{
public:
    // `tiff` is the EXIF block from its TIFF header on. Returns false when
    // the block has no Apple maker note with tag 33; a missing tag 48 reads
    // as 0.
    static bool readHdrTags(const uint8_t* tiff, size_t size, double& tag33, double& tag48);

    // The peak brightness over SDR white the gain map may reach, as a
    // factor (1 means no boost), by Apple's published formula.
    static double headroom(double tag33, double tag48);
};

} // namespace decodex
