// libFuzzer entry: every input goes through the thumbnail, the capacity query and a full
// conversion, once into a buffer the capacity says is enough and once into
// one that is far too small.
#include "decodex/heif2jpg.h"
#include "ExifEditor.h"
#include "XmpEditor.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0 || size > (1u << 24))
        return 0;
    const int32_t inputSize = int32_t(size);
    // The EXIF walk and the XMP edit see the same bytes as an EXIF or XMP
    // item would.
    decodex::ExifEditor::forJpeg(data, size, 640, 480);
    std::vector<uint8_t> xmp(data, data + size);
    decodex::XmpEditor::forJpeg(xmp);

    std::vector<uint8_t> thumbnail(1 << 16);
    heif2jpg_thumbnail(data, inputSize, 90, thumbnail.data(), int32_t(thumbnail.size()));

    const int32_t capacity = heif2jpg_capacity(data, inputSize, 90);
    // Photos up to 50 MP (a camera's) are decoded; beyond that a declared
    // size only measures how fast memory can be filled. The bound is six
    // bytes a pixel.
    if (capacity <= 0 || capacity > 6 * 50000000 + (16 << 20))
        return 0;
    // Only the guard bytes past the capacity are filled: clearing a camera
    // photo's whole bound on every input would be most of the run.
    const size_t guard = 64;
    const std::unique_ptr<uint8_t[]> output(new uint8_t[size_t(capacity) + guard]);
    std::memset(output.get() + capacity, 0xA5, guard);
    const int32_t written = heif2jpg(data, inputSize, 90, output.get(), capacity, nullptr);
    if (written == DECODEX_ERR_OUTPUT_TOO_SMALL)
        __builtin_trap(); // the capacity promised enough room
    for (size_t i = 0; i < guard; ++i) {
        if (output[size_t(capacity) + i] != 0xA5)
            __builtin_trap();
    }
    if (written > 0) {
        std::vector<uint8_t> small(size_t(written / 2) + 1);
        heif2jpg(data, inputSize, 90, small.data(), int32_t(small.size()), nullptr);
    }
    return 0;
}
