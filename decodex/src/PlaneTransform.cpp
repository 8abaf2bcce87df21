#include "PlaneTransform.h"

#include <algorithm>

namespace decodex {

namespace {

bool quarterTurn(PlaneTransform::Step step)
{
    return step == PlaneTransform::Step::RotateLeft || step == PlaneTransform::Step::RotateRight;
}

// Fills every output sample from the input sample `source(x, y)` names, in
// square blocks so that a quarter turn reads and writes cache lines rather
// than single bytes across the whole picture.
template <typename Source>
void fill(const PlanarImage::Plane& in, PlanarImage::Plane& out, Source source)
{
    constexpr int kBlock = 64;
    for (int by = 0; by < out.height; by += kBlock) {
        const int yEnd = std::min(by + kBlock, out.height);
        for (int bx = 0; bx < out.width; bx += kBlock) {
            const int xEnd = std::min(bx + kBlock, out.width);
            for (int y = by; y < yEnd; ++y) {
                uint8_t* row = out.row(y);
                for (int x = bx; x < xEnd; ++x) {
                    int sx = 0, sy = 0;
                    source(x, y, sx, sy);
                    row[x] = in.row(sy)[sx];
                }
            }
        }
    }
}

void transformPlane(PlaneTransform::Step step, const PlanarImage::Plane& in, PlanarImage::Plane& out)
{
    const int w = in.width, h = in.height;
    switch (step) {
    case PlaneTransform::Step::RotateLeft:
        fill(in, out, [w](int x, int y, int& sx, int& sy) { sx = w - 1 - y; sy = x; });
        break;
    case PlaneTransform::Step::RotateHalf:
        fill(in, out, [w, h](int x, int y, int& sx, int& sy) { sx = w - 1 - x; sy = h - 1 - y; });
        break;
    case PlaneTransform::Step::RotateRight:
        fill(in, out, [h](int x, int y, int& sx, int& sy) { sx = y; sy = h - 1 - x; });
        break;
    case PlaneTransform::Step::MirrorLeftRight:
        for (int y = 0; y < h; ++y)
            std::reverse_copy(in.row(y), in.row(y) + w, out.row(y));
        break;
    case PlaneTransform::Step::MirrorTopBottom:
        for (int y = 0; y < h; ++y)
            std::copy(in.row(h - 1 - y), in.row(h - 1 - y) + w, out.row(y));
        break;
    }
}

} // namespace

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

bool PlaneTransform::apply(const std::vector<Step>& steps, PlanarImage& image)
{
    for (Step step : steps) {
        const bool turn = quarterTurn(step);
        PlanarImage turned;
        if (!turned.allocate(turn ? image.height() : image.width(), turn ? image.width() : image.height(),
                             image.chromaFormat()))
            return false;
        for (int c = 0; c < image.components(); ++c)
            transformPlane(step, image.plane(c), turned.plane(c));
        image = std::move(turned);
    }
    return true;
}

} // namespace decodex
