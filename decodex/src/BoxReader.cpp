#include "BoxReader.h"

namespace decodex {

bool BoxReader::take(size_t bytes)
{
    if (!m_ok || bytes > remaining()) {
        m_ok = false;
        m_pos = m_size;
        return false;
    }
    return true;
}

uint8_t BoxReader::u8()
{
    if (!take(1))
        return 0;
    return m_data[m_pos++];
}

uint16_t BoxReader::u16()
{
    if (!take(2))
        return 0;
    const uint16_t v = uint16_t((m_data[m_pos] << 8) | m_data[m_pos + 1]);
    m_pos += 2;
    return v;
}

uint32_t BoxReader::u32()
{
    if (!take(4))
        return 0;
    const uint32_t v = (uint32_t(m_data[m_pos]) << 24) | (uint32_t(m_data[m_pos + 1]) << 16)
                       | (uint32_t(m_data[m_pos + 2]) << 8) | uint32_t(m_data[m_pos + 3]);
    m_pos += 4;
    return v;
}

uint64_t BoxReader::u64()
{
    const uint64_t high = u32();
    return (high << 32) | u32();
}

uint64_t BoxReader::uint(int bytes)
{
    switch (bytes) {
    case 0: return 0;
    case 1: return u8();
    case 2: return u16();
    case 4: return u32();
    case 8: return u64();
    default:
        m_ok = false;
        return 0;
    }
}

void BoxReader::skip(size_t bytes)
{
    if (take(bytes))
        m_pos += bytes;
}

bool BoxReader::nextBox(uint32_t& type, BoxReader& body)
{
    if (!m_ok || remaining() < 8)
        return false;
    const size_t start = m_pos;
    uint64_t size = u32();
    type = u32();
    if (size == 1)
        size = u64();
    else if (size == 0)
        size = m_size - start;
    const size_t header = m_pos - start;
    if (!m_ok || size < header || size - header > remaining()) {
        m_ok = false;
        return false;
    }
    const size_t bodySize = size_t(size - header);
    body = BoxReader(m_data + m_pos, bodySize);
    m_pos += bodySize;
    return true;
}

} // namespace decodex
