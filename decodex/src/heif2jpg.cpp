// The library's C entry points: reads the container with libheif, picks the
// direct tile path or the general libheif path, and writes the JPEG.

#include "decodex/heif2jpg.h"

#include "BoxReader.h"
#include "ColorProfile.h"
#include "DamageCheck.h"
#include "ExifEditor.h"
#include "GainMap.h"
#include "GainMapJpeg.h"
#include "HeifLayout.h"
#include "HeifMeta.h"
#include "JpegWriter.h"
#include "PlanarImage.h"
#include "PlaneTransform.h"
#include "Resampler.h"
#include "RgbConverter.h"
#include "ThreadBudget.h"
#include "TileDecoder.h"
#include "XmpEditor.h"

#include <libheif/heif.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>
#include <mutex>
#include <new>
#include <system_error>
#include <vector>

namespace decodex {
namespace {

struct ContextDeleter { void operator()(heif_context* c) const { heif_context_free(c); } };
struct HandleDeleter { void operator()(heif_image_handle* h) const { heif_image_handle_release(h); } };
struct NclxDeleter { void operator()(heif_color_profile_nclx* n) const { heif_nclx_color_profile_free(n); } };

// libheif registers its codecs once per process; the call is reference
// counted and never undone, so the library stays ready until exit.
void initOnce()
{
    static std::once_flag once;
    std::call_once(once, [] { heif_init(nullptr); });
}

// What one call was asked for (heif2jpg_with_options).
struct Settings
{
    int quality = 100;
    int maxLongSide = 0; // 0: the photo's own size
    bool gainMap = true;
    bool keepLocation = true;
};

struct Colour
{
    bool haveNclx = false;
    int primaries = 2;
    int transfer = 2;
    int matrix = 2;
    bool fullRange = true;
};

// An opened file: the libheif context over the caller's bytes (not copied)
// and its primary image.
struct OpenedFile
{
    std::unique_ptr<heif_context, ContextDeleter> context;
    std::unique_ptr<heif_image_handle, HandleDeleter> primary;
    int width = 0;  // as shown, after any transform
    int height = 0;
    int ispeWidth = 0; // as coded ('ispe'; a grid's canvas); 0 when absent
    int ispeHeight = 0;
};

int mapOpenError(const heif_error& err)
{
    if (err.code == heif_error_Memory_allocation_error && err.subcode == heif_suberror_Security_limit_exceeded)
        return DECODEX_ERR_IMAGE_TOO_LARGE;
    return DECODEX_ERR_NOT_HEIF;
}

// Tells a person what a file that failed is: "not a HEIF file" only when its
// 'ftyp' names no HEIF brand; a HEIF file that failed is damaged, unless it
// is a kind this library does not convert.
int32_t classifyFailure(const uint8_t* input, int32_t size, int32_t code)
{
    if ((code != DECODEX_ERR_NOT_HEIF && code != DECODEX_ERR_DECODE_FAILED) || !input || size <= 0)
        return code;
    using B = BoxReader;
    static constexpr uint32_t images[] = {B::fourcc("mif1"), B::fourcc("mif2"), B::fourcc("miaf"),
                                          B::fourcc("heic"), B::fourcc("heix"), B::fourcc("heim"),
                                          B::fourcc("heis"), B::fourcc("avif"), B::fourcc("avci"),
                                          B::fourcc("jpeg")};
    static constexpr uint32_t sequences[] = {B::fourcc("msf1"), B::fourcc("hevc"), B::fourcc("hevx"),
                                             B::fourcc("hevm"), B::fourcc("hevs"), B::fourcc("avis"),
                                             B::fourcc("avcs"), B::fourcc("jpgs")};
    auto named = [](uint32_t brand, const auto& list) {
        return std::find(std::begin(list), std::end(list), brand) != std::end(list);
    };
    bool image = false, sequence = false, av1 = false, meta = false, moov = false;
    BoxReader file(input, size_t(size));
    uint32_t type = 0;
    BoxReader body;
    // A box cut short ends the walk: what came before it still counts.
    while (file.nextBox(type, body)) {
        meta |= type == B::fourcc("meta");
        moov |= type == B::fourcc("moov");
        if (type != B::fourcc("ftyp"))
            continue;
        for (size_t at = 0; body.remaining() >= 4; ++at) {
            const uint32_t brand = body.u32();
            if (at == 1)
                continue; // the minor version
            image |= named(brand, images);
            sequence |= named(brand, sequences);
            av1 |= brand == B::fourcc("avif") || brand == B::fourcc("avis");
        }
    }
    if (!image && !sequence)
        return DECODEX_ERR_NOT_HEIF;
    if (!meta && (moov || !image))
        return DECODEX_ERR_IMAGE_SEQUENCE;
    if (av1 && !heif_have_decoder_for_format(heif_compression_AV1))
        return DECODEX_ERR_AV1_UNSUPPORTED;
    return DECODEX_ERR_DAMAGED;
}

bool withinLimits(int64_t width, int64_t height)
{
    return width > 0 && height > 0 && width <= DECODEX_MAX_DIMENSION && height <= DECODEX_MAX_DIMENSION
           && width * height <= DECODEX_MAX_PIXELS;
}

// Loops, absurd nesting, repeated pictures and extents beyond the file are
// refused from the meta box alone, before libheif sees the file: it would
// overflow its stack, or spend minutes, on them.
int refuseDamaged(const HeifMeta& meta)
{
    return DamageCheck::find(meta) == DamageCheck::Damage::None ? 0 : DECODEX_ERR_DAMAGED;
}

int open(const uint8_t* input, int32_t size, int threads, OpenedFile& file)
{
    initOnce();
    file.context.reset(heif_context_alloc());
    if (!file.context)
        return DECODEX_ERR_ENCODE_FAILED;
    // libheif refuses a width or height at or above its limit.
    heif_context_set_maximum_image_size_limit(file.context.get(), DECODEX_MAX_DIMENSION + 1);
    heif_context_set_max_decoding_threads(file.context.get(), threads);
    heif_error err = heif_context_read_from_memory_without_copy(file.context.get(), input, size_t(size), nullptr);
    if (err.code != heif_error_Ok)
        return mapOpenError(err);
    heif_image_handle* handle = nullptr;
    err = heif_context_get_primary_image_handle(file.context.get(), &handle);
    file.primary.reset(handle);
    if (err.code != heif_error_Ok || !handle)
        return DECODEX_ERR_NOT_HEIF;
    file.width = heif_image_handle_get_width(handle);
    file.height = heif_image_handle_get_height(handle);
    // Check what the file claims before a single pixel is allocated: the
    // size after transforms and the coded size ('ispe', for a grid its canvas).
    if (!withinLimits(file.width, file.height))
        return file.width <= 0 || file.height <= 0 ? DECODEX_ERR_NOT_HEIF : DECODEX_ERR_IMAGE_TOO_LARGE;
    file.ispeWidth = std::max(heif_image_handle_get_ispe_width(handle), 0);
    file.ispeHeight = std::max(heif_image_handle_get_ispe_height(handle), 0);
    if ((file.ispeWidth > 0 || file.ispeHeight > 0) && !withinLimits(file.ispeWidth, file.ispeHeight))
        return DECODEX_ERR_IMAGE_TOO_LARGE;
    // From here on libheif holds every canvas it builds (a grid's, an
    // overlay's) to the size the file declares, plus padding to whole
    // blocks: an overlay descriptor may claim any size, and libheif would
    // fill a canvas of that size before it noticed anything amiss.
    const int declared = std::max({file.width, file.height, file.ispeWidth, file.ispeHeight});
    heif_context_set_maximum_image_size_limit(file.context.get(), std::min(declared, DECODEX_MAX_DIMENSION) + 65);
    return 0;
}

std::vector<uint8_t> metadataBlock(const heif_image_handle* handle, const char* type, const char* contentType)
{
    const int count = heif_image_handle_get_number_of_metadata_blocks(handle, type);
    if (count <= 0)
        return {};
    std::vector<heif_item_id> ids(static_cast<size_t>(count));
    heif_image_handle_get_list_of_metadata_block_IDs(handle, type, ids.data(), count);
    for (heif_item_id id : ids) {
        if (contentType) {
            const char* content = heif_image_handle_get_metadata_content_type(handle, id);
            if (!content || std::strcmp(content, contentType) != 0)
                continue;
        }
        const size_t size = heif_image_handle_get_metadata_size(handle, id);
        if (size == 0 || size > size_t(INT32_MAX))
            continue;
        std::vector<uint8_t> data(size);
        if (heif_image_handle_get_metadata(handle, id, data.data()).code == heif_error_Ok)
            return data;
    }
    return {};
}

Colour colourOf(const heif_image_handle* handle)
{
    Colour colour;
    heif_color_profile_nclx* raw = nullptr;
    const heif_error err = heif_image_handle_get_nclx_color_profile(handle, &raw);
    // libheif fills in and hands over the profile before it checks the
    // values, so a box with unknown primaries comes back as an error *and* a
    // profile: it is ours to free either way.
    const std::unique_ptr<heif_color_profile_nclx, NclxDeleter> nclx(raw);
    if (err.code == heif_error_Ok && nclx) {
        colour.haveNclx = true;
        colour.primaries = nclx->color_primaries;
        colour.transfer = nclx->transfer_characteristics;
        colour.matrix = nclx->matrix_coefficients;
        colour.fullRange = nclx->full_range_flag != 0;
    }
    return colour;
}

JpegMetadata metadataOf(const OpenedFile& file, const Colour& colour, const Settings& settings)
{
    const heif_image_handle* handle = file.primary.get();
    JpegMetadata metadata;
    const std::vector<uint8_t> exif = metadataBlock(handle, "Exif", nullptr);
    // The camera's pixel size describes the coded picture; once it has been
    // turned, cropped or shrunk, the JPEG's own size is the true one.
    int width = file.width, height = file.height;
    Resampler::fitLongSide(width, height, settings.maxLongSide);
    const bool reshaped = (file.ispeWidth > 0 && (width != file.ispeWidth || height != file.ispeHeight))
                          || width != file.width || height != file.height;
    metadata.exif = ExifEditor::forJpeg(exif.data(), exif.size(), reshaped ? uint32_t(width) : 0,
                                        reshaped ? uint32_t(height) : 0);
    metadata.xmp = metadataBlock(handle, "mime", "application/rdf+xml");
    XmpEditor::forJpeg(metadata.xmp);
    if (!settings.keepLocation) {
        if (metadata.exif.size() > 6)
            ExifEditor::dropLocation(metadata.exif.data() + 6, metadata.exif.size() - 6);
        XmpEditor::dropLocation(metadata.xmp);
    }
    const size_t iccSize = heif_image_handle_get_raw_color_profile_size(handle);
    if (iccSize > 0 && iccSize <= size_t(INT32_MAX)) {
        metadata.icc.resize(iccSize);
        if (heif_image_handle_get_raw_color_profile(handle, metadata.icc.data()).code != heif_error_Ok)
            metadata.icc.clear();
    }
    if (metadata.icc.empty() && colour.haveNclx)
        metadata.icc = ColorProfile::forPrimaries(colour.primaries);
    return metadata;
}

// The HEVC pictures behind the primary image may exceed what it shows by
// padding, grid tiles hanging over the edge and an alpha plane; a file whose
// parameter sets declare far more than that would cost the decoder seconds
// and gigabytes for a picture that cannot be right.
bool codedPicturesPlausible(const HeifLayout& layout, const OpenedFile& file)
{
    if (!layout.codedSizesFit)
        return false;
    const uint64_t shown = uint64_t(file.width) * uint64_t(file.height);
    const uint64_t coded = uint64_t(file.ispeWidth) * uint64_t(file.ispeHeight);
    return layout.codedPixels <= 4 * std::max(shown, coded) + (uint64_t(1) << 22);
}

// The size the photo is written at, when the settings bound it.
template <typename Image>
bool shrinkToBound(Image& image, int width, int height, int maxLongSide)
{
    const int fullWidth = width, fullHeight = height;
    Resampler::fitLongSide(width, height, maxLongSide);
    return (width == fullWidth && height == fullHeight) || Resampler::shrink(image, width, height);
}

int32_t convert(const uint8_t* input, int32_t inputSize, const Settings& settings, uint8_t* output, int32_t capacity)
{
    if (!input || inputSize <= 0 || !output || capacity <= 0)
        return DECODEX_ERR_BAD_ARGUMENT;
    const HeifMeta meta = HeifMeta::read(input, size_t(inputSize));
    if (const int err = refuseDamaged(meta))
        return err;
    ThreadBudget budget;
    OpenedFile file;
    if (const int err = open(input, inputSize, budget.threads(), file))
        return err;
    const heif_image_handle* handle = file.primary.get();
    const Colour colour = colourOf(handle);
    const JpegMetadata metadata = metadataOf(file, colour, settings);
    const int quality = settings.quality;
    const HeifLayout layout = HeifLayout::read(meta);
    if (!layout.structureSound || !codedPicturesPlausible(layout, file))
        return DECODEX_ERR_DECODE_FAILED;
    JpegWriter writer(output, size_t(capacity));
    const GainMap gainMap = settings.gainMap ? GainMap::find(handle, input, size_t(inputSize)) : GainMap();
    auto finish = [&](int32_t size, int writtenWidth) {
        return GainMapJpeg::attach(size, gainMap, layout.transforms, file.width, file.height, quality, output,
                                   size_t(capacity), double(writtenWidth) / file.width);
    };

    int shownWidth = layout.width, shownHeight = layout.height;
    PlaneTransform::resultSize(layout.transforms, shownWidth, shownHeight);
    // JPEG's YCbCr is BT.601; libheif reads a file without an nclx box the
    // same way. Such planes go to the encoder as they are, stretched first
    // when they are limited range; BT.709 planes (as many cameras write) are
    // mixed into BT.601 on the way, and PQ and HLG are tone mapped.
    const SampleMapper::Colour planeColour{colour.haveNclx, colour.fullRange, colour.matrix, colour.transfer};
    if (layout.direct && !heif_image_handle_has_alpha_channel(handle) && SampleMapper::supports(planeColour)
        && PlaneTransform::supports(layout.transforms, layout.chromaFormat)
        && shownWidth == file.width && shownHeight == file.height) {
        PlanarImage planes;
        switch (TileDecoder::decode(layout, budget.threads(), planeColour, planes)) {
        case TileDecoder::Outcome::Decoded: {
            // Shrunk before it is turned (the long side is the same either
            // way), and turned while it is written.
            const PlaneTransform::Orientation orientation = PlaneTransform::fold(layout.transforms);
            if (!shrinkToBound(planes, planes.width(), planes.height(), settings.maxLongSide))
                return DECODEX_ERR_ENCODE_FAILED;
            return finish(writer.writePlanar(planes, quality, metadata, orientation),
                          orientation.transpose ? planes.height() : planes.width());
        }
        case TileDecoder::Outcome::Damaged:
            return DECODEX_ERR_DECODE_FAILED; // libheif's decoder would only paper over it
        case TileDecoder::Outcome::Refused:
            break; // libheif may still manage the file
        }
    }

    if (!layout.referencesResolve)
        return DECODEX_ERR_DECODE_FAILED;
    RgbImage rgb;
    if (const int err = RgbConverter::decode(handle, colour.haveNclx ? colour.transfer : 2, rgb))
        return err;
    if (!shrinkToBound(rgb, rgb.width, rgb.height, settings.maxLongSide))
        return DECODEX_ERR_ENCODE_FAILED;
    const int chroma = layout.chromaFormat >= 0 ? layout.chromaFormat : 1;
    return finish(writer.writeRgb(rgb, chroma, quality, metadata), rgb.width);
}

// convert() with every exception turned into a result code: nothing may
// leave a C function.
int32_t convertGuarded(const uint8_t* input, int32_t inputSize, const Settings& settings, uint8_t* output,
                       int32_t capacity)
{
    try {
        return classifyFailure(input, inputSize, convert(input, inputSize, settings, output, capacity));
    } catch (const std::bad_alloc&) {
        return DECODEX_ERR_ENCODE_FAILED;
    } catch (const std::system_error&) { // a thread refused for want of memory
        return DECODEX_ERR_ENCODE_FAILED;
    } catch (...) {
        return classifyFailure(input, inputSize, DECODEX_ERR_DECODE_FAILED);
    }
}

int32_t capacity(const uint8_t* input, int32_t inputSize)
{
    if (!input || inputSize <= 0)
        return DECODEX_ERR_BAD_ARGUMENT;
    if (const int err = refuseDamaged(HeifMeta::read(input, size_t(inputSize))))
        return err;
    OpenedFile file;
    if (const int err = open(input, inputSize, 1, file))
        return err;
    const heif_image_handle* handle = file.primary.get();
    // libjpeg-turbo's own worst case (tjBufSize) for 4:4:4: six bytes per
    // pixel of the image padded to whole MCUs, plus room for the headers.
    const uint64_t pixels = uint64_t((file.width + 15) & ~15) * uint64_t((file.height + 15) & ~15);
    uint64_t bound = pixels * 6 + 2048 + 4096;
    std::vector<heif_item_id> ids;
    size_t exif = 0, xmp = 0;
    for (const char* type : {"Exif", "mime"}) {
        const int count = heif_image_handle_get_number_of_metadata_blocks(handle, type);
        ids.resize(size_t(std::max(count, 0)));
        if (count > 0)
            heif_image_handle_get_list_of_metadata_block_IDs(handle, type, ids.data(), count);
        for (heif_item_id id : ids)
            (type[0] == 'E' ? exif : xmp) += heif_image_handle_get_metadata_size(handle, id);
    }
    // A generated profile is a few hundred bytes; 4 KB covers it.
    const size_t icc = heif_image_handle_get_raw_color_profile_size(handle) + 4096;
    bound += JpegWriter::metadataSize(exif + 6, xmp, icc);
    bound += GainMap::capacity(handle);
    return bound > uint64_t(INT32_MAX) ? DECODEX_ERR_IMAGE_TOO_LARGE : int32_t(bound);
}

int32_t thumbnail(const uint8_t* input, int32_t inputSize, int32_t quality, uint8_t* output, int32_t capacity)
{
    if (!input || inputSize <= 0 || !output || capacity <= 0)
        return DECODEX_ERR_BAD_ARGUMENT;
    const HeifMeta meta = HeifMeta::read(input, size_t(inputSize));
    if (const int err = refuseDamaged(meta))
        return err;
    OpenedFile file;
    if (const int err = open(input, inputSize, 1, file))
        return err;
    // The same refusals as a full conversion: libheif asserts on some of
    // these files whichever image is decoded.
    const HeifLayout layout = HeifLayout::read(meta);
    if (!layout.structureSound || !layout.referencesResolve || !codedPicturesPlausible(layout, file))
        return DECODEX_ERR_DECODE_FAILED;
    const heif_image_handle* primary = file.primary.get();
    const int count = heif_image_handle_get_number_of_thumbnails(primary);
    if (count <= 0)
        return DECODEX_ERR_DECODE_FAILED;
    std::vector<heif_item_id> ids(static_cast<size_t>(count));
    heif_image_handle_get_list_of_thumbnail_IDs(primary, ids.data(), count);
    heif_image_handle* raw = nullptr;
    if (heif_image_handle_get_thumbnail(primary, ids.front(), &raw).code != heif_error_Ok || !raw)
        return DECODEX_ERR_DECODE_FAILED;
    const std::unique_ptr<heif_image_handle, HandleDeleter> handle(raw);
    const int width = heif_image_handle_get_width(raw), height = heif_image_handle_get_height(raw);
    const int codedWidth = heif_image_handle_get_ispe_width(raw), codedHeight = heif_image_handle_get_ispe_height(raw);
    const int side = DECODEX_MAX_THUMBNAIL_SIDE;
    if (width <= 0 || height <= 0 || width > side || height > side || codedWidth > side || codedHeight > side)
        return DECODEX_ERR_DECODE_FAILED;
    const Colour colour = colourOf(raw);
    RgbImage rgb;
    if (const int err = RgbConverter::decode(raw, colour.haveNclx ? colour.transfer : 2, rgb))
        return err;
    JpegWriter writer(output, size_t(capacity));
    return writer.writeRgb(rgb, 1, quality, JpegMetadata());
}

} // namespace
} // namespace decodex

