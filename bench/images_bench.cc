// Image files against copying their pixels and their bytes; resampling against a loop that calls
// the filter for each contribution of each pixel, and against ImageMagick where it is installed.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <unistd.h>

#include "bench/side_by_side.h"
#include "images/PX_Map.h"
#include "images/pix_support.h"

#ifdef NOLT_BENCH_MAGICK
#include <Magick++.h>
#endif

static const int size = 2048;
static const int channels = 3;
static const std::size_t pixel_bytes = std::size_t{size} * size * channels;

// A picture of soft shades, flat areas and some noise, as textures are.
static PX_Map* picture() {
    auto* const map = new PX_Map(size, size, channels);
    std::mt19937 random(2);
    unsigned char* p = map->get_pixels();
    for (int y = 0; y < size; ++y)
        for (int x = 0; x < size; ++x)
            for (int c = 0; c < channels; ++c)
                *p++ = static_cast<unsigned char>((x / 256 + y / 256) % 3 == 0   ? 80 * c
                                                  : (x / 256 + y / 256) % 3 == 1 ? (x + y * c) / 16
                                                                                 : random());
    return map;
}

static std::string file_name() {
    return "/tmp/nolt_bench_" + std::to_string(getpid()) + ".rgb";
}

static std::vector<unsigned char> bytes_of(const std::string& name) {
    std::FILE* const file = std::fopen(name.c_str(), "rb");
    std::fseek(file, 0, SEEK_END);
    std::vector<unsigned char> bytes(static_cast<std::size_t>(std::ftell(file)));
    std::rewind(file);
    if (std::fread(bytes.data(), 1, bytes.size(), file) != bytes.size()) bytes.clear();
    std::fclose(file);
    return bytes;
}

static void read_file(benchmark::State& state) {
    const std::string name = file_name();
    PX_Map* const map = picture();
    map->save(name.c_str());
    std::vector<unsigned char> pixels(pixel_bytes), file(bytes_of(name).size());
    const auto copy = [&] {
        std::memcpy(pixels.data(), map->get_pixels(), pixels.size());
        std::FILE* const f = std::fopen(name.c_str(), "rb");
        const std::size_t got = std::fread(file.data(), 1, file.size(), f);
        std::fclose(f);
        return static_cast<std::uint64_t>(pixels[12345] + (got == 0));
    };
    const auto ours = [&] {
        pixmap_open_read(name.c_str());
        pixmap_load(pixels.data(), channels, size * channels);
        pixmap_close();
        return static_cast<std::uint64_t>(pixels[12345]);
    };
    side_by_side(state, static_cast<std::int64_t>(pixel_bytes) / 1000000, {{"copy", copy}},
                 {"read", ours});
    unlink(name.c_str());
}
BENCHMARK(read_file)->UseManualTime();

static void write_file(benchmark::State& state) {
    const std::string name = file_name(), plain_name = name + ".plain";
    PX_Map* const map = picture();
    map->save(name.c_str());
    const std::vector<unsigned char> file = bytes_of(name);
    std::vector<unsigned char> pixels(pixel_bytes);
    const auto copy = [&] {
        std::memcpy(pixels.data(), map->get_pixels(), pixels.size());
        std::FILE* const f = std::fopen(plain_name.c_str(), "wb");
        const std::size_t put = std::fwrite(file.data(), 1, file.size(), f);
        std::fclose(f);
        return static_cast<std::uint64_t>(put);
    };
    const auto ours = [&] {
        map->save(name.c_str());
        return static_cast<std::uint64_t>(file.size());
    };
    side_by_side(state, static_cast<std::int64_t>(pixel_bytes) / 1000000, {{"copy", copy}},
                 {"write", ours});
    unlink(name.c_str());
    unlink(plain_name.c_str());
}
BENCHMARK(write_file)->UseManualTime();

