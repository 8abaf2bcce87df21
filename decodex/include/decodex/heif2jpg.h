/*
 * Decodex: turns the bytes of a HEIF/HEIC photo into the bytes of a JPEG.
 *
 * A plain C interface so that programs can load the library at run time
 * (dlopen/LoadLibrary + the export name) without sharing any C++ types.
 *
 * What a conversion does
 *   - Decodes the primary image of the file in memory (tile grids, overlays,
 *     alpha composited onto white, 8/10/12-bit HEVC scaled to 8 bits with
 *     rounding, any chroma format) with the file's rotation, mirror and
 *     clean-aperture transforms applied, so the pixels come out upright.
 *   - Writes a baseline JPEG at the given quality. Chroma subsampling follows
 *     the photo: 4:2:0 stays 4:2:0, 4:2:2 stays 4:2:2, 4:4:4 and monochrome
 *     stay full resolution.
 *   - Carries the photo's metadata: its EXIF block with the Orientation tag
 *     rewritten to 1 (the pixels are already turned; the old value would make
 *     viewers turn the picture a second time) and, when the picture was
 *     turned or cropped, PixelXDimension/PixelYDimension set to the JPEG's
 *     size; its XMP packet without trailing NUL bytes and without a gain-map
 *     container directory of the HEIF file's own; and its colour
 *     profile. An embedded ICC profile ('prof' or 'rICC') is copied as it is.
 *     An nclx colour box with wide-gamut primaries (Display P3, BT.2020, ...)
 *     gets a matching ICC profile generated for those primaries with an sRGB
 *     tone curve. HDR transfer functions (PQ, HLG) are mapped to SDR with a
 *     simple tone map in the linear domain and then treated like BT.2020 SDR.
 *   - Keeps an HDR gain map (Apple's or Samsung's auxiliary image, one
 *     picture or a grid, with its ISO 21496-1 'tmap' values, hdrgm XMP, or
 *     Apple's headroom from the map's XMP or maker-note tags 33 and 48) as
 *     an Ultra HDR JPEG: the photo's JPEG as above, its XMP extended by a
 *     container directory, an ISO 21496-1 version segment and an MPF index
 *     in APP2, and the gain map, turned with the photo, appended as a
 *     one-channel JPEG with hdrgm XMP and the ISO 21496-1 metadata in APP2.
 *     HDR screens show the highlights brighter; other viewers see the photo.
 *     A file without a usable gain map gives exactly the plain JPEG; with
 *     DECODEX_DEBUG set in the environment, stderr says why a map was left
 *     out.
 *   - On request (heif2jpg_with_options), shrinks the photo to a bound on
 *     its longer side and leaves out the GPS position or the gain map.
 *
 * Threads
 *   Every function here may be called from any number of threads at once.
 *   Calls share no state beyond a counter of calls under way, which is used
 *   to split the machine's cores between them: a lone call decodes with all
 *   cores, several concurrent calls take a share each. The same input gives
 *   the same output bytes whether calls run one at a time or concurrently.
 *
 * Files
 *   Nothing is read from or written to disk. The scratch file name parameter
 *   exists for callers written against older decoders that needed a temporary
 *   file; it is accepted (it may be NULL) and ignored.
 *
 * Limits
 *   Images of more than DECODEX_MAX_PIXELS pixels (after the clean aperture)
 *   or wider or higher than DECODEX_MAX_DIMENSION are refused with
 *   DECODEX_ERR_IMAGE_TOO_LARGE before any pixel memory is allocated.
 */
#ifndef DECODEX_HEIF2JPG_H
#define DECODEX_HEIF2JPG_H

#include <stdint.h>

#if defined(_WIN32)
#  if defined(DECODEX_BUILDING)
#    define DECODEX_API __declspec(dllexport)
#  else
#    define DECODEX_API __declspec(dllimport)
#  endif
#else
#  define DECODEX_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* 200 megapixels: twice the largest camera photo we know of, and still well
 * inside what a 32-bit signed output capacity can describe. */
