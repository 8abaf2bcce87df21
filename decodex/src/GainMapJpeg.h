#pragma once

#include "PlaneTransform.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace decodex {

class GainMap;
struct GainMapParameters;

// Turns a finished JPEG into a gain-map JPEG as Ultra HDR lays it out: the
// photo's XMP gains a container directory naming the gain map, an MPF
// (CIPA DC-007) index in APP2 points at the second image, and the gain map
// follows the photo's end-of-image marker as a one-channel JPEG with its
// hdrgm XMP. Beside the XMP both images carry the ISO 21496-1 form, which
// newer readers take first: an APP2 with the standard's version on the
// photo and one with the full metadata on the map. Nothing else of the
// photo's JPEG changes: its pixels, EXIF, XMP contents and ICC profile stay
// as they were written. No Debian library writes these parts (libjpeg-turbo
// knows no MPF), so they are built here.
class GainMapJpeg
{
public:
    // Adds `gainMap` to the JPEG at output[0, primarySize) and returns the
    // new size. When the map cannot be added (it does not decode, does not
    // line up with the photo, or does not fit the capacity) the photo's JPEG
    // is returned alone, as it was, with a debug line; an error code given
    // as primarySize is returned as it is. `shrink` below 1 is the factor by
    // which the photo was shrunk; the map shrinks by it too.
    static int32_t attach(int32_t primarySize, const GainMap& gainMap, const std::vector<PlaneTransform::Step>& steps,
                          int photoWidth, int photoHeight, int quality, uint8_t* output, size_t capacity,
                          double shrink = 1.0);

    // The gain-map image's XMP packet.
    static std::vector<uint8_t> gainMapXmp(const GainMapParameters& parameters);

    // Puts the container directory, the ISO 21496-1 version and the MPF
    // index into the JPEG at output[0, primarySize) and appends
    // `gainMapJpeg`. Returns the new
    // size, or 0 with the output untouched when it does not fit.
    static size_t assemble(uint8_t* output, size_t capacity, size_t primarySize,
                           const std::vector<uint8_t>& gainMapJpeg);
};

} // namespace decodex
