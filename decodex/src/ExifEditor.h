#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace decodex {

// Prepares a HEIF file's EXIF block for a JPEG APP1 segment. Every offset in
// the block comes from the file, so each read and write is checked against
// the block's size; a malformed block is cut down or left out, never
// followed outside its bounds.
class ExifEditor
{
public:
    // Largest EXIF payload an APP1 segment holds ("Exif\0\0" + TIFF).
    static constexpr size_t kMaxPayload = 65533;

    // Takes the item as HEIF stores it (a 4-byte offset to the TIFF header,
    // with or without "Exif\0\0" in between) and returns "Exif\0\0" + TIFF
    // with Orientation set to 1, without the thumbnail when the block would
    // not fit APP1 otherwise; empty when there is no usable TIFF block or it
    // still does not fit. A width and height other than 0 replace the
    // pixel size the camera recorded.
    static std::vector<uint8_t> forJpeg(const uint8_t* item, size_t size, uint32_t width = 0, uint32_t height = 0);

    // Finds the TIFF header inside a HEIF EXIF item; returns its offset or
    // -1.
    static long tiffStart(const uint8_t* item, size_t size);

    // Sets IFD0's Orientation to 1 in place. Returns true when the tag was
    // found and rewritten.
    static bool resetOrientation(uint8_t* tiff, size_t size);

    // Sets the EXIF IFD's PixelXDimension and PixelYDimension in place,
    // where the block has them. Returns true when both were rewritten.
    static bool setPixelSize(uint8_t* tiff, size_t size, uint32_t width, uint32_t height);

    // Reads IFD0's Orientation; 0 when absent or unreadable.
    static int orientation(const uint8_t* tiff, size_t size);

    // Takes the GPS directory out: its values and its own table are
    // overwritten with zeros (a JPEG keeps unreferenced bytes as they are,
    // and the coordinates must not survive in them) and its entry leaves
    // IFD0. Returns true when there was one.
    static bool dropLocation(uint8_t* tiff, size_t size);

    // Unlinks the thumbnail IFD and returns how many bytes of the block are
    // still referenced from the remaining IFDs, so the rest can be cut off.
    // Returns 0 when the block cannot be walked.
    static size_t dropThumbnail(uint8_t* tiff, size_t size);
};

} // namespace decodex