#define DECODEX_MAX_PIXELS 200000000
#define DECODEX_MAX_DIMENSION 65535

/* Every result below zero is one of these. */
enum decodex_error {
  /* input NULL, input_size <= 0, output NULL or output_capacity <= 0 */
  DECODEX_ERR_BAD_ARGUMENT = -1,
  /* the bytes are no HEIF file: no 'ftyp' box naming a HEIF brand (another
   * kind of file, or garbage) */
  DECODEX_ERR_NOT_HEIF = -2,
  /* heif2jpg_thumbnail(): the file has no usable thumbnail. The conversions
   * and heif2jpg_capacity() say DAMAGED or name the unsupported kind instead
   * of this code. */
  DECODEX_ERR_DECODE_FAILED = -3,
  /* the image is beyond DECODEX_MAX_PIXELS or DECODEX_MAX_DIMENSION */
  DECODEX_ERR_IMAGE_TOO_LARGE = -4,
  /* the JPEG did not fit output_capacity; nothing past the capacity was
   * written. heif2jpg_capacity() tells a capacity that is always enough. */
  DECODEX_ERR_OUTPUT_TOO_SMALL = -5,
  /* the JPEG encoder failed or memory ran out */
  DECODEX_ERR_ENCODE_FAILED = -6,
  /* a HEIF file (its 'ftyp' names a HEIF brand) that cannot be read whole:
   * cut short, or its boxes or image data damaged */
  DECODEX_ERR_DAMAGED = -7,
  /* an AV1 image (AVIF), and libheif has no AV1 decoder here */
  DECODEX_ERR_AV1_UNSUPPORTED = -8,
  /* an image sequence (an animation or a burst kept as a track) with no
   * still image */
  DECODEX_ERR_IMAGE_SEQUENCE = -9
};

/*
 * Converts one HEIF/HEIC file held in memory into a JPEG file in memory.
 *
 *   input            the whole file; read only, owned by the caller
 *   input_size       number of bytes at input
 *   quality          JPEG quality 0..100; values outside are clamped
 *   output           buffer owned by the caller that receives the JPEG file
 *   output_capacity  bytes available at output; never written past
 *   scratch_name     ignored, may be NULL (see "Files" above)
 *
 * Returns the number of JPEG bytes written at output (> 0), or a negative
 * enum decodex_error. On error the contents of output are unspecified but
 * nothing beyond output_capacity has been touched.
 */
DECODEX_API int32_t heif2jpg(const uint8_t* input, int32_t input_size, int32_t quality,
                             uint8_t* output, int32_t output_capacity,
                             const char* scratch_name);

/*
 * heif2jpg() without the gain map: always the plain JPEG of the photo.
 */
DECODEX_API int32_t heif2jpg_no_gain_map(const uint8_t* input, int32_t input_size, int32_t quality,
                                         uint8_t* output, int32_t output_capacity,
                                         const char* scratch_name);

/*
 * Options: heif2jpg_with_options()
 *
 * What a person may ask of a conversion beyond the quality, in one plain
 * struct that can grow without a new export for every option:
 *
 *   struct decodex_options options;
 *   heif2jpg_options_init(&options);     // version and defaults
 *   options.quality = 90;
 *   options.max_long_side = 2048;
 *   options.flags |= DECODEX_OPTION_NO_LOCATION;
 *   size = heif2jpg_with_options(input, input_size, &options, output, capacity);
 *
 * Versions: `version` says which layout the caller was built with. A library
 * reads exactly the fields of that version, so a caller built against this
 * header keeps working with every later library. A library given a version
 * newer than its own, or a flag it does not know, refuses the call with
 * DECODEX_ERR_BAD_ARGUMENT rather than quietly leaving an option out: a
 * caller that must also run with older libraries retries without the option
 * or tells the person. New fields are only ever added at the end, with a new
 * version number, and zero always means "as heif2jpg() does".
 */
