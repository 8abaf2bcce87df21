#include "GainMap.h"

#include "AppleMakerNote.h"
#include "ExifEditor.h"
#include "ToneMapItem.h"

#include <libheif/heif.h>

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <locale>
#include <sstream>
#include <string>

namespace decodex {

namespace {

const char kAppleGainMap[] = "urn:com:apple:photo:2020:aux:hdrgainmap";
const char kSamsungGainMap[] = "urn:com:samsung:photo:2024:aux:hdrgainmap";

struct HandleDeleter { void operator()(heif_image_handle* h) const { heif_image_handle_release(h); } };
struct ImageDeleter { void operator()(heif_image* i) const { heif_image_release(i); } };

enum class Maker { None, Apple, Samsung };

// The primary's gain-map image and whose kind it is.
std::shared_ptr<heif_image_handle> gainMapHandle(const heif_image_handle* primary, Maker& maker, heif_item_id& item)
{
    maker = Maker::None;
    const int count = heif_image_handle_get_number_of_auxiliary_images(
        primary, LIBHEIF_AUX_IMAGE_FILTER_OMIT_ALPHA | LIBHEIF_AUX_IMAGE_FILTER_OMIT_DEPTH);
    if (count <= 0)
        return {};
    std::vector<heif_item_id> ids(static_cast<size_t>(count));
    heif_image_handle_get_list_of_auxiliary_image_IDs(
        primary, LIBHEIF_AUX_IMAGE_FILTER_OMIT_ALPHA | LIBHEIF_AUX_IMAGE_FILTER_OMIT_DEPTH, ids.data(), count);
    for (heif_item_id id : ids) {
        heif_image_handle* raw = nullptr;
        if (heif_image_handle_get_auxiliary_image_handle(primary, id, &raw).code != heif_error_Ok || !raw)
            continue;
        std::shared_ptr<heif_image_handle> handle(raw, HandleDeleter());
        const char* type = nullptr;
        if (heif_image_handle_get_auxiliary_type(raw, &type).code != heif_error_Ok || !type)
            continue;
        maker = std::strcmp(type, kAppleGainMap) == 0     ? Maker::Apple
                : std::strcmp(type, kSamsungGainMap) == 0 ? Maker::Samsung
                                                          : Maker::None;
        heif_image_handle_free_auxiliary_types(raw, &type);
        item = id;
        if (maker != Maker::None)
            return handle;
    }
    return {};
}

// A map is at most the photo's size; a larger one is not worth its
// memory, and capacity() then need not count it.
bool smallerThanPhoto(const heif_image_handle* map, const heif_image_handle* photo)
{
    const int64_t w = heif_image_handle_get_width(map), h = heif_image_handle_get_height(map);
    return w > 0 && h > 0
           && w * h <= int64_t(heif_image_handle_get_width(photo)) * heif_image_handle_get_height(photo);
}

std::string xmpOf(const heif_image_handle* handle)
{
    const int count = heif_image_handle_get_number_of_metadata_blocks(handle, "mime");
    std::vector<heif_item_id> ids(size_t(std::max(count, 0)));
    if (count > 0)
        heif_image_handle_get_list_of_metadata_block_IDs(handle, "mime", ids.data(), count);
    for (heif_item_id id : ids) {
        const char* content = heif_image_handle_get_metadata_content_type(handle, id);
        const size_t size = heif_image_handle_get_metadata_size(handle, id);
        if (!content || std::strcmp(content, "application/rdf+xml") != 0 || size == 0 || size > (1u << 24))
            continue;
        std::string xmp(size, '\0');
        if (heif_image_handle_get_metadata(handle, id, &xmp[0]).code == heif_error_Ok)
            return xmp;
    }
    return {};
}

std::vector<uint8_t> exifOf(const heif_image_handle* handle)
{
    heif_item_id id = 0;
    if (heif_image_handle_get_list_of_metadata_block_IDs(handle, "Exif", &id, 1) != 1)
        return {};
    const size_t size = heif_image_handle_get_metadata_size(handle, id);
    if (size == 0 || size > (1u << 24))
        return {};
    std::vector<uint8_t> exif(size);
    if (heif_image_handle_get_metadata(handle, id, exif.data()).code != heif_error_Ok)
        return {};
    return exif;
}

// A number written as the attribute name="..." or the element
// <name>...</name>, read the same whatever the process's locale.
bool xmpNumber(const std::string& xmp, const std::string& name, double& value)
{
    for (size_t at = xmp.find(name); at != std::string::npos; at = xmp.find(name, at + 1)) {
        size_t start = at + name.size();
        while (start < xmp.size() && (xmp[start] == ' ' || xmp[start] == '='))
            ++start;
        if (start >= xmp.size() || (xmp[start] != '"' && xmp[start] != '\'' && xmp[start] != '>'))
            continue;
        std::istringstream in(xmp.substr(start + 1, 32));
        in.imbue(std::locale::classic());
        if (in >> value && std::isfinite(value))
            return true;
    }
    return false;
}

bool xmpTrue(const std::string& xmp, const std::string& name)
{
    const size_t at = xmp.find(name);
    if (at == std::string::npos)
        return false;
    const std::string rest = xmp.substr(at + name.size(), 8);
    return rest.find("True") != std::string::npos || rest.find("true") != std::string::npos;
}

// Values an Ultra HDR writer put on the aux image itself.
bool hdrgmParameters(const std::string& xmp, GainMapParameters& p)
{
    if (!xmpNumber(xmp, "hdrgm:GainMapMax", p.gainMapMax) || !xmpNumber(xmp, "hdrgm:HDRCapacityMax", p.hdrCapacityMax))
        return false;
    xmpNumber(xmp, "hdrgm:GainMapMin", p.gainMapMin);
    xmpNumber(xmp, "hdrgm:Gamma", p.gamma);
    xmpNumber(xmp, "hdrgm:OffsetSDR", p.offsetSdr);
    xmpNumber(xmp, "hdrgm:OffsetHDR", p.offsetHdr);
    xmpNumber(xmp, "hdrgm:HDRCapacityMin", p.hdrCapacityMin);
    p.baseRenditionIsHdr = xmpTrue(xmp, "hdrgm:BaseRenditionIsHDR");
    return true;
}

bool plausible(const GainMapParameters& p)
{
    return p.gainMapMax > p.gainMapMin && p.gamma > 0 && p.hdrCapacityMax > p.hdrCapacityMin
           && p.gainMapMax <= 16 && p.gainMapMin >= -16 && p.hdrCapacityMax <= 16 && p.hdrCapacityMin >= 0
           && std::fabs(p.offsetSdr) <= 1 && std::fabs(p.offsetHdr) <= 1;
}

// Apple's samples, Rec. 709 coded, are the boost in linear steps between
// 1 and the headroom; the hdrgm form wants log2 of the boost, scaled to the
// range.
std::array<uint8_t, 256> appleTable(double headroom)
{
    std::array<uint8_t, 256> table{};
    const double stops = std::log2(headroom);
    for (int v = 0; v < 256; ++v) {
        const double x = v / 255.0;
        const double linear = x < 0.081 ? x / 4.5 : std::pow((x + 0.099) / 1.099, 1 / 0.45);
        const double boost = std::log2(1 + (headroom - 1) * linear) / stops;
        table[size_t(v)] = uint8_t(std::lround(std::clamp(boost, 0.0, 1.0) * 255));
    }
    return table;
}

} // namespace

void GainMap::log(const char* format, ...)
{
    static const bool enabled = std::getenv("DECODEX_DEBUG") != nullptr;
    if (!enabled)
        return;
    std::va_list args;
    va_start(args, format);
    std::fputs("decodex: ", stderr);
    std::vfprintf(stderr, format, args);
    std::fputc('\n', stderr);
    va_end(args);
}

GainMap GainMap::find(const heif_image_handle* primary, const uint8_t* file, size_t fileSize)
{
    GainMap map;
    Maker maker = Maker::None;
    heif_item_id item = 0;
    std::shared_ptr<heif_image_handle> handle = gainMapHandle(primary, maker, item);
    if (!handle)
        return map;
    if (!smallerThanPhoto(handle.get(), primary)) {
        log("gain map left out: it is larger than the photo");
        return map;
    }
    GainMapParameters& p = map.m_parameters;

    // The standard's own record first, then what the maker wrote.
    if (ToneMapItem::read(file, fileSize, item, p)) {
        if (!plausible(p)) {
            log("gain map left out: its 'tmap' values are out of range");
            return map;
        }
        map.m_handle = handle;
        return map;
    }
    const std::string xmp = xmpOf(handle.get());
    if (hdrgmParameters(xmp, p)) {
        if (!plausible(p)) {
            log("gain map left out: its hdrgm values are out of range");
            return map;
        }
        map.m_handle = handle;
        return map;
    }
    if (maker != Maker::Apple) {
        log("gain map left out: the file stores no usable 'tmap' item or hdrgm values for it");
        return map;
    }

    double headroom = 0;
    if (!xmpNumber(xmp, "HDRGainMapHeadroom", headroom)) {
        const std::vector<uint8_t> exif = exifOf(primary);
        const long tiff = ExifEditor::tiffStart(exif.data(), exif.size());
        double tag33 = 0, tag48 = 0;
        if (tiff < 0 || !AppleMakerNote::readHdrTags(exif.data() + tiff, exif.size() - size_t(tiff), tag33, tag48)) {
            log("gain map left out: no HDRGainMapHeadroom in its XMP and no usable maker-note tags 33 and 48");
            return map;
        }
        headroom = AppleMakerNote::headroom(tag33, tag48);
    }
    if (!(headroom > 1.0 && headroom <= 65536.0)) {
        log("gain map left out: its headroom %g gives no boost", headroom);
        return map;
    }
    p = GainMapParameters();
    p.gainMapMax = std::log2(headroom);
    p.offsetSdr = p.offsetHdr = 0;
    p.hdrCapacityMax = p.gainMapMax;
    map.m_remap = true;
    map.m_table = appleTable(headroom);
    map.m_handle = handle;
    return map;
}

uint64_t GainMap::capacity(const heif_image_handle* primary)
{
    Maker maker = Maker::None;
    heif_item_id item = 0;
    const std::shared_ptr<heif_image_handle> handle = gainMapHandle(primary, maker, item);
    if (!handle || !smallerThanPhoto(handle.get(), primary))
        return 0;
    const uint64_t w = uint64_t(std::max(heif_image_handle_get_width(handle.get()), 0));
    const uint64_t h = uint64_t(std::max(heif_image_handle_get_height(handle.get()), 0));
    // One component at libjpeg's worst case, its headers and XMP, the MPF
    // index, the container directory added to the photo's XMP and the two
    // ISO 21496-1 segments.
    return ((w + 15) & ~uint64_t(15)) * ((h + 15) & ~uint64_t(15)) * 6 + 16384;
}

bool GainMap::decode(const std::vector<PlaneTransform::Step>& steps, PlanarImage& plane) const
{
    if (!m_handle)
        return false;
    heif_decoding_options* options = heif_decoding_options_alloc();
    if (!options) {
        log("gain map left out: no memory for its decoding options");
        return false;
    }
    // Turned below with the photo's own steps, whatever the map's item says.
    options->ignore_transformations = 1;
    heif_image* raw = nullptr;
    const heif_error err =
        heif_decode_image(m_handle.get(), &raw, heif_colorspace_undefined, heif_chroma_undefined, options);
    heif_decoding_options_free(options);
    const std::unique_ptr<heif_image, ImageDeleter> image(raw);
    if (err.code != heif_error_Ok || !image) {
        log("gain map left out: %s", err.message ? err.message : "it could not be decoded");
        return false;
    }
    // A single image comes as its luma. libheif 1.15 pastes a grid's tiles
    // (Samsung's maps are grids of 4:2:0 tiles with neutral chroma) into RGB
    // planes instead, each of which then holds the map; green, which weighs
    // most in luma, is taken.
    const heif_channel channel = heif_image_has_channel(raw, heif_channel_Y) ? heif_channel_Y : heif_channel_G;
    int stride = 0;
    const uint8_t* samples = heif_image_get_plane_readonly(raw, channel, &stride);
    const int width = heif_image_get_width(raw, channel);
    const int height = heif_image_get_height(raw, channel);
    const int bits = heif_image_get_bits_per_pixel_range(raw, channel);
    if (!samples || stride <= 0 || bits < 1 || bits > 16) {
        log("gain map left out: libheif gave it without a luma or green plane (colour space %d, chroma %d)",
            int(heif_image_get_colorspace(raw)), int(heif_image_get_chroma_format(raw)));
        return false;
    }
    if (!plane.allocate(width, height, 0)) {
        log("gain map left out: no memory for its %dx%d plane", width, height);
        return false;
    }
    const uint32_t top = (1u << bits) - 1;
    for (int y = 0; y < height; ++y) {
        const uint8_t* in = samples + size_t(y) * size_t(stride);
        uint8_t* out = plane.plane(0).row(y);
        for (int x = 0; x < width; ++x) {
            uint32_t v = in[x];
            if (bits > 8) {
                uint16_t wide;
                std::memcpy(&wide, in + 2 * x, 2);
                v = (std::min<uint32_t>(wide, top) * 255 + top / 2) / top;
            }
            out[x] = m_remap ? m_table[v] : uint8_t(v);
        }
    }
    if (!PlaneTransform::apply(steps, plane)) {
        log("gain map left out: it could not be turned with the photo");
        return false;
    }
    return true;
}

} // namespace decodex
