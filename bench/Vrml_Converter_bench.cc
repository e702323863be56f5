// A VRML file of one large mesh as a scene file: the converter against the plain way (strtod, a
// copy of each corner, fprintf with the digits that a number of single precision needs).
#include "tools/Vrml_Converter.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bench/side_by_side.h"

// A wavy field of `side` times `side` points.
static std::string field_of(int side, const char* fields) {
    std::string text = "#VRML V2.0 utf8\nShape { geometry IndexedFaceSet {\n";
    text += fields;
    text += " coord Coordinate { point [\n";
    char line[100];
    for (int i = 0; i < side; ++i)
        for (int k = 0; k < side; ++k) {
            std::snprintf(line, sizeof line, "%.6f %.6f %.6f,\n", i * 0.1,
                          3 * std::sin(i * 0.07) * std::cos(k * 0.05), k * 0.1);
            text += line;
        }
    text += "] }\ncoordIndex [\n";
    for (int i = 0; i + 1 < side; ++i)
        for (int k = 0; k + 1 < side; ++k) {
            const int a = i * side + k, b = a + side;
            std::snprintf(line, sizeof line, "%d, %d, %d, -1,\n%d, %d, %d, -1,\n", a, a + 1, b + 1,
                          a, b + 1, b);
            text += line;
        }
    return text + "] } }\n";
}

static std::vector<double> numbers_behind(const std::string& text, const char* word) {
    std::vector<double> numbers;
    const char* at = std::strchr(text.c_str() + text.find(word), '[') + 1;
    while (true) {
        char* end;
        const double number = std::strtod(at, &end);
        if (end == at) return numbers;
        numbers.push_back(number);
        at = end + (*end == ',');
    }
}

// How many lines of triangles there were is the answer; what is written is gone.
static ssize_t count_triangles(void* count, const char* text, std::size_t size) {
    // Each triangle has one 'g', and so have the list and the node; materials have none.
    *static_cast<std::uint64_t*>(count) +=
        static_cast<std::uint64_t>(std::count(text, text + size, 'g'));
    return static_cast<ssize_t>(size);
}

template<class Write>
static std::uint64_t triangles_of(Write write) {
    std::uint64_t count = 0;
    std::FILE* const out = fopencookie(&count, "w", {nullptr, count_triangles, nullptr, nullptr});
    write(out);
    std::fclose(out);
    return count;
}

static void convert_plainly(const std::string& text, std::FILE* out) {
    const std::vector<double> points = numbers_behind(text, "point"),
                              index = numbers_behind(text, "coordIndex");
    std::fprintf(out, "trianglelist faces {\n");
    for (std::size_t i = 0; i + 3 < index.size(); i += 4) {
        std::fprintf(out, "  triangle p");
        for (std::size_t k = i; k < i + 3; ++k) {
            const double* const p = &points[3 * static_cast<std::size_t>(index[k])];
            std::fprintf(out, " %.9g %.9g %.9g", p[0], p[1], p[2]);
        }
        std::fprintf(out, "\n");
    }
    std::fprintf(out, "}\nnode shape {\n  geometry faces\n}\n");
}

static void convert(benchmark::State& state, const char* fields) {
    const auto side = static_cast<int>(state.range(0));
    const std::string text = field_of(side, fields);
    const std::int64_t triangles = 2 * static_cast<std::int64_t>(side - 1) * (side - 1);
    std::FILE* const nowhere = std::fopen("/dev/null", "w");
    side_by_side(
        state, triangles,
        {{"plain",
          [&] { return triangles_of([&](std::FILE* out) { convert_plainly(text, out); }); }}},
        {"vrml_convert", [&] {
             return triangles_of(
                 [&](std::FILE* out) { vrml_convert(text, Vrml_Options(), out, nowhere); });
         }});
    std::fclose(nowhere);
}

BENCHMARK_CAPTURE(convert, flat, "")->ArgName("side")->Arg(40)->Arg(388)->UseManualTime();
BENCHMARK_CAPTURE(convert, smooth, "creaseAngle 2")->ArgName("side")->Arg(388)->UseManualTime();
