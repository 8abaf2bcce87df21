#include "AvcodecDecoder.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/error.h>
#include <libavutil/log.h>
#include <libavutil/mem.h>
#include <libavutil/pixdesc.h>
}

#include <cstring>
#include <mutex>

namespace decodex {

namespace {

// Every NAL unit goes to libavcodec with a four-byte length, as most HEIF
// files store them; an 'hvcC' without parameter sets tells it so once.
constexpr int kLengthSize = 4;

HevcDecoder::Outcome outcomeOf(int error)
{
    // Invalid data is what AV_EF_EXPLODE turns every damage it finds into;
    // anything else (a feature FFmpeg lacks, memory) is for another decoder.
    return error == AVERROR_INVALIDDATA ? HevcDecoder::Outcome::Damaged : HevcDecoder::Outcome::Refused;
}

// The planes of a software frame as DecodedPicture describes them; false
// for layouts the callers do not handle (alpha, big-endian, packed).
bool describe(const AVFrame* frame, DecodedPicture& picture)
{
    const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(AVPixelFormat(frame->format));
    if (!format || (format->flags & (AV_PIX_FMT_FLAG_BE | AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL
                                     | AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_ALPHA)))
        return false;
    if (format->nb_components == 1)
        picture.chromaFormat = 0;
    else if (format->nb_components == 3 && (format->flags & AV_PIX_FMT_FLAG_PLANAR))
        picture.chromaFormat = format->log2_chroma_w == 1 ? (format->log2_chroma_h == 1 ? 1 : 2)
                                                          : format->log2_chroma_h == 0 ? 3 : -1;
    else
        return false;
    if (picture.chromaFormat < 0 || (picture.chromaFormat == 2 && format->log2_chroma_h != 0))
        return false;
    picture.bitDepth = format->comp[0].depth;
    picture.fullRange = frame->color_range == AVCOL_RANGE_JPEG;
    picture.matrix = int(frame->colorspace);
    for (int c = 0; c < picture.components(); ++c) {
        const AVComponentDescriptor& component = format->comp[c];
        if (component.depth != picture.bitDepth || component.step != (picture.bitDepth > 8 ? 2 : 1)
            || component.plane != c || component.shift != 0)
            return false;
        DecodedPicture::Plane& plane = picture.planes[c];
        plane.data = frame->data[c];
        plane.stride = frame->linesize[c];
        plane.width = c == 0 ? frame->width : AV_CEIL_RSHIFT(frame->width, format->log2_chroma_w);
        plane.height = c == 0 ? frame->height : AV_CEIL_RSHIFT(frame->height, format->log2_chroma_h);
        if (!plane.data || plane.stride <= 0)
            return false;
    }
    return true;
}

} // namespace

std::unique_ptr<AvcodecDecoder> AvcodecDecoder::open(int threads)
{
    // FFmpeg writes every complaint about a damaged stream to stderr; the
    // caller hears of it through the result instead.
    static std::once_flag quiet;
    std::call_once(quiet, [] { av_log_set_level(AV_LOG_QUIET); });

    const AVCodec* codec = avcodec_find_decoder(AV_CODEC_ID_HEVC);
    if (!codec)
        return nullptr;
    std::unique_ptr<AvcodecDecoder> decoder(new AvcodecDecoder);
    AVCodecContext* context = avcodec_alloc_context3(codec);
    decoder->m_context = context;
    decoder->m_packet = av_packet_alloc();
    decoder->m_frame = av_frame_alloc();
    decoder->m_spare = av_frame_alloc();
    if (!context || !decoder->m_packet || !decoder->m_frame || !decoder->m_spare)
        return nullptr;
    // An 'hvcC' record without parameter sets: configurationVersion 1 and
    // lengthSizeMinusOne, so every packet is read as length-prefixed units.
    context->extradata = static_cast<uint8_t*>(av_mallocz(23 + AV_INPUT_BUFFER_PADDING_SIZE));
    if (!context->extradata)
        return nullptr;
    context->extradata_size = 23;
    context->extradata[0] = 1;
    context->extradata[21] = 0xFC | (kLengthSize - 1);
    context->err_recognition = AV_EF_EXPLODE;
    // One picture at a time: only its own slices and wavefront rows can be
    // decoded side by side; frame threads would wait for a second picture.
    context->thread_count = threads > 1 ? threads : 1;
    context->thread_type = FF_THREAD_SLICE;
    if (avcodec_open2(context, codec, nullptr) < 0)
        return nullptr;
    return decoder;
}

AvcodecDecoder::~AvcodecDecoder()
{
    av_frame_free(&m_frame);
    av_frame_free(&m_spare);
    av_packet_free(&m_packet);
    avcodec_free_context(&m_context);
}

// The parameter sets and the picture's NAL units in one packet, every unit
// with a four-byte length whatever length the file used. Damaged when a
// length runs past the item's end or there is nothing to decode.
HevcDecoder::Outcome AvcodecDecoder::pack(const HeifLayout::Tile& tile, int nalLengthSize)
{
    size_t bytes = 0, units = 0;
    for (const HeifLayout::Span& set : tile.parameterSets)
        bytes += kLengthSize + set.size;
    const bool whole = forEachUnit(tile, nalLengthSize, [&](const uint8_t*, size_t size) {
        bytes += kLengthSize + size;
        ++units;
        return true;
    });
    if (!whole || units == 0 || bytes > size_t(INT32_MAX) - AV_INPUT_BUFFER_PADDING_SIZE)
        return Outcome::Damaged;
    if (av_new_packet(m_packet, int(bytes)) < 0)
        return Outcome::Refused;
    uint8_t* out = m_packet->data;
    auto put = [&out](const uint8_t* data, size_t size) {
        for (int i = kLengthSize - 1; i >= 0; --i)
            *out++ = uint8_t(size >> (8 * i));
        std::memcpy(out, data, size);
        out += size;
        return true;
    };
    for (const HeifLayout::Span& set : tile.parameterSets)
        put(set.data, set.size);
    forEachUnit(tile, nalLengthSize, put);
    return Outcome::Decoded;
}

HevcDecoder::Outcome AvcodecDecoder::decode(const HeifLayout::Tile& tile, int nalLengthSize, DecodedPicture& picture)
{
    av_frame_unref(m_frame);
    if (m_used)
        avcodec_flush_buffers(m_context); // out of the last picture's draining
    m_used = true;
    const Outcome packed = pack(tile, nalLengthSize);
    if (packed != Outcome::Decoded)
        return packed;
    const int sent = avcodec_send_packet(m_context, m_packet);
    av_packet_unref(m_packet);
    if (sent < 0)
        return outcomeOf(sent);
    // Drained at once: the picture is all there is.
    const int drained = avcodec_send_packet(m_context, nullptr);
    if (drained < 0)
        return outcomeOf(drained);
    return receive(picture);
}

HevcDecoder::Outcome AvcodecDecoder::receive(DecodedPicture& picture)
{
    const int got = avcodec_receive_frame(m_context, m_frame);
    if (got < 0) // AVERROR_EOF: a stream that ends without a picture is damaged
        return got == AVERROR_EOF ? Outcome::Damaged : outcomeOf(got);
    // Anything after the first picture is not part of the image; it is read
    // to the end so a damaged tail still counts.
    for (int more = avcodec_receive_frame(m_context, m_spare); more != AVERROR_EOF;
         more = avcodec_receive_frame(m_context, m_spare)) {
        if (more < 0)
            return outcomeOf(more);
        av_frame_unref(m_spare);
    }
    // A picture that is not intra coded was predicted from pictures the item
    // does not have: libavcodec would have made them up.
    if (m_frame->decode_error_flags
        || (!m_frame->key_frame && m_frame->pict_type != AV_PICTURE_TYPE_I))
        return Outcome::Damaged;
    return describe(m_frame, picture) ? Outcome::Decoded : Outcome::Refused;
}

} // namespace decodex