#define DECODEX_OPTIONS_VERSION 1

/* Leave out the HDR gain map: the plain JPEG of the photo, as
 * heif2jpg_no_gain_map() writes it. */
#define DECODEX_OPTION_NO_GAIN_MAP 0x1u
/* Leave out where the photo was taken: the EXIF GPS directory (its entries
 * and their values, overwritten, not only unlinked) and the exif:GPS...
 * properties of the XMP packet. The capture date and everything else stay. */
#define DECODEX_OPTION_NO_LOCATION 0x2u

struct decodex_options {
  /* DECODEX_OPTIONS_VERSION as the caller was built */
  int32_t version;
  /* JPEG quality 0..100; values outside are clamped */
  int32_t quality;
  /* When > 0, the JPEG's longer side is at most this many pixels: a larger
   * photo is shrunk after it is turned upright, keeping its shape, with a
   * Lanczos filter (the HDR gain map shrinks with it). A photo already
   * within the bound keeps its size; nothing is ever enlarged. 0: the
   * photo's own size. Negative values are refused (BAD_ARGUMENT). */
  int32_t max_long_side;
  /* DECODEX_OPTION_... values, or-ed; 0 for none */
  uint32_t flags;
};

/*
 * Fills `options` with this header's version and the defaults of heif2jpg():
 * quality 100, no size bound, no flags. Does nothing when options is NULL.
 */
DECODEX_API void heif2jpg_options_init(struct decodex_options* options);

/*
 * heif2jpg() with options. `options` is read only and owned by the caller;
 * NULL is refused. Input, output and results are those of heif2jpg():
 * the number of JPEG bytes written (> 0), or a negative enum decodex_error
 * (BAD_ARGUMENT also for an unknown version or flag, or a negative
 * max_long_side). heif2jpg_capacity() is enough here too: a shrunk photo
 * only needs less.
 */
DECODEX_API int32_t heif2jpg_with_options(const uint8_t* input, int32_t input_size,
                                          const struct decodex_options* options,
                                          uint8_t* output, int32_t output_capacity);

/*
 * Tells a capacity that is always enough for heif2jpg() on this input at
 * this quality, without decoding any pixels (it reads the container only).
 * The bound covers the worst case of the JPEG entropy coder plus all the
 * metadata that will be embedded.
 *
 * Returns the capacity in bytes (> 0), or a negative enum decodex_error
 * (BAD_ARGUMENT, NOT_HEIF, IMAGE_TOO_LARGE when the bound would not fit
 * into int32_t).
 */
DECODEX_API int32_t heif2jpg_capacity(const uint8_t* input, int32_t input_size, int32_t quality);

/*
 * Writes the photo's embedded thumbnail (phones store one, 320 to 512
 * pixels wide) as a JPEG, turned and mirrored as the file asks, so that a
 * viewer can show something at once while heif2jpg() decodes the photo.
 * Only the thumbnail is decoded; no metadata is carried.
 *
 * Returns the number of JPEG bytes written (> 0), or a negative enum
 * decodex_error: DECODE_FAILED when the file has no usable thumbnail (none,
 * or one wider or higher than DECODEX_MAX_THUMBNAIL_SIDE), OUTPUT_TOO_SMALL
 * when it did not fit (a capacity of DECODEX_MAX_THUMBNAIL_SIDE squared x 6
 * bytes is always enough).
 */
#define DECODEX_MAX_THUMBNAIL_SIDE 1024
DECODEX_API int32_t heif2jpg_thumbnail(const uint8_t* input, int32_t input_size, int32_t quality,
                                       uint8_t* output, int32_t output_capacity);

/* Short English text for a result code, for logs and command-line tools.
 * Never NULL; the string is static. */
DECODEX_API const char* heif2jpg_error_text(int32_t code);

#ifdef __cplusplus
}
#endif

#endif /* DECODEX_HEIF2JPG_H */