extern "C" {

DECODEX_API int32_t heif2jpg(const uint8_t* input, int32_t input_size, int32_t quality, uint8_t* output,
                             int32_t output_capacity, const char* scratch_name)
{
    (void)scratch_name; // decoding happens in memory; no file is ever made
    decodex::Settings settings;
    settings.quality = quality;
    return decodex::convertGuarded(input, input_size, settings, output, output_capacity);
}

DECODEX_API int32_t heif2jpg_no_gain_map(const uint8_t* input, int32_t input_size, int32_t quality,
                                         uint8_t* output, int32_t output_capacity, const char* scratch_name)
{
    (void)scratch_name;
    decodex::Settings settings;
    settings.quality = quality;
    settings.gainMap = false;
    return decodex::convertGuarded(input, input_size, settings, output, output_capacity);
}

DECODEX_API void heif2jpg_options_init(struct decodex_options* options)
{
    if (!options)
        return;
    *options = decodex_options();
    options->version = DECODEX_OPTIONS_VERSION;
    options->quality = 100;
}

DECODEX_API int32_t heif2jpg_with_options(const uint8_t* input, int32_t input_size,
                                          const struct decodex_options* options, uint8_t* output,
                                          int32_t output_capacity)
{
    const uint32_t known = DECODEX_OPTION_NO_GAIN_MAP | DECODEX_OPTION_NO_LOCATION;
    // Version 1 is the only layout so far; an option this library does not
    // know is refused, never skipped.
    if (!options || options->version < 1 || options->version > DECODEX_OPTIONS_VERSION
        || (options->flags & ~known) != 0 || options->max_long_side < 0)
        return DECODEX_ERR_BAD_ARGUMENT;
    decodex::Settings settings;
    settings.quality = options->quality;
    settings.maxLongSide = options->max_long_side;
    settings.gainMap = (options->flags & DECODEX_OPTION_NO_GAIN_MAP) == 0;
    settings.keepLocation = (options->flags & DECODEX_OPTION_NO_LOCATION) == 0;
    return decodex::convertGuarded(input, input_size, settings, output, output_capacity);
}

DECODEX_API int32_t heif2jpg_capacity(const uint8_t* input, int32_t input_size, int32_t quality)
{
    (void)quality; // the bound holds for every quality
    try {
        return decodex::classifyFailure(input, input_size, decodex::capacity(input, input_size));
    } catch (...) {
        return DECODEX_ERR_ENCODE_FAILED;
    }
}

DECODEX_API int32_t heif2jpg_thumbnail(const uint8_t* input, int32_t input_size, int32_t quality,
                                       uint8_t* output, int32_t output_capacity)
{
    try {
        return decodex::thumbnail(input, input_size, quality, output, output_capacity);
    } catch (const std::bad_alloc&) {
        return DECODEX_ERR_ENCODE_FAILED;
    } catch (const std::system_error&) { // a thread refused for want of memory
        return DECODEX_ERR_ENCODE_FAILED;
    } catch (...) {
        return DECODEX_ERR_DECODE_FAILED;
    }
}

DECODEX_API const char* heif2jpg_error_text(int32_t code)
{
    if (code >= 0)
        return "success";
    switch (code) {
    case DECODEX_ERR_BAD_ARGUMENT: return "bad argument";
    case DECODEX_ERR_NOT_HEIF: return "not a HEIF file";
    case DECODEX_ERR_DECODE_FAILED: return "the image could not be decoded";
    case DECODEX_ERR_IMAGE_TOO_LARGE: return "the image is too large";
    case DECODEX_ERR_OUTPUT_TOO_SMALL: return "the output buffer is too small";
    case DECODEX_ERR_ENCODE_FAILED: return "the JPEG could not be written";
    case DECODEX_ERR_DAMAGED: return "damaged or incomplete HEIF file";
    case DECODEX_ERR_AV1_UNSUPPORTED: return "AV1 image (AVIF), which no installed decoder can read";
    case DECODEX_ERR_IMAGE_SEQUENCE: return "image sequence (animation) without a still image";
    default: return "unknown error";
    }
}

} // extern "C"
