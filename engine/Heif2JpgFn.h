#pragma once

#include <decodex/heif2jpg.h>

#include <cstdint>
#include <type_traits>

// Pointers to the decoding library's exports. They are resolved at run time,
// so nothing here links against the library itself.
using Heif2JpgFn = int32_t (*)(const uint8_t* input, int32_t inputSize, int32_t quality,
                               uint8_t* output, int32_t outputCapacity, const char* scratchName);
using Heif2JpgCapacityFn = int32_t (*)(const uint8_t* input, int32_t inputSize, int32_t quality);
using Heif2JpgErrorTextFn = const char* (*)(int32_t code);
using Heif2JpgWithOptionsFn = int32_t (*)(const uint8_t* input, int32_t inputSize, const decodex_options* options,
                                          uint8_t* output, int32_t outputCapacity);
using Heif2JpgThumbnailFn = int32_t (*)(const uint8_t* input, int32_t inputSize, int32_t quality,
                                        uint8_t* output, int32_t outputCapacity);

// A change to the library's header must show up here at compile time rather
// than as a crash in a call through a mismatched pointer.
static_assert(std::is_same_v<Heif2JpgFn, decltype(&::heif2jpg)>);
static_assert(std::is_same_v<Heif2JpgCapacityFn, decltype(&::heif2jpg_capacity)>);
static_assert(std::is_same_v<Heif2JpgErrorTextFn, decltype(&::heif2jpg_error_text)>);
static_assert(std::is_same_v<Heif2JpgThumbnailFn, decltype(&::heif2jpg_thumbnail)>);
static_assert(std::is_same_v<Heif2JpgWithOptionsFn, decltype(&::heif2jpg_with_options)>);
