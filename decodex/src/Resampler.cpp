#include "Resampler.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <vector>

namespace decodex {

namespace {

constexpr int kPrecision = 14; // weights are fixed point, 1 << kPrecision is 1.0
constexpr double kPi = 3.14159265358979323846;

double sinc(double x)
{
    if (x == 0.0)
        return 1.0;
    x *= kPi;
    return std::sin(x) / x;
}

double lanczos3(double x)
{
    return std::fabs(x) < 3.0 ? sinc(x) * sinc(x / 3.0) : 0.0;
}

// The source samples behind every output sample of one axis, and their
// weights, worked out once per axis rather than once per row.
struct Taps
{
    std::vector<int> first;
    std::vector<int> count;
    std::vector<int32_t> weights; // `span` per output sample
    int span = 0;

    Taps(int in, int out)
    {
        const double scale = double(in) / out;
        const double widen = std::max(scale, 1.0); // shrinking widens the filter
        const double support = 3.0 * widen;
        span = int(std::ceil(support)) * 2 + 1;
        first.resize(size_t(out));
        count.resize(size_t(out));
        weights.assign(size_t(out) * size_t(span), 0);
        std::vector<double> w(static_cast<size_t>(span));
        for (int i = 0; i < out; ++i) {
            const double centre = (i + 0.5) * scale;
            const int lo = std::max(0, int(std::floor(centre - support)));
            const int hi = std::min({in, int(std::ceil(centre + support)), lo + span});
            double sum = 0.0;
            for (int j = lo; j < hi; ++j)
                sum += w[size_t(j - lo)] = lanczos3((j + 0.5 - centre) / widen);
            // Whole weights that add up to exactly one, so a flat area stays
            // exactly flat; the rounding left over goes to the largest tap.
            int32_t* fixed = &weights[size_t(i) * size_t(span)];
            int32_t total = 0;
            int largest = 0;
            for (int j = 0; j < hi - lo; ++j) {
                fixed[j] = int32_t(std::lround(w[size_t(j)] / sum * (1 << kPrecision)));
                total += fixed[j];
                if (std::abs(fixed[j]) > std::abs(fixed[largest]))
                    largest = j;
            }
            fixed[largest] += (1 << kPrecision) - total;
            first[size_t(i)] = lo;
            count[size_t(i)] = hi - lo;
        }
    }
};

uint8_t toSample(int32_t sum)
{
    if (sum <= 0)
        return 0;
    return uint8_t(std::min<int32_t>(255, (sum + (1 << (kPrecision - 1))) >> kPrecision));
}

} // namespace

void Resampler::fitLongSide(int& width, int& height, int maxLongSide)
{
    if (maxLongSide <= 0 || (width <= maxLongSide && height <= maxLongSide))
        return;
    const double scale = double(maxLongSide) / std::max(width, height);
    if (width >= height) {
        height = std::max(1, int(std::lround(height * scale)));
        width = maxLongSide;
    } else {
        width = std::max(1, int(std::lround(width * scale)));
        height = maxLongSide;
    }
}

bool Resampler::resize(const uint8_t* src, int sw, int sh, size_t srcStride, int channels, uint8_t* dst, int dw,
                       int dh, size_t dstStride)
{
    if (sw <= 0 || sh <= 0 || dw <= 0 || dh <= 0 || channels <= 0)
        return false;
    try {
        const Taps across(sw, dw), down(sh, dh);
        // Across first, into rows of the new width; then down those rows.
        const size_t rowSize = size_t(dw) * size_t(channels);
        std::vector<uint8_t> narrow(rowSize * size_t(sh));
        for (int y = 0; y < sh; ++y) {
            const uint8_t* in = src + size_t(y) * srcStride;
            uint8_t* out = narrow.data() + size_t(y) * rowSize;
            for (int x = 0; x < dw; ++x) {
                const int32_t* w = &across.weights[size_t(x) * size_t(across.span)];
                const uint8_t* from = in + size_t(across.first[size_t(x)]) * size_t(channels);
                for (int c = 0; c < channels; ++c) {
                    int32_t sum = 0;
                    for (int k = 0; k < across.count[size_t(x)]; ++k)
                        sum += w[k] * from[size_t(k) * size_t(channels) + size_t(c)];
                    out[size_t(x) * size_t(channels) + size_t(c)] = toSample(sum);
                }
            }
        }
        std::vector<int32_t> sums(rowSize);
        for (int y = 0; y < dh; ++y) {
            std::fill(sums.begin(), sums.end(), 0);
            const int32_t* w = &down.weights[size_t(y) * size_t(down.span)];
            for (int k = 0; k < down.count[size_t(y)]; ++k) {
                const uint8_t* row = narrow.data() + size_t(down.first[size_t(y)] + k) * rowSize;
                for (size_t i = 0; i < rowSize; ++i)
                    sums[i] += w[k] * row[i];
            }
            uint8_t* out = dst + size_t(y) * dstStride;
            for (size_t i = 0; i < rowSize; ++i)
                out[i] = toSample(sums[i]);
        }
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}

bool Resampler::shrink(PlanarImage& image, int width, int height)
{
    PlanarImage smaller;
    if (!smaller.allocate(width, height, image.chromaFormat()))
        return false;
    for (int i = 0; i < image.components(); ++i) {
        const PlanarImage::Plane& from = image.plane(i);
        PlanarImage::Plane& to = smaller.plane(i);
        if (!resize(from.row(0), from.width, from.height, from.stride, 1, to.row(0), to.width,
                    to.height, to.stride))
            return false;
    }
    image = std::move(smaller);
    return true;
}

bool Resampler::shrink(RgbImage& image, int width, int height)
{
    std::vector<uint8_t> pixels;
    try {
        pixels.resize(size_t(width) * size_t(height) * 3);
    } catch (const std::bad_alloc&) {
        return false;
    }
    if (!resize(image.pixels.data(), image.width, image.height, size_t(image.width) * 3, 3, pixels.data(), width,
                height, size_t(width) * 3))
        return false;
    image.pixels = std::move(pixels);
    image.width = width;
    image.height = height;
    return true;
}

} // namespace decodex
