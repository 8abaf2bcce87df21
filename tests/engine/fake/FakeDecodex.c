/*
 * A stand-in for the decoding library, driven by the first eight bytes of
 * its input so that tests can ask for each outcome:
 *
 *   "FAKEJPEG" + payload   returns the payload as the JPEG
 *   "FAKEBIGS" + payload   refuses every capacity up to input size x 10 with
 *                          OUTPUT_TOO_SMALL; heif2jpg_capacity tells a size
 *                          that works
 *   "FAKESLOW" + payload   sleeps 400 ms, then as FAKEJPEG
 *   "FAKEERR" + digit      returns minus that digit
 *   anything else          DECODEX_ERR_NOT_HEIF
 *
 * fake_decodex_calls() counts calls of heif2jpg, so tests can prove that a
 * call never happened.
 */
#define DECODEX_BUILDING
#include <decodex/heif2jpg.h>

#include <string.h>

#if defined(_WIN32)
#  include <windows.h>
static void pause_ms(int ms) { Sleep((DWORD)ms); }
#else
#  include <time.h>
static void pause_ms(int ms)
{
    struct timespec t = {ms / 1000, (long)(ms % 1000) * 1000000L};
    nanosleep(&t, NULL);
}
#endif

#if defined(_MSC_VER)
static volatile long g_calls;
static void count_call(void) { InterlockedIncrement(&g_calls); }
DECODEX_API int fake_decodex_calls(void) { return (int)InterlockedCompareExchange(&g_calls, 0, 0); }
#else
static int g_calls;
static void count_call(void) { __atomic_add_fetch(&g_calls, 1, __ATOMIC_SEQ_CST); }
DECODEX_API int fake_decodex_calls(void) { return __atomic_load_n(&g_calls, __ATOMIC_SEQ_CST); }
#endif

static int has_tag(const uint8_t* input, int32_t size, const char* tag)
{
    return size >= 8 && memcmp(input, tag, 8) == 0;
}

static int32_t copy_payload(const uint8_t* input, int32_t size, uint8_t* output, int32_t capacity)
{
    const int32_t payload = size - 8;
    if (payload > capacity)
        return DECODEX_ERR_OUTPUT_TOO_SMALL;
    memcpy(output, input + 8, (size_t)payload);
    return payload;
}

DECODEX_API int32_t heif2jpg(const uint8_t* input, int32_t input_size, int32_t quality,
                             uint8_t* output, int32_t output_capacity, const char* scratch_name)
{
    (void)quality;
    (void)scratch_name;
    count_call();
    if (!input || input_size <= 0 || !output || output_capacity <= 0)
        return DECODEX_ERR_BAD_ARGUMENT;
    if (has_tag(input, input_size, "FAKEJPEG"))
        return copy_payload(input, input_size, output, output_capacity);
    if (has_tag(input, input_size, "FAKEBIGS")) {
        if ((int64_t)output_capacity <= (int64_t)input_size * 10)
            return DECODEX_ERR_OUTPUT_TOO_SMALL;
        return copy_payload(input, input_size, output, output_capacity);
    }
    if (has_tag(input, input_size, "FAKESLOW")) {
        pause_ms(400);
        return copy_payload(input, input_size, output, output_capacity);
    }
    if (input_size >= 8 && memcmp(input, "FAKEERR", 7) == 0)
        return -(int32_t)(input[7] - '0');
    return DECODEX_ERR_NOT_HEIF;
}

DECODEX_API int32_t heif2jpg_capacity(const uint8_t* input, int32_t input_size, int32_t quality)
{
    (void)quality;
    if (!input || input_size <= 0)
        return DECODEX_ERR_BAD_ARGUMENT;
    return input_size * 10 + 1;
}

DECODEX_API const char* heif2jpg_error_text(int32_t code)
{
    return code < 0 ? "fake error" : "ok";
}