// The plain way: for each value of each pixel, the filter for each contribution.
static std::vector<unsigned char> plain_pass(const unsigned char* in, int from, int other, int to,
                                             int step, int stride, int to_step, int to_stride,
                                             PX_Map::Filter filter) {
    std::vector<unsigned char> out(static_cast<std::size_t>(to) * static_cast<std::size_t>(other) *
                                   channels);
    const float scale = static_cast<float>(to) / static_cast<float>(from);
    const float reach = 3.0f / scale, fscale = static_cast<float>(1.0 / static_cast<double>(scale));
    for (int o = 0; o < other; ++o)
        for (int i = 0; i < to; ++i) {
            const float centre =
                static_cast<float>(static_cast<double>(i) / static_cast<double>(scale));
            const int left = static_cast<int>(std::ceil(centre - reach));
            const int right = static_cast<int>(std::floor(centre + reach));
            for (int c = 0; c < channels; ++c) {
                float sum = 0;
                for (int j = left; j <= right; ++j) {
                    const int k = j < 0 ? -j : j >= from ? 2 * from - 1 - j : j;
                    const double distance = static_cast<double>(centre) - j;
                    sum += static_cast<float>(in[k * step + o * stride + c]) *
                           (filter(static_cast<float>(distance) / fscale) / fscale);
                }
                out[static_cast<std::size_t>(i * to_step + o * to_stride + c)] =
                    static_cast<unsigned char>(sum < 255 ? sum < 0 ? 0 : sum : 255);
            }
        }
    return out;
}

static std::uint64_t sum_of(const unsigned char* bytes, std::size_t count) {
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < count; ++i) sum = sum * 31 + bytes[i];
    return sum;
}

static void resize(benchmark::State& state) {
    const int half = size / 2;
    const std::size_t result_bytes = pixel_bytes / 4;
    PX_Map* const map = picture();
    PX_Map* scaled = nullptr;
    const auto plain = [&] {
        const auto between =
            plain_pass(map->get_pixels(), size, size, half, channels, size * channels, channels,
                       half * channels, map->get_triangle_filter());
        const auto result = plain_pass(between.data(), size, half, half, half * channels, channels,
                                       half * channels, channels, map->get_triangle_filter());
        return sum_of(result.data(), result_bytes);
    };
    const auto ours = [&] {
        scaled->resize(half, half, map->get_triangle_filter(), 3);
        return sum_of(scaled->get_pixels(), result_bytes);
    };
    const auto prepare = [&] {
        scaled = new PX_Map(size, size, channels);
        std::memcpy(scaled->get_pixels(), map->get_pixels(), pixel_bytes);
    };
    side_by_side(state, 1, {{"plain", plain}}, {"resize", ours, prepare});
}
BENCHMARK(resize)->UseManualTime()->Iterations(3);

#ifdef NOLT_BENCH_MAGICK
// ImageMagick rounds otherwise, so the sides agree on the size alone. With `copies`, the pixels go
// into a new image and out of it within the time.
static void resize_triangle(benchmark::State& state) {
    const int half = size / 2;
    const bool with_copies = state.range(0) != 0;
    PX_Map* const source = picture();
    std::vector<unsigned char> pixels(pixel_bytes / 4);

    Magick::Image image;
    const auto magick_in = [&] {
        image = Magick::Image(size, size, "RGB", Magick::CharPixel, source->get_pixels());
        image.filterType(Magick::TriangleFilter);
    };
    const auto magick = [&](int threads) {
        const auto run = [&, threads] {
            MagickCore::SetMagickResourceLimit(MagickCore::ThreadResource,
                                               static_cast<MagickCore::MagickSizeType>(threads));
            if (with_copies) magick_in();
            image.resize(Magick::Geometry(half, half));
            if (with_copies) image.write(0, 0, half, half, "RGB", Magick::CharPixel, pixels.data());
            return static_cast<std::uint64_t>(image.columns() * image.rows());
        };
        const auto prepare = [&] {
            if (!with_copies) magick_in();
        };
        return Side{threads == 1 ? "ImageMagick" : "ImageMagick 2 threads", run, prepare};
    };

    PX_Map* map = nullptr;
    const auto in = [&] {
        map = new PX_Map(size, size, channels);
        std::memcpy(map->get_pixels(), source->get_pixels(), pixel_bytes);
    };
    const auto ours = [&] {
        if (with_copies) in();
        map->resize(half, half, map->get_triangle_filter(), 3);
        if (with_copies) std::memcpy(pixels.data(), map->get_pixels(), pixels.size());
        return static_cast<std::uint64_t>(map->get_width()) * map->get_height();
    };
    const auto prepare = [&] {
        if (!with_copies) in();
    };
    side_by_side(state, 1, {magick(1), magick(2)}, {"resize", ours, prepare});
}
BENCHMARK(resize_triangle)->ArgName("copies")->Arg(0)->Arg(1)->UseManualTime()->Iterations(10);
#endif
