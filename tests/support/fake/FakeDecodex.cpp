// A stand-in for the decoding library, driven by the first eight bytes of
// its input so that tests can ask for each outcome:
//
//   "FAKEJPEG" + payload   returns the payload as the JPEG
//   "FAKEBIGS" + payload   refuses every capacity up to input size x 10 with
//                          OUTPUT_TOO_SMALL; heif2jpg_capacity tells a size
//                          that works
//   "FAKESLOW" + payload   sleeps 400 ms, then as FAKEJPEG
//   "FAKENAME" + name NUL + payload
//                          waits at the gate while it is shut, records the
//                          quality, then as FAKEJPEG; a name starting with
//                          "broken" fails as an undecodable photo
//   "FAKEERR" + digit      returns minus that digit
//   anything else          DECODEX_ERR_NOT_HEIF
//
// The fake_decodex_* exports let a test count calls, hold workers at the
// gate and let them through one by one.
#define DECODEX_BUILDING
#include <decodex/heif2jpg.h>

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <thread>

namespace {

std::mutex lock;
std::condition_variable changed;
int calls = 0;
int entered = 0; // FAKENAME calls since the last reset
bool gateShut = false;
int permits = 0;
bool qualities[101] = {};

bool hasTag(const uint8_t* input, int32_t size, const char* tag)
{
    return size >= 8 && std::memcmp(input, tag, 8) == 0;
}

int32_t copyPayload(const uint8_t* payload, int32_t size, uint8_t* output, int32_t capacity)
{
    if (size > capacity)
        return DECODEX_ERR_OUTPUT_TOO_SMALL;
    std::memcpy(output, payload, size_t(size));
    return size;
}

int32_t passGate(const uint8_t* input, int32_t size, int32_t quality, uint8_t* output, int32_t capacity)
{
    const auto* name = input + 8;
    const auto* end = static_cast<const uint8_t*>(std::memchr(name, 0, size_t(size - 8)));
    {
        std::unique_lock<std::mutex> guard(lock);
        ++entered;
        if (quality >= 0 && quality <= 100)
            qualities[quality] = true;
        changed.wait(guard, [] { return !gateShut || permits > 0; });
        if (gateShut)
            --permits;
    }
    if (!end || (end - name >= 6 && std::memcmp(name, "broken", 6) == 0))
        return DECODEX_ERR_DECODE_FAILED;
    return copyPayload(end + 1, int32_t(input + size - (end + 1)), output, capacity);
}

} // namespace

extern "C" {

DECODEX_API int fake_decodex_calls()
{
    std::lock_guard<std::mutex> guard(lock);
    return calls;
}

DECODEX_API int fake_decodex_entered()
{
    std::lock_guard<std::mutex> guard(lock);
    return entered;
}

// Forgets what was seen and opens the gate. Call with no worker running.
DECODEX_API void fake_decodex_reset()
{
    std::lock_guard<std::mutex> guard(lock);
    entered = 0;
    gateShut = false;
    permits = 0;
    std::memset(qualities, 0, sizeof qualities);
    changed.notify_all();
}

DECODEX_API void fake_decodex_gate(int shut)
{
    std::lock_guard<std::mutex> guard(lock);
    gateShut = shut != 0;
    changed.notify_all();
}

DECODEX_API void fake_decodex_release(int count)
{
    std::lock_guard<std::mutex> guard(lock);
    permits += count;
    changed.notify_all();
}

DECODEX_API int fake_decodex_quality_seen(int quality)
{
    std::lock_guard<std::mutex> guard(lock);
    return quality >= 0 && quality <= 100 && qualities[quality];
}

DECODEX_API int32_t heif2jpg(const uint8_t* input, int32_t input_size, int32_t quality, uint8_t* output,
                             int32_t output_capacity, const char*)
{
    {
        std::lock_guard<std::mutex> guard(lock);
        ++calls;
    }
    if (!input || input_size <= 0 || !output || output_capacity <= 0)
        return DECODEX_ERR_BAD_ARGUMENT;
    if (hasTag(input, input_size, "FAKEJPEG"))
        return copyPayload(input + 8, input_size - 8, output, output_capacity);
    if (hasTag(input, input_size, "FAKEBIGS")) {
        if (int64_t(output_capacity) <= int64_t(input_size) * 10)
            return DECODEX_ERR_OUTPUT_TOO_SMALL;
        return copyPayload(input + 8, input_size - 8, output, output_capacity);
    }
    if (hasTag(input, input_size, "FAKESLOW")) {
        std::this_thread::sleep_for(std::chrono::milliseconds(400));
        return copyPayload(input + 8, input_size - 8, output, output_capacity);
    }
    if (hasTag(input, input_size, "FAKENAME"))
        return passGate(input, input_size, quality, output, output_capacity);
    if (input_size >= 8 && std::memcmp(input, "FAKEERR", 7) == 0)
        return -int32_t(input[7] - '0');
    return DECODEX_ERR_NOT_HEIF;
}

DECODEX_API int32_t heif2jpg_capacity(const uint8_t* input, int32_t input_size, int32_t)
{
    if (!input || input_size <= 0)
        return DECODEX_ERR_BAD_ARGUMENT;
    return input_size * 10 + 1;
}

DECODEX_API const char* heif2jpg_error_text(int32_t code)
{
    return code < 0 ? "fake error" : "ok";
}

} // extern "C"
