// The floor a HEIC-to-JPEG conversion cannot go below: FFmpeg's HEVC
// decoder alone on the photo's coded pictures, then libjpeg-turbo alone on
// planes of the same size and sampling, in a process that links nothing
// else. No metadata, colour mapping, turning or checks: what is left of
// our time above this is the program's own.
//   heif-floor [-q QUALITY] IN.heic OUT.jpg
// The tiles are found with our container reader (parsing only; it links no
// library). 10-bit samples are cut to 8 bits by a shift, the cheapest way.
#include "HeifLayout.h"

extern "C" {
#include <libavcodec/avcodec.h>
}
#include <turbojpeg.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <vector>

namespace {

// One packet: every NAL unit with a four-byte start code, parameter sets first.
std::vector<uint8_t> annexB(const decodex::HeifLayout& layout, const decodex::HeifLayout::Tile& tile)
{
    std::vector<uint8_t> out;
    auto put = [&out](const uint8_t* p, size_t n) {
        static const uint8_t start[4] = {0, 0, 0, 1};
        out.insert(out.end(), start, start + 4);
        out.insert(out.end(), p, p + n);
    };
    for (const auto& set : tile.parameterSets)
        put(set.data, set.size);
    const size_t lengthSize = size_t(layout.nalLengthSize);
    for (size_t at = 0; at + lengthSize <= tile.data.size;) {
        size_t length = 0;
        for (size_t i = 0; i < lengthSize; ++i)
            length = (length << 8) | tile.data.data[at + i];
        at += lengthSize;
        length = std::min(length, tile.data.size - at);
        put(tile.data.data + at, length);
        at += length;
    }
    out.resize(out.size() + AV_INPUT_BUFFER_PADDING_SIZE, 0);
    return out;
}

} // namespace

int main(int argc, char** argv)
{
    int quality = 100, arg = 1;
    if (argc > 2 && std::strcmp(argv[1], "-q") == 0) {
        quality = std::atoi(argv[2]);
        arg = 3;
    }
    if (argc - arg != 2) {
        std::fprintf(stderr, "usage: %s [-q QUALITY] IN.heic OUT.jpg\n", argv[0]);
        return 2;
    }
    std::ifstream in(argv[arg], std::ios::binary);
    const std::vector<uint8_t> file((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const decodex::HeifLayout layout = decodex::HeifLayout::read(file.data(), file.size());
    if (!layout.direct || layout.chromaFormat < 0 || layout.chromaFormat > 3) {
        std::fprintf(stderr, "%s: not a plain HEVC photo\n", argv[arg]);
        return 1;
    }
    const int sx = layout.chromaFormat == 1 || layout.chromaFormat == 2 ? 2 : 1;
    const int sy = layout.chromaFormat == 1 ? 2 : 1;
    const int components = layout.chromaFormat == 0 ? 1 : 3;
    std::vector<uint8_t> planes[3];
    int widths[3], heights[3];
    for (int c = 0; c < components; ++c) {
        widths[c] = c ? (layout.width + sx - 1) / sx : layout.width;
        heights[c] = c ? (layout.height + sy - 1) / sy : layout.height;
        planes[c].resize(size_t(widths[c]) * size_t(heights[c]));
    }

    const AVCodec* codec = avcodec_find_decoder(AV_CODEC_ID_HEVC);
    AVCodecContext* context = avcodec_alloc_context3(codec);
    if (!codec || !context || avcodec_open2(context, codec, nullptr) < 0)
        return 1;
    AVPacket* packet = av_packet_alloc();
    AVFrame* frame = av_frame_alloc();
    for (size_t i = 0; i < layout.tiles.size(); ++i) {
        std::vector<uint8_t> bytes = annexB(layout, layout.tiles[i]);
        packet->data = bytes.data();
        packet->size = int(bytes.size() - AV_INPUT_BUFFER_PADDING_SIZE);
        if (avcodec_send_packet(context, packet) < 0 || avcodec_send_packet(context, nullptr) < 0
            || avcodec_receive_frame(context, frame) < 0)
            return 1;
        const int x0 = int(i % size_t(layout.columns)) * layout.tileWidth;
        const int y0 = int(i / size_t(layout.columns)) * layout.tileHeight;
        const bool wide = layout.bitDepth > 8;
        for (int c = 0; c < components; ++c) {
            const int px = c ? x0 / sx : x0, py = c ? y0 / sy : y0;
            const int w = std::min(c ? (layout.tileWidth + sx - 1) / sx : layout.tileWidth, widths[c] - px);
            const int h = std::min(c ? (layout.tileHeight + sy - 1) / sy : layout.tileHeight, heights[c] - py);
            for (int y = 0; y < h; ++y) {
                const uint8_t* src = frame->data[c] + size_t(y) * size_t(frame->linesize[c]);
                uint8_t* dst = planes[c].data() + size_t(py + y) * size_t(widths[c]) + size_t(px);
                if (!wide) {
                    std::memcpy(dst, src, size_t(w));
                    continue;
                }
                const auto* wideRow = reinterpret_cast<const uint16_t*>(src);
                for (int x = 0; x < w; ++x)
                    dst[x] = uint8_t(wideRow[x] >> (layout.bitDepth - 8));
            }
        }
        av_frame_unref(frame);
        avcodec_flush_buffers(context);
    }
    av_frame_free(&frame);
    av_packet_free(&packet);
    avcodec_free_context(&context);

    static const int sampling[4] = {TJSAMP_GRAY, TJSAMP_420, TJSAMP_422, TJSAMP_444};
    tjhandle jpeg = tjInitCompress();
    const unsigned char* sources[3] = {planes[0].data(), components > 1 ? planes[1].data() : nullptr,
                                       components > 1 ? planes[2].data() : nullptr};
    unsigned char* out = nullptr;
    unsigned long size = 0;
    if (tjCompressFromYUVPlanes(jpeg, sources, layout.width, nullptr, layout.height, sampling[layout.chromaFormat],
                                &out, &size, quality, TJFLAG_ACCURATEDCT) != 0)
        return 1;
    std::ofstream(argv[arg + 1], std::ios::binary).write(reinterpret_cast<const char*>(out), std::streamsize(size));
    tjFree(out);
    tjDestroy(jpeg);
    return 0;
}
