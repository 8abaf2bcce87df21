// Converts one HEIC file to a JPEG file through the library alone, so the
// library can be timed without the program around it.
//   heif2jpg-file [-q QUALITY] [--no-gain-map] IN.heic OUT.jpg
#include "decodex/heif2jpg.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

int main(int argc, char** argv)
{
    int quality = 100;
    int arg = 1;
    if (argc > 2 && std::strcmp(argv[1], "-q") == 0) {
        quality = std::atoi(argv[2]);
        arg = 3;
    }
    bool gainMap = true;
    if (argc > arg && std::strcmp(argv[arg], "--no-gain-map") == 0) {
        gainMap = false;
        ++arg;
    }
    const auto convert = gainMap ? heif2jpg : heif2jpg_no_gain_map;
    if (argc - arg != 2) {
        std::fprintf(stderr, "usage: %s [-q QUALITY] [--no-gain-map] IN.heic OUT.jpg\n", argv[0]);
        return 2;
    }
    std::ifstream in(argv[arg], std::ios::binary);
    const std::vector<uint8_t> input((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (!in.good() && !in.eof()) {
        std::fprintf(stderr, "cannot read %s\n", argv[arg]);
        return 1;
    }
    const int32_t size = int32_t(input.size());
    int32_t capacity = size > 0 && size < INT32_MAX / 10 ? size * 10 : 1;
    // Left uninitialised, as the program leaves it: clearing it would
    // cost a page fault a page the encoder never reaches.
    std::unique_ptr<uint8_t[]> output(new uint8_t[size_t(capacity)]);
    int32_t written = convert(input.data(), size, quality, output.get(), capacity, nullptr);
    if (written == DECODEX_ERR_OUTPUT_TOO_SMALL) {
        capacity = heif2jpg_capacity(input.data(), size, quality);
        if (capacity > 0) {
            output.reset(new uint8_t[size_t(capacity)]);
            written = convert(input.data(), size, quality, output.get(), capacity, nullptr);
        }
    }
    if (written <= 0) {
        std::fprintf(stderr, "%s: %s\n", argv[arg], heif2jpg_error_text(written));
        return 1;
    }
    std::ofstream out(argv[arg + 1], std::ios::binary);
    out.write(reinterpret_cast<const char*>(output.get()), written);
    return out.good() ? 0 : 1;
}
