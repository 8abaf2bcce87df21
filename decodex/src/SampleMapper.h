#pragma once

#include <memory>

namespace decodex {

struct DecodedPicture;
class HdrToneMapper;
class PlanarImage;

// How the decoded samples of one photo become JPEG's planes: 8-bit
// YCbCr, BT.601, full range, at the photo's own chroma subsampling. SDR
// samples go through one lookup a sample (bit depth and range) and, for
// BT.709, a linear mix into BT.601; PQ and HLG go through HdrToneMapper.
class SampleMapper
{
public:
    // What the file's nclx box says of its colours. Without a box each
    // picture's bitstream decides range and matrix, as libheif reads it.
    struct Colour
    {
        bool fromFile = false;
        bool fullRange = true;
        int matrix = 2;   // H.273 matrix coefficients
        int transfer = 2; // H.273 transfer characteristics
    };

    // True when the planes can be mapped here; otherwise libheif converts.
    static bool supports(const Colour& colour);
    static bool hdr(const Colour& colour)
    {
        return colour.fromFile && (colour.transfer == 16 || colour.transfer == 18); // PQ, HLG
    }

    SampleMapper(int bitDepth, const Colour& colour);
    ~SampleMapper();

    // Maps the picture's top-left `width` x `height` pixels to (x0, y0) of
    // `out`. False when the picture is not what the photo says (format,
    // depth, size) or its bitstream names a matrix JPEG cannot take as is.
    bool place(const DecodedPicture& picture, int x0, int y0, int width, int height, PlanarImage& out) const;

private:
    struct Tables;
    int m_bitDepth;
    Colour m_colour;
    std::unique_ptr<Tables> m_tables;
    std::unique_ptr<HdrToneMapper> m_hdr;
};

} // namespace decodex
