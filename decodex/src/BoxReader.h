#pragma once

#include <cstddef>
#include <cstdint>

namespace decodex {

// Big-endian cursor over a byte range that never reads outside it: a read
// past the end returns 0 and marks the reader as failed, so parsers can read
// a whole structure and check ok() once.
class BoxReader
{
public:
    BoxReader() = default;
    BoxReader(const uint8_t* data, size_t size) : m_data(data), m_size(size) {}

    bool ok() const { return m_ok; }
    size_t position() const { return m_pos; }
    size_t remaining() const { return m_pos <= m_size ? m_size - m_pos : 0; }
    const uint8_t* current() const { return m_data + m_pos; }

    uint8_t u8();
    uint16_t u16();
    uint32_t u32();
    uint64_t u64();
    // Unsigned big-endian field of 0, 1, 2, 4 or 8 bytes (iloc's variable sizes).
    uint64_t uint(int bytes);
    void skip(size_t bytes);

    // Reads one box header; `body` gets the box's contents. False at the end
    // of the range or on a box that does not fit.
    bool nextBox(uint32_t& type, BoxReader& body);

    static constexpr uint32_t fourcc(const char (&s)[5])
    {
        return (uint32_t(uint8_t(s[0])) << 24) | (uint32_t(uint8_t(s[1])) << 16)
               | (uint32_t(uint8_t(s[2])) << 8) | uint32_t(uint8_t(s[3]));
    }

private:
    bool take(size_t bytes);

    const uint8_t* m_data = nullptr;
    size_t m_size = 0;
    size_t m_pos = 0;
    bool m_ok = true;
};

} // namespace decodex
