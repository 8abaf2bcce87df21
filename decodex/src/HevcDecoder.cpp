#include "HevcDecoder.h"

#include "De265Decoder.h"
#ifdef DECODEX_HAVE_AVCODEC
#include "AvcodecDecoder.h"
#endif

namespace decodex {

namespace {

// libavcodec first; libde265 for what it refuses. A damaged stream is not
// handed on: libde265 would conceal the damage and a wrong picture would
// come out as if it were the photo.
class FallbackDecoder : public HevcDecoder
{
public:
    FallbackDecoder(std::unique_ptr<HevcDecoder> first, int threads) : m_first(std::move(first)), m_threads(threads)
    {
    }

    Outcome decode(const HeifLayout::Tile& tile, int nalLengthSize, DecodedPicture& picture) override
    {
        if (m_first) {
            const Outcome outcome = m_first->decode(tile, nalLengthSize, picture);
            if (outcome != Outcome::Refused)
                return outcome;
        }
        if (!m_fallback)
            m_fallback = create(Backend::Libde265, m_threads);
        return m_fallback ? m_fallback->decode(tile, nalLengthSize, picture) : Outcome::Refused;
    }

private:
    std::unique_ptr<HevcDecoder> m_first;
    std::unique_ptr<HevcDecoder> m_fallback;
    int m_threads;
};

} // namespace

bool HevcDecoder::forEachUnit(const HeifLayout::Tile& tile, int nalLengthSize,
                              const std::function<bool(const uint8_t*, size_t)>& unit)
{
    if (nalLengthSize < 1 || nalLengthSize > 4)
        return false;
    const size_t lengthSize = size_t(nalLengthSize);
    const uint8_t* p = tile.data.data;
    size_t left = tile.data.size;
    while (left >= lengthSize) {
        size_t length = 0;
        for (size_t i = 0; i < lengthSize; ++i)
            length = (length << 8) | p[i];
        p += lengthSize;
        left -= lengthSize;
        if (length > left || length > size_t(INT32_MAX))
            return false;
        if (length > 0 && !unit(p, length))
            return false;
        p += length;
        left -= length;
    }
    return true;
}

std::unique_ptr<HevcDecoder> HevcDecoder::create(int threads)
{
    return std::make_unique<FallbackDecoder>(create(Backend::Libavcodec, threads), threads);
}

std::unique_ptr<HevcDecoder> HevcDecoder::create(Backend backend, int threads)
{
    switch (backend) {
    case Backend::Libavcodec:
#ifdef DECODEX_HAVE_AVCODEC
        return AvcodecDecoder::open(threads);
#else
        return nullptr;
#endif
    case Backend::Libde265:
        return std::make_unique<De265Decoder>(threads);
    }
    return nullptr;
}

} // namespace decodex
