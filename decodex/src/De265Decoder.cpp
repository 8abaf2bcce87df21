#include "De265Decoder.h"

#include <libde265/de265.h>

#include <cstdint>

namespace decodex {

namespace {

bool push(de265_decoder_context* decoder, const HeifLayout::Tile& tile, int nalLengthSize)
{
    for (const HeifLayout::Span& set : tile.parameterSets) {
        if (!de265_isOK(de265_push_NAL(decoder, set.data, int(set.size), 0, nullptr)))
            return false;
    }
    return HevcDecoder::forEachUnit(tile, nalLengthSize,
                                    [decoder](const uint8_t* unit, size_t size) {
                                        return de265_isOK(de265_push_NAL(decoder, unit, int(size), 0, nullptr));
                                    })
           && de265_isOK(de265_flush_data(decoder));
}

void describe(const de265_image* image, DecodedPicture& picture)
{
    picture.chromaFormat = int(de265_get_chroma_format(image));
    picture.bitDepth = de265_get_bits_per_pixel(image, 0);
    picture.fullRange = de265_get_image_full_range_flag(image) != 0;
    picture.matrix = de265_get_image_matrix_coefficients(image);
    for (int c = 0; c < picture.components(); ++c) {
        DecodedPicture::Plane& plane = picture.planes[c];
        int stride = 0;
        plane.data = de265_get_image_plane(image, c, &stride);
        plane.stride = stride;
        plane.width = de265_get_image_width(image, c);
        plane.height = de265_get_image_height(image, c);
        // Planes of differing depths are not a picture the callers handle.
        if (de265_get_bits_per_pixel(image, c) != picture.bitDepth)
            plane.data = nullptr;
    }
}

} // namespace

De265Decoder::De265Decoder(int threads) : m_threads(threads) {}

De265Decoder::~De265Decoder()
{
    release();
}

void De265Decoder::release()
{
    if (m_holdsPicture)
        de265_release_next_picture(m_decoder);
    m_holdsPicture = false;
    if (m_decoder)
        de265_free_decoder(m_decoder);
    m_decoder = nullptr;
}

HevcDecoder::Outcome De265Decoder::decode(const HeifLayout::Tile& tile, int nalLengthSize, DecodedPicture& picture)
{
    release();
    m_decoder = de265_new_decoder();
    if (!m_decoder)
        return Outcome::Refused;
    // A camera's photo is often one picture, not a grid of tiles: its rows
    // of coding blocks (wavefronts) or slices are then spread over the
    // threads this decode may use. Without them it decodes on one core.
    if (m_threads > 1)
        de265_start_worker_threads(m_decoder, m_threads);
    if (!push(m_decoder, tile, nalLengthSize))
        return Outcome::Refused;
    int more = 1;
    while (more) {
        more = 0;
        if (de265_decode(m_decoder, &more) != DE265_OK)
            break;
        if (const de265_image* image = de265_get_next_picture(m_decoder)) {
            m_holdsPicture = true;
            describe(image, picture);
            return Outcome::Decoded;
        }
    }
    // A bitstream that ends without a picture is a damaged tile.
    return Outcome::Refused;
}

} // namespace decodex
