#include "RgbConverter.h"

#include "decodex/heif2jpg.h"

#include <libheif/heif.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>

namespace decodex {

namespace {

struct ImageDeleter { void operator()(heif_image* i) const { heif_image_release(i); } };
struct OptionsDeleter { void operator()(heif_decoding_options* o) const { heif_decoding_options_free(o); } };

constexpr int kTransferPQ = 16;
constexpr int kTransferHLG = 18;

// Linear light relative to SDR white (1.0) from a PQ or HLG signal in 0..1.
double hdrToLinear(double v, int transfer)
{
    if (transfer == kTransferPQ) {
        const double m1 = 2610.0 / 16384, m2 = 2523.0 / 4096 * 128;
        const double c1 = 3424.0 / 4096, c2 = 2413.0 / 4096 * 32, c3 = 2392.0 / 4096 * 32;
        const double p = std::pow(v, 1 / m2);
        const double nits = 10000 * std::pow(std::max(p - c1, 0.0) / (c2 - c3 * p), 1 / m1);
        return nits / 203; // BT.2408 reference white
    }
    // HLG inverse OETF; scene light 0..1 with reference white at 0.75 signal.
    const double a = 0.17883277, b = 1 - 4 * a, c = 0.5 - a * std::log(4 * a);
    const double scene = v <= 0.5 ? v * v / 3 : (std::exp((v - c) / a) + b) / 12;
    return scene / 0.26496256; // scene light of the 0.75 signal level
}

} // namespace

std::vector<uint8_t> RgbConverter::toneTable(int bits, int transfer)
{
    const int maxValue = (1 << bits) - 1;
    std::vector<uint8_t> table(size_t(maxValue) + 1);
    const bool hdr = transfer == kTransferPQ || transfer == kTransferHLG;
    for (int v = 0; v <= maxValue; ++v) {
        if (!hdr) {
            table[size_t(v)] = uint8_t((v * 255 + maxValue / 2) / maxValue);
            continue;
        }
        // Extended Reinhard on each channel in linear light, with highlights
        // up to four times SDR white rolled off into white, then sRGB coded.
        const double l = hdrToLinear(double(v) / maxValue, transfer);
        const double white = 4.0;
        const double mapped = std::min(1.0, l * (1 + l / (white * white)) / (1 + l));
        const double coded = mapped <= 0.0031308 ? 12.92 * mapped : 1.055 * std::pow(mapped, 1 / 2.4) - 0.055;
        table[size_t(v)] = uint8_t(std::lround(std::clamp(coded, 0.0, 1.0) * 255));
    }
    return table;
}

int RgbConverter::decode(const heif_image_handle* handle, int transfer, RgbImage& out)
{
    const bool alpha = heif_image_handle_has_alpha_channel(handle) != 0;
    const bool premultiplied = alpha && heif_image_handle_is_premultiplied_alpha(handle) != 0;
    const int bits = std::max(heif_image_handle_get_luma_bits_per_pixel(handle),
                              heif_image_handle_get_chroma_bits_per_pixel(handle));
    const bool wide = bits > 8;
    const heif_chroma layout = wide ? (alpha ? heif_chroma_interleaved_RRGGBBAA_LE : heif_chroma_interleaved_RRGGBB_LE)
                                    : (alpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB);

    std::unique_ptr<heif_decoding_options, OptionsDeleter> options(heif_decoding_options_alloc());
    if (!options)
        return DECODEX_ERR_ENCODE_FAILED;
    options->convert_hdr_to_8bit = 0;
    heif_image* raw = nullptr;
    const heif_error err = heif_decode_image(handle, &raw, heif_colorspace_RGB, layout, options.get());
    std::unique_ptr<heif_image, ImageDeleter> image(raw);
    if (err.code != heif_error_Ok || !image) {
        if (err.code == heif_error_Memory_allocation_error)
            return err.subcode == heif_suberror_Security_limit_exceeded ? DECODEX_ERR_IMAGE_TOO_LARGE
                                                                         : DECODEX_ERR_ENCODE_FAILED;
        return DECODEX_ERR_DECODE_FAILED;
    }

    int stride = 0;
    const uint8_t* plane = heif_image_get_plane_readonly(image.get(), heif_channel_interleaved, &stride);
    const int width = heif_image_get_width(image.get(), heif_channel_interleaved);
    const int height = heif_image_get_height(image.get(), heif_channel_interleaved);
    if (!plane || width <= 0 || height <= 0 || stride <= 0)
        return DECODEX_ERR_DECODE_FAILED;
    const int sampleBits = wide ? std::clamp(bits, 9, 16) : 8;
    const int maxValue = (1 << sampleBits) - 1;
    const std::vector<uint8_t> table = toneTable(sampleBits, transfer);

    try {
        out.pixels.resize(size_t(width) * size_t(height) * 3);
    } catch (const std::bad_alloc&) {
        return DECODEX_ERR_ENCODE_FAILED;
    }
    out.width = width;
    out.height = height;
    const int channels = alpha ? 4 : 3;
    for (int y = 0; y < height; ++y) {
        const uint8_t* in = plane + size_t(y) * size_t(stride);
        uint8_t* dst = out.pixels.data() + size_t(y) * size_t(width) * 3;
        for (int x = 0; x < width; ++x) {
            int sample[4];
            for (int c = 0; c < channels; ++c) {
                const size_t i = size_t(x * channels + c);
                sample[c] = wide ? std::min(int(in[2 * i] | (in[2 * i + 1] << 8)), maxValue) : in[i];
            }
            for (int c = 0; c < 3; ++c) {
                int v = table[size_t(sample[c])];
                if (alpha) {
                    // Onto white: what a viewer without transparency shows.
                    const int a = sample[3];
                    const int background = 255 * (maxValue - a);
                    if (premultiplied)
                        v = std::min(255, v + (background + maxValue / 2) / maxValue);
                    else
                        v = (v * a + background + maxValue / 2) / maxValue;
                }
                dst[x * 3 + c] = uint8_t(v);
            }
        }
    }
    return 0;
}

} // namespace decodex
