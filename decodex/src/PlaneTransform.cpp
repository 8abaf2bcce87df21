#include "PlaneTransform.h"

#include <algorithm>
#include <cstring>

namespace decodex {

namespace {

bool quarterTurn(PlaneTransform::Step step)
{
    return step == PlaneTransform::Step::RotateLeft || step == PlaneTransform::Step::RotateRight;
}

// Where one step reads each sample of its result, in the form of
// Orientation, relative to the step's own input.
PlaneTransform::Orientation sourceOf(PlaneTransform::Step step)
{
    switch (step) {
    case PlaneTransform::Step::RotateLeft: return {true, true, false};   // (w-1-y, x)
    case PlaneTransform::Step::RotateHalf: return {false, true, true};   // (w-1-x, h-1-y)
    case PlaneTransform::Step::RotateRight: return {true, false, true};  // (y, h-1-x)
    case PlaneTransform::Step::MirrorLeftRight: return {false, true, false};
    case PlaneTransform::Step::MirrorTopBottom: return {false, false, true};
    }
    return {};
}

} // namespace

PlaneTransform::Orientation PlaneTransform::fold(const std::vector<Step>& steps)
{
    // `done` maps the picture after the steps so far onto the original; a
    // further step reads its own input through `next`, so the composite
    // reads the original through both. When `done` transposes, the step's
    // mirrors land on the other axis.
    Orientation done;
    for (Step step : steps) {
        const Orientation next = sourceOf(step);
        Orientation both;
        both.transpose = done.transpose != next.transpose;
        both.flipX = done.flipX != (done.transpose ? next.flipY : next.flipX);
        both.flipY = done.flipY != (done.transpose ? next.flipX : next.flipY);
        done = both;
    }
    return done;
}

bool PlaneTransform::supports(const std::vector<Step>& steps, int chromaFormat)
{
    return chromaFormat != 2 || std::none_of(steps.begin(), steps.end(), quarterTurn);
}

void PlaneTransform::resultSize(const std::vector<Step>& steps, int& width, int& height)
{
    for (Step step : steps)
        if (quarterTurn(step))
            std::swap(width, height);
}

void PlaneTransform::fillRows(Orientation orientation, const PlanarImage::Plane& in, int firstRow, int rows,
                              uint8_t* const* out)
{
    const int w = in.width, h = in.height;
    if (!orientation.transpose) {
        for (int r = 0; r < rows; ++r) {
            const int y = firstRow + r;
            const uint8_t* source = in.row(orientation.flipY ? h - 1 - y : y);
            if (orientation.flipX)
                std::reverse_copy(source, source + w, out[r]);
            else
                std::memcpy(out[r], source, size_t(w));
        }
        return;
    }
    // A quarter turn reads the input down its columns: in blocks of 64
    // output columns, so the input rows a block reads stay in the cache
    // while every output row of the strip takes its bytes from them.
    constexpr int kBlock = 64;
    const ptrdiff_t step = orientation.flipY ? -ptrdiff_t(in.stride) : ptrdiff_t(in.stride);
    for (int bx = 0; bx < h; bx += kBlock) {
        const int xEnd = std::min(bx + kBlock, h);
        const uint8_t* blockStart = in.row(orientation.flipY ? h - 1 - bx : bx);
        for (int r = 0; r < rows; ++r) {
            const int y = firstRow + r;
            const uint8_t* source = blockStart + (orientation.flipX ? w - 1 - y : y);
            uint8_t* row = out[r];
            for (int x = bx; x < xEnd; ++x, source += step)
                row[x] = *source;
        }
    }
}

bool PlaneTransform::apply(const std::vector<Step>& steps, PlanarImage& image)
{
    const Orientation orientation = fold(steps);
    if (orientation.identity())
        return true;
    PlanarImage turned;
    const bool transpose = orientation.transpose;
    if (!turned.allocate(transpose ? image.height() : image.width(), transpose ? image.width() : image.height(),
                         image.chromaFormat()))
        return false;
    std::vector<uint8_t*> rows;
    for (int c = 0; c < image.components(); ++c) {
        PlanarImage::Plane& plane = turned.plane(c);
        rows.resize(size_t(plane.height));
        for (int y = 0; y < plane.height; ++y)
            rows[size_t(y)] = plane.row(y);
        fillRows(orientation, image.plane(c), 0, plane.height, rows.data());
    }
    image = std::move(turned);
    return true;
}

} // namespace decodex
