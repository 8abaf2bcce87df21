// libFuzzer entry: every input goes through the capacity query and a full
// conversion, once into a buffer the capacity says is enough and once into
// one that is far too small.
#include "decodex/heif2jpg.h"
#include "ExifEditor.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0 || size > (1u << 24))
        return 0;
    const int32_t inputSize = int32_t(size);
    // The EXIF walk sees the same bytes as an EXIF item would.
    decodex::ExifEditor::forJpeg(data, size);

    const int32_t capacity = heif2jpg_capacity(data, inputSize, 90);
    // Huge declared images only measure how fast memory can be filled.
    if (capacity <= 0 || capacity > (64 << 20))
        return 0;
    std::vector<uint8_t> output(size_t(capacity) + 64, 0xA5);
    const int32_t written = heif2jpg(data, inputSize, 90, output.data(), capacity, nullptr);
    if (written == DECODEX_ERR_OUTPUT_TOO_SMALL)
        __builtin_trap(); // the capacity promised enough room
    for (size_t i = size_t(capacity); i < output.size(); ++i) {
        if (output[i] != 0xA5)
            __builtin_trap();
    }
    if (written > 0) {
        std::vector<uint8_t> small(size_t(written / 2) + 1);
        heif2jpg(data, inputSize, 90, small.data(), int32_t(small.size()), nullptr);
    }
    return 0;
}
