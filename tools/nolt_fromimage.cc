// Converts a PNG or JPEG picture on the standard input to an SGI image on the standard output.
//
//     nolt_fromimage [-pixels MOST] < roof.png > roof.rgb
//
// A process of its own: what these libraries do with a hostile file does not reach who reads it.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "tools/Image_Raster.h"
#include "tools/Jpeg_Reader.h"
#include "tools/Png_Reader.h"
#include "tools/Tool_Answers.h"

namespace {
enum Status { GOOD, DAMAGED, USAGE, NOT_BUILT };
using Read = bool (*)(std::FILE* in, long long most_pixels, Image_Raster* raster,
                      std::string* trouble);
struct Format {
    const char* name;
    const char* package;
    Read read; // null if the build has no library for it
};
} // namespace

static const Format png = {"PNG", "libpng-dev",
#ifdef NOLT_PNG
                           png_read
#else
                           nullptr
#endif
};
static const Format jpeg = {"JPEG", "libjpeg-dev",
#ifdef NOLT_JPEG
                            jpeg_read
#else
                            nullptr
#endif
};

static int convert(const Format& format, long long most_pixels) {
    if (!format.read) {
        std::fprintf(stderr, "nolt_fromimage: built without %s, which %s pictures need\n",
                     format.package, format.name);
        return NOT_BUILT;
    }
    Image_Raster raster;
    std::string trouble;
    const bool is_read = format.read(stdin, most_pixels, &raster, &trouble);
    if (!trouble.empty())
        std::fprintf(stderr, "nolt_fromimage: %s: %s\n", format.name, trouble.c_str());
    if (!is_read) return DAMAGED;
    if (!raster.write_sgi(stdout)) {
        std::perror("nolt_fromimage: cannot write the picture");
        return DAMAGED;
    }
    return trouble.empty() ? GOOD : DAMAGED;
}

int main(int argc, char** argv) {
    static const char usage[] = "usage: nolt_fromimage [-pixels MOST] < PNG or JPEG > image.rgb";
    if (tool_answers(argc, argv, usage)) return GOOD;
    const bool has_limit = argc == 3 && std::strcmp(argv[1], "-pixels") == 0;
    char* end = nullptr;
    const long long most_pixels = has_limit ? std::strtoll(argv[2], &end, 10) : 1ll << 26;
    if ((argc != 1 && !has_limit) || (end && (end == argv[2] || *end))) {
        std::fprintf(stderr, "%s\n", usage);
        return USAGE;
    }
    const int first = std::getc(stdin);
    std::ungetc(first, stdin);
    if (first == 0x89) return convert(png, most_pixels);
    if (first == 0xFF) return convert(jpeg, most_pixels);
    std::fprintf(stderr, "nolt_fromimage: neither PNG nor JPEG\n");
    return DAMAGED;
}
