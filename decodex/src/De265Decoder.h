#pragma once

#include "HevcDecoder.h"

namespace decodex {

// libde265 behind the HevcDecoder face: the decoder libheif uses, kept for
// builds without libavcodec and for the streams libavcodec refuses. It does
// not tell a damaged stream from one it cannot handle (it conceals much
// damage itself), so every failure is a refusal and libheif gets its turn,
// as before libavcodec came.
class De265Decoder : public HevcDecoder
{
public:
    explicit De265Decoder(int threads);
    ~De265Decoder() override;

    Outcome decode(const HeifLayout::Tile& tile, int nalLengthSize, DecodedPicture& picture) override;

private:
    void release();

    int m_threads;
    // A fresh context for every picture, as libheif's own plugin does: the
    // fallback is not worth tuning.
    void* m_decoder = nullptr; // libde265's de265_decoder_context, itself a void
    bool m_holdsPicture = false;
};

} // namespace decodex
