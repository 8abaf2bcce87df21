#pragma once

#include <cstdint>
#include <vector>

namespace decodex {

// Prepares a HEIF photo's XMP packet for its JPEG. The packet is edited as
// text rather than through an XML library: a parse and a new serialisation
// would rewrite the whole packet (namespace order, padding, spacing) where
// two small cuts are all that is needed, and everything else in it must
// reach the JPEG as the camera wrote it.
class XmpEditor
{
public:
    // Trims the NUL bytes some writers (iPhones) leave after the packet,
    // which strict XML parsers reject, and removes a gain-map container
    // directory with its hdrgm:Version: it describes the HEIF file's own
    // items (Samsung's names a map of "image/heic" with length 0), so in the
    // JPEG it would announce a gain map that is not there, or a second
    // directory beside the one written with the map.
    static void forJpeg(std::vector<uint8_t>& xmp);

    // Removes where the photo was taken: every GPS property of the EXIF
    // schema (exif:GPSLatitude and the rest, under whatever prefix the
    // packet binds to that schema), as an attribute or as an element.
    // Nothing else changes.
    static void dropLocation(std::vector<uint8_t>& xmp);
};

} // namespace decodex
