#include "JpegWriter.h"

#include "PlanarImage.h"
#include "RgbConverter.h"
#include "decodex/heif2jpg.h"

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstring>

#include <jpeglib.h>

namespace decodex {

namespace {

const char kXmpNamespace[] = "http://ns.adobe.com/xap/1.0/"; // written with its NUL
constexpr size_t kMaxSegment = 65533;
constexpr size_t kIccChunk = 65519; // 65533 - "ICC_PROFILE\0" - sequence - count

struct ErrorManager
{
    jpeg_error_mgr base;
    std::jmp_buf jump;
    bool full = false;
};

struct Destination
{
    jpeg_destination_mgr base;
    ErrorManager* errors;
    uint8_t* buffer;
    size_t capacity;
    // libjpeg asks for room as soon as the last byte is written, even when
    // that byte was the end of the file; a few spare bytes let a JPEG that
    // fits exactly finish, and anything that lands in them means it did not.
    uint8_t spare[64];
    bool inSpare;
};

void errorExit(j_common_ptr cinfo)
{
    std::longjmp(reinterpret_cast<ErrorManager*>(cinfo->err)->jump, 1);
}

void quietMessage(j_common_ptr) {}

void initDestination(j_compress_ptr cinfo)
{
    auto* dest = reinterpret_cast<Destination*>(cinfo->dest);
    dest->base.next_output_byte = dest->buffer;
    dest->base.free_in_buffer = dest->capacity;
}

// libjpeg asks for more room only when the caller's buffer is full.
boolean emptyOutput(j_compress_ptr cinfo)
{
    auto* dest = reinterpret_cast<Destination*>(cinfo->dest);
    if (!dest->inSpare) {
        dest->inSpare = true;
        dest->base.next_output_byte = dest->spare;
        dest->base.free_in_buffer = sizeof dest->spare;
        return TRUE;
    }
    dest->errors->full = true;
    std::longjmp(dest->errors->jump, 1);
}

void termDestination(j_compress_ptr) {}

void setSampling(jpeg_compress_struct& cinfo, int chromaFormat)
{
    const int h = chromaFormat == 1 || chromaFormat == 2 ? 2 : 1;
    const int v = chromaFormat == 1 ? 2 : 1;
    cinfo.comp_info[0].h_samp_factor = h;
    cinfo.comp_info[0].v_samp_factor = v;
    for (int c = 1; c < cinfo.num_components; ++c) {
        cinfo.comp_info[c].h_samp_factor = 1;
        cinfo.comp_info[c].v_samp_factor = 1;
    }
}

// Raw data wants whole blocks: columns up to the next multiple of 8 and rows
// in groups of 8 * v_samp_factor. The planes are turned into a band of rows
// whose right edge repeats the last sample, and rows past the bottom repeat
// the last row, as libjpeg does itself for scanline input, so edge blocks
// carry no sharp step. A quarter turn reads the planes down their columns;
// its band holds four strips, so every cache line and page it reads gives
// 64 samples rather than 16.
class RawStrips
{
public:
    RawStrips(const PlanarImage& image, PlaneTransform::Orientation orientation)
        : m_image(image), m_orientation(orientation)
    {
    }

    void prepare(const jpeg_compress_struct& cinfo)
    {
        m_rowsPerStrip = cinfo.max_v_samp_factor * DCTSIZE;
        const int stripsPerBand = m_orientation.transpose ? 4 : 1;
        for (int c = 0; c < m_image.components(); ++c) {
            const jpeg_component_info& comp = cinfo.comp_info[c];
            Band& band = m_bands[c];
            band.stripRows = comp.v_samp_factor * DCTSIZE;
            band.rows = band.stripRows * stripsPerBand;
            band.width = size_t(comp.width_in_blocks) * DCTSIZE;
            band.pixels.resize(band.width * size_t(band.rows));
            band.rowStarts.resize(size_t(band.rows));
            for (int r = 0; r < band.rows; ++r)
                band.rowStarts[size_t(r)] = band.pixels.data() + size_t(r) * band.width;
            band.strip.resize(size_t(band.stripRows));
            m_arrays[c] = band.strip.data();
        }
    }

