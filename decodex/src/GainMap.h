#pragma once

#include "PlanarImage.h"
#include "PlaneTransform.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

struct heif_image_handle;

namespace decodex {

// How a gain map's samples become a brightness boost, in the terms of the
// hdrgm XMP namespace (and ISO 21496-1): the gain-map range and the
// capacities are log2 values, gamma and the offsets are plain numbers.
struct GainMapParameters
{
    double gainMapMin = 0;
    double gainMapMax = 0;
    double gamma = 1;
    double offsetSdr = 1.0 / 64;
    double offsetHdr = 1.0 / 64;
    double hdrCapacityMin = 0;
    double hdrCapacityMax = 0;
    bool baseRenditionIsHdr = false;
};

// The HDR gain map stored beside a photo's primary image (Apple's and
// Samsung's auxiliary images) with the parameters that say how bright it
// may make the photo. A file that has a gain map but nothing usable about
// its brightness gives an empty GainMap and a debug line saying why: a
// guessed headroom would show the photo wrongly on every HDR screen.
class GainMap
{
public:
    // Looks at the primary's auxiliary images; `file` is the whole file,
    // for the ISO 21496-1 'tmap' item that libheif does not read.
    static GainMap find(const heif_image_handle* primary, const uint8_t* file, size_t fileSize);

    // Bytes the gain-map part of the JPEG may take at most, or 0 when the
    // primary has no gain-map image; reads the container only.
    static uint64_t capacity(const heif_image_handle* primary);

    bool present() const { return m_handle != nullptr; }
    const GainMapParameters& parameters() const { return m_parameters; }

    // Decodes the map to one 8-bit plane, turned and mirrored by `steps`
    // (the photo's own), its samples in the terms of parameters().
    bool decode(const std::vector<PlaneTransform::Step>& steps, PlanarImage& plane) const;

    // A debug line on stderr when DECODEX_DEBUG is set.
    static void log(const char* format, ...) __attribute__((format(printf, 1, 2)));

private:
    std::shared_ptr<heif_image_handle> m_handle;
    GainMapParameters m_parameters;
    // Apple's maps are linear in the boost; the hdrgm form is logarithmic.
    bool m_remap = false;
    std::array<uint8_t, 256> m_table{};
};

} // namespace decodex
