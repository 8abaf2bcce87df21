#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace decodex {

struct GainMapParameters;

// The ISO 21496-1 tone-map derived item ('tmap') of a HEIF file: it names
// the base image and its gain map, and its payload holds the standard's
// binary gain-map metadata. libheif 1.15 does not read it, so the meta box
// is walked here; every offset is checked against the file's bounds.
class ToneMapItem
{
public:
    // Finds a 'tmap' item whose second input is the item `gainMapId` and
    // reads its metadata. False when there is none, or it is malformed, or
    // it describes a base image that is the HDR rendition.
    static bool read(const uint8_t* file, size_t size, uint32_t gainMapId, GainMapParameters& parameters);

    // Reads the binary metadata itself (the 'tmap' item's payload).
    static bool parse(const uint8_t* payload, size_t size, GainMapParameters& parameters);

    // The binary metadata for `parameters` as a JPEG's APP2 segment carries
    // it after the standard's name: the 'tmap' payload without its leading
    // version byte. One channel, applied in the base image's colour space,
    // as the hdrgm XMP says it.
    static std::vector<uint8_t> serialize(const GainMapParameters& parameters);
};

} // namespace decodex
