#include "HevcSps.h"

namespace decodex {

namespace {

// Reads bits of an RBSP straight from the NAL unit, dropping the 0x03 that
// follows every pair of zero bytes. A read past the end yields zeros and
// marks the reader failed.
class BitReader
{
public:
    BitReader(const uint8_t* data, size_t size) : m_data(data), m_size(size) {}

    bool ok() const { return m_ok; }

    uint32_t bits(int count)
    {
        uint32_t value = 0;
        for (int i = 0; i < count; ++i)
            value = (value << 1) | bit();
        return value;
    }

    void skip(int count)
    {
        for (int i = 0; i < count && m_ok; ++i)
            bit();
    }

    // Exp-Golomb ue(v); values that do not fit 32 bits fail.
    uint32_t ue()
    {
        int zeros = 0;
        while (m_ok && bit() == 0) {
            if (++zeros > 31) {
                m_ok = false;
                return 0;
            }
        }
        return uint32_t((uint64_t(1) << zeros) - 1 + bits(zeros));
    }

private:
    uint32_t bit()
    {
        if (m_bit == 0) {
            if (m_pos < m_size && m_zeros >= 2 && m_data[m_pos] == 3) {
                ++m_pos;
                m_zeros = 0;
            }
            if (m_pos >= m_size) {
                m_ok = false;
                return 0;
            }
            m_byte = m_data[m_pos++];
            m_zeros = m_byte == 0 ? m_zeros + 1 : 0;
            m_bit = 8;
        }
        --m_bit;
        return (m_byte >> m_bit) & 1;
    }

    const uint8_t* m_data;
    size_t m_size;
    size_t m_pos = 0;
    int m_zeros = 0;
    uint8_t m_byte = 0;
    int m_bit = 0;
    bool m_ok = true;
};

} // namespace

bool HevcSps::pictureSize(const uint8_t* nal, size_t size, uint32_t& width, uint32_t& height)
{
    if (!nal || !isSps(nal, size))
        return false;
    BitReader in(nal + 2, size - 2);
    in.skip(4); // sps_video_parameter_set_id
    const int subLayers = int(in.bits(3));
    in.skip(1); // temporal id nesting
    // profile_tier_level: the general profile and level, then which
    // sub-layers carry their own.
    in.skip(88 + 8);
    bool profilePresent[8] = {};
    bool levelPresent[8] = {};
    for (int i = 0; i < subLayers; ++i) {
        profilePresent[i] = in.bits(1);
        levelPresent[i] = in.bits(1);
    }
    if (subLayers > 0)
        in.skip(2 * (8 - subLayers));
    for (int i = 0; i < subLayers; ++i) {
        if (profilePresent[i])
            in.skip(88);
        if (levelPresent[i])
            in.skip(8);
    }
    in.ue(); // sps_seq_parameter_set_id
    if (in.ue() == 3) // chroma_format_idc
        in.skip(1);  // separate colour planes
    width = in.ue();
    height = in.ue();
    return in.ok();
}

} // namespace decodex
