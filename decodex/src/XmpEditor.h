#pragma once

#include <cstdint>
#include <vector>

namespace decodex {

// Edits an XMP packet as text, for the few changes a conversion makes to it.
// The packet is kept as it is around the change; nothing is re-serialised.
class XmpEditor
{
public:
    // Removes every exif:GPS... property, in both forms XMP writes them: an
    // attribute of rdf:Description (exif:GPSLatitude="51,10.69N") and an
    // element (<exif:GPSLatitude>...</exif:GPSLatitude>, or empty with
    // "/>"). Returns how many were removed.
    static int dropLocation(std::vector<uint8_t>& packet);
};

} // namespace decodex
