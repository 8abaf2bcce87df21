#pragma once

#include "HevcDecoder.h"

#include <vector>

struct AVCodecContext;
struct AVFrame;
struct AVPacket;

namespace decodex {

// FFmpeg's HEVC decoder behind the HevcDecoder face. One codec context
// serves every picture this decoder is given: after each picture it is
// drained and flushed, which keeps its buffer pools and threads for the
// next tile instead of building them again. Errors are not concealed
// (AV_EF_EXPLODE): a damaged stream fails rather than giving a picture with
// guessed parts.
class AvcodecDecoder : public HevcDecoder
{
public:
    // Null when libavcodec has no HEVC decoder or it cannot be opened.
    static std::unique_ptr<AvcodecDecoder> open(int threads);
    ~AvcodecDecoder() override;
    AvcodecDecoder(const AvcodecDecoder&) = delete;
    AvcodecDecoder& operator=(const AvcodecDecoder&) = delete;

    Outcome decode(const HeifLayout::Tile& tile, int nalLengthSize, DecodedPicture& picture) override;

private:
    AvcodecDecoder() = default;
    Outcome pack(const HeifLayout::Tile& tile, int nalLengthSize); // Decoded: packed
    Outcome receive(DecodedPicture& picture);

    AVCodecContext* m_context = nullptr;
    AVPacket* m_packet = nullptr;
    AVFrame* m_frame = nullptr; // the picture handed out, until the next decode
    AVFrame* m_spare = nullptr; // pictures after the first, drained and dropped
    bool m_used = false;
};

} // namespace decodex