    // The strip that starts at luma row `row` of the turned picture.
    JSAMPIMAGE fill(int row)
    {
        for (int c = 0; c < m_image.components(); ++c) {
            const PlanarImage::Plane& plane = m_image.plane(c);
            const int height = m_orientation.transpose ? plane.width : plane.height;
            Band& band = m_bands[c];
            const int first = row / (m_rowsPerStrip / band.stripRows);
            if (band.first < 0 || first < band.first || first >= band.first + band.rows)
                load(band, plane, first);
            for (int r = 0; r < band.stripRows; ++r)
                band.strip[size_t(r)] = band.rowStarts[size_t(std::min(first + r, height - 1) - band.first)];
        }
        return m_arrays;
    }

    int rowsPerStrip() const { return m_rowsPerStrip; }

private:
    struct Band
    {
        std::vector<uint8_t> pixels;
        std::vector<JSAMPROW> rowStarts;
        std::vector<JSAMPROW> strip; // what libjpeg gets: rows of the band
        size_t width = 0;
        int stripRows = 0;
        int rows = 0;
        int first = -1; // the turned plane's row in the band's first row; -1: none yet
    };

    void load(Band& band, const PlanarImage::Plane& plane, int first)
    {
        const size_t width = size_t(m_orientation.transpose ? plane.height : plane.width);
        const int height = m_orientation.transpose ? plane.width : plane.height;
        const int rows = std::clamp(height - first, 1, band.rows);
        PlaneTransform::fillRows(m_orientation, plane, first, rows, band.rowStarts.data());
        if (band.width > width) {
            for (int r = 0; r < rows; ++r) {
                uint8_t* line = band.rowStarts[size_t(r)];
                std::memset(line + width, line[width - 1], band.width - width);
            }
        }
        band.first = first;
    }

