#pragma once

#include "Heif2JpgFn.h"

#include <QString>

// Binds the decoding library (Decodex.dll / libDecodex.so) at run time.
//
// The main window calls bind() once and hands `convert` to every page and
// thread that decodes. The library is never unloaded. When it or its export
// is missing, `convert` stays null, one warning is logged, and every decode
// then fails cleanly without calling anything (see HeicDecoder).
class DecoderLibrary
{
public:
    DecoderLibrary() = delete;

    struct Functions
    {
        Heif2JpgFn convert = nullptr;
        Heif2JpgCapacityFn capacity = nullptr;   // optional: sizes the output buffer
        Heif2JpgErrorTextFn errorText = nullptr; // optional
        Heif2JpgThumbnailFn thumbnail = nullptr; // optional: the preview's first picture
        Heif2JpgWithOptionsFn withOptions = nullptr; // optional: resize, location, gain map
        QString error;                           // why `convert` is null

        bool isBound() const { return convert != nullptr; }
    };

    static constexpr const char* kBaseName = "Decodex";

    // Looks in the executable's folder first, then where the system looks for
    // libraries.
    static Functions bind();

    // Binds the library at this path: a full file name, or a path without the
    // platform's prefix and suffix. Tests use it to load stand-in libraries.
    static Functions bindFrom(const QString& libraryPath);

    // The size function that came from the same library as `convert`, or null.
    // Threads only get the Heif2JpgFn; this lets them still find its partner
    // to size the output buffer.
    static Heif2JpgCapacityFn capacityFor(Heif2JpgFn convert);

    // Pairs a size function with a convert function, for decoders that did
    // not come through bind() (tests with in-process stand-ins).
    static void registerCapacity(Heif2JpgFn convert, Heif2JpgCapacityFn capacity);

    // The thumbnail function from the same library as `convert`, or null.
    static Heif2JpgThumbnailFn thumbnailFor(Heif2JpgFn convert);

    // The conversion with options from the same library as `convert`, or
    // null (a library older than the options).
    static Heif2JpgWithOptionsFn withOptionsFor(Heif2JpgFn convert);
};