    const PlanarImage& m_image;
    PlaneTransform::Orientation m_orientation;
    Band m_bands[3];
    JSAMPARRAY m_arrays[3] = {};
    int m_rowsPerStrip = 0;
};

} // namespace

struct JpegWriter::Source
{
    const PlanarImage* planar = nullptr;
    PlaneTransform::Orientation orientation;
    const RgbImage* rgb = nullptr;
    int chromaFormat = 1;
};

size_t JpegWriter::metadataSize(size_t exif, size_t xmp, size_t icc)
{
    size_t bytes = 0;
    if (exif)
        bytes += 4 + exif;
    if (xmp)
        bytes += 4 + sizeof(kXmpNamespace) + xmp;
    if (icc)
        bytes += icc + (icc / kIccChunk + 1) * (4 + 14);
    return bytes;
}

int32_t JpegWriter::writePlanar(const PlanarImage& image, int quality, const JpegMetadata& metadata,
                                PlaneTransform::Orientation orientation)
{
    // A quarter turn of 4:2:2 planes would need 4:4:0 sampling.
    if (orientation.transpose && image.chromaFormat() == 2)
        return DECODEX_ERR_ENCODE_FAILED;
    Source source;
    source.planar = &image;
    source.orientation = orientation;
    source.chromaFormat = image.chromaFormat();
    return write(source, quality, metadata);
}

int32_t JpegWriter::writeRgb(const RgbImage& image, int chromaFormat, int quality, const JpegMetadata& metadata)
{
    Source source;
    source.rgb = &image;
    source.chromaFormat = chromaFormat;
    return write(source, quality, metadata);
}

int32_t JpegWriter::write(const Source& source, int quality, const JpegMetadata& metadata)
{
    if (!m_output || m_capacity == 0)
        return DECODEX_ERR_BAD_ARGUMENT;

    // Everything with a destructor lives outside the setjmp frame's reach.
    const PlanarImage none;
    RawStrips strips(source.planar ? *source.planar : none, source.orientation);
    std::vector<uint8_t> xmpSegment;
    if (!metadata.xmp.empty() && metadata.xmp.size() + sizeof(kXmpNamespace) <= kMaxSegment) {
        xmpSegment.assign(kXmpNamespace, kXmpNamespace + sizeof(kXmpNamespace));
        xmpSegment.insert(xmpSegment.end(), metadata.xmp.begin(), metadata.xmp.end());
    }

    jpeg_compress_struct cinfo;
    ErrorManager errors;
    Destination dest;
    std::memset(&cinfo, 0, sizeof cinfo);
    cinfo.err = jpeg_std_error(&errors.base);
    errors.base.error_exit = errorExit;
    errors.base.output_message = quietMessage;

    if (setjmp(errors.jump)) {
        jpeg_destroy_compress(&cinfo);
        return errors.full ? DECODEX_ERR_OUTPUT_TOO_SMALL : DECODEX_ERR_ENCODE_FAILED;
    }
    jpeg_create_compress(&cinfo);
    dest.base.init_destination = initDestination;
    dest.base.empty_output_buffer = emptyOutput;
    dest.base.term_destination = termDestination;
    dest.errors = &errors;
    dest.buffer = m_output;
    dest.capacity = m_capacity;
    dest.inSpare = false;
    cinfo.dest = &dest.base;

    const bool gray = source.chromaFormat == 0;
    if (source.planar) {
        const bool transpose = source.orientation.transpose;
        cinfo.image_width = JDIMENSION(transpose ? source.planar->height() : source.planar->width());
        cinfo.image_height = JDIMENSION(transpose ? source.planar->width() : source.planar->height());
        cinfo.input_components = source.planar->components();
        cinfo.in_color_space = gray ? JCS_GRAYSCALE : JCS_YCbCr;
    } else {
        cinfo.image_width = JDIMENSION(source.rgb->width);
        cinfo.image_height = JDIMENSION(source.rgb->height);
        cinfo.input_components = 3;
        cinfo.in_color_space = JCS_RGB;
    }
    jpeg_set_defaults(&cinfo);
    if (gray)
        jpeg_set_colorspace(&cinfo, JCS_GRAYSCALE);
    else
        setSampling(cinfo, source.chromaFormat);
    jpeg_set_quality(&cinfo, std::clamp(quality, 0, 100), TRUE);
    cinfo.dct_method = JDCT_ISLOW;
    cinfo.raw_data_in = source.planar ? TRUE : FALSE;

    jpeg_start_compress(&cinfo, TRUE);
    if (!metadata.exif.empty() && metadata.exif.size() <= kMaxSegment)
        jpeg_write_marker(&cinfo, JPEG_APP0 + 1, metadata.exif.data(), unsigned(metadata.exif.size()));
    if (!xmpSegment.empty())
        jpeg_write_marker(&cinfo, JPEG_APP0 + 1, xmpSegment.data(), unsigned(xmpSegment.size()));
    if (!metadata.icc.empty() && metadata.icc.size() <= kIccChunk * 255)
        jpeg_write_icc_profile(&cinfo, metadata.icc.data(), unsigned(metadata.icc.size()));

    if (source.planar) {
        strips.prepare(cinfo);
        for (JDIMENSION row = 0; row < cinfo.image_height; row += JDIMENSION(strips.rowsPerStrip()))
            jpeg_write_raw_data(&cinfo, strips.fill(int(row)), JDIMENSION(strips.rowsPerStrip()));
    } else {
        const size_t stride = size_t(source.rgb->width) * 3;
        while (cinfo.next_scanline < cinfo.image_height) {
            JSAMPROW row = const_cast<JSAMPROW>(source.rgb->pixels.data() + size_t(cinfo.next_scanline) * stride);
            jpeg_write_scanlines(&cinfo, &row, 1);
        }
    }
    jpeg_finish_compress(&cinfo);
    const bool overflowed = dest.inSpare && dest.base.free_in_buffer != sizeof dest.spare;
    const size_t written = dest.inSpare ? m_capacity : m_capacity - dest.base.free_in_buffer;
    jpeg_destroy_compress(&cinfo);
    if (overflowed)
        return DECODEX_ERR_OUTPUT_TOO_SMALL;
    return written > size_t(INT32_MAX) ? DECODEX_ERR_OUTPUT_TOO_SMALL : int32_t(written);
}

} // namespace decodex
