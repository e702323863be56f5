// Pictures through the library, which runs the converter, beside what was given to their writers.
#include <numbers>

#include <png.h>

#include <jpeglib.h>

#include "images/PX_Map.h"
#include "std/Std_Limits.h"
#include "tests/Scratch_Folder.h"

using Bytes = std::vector<unsigned char>;

class From_Image : public Scratch_Folder_Test {
protected:
    From_Image() { setenv("PATH", (folder_ + ":/usr/bin:/bin").c_str(), 1); }
    ~From_Image() override { setenv("PATH", path_.c_str(), 1); }
    // Loads, and keeps what is said on the standard error stream.
    PX_Map* load(const char* name) {
        testing::internal::CaptureStderr();
        auto* const map = new PX_Map(name, 0);
        err = testing::internal::GetCapturedStderr();
        return map;
    }
    void cut(const char* name, double part) {
        const std::string whole = file(name);
        put_file(name, whole.substr(
                           0, static_cast<std::size_t>(static_cast<double>(whole.size()) * part)));
    }

private:
    const std::string path_ = std::getenv("PATH");
    const std::string folder_ = std::filesystem::path(NOLT_FROMIMAGE).parent_path();
};

static const unsigned width = 57, height = 31;

// Rows from the top, as files have them.
static Bytes from_top(const PX_Map& map) {
    const auto row = map.get_width() * map.get_component();
    Bytes bytes;
    for (int y = map.get_height(); y-- > 0;)
        bytes.insert(bytes.end(), map.get_pixels() + y * row, map.get_pixels() + (y + 1) * row);
    return bytes;
}

// Writes random values, and answers what they are in 8 bits.
static Bytes write_png(const char* name, int type, int depth, int interlace) {
    static std::mt19937 random(11);
    std::FILE* const out = std::fopen(name, "wb");
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, out);
    png_set_IHDR(png, info, width, height, depth, type, interlace, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    // The first colours are transparent, each in its way.
    png_color palette[16];
    png_byte alpha[4];
    for (png_color& c : palette) c = {png_byte(random()), png_byte(random()), png_byte(random())};
    for (png_byte& a : alpha) a = png_byte(random());
    const bool has_palette = type == PNG_COLOR_TYPE_PALETTE;
    if (has_palette) {
        png_set_PLTE(png, info, palette, 1 << depth);
        png_set_tRNS(png, info, alpha, 4, nullptr);
    }
    png_write_info(png, info);
    png_set_packing(png); // a byte for each value of less than 8 bits
    const unsigned values = width * height * png_get_channels(png, info), most = (1u << depth) - 1;
    Bytes given(values * (depth == 16 ? 2 : 1)), wanted;
    for (unsigned i = 0; i < values; ++i) {
        const unsigned value = random() & most;
        if (depth == 16) given[2 * i] = png_byte(value >> 8);
        given[depth == 16 ? 2 * i + 1 : i] = png_byte(value);
        if (has_palette) {
            const png_color c = palette[value];
            for (const png_byte b :
                 {c.red, c.green, c.blue, value < 4 ? alpha[value] : png_byte(255)})
                wanted.push_back(b);
        } else {
            wanted.push_back(png_byte(std::lround(value * 255.0 / most)));
        }
    }
    std::vector<png_bytep> rows;
    for (unsigned y = 0; y < height; ++y) rows.push_back(&given[y * given.size() / height]);
    png_write_image(png, rows.data());
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    std::fclose(out);
    return wanted;
}

TEST_F(From_Image, png_of_all_types) {
    struct {
        int type, depth, interlace, component;
    } const rows[] = {
        {PNG_COLOR_TYPE_GRAY, 1, 0, 1},      {PNG_COLOR_TYPE_GRAY, 2, 0, 1},
        {PNG_COLOR_TYPE_GRAY, 4, 1, 1},      {PNG_COLOR_TYPE_GRAY, 8, 0, 1},
        {PNG_COLOR_TYPE_GRAY, 16, 0, 1},     {PNG_COLOR_TYPE_PALETTE, 2, 0, 4},
        {PNG_COLOR_TYPE_PALETTE, 4, 1, 4},   {PNG_COLOR_TYPE_GRAY_ALPHA, 8, 0, 2},
        {PNG_COLOR_TYPE_RGB, 8, 1, 3},       {PNG_COLOR_TYPE_RGB, 16, 0, 3},
        {PNG_COLOR_TYPE_RGB_ALPHA, 8, 0, 4},
    };
    for (const auto& r : rows) {
        // Known by its content, whatever its name.
        const Bytes wanted = write_png("x.rgb", r.type, r.depth, r.interlace);
        const PX_Map& map = *load("x.rgb");
        EXPECT_EQ(map.get_component(), r.component);
        EXPECT_TRUE(from_top(map) == wanted) << r.type << ' ' << r.depth << err;
        EXPECT_TRUE(map.is_complete());
    }
}

// A smooth picture in any number of components, with an orientation in one of both byte orders.
static Bytes write_jpeg(const char* name, J_COLOR_SPACE space, int components, int orientation,
                        bool is_progressive) {
    std::FILE* const out = std::fopen(name, "wb");
    jpeg_compress_struct info;
    jpeg_error_mgr errors;
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    jpeg_stdio_dest(&info, out);
    info.image_width = width;
    info.image_height = height;
    info.input_components = components;
    info.in_color_space = space;
    jpeg_set_defaults(&info);
    for (int i = 0; i < components; ++i)
        info.comp_info[i].h_samp_factor = info.comp_info[i].v_samp_factor = 1;
    jpeg_set_quality(&info, 100, TRUE);
    if (is_progressive) jpeg_simple_progression(&info);
    jpeg_start_compress(&info, TRUE);
    // One entry of a directory, in the order of either kind of processor.
    const auto at = static_cast<char>(orientation);
    const std::string exif =
        std::string("Exif\0\0", 6) +
        (orientation % 2
             ? std::string("II*\0\10\0\0\0\1\0\22\1\3\0\1\0\0\0", 18) + at + std::string(3, '\0')
             : std::string("MM\0*\0\0\0\10\0\1\1\22\0\3\0\0\0\1\0", 19) + at +
                   std::string(2, '\0'));
    if (orientation > 0)
        jpeg_write_marker(&info, JPEG_APP0 + 1, reinterpret_cast<const JOCTET*>(exif.data()),
                          static_cast<unsigned>(exif.size()));
    Bytes picture;
    for (unsigned y = 0; y < height; ++y) {
        for (unsigned x = 0; x < width; ++x)
            for (unsigned c = 0; c < unsigned(components); ++c)
                picture.push_back(JSAMPLE(40 + 3 * (c == 1 ? y : x) + 5 * c));
        JSAMPROW row = &picture[y * width * unsigned(components)];
        jpeg_write_scanlines(&info, &row, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    std::fclose(out);
    return picture;
}

// Where the pixel at x, y of what is looked at stands in the file.
static std::pair<unsigned, unsigned> stored_at(int orientation, unsigned x, unsigned y) {
    const unsigned right = width - 1, low = height - 1;
    const std::pair<unsigned, unsigned> places[] = {
        {x, y}, {right - x, y}, {right - x, low - y}, {x, low - y},
        {y, x}, {y, low - x},   {right - y, low - x}, {right - y, x}};
    return places[std::max(orientation, 1) - 1];
}

TEST_F(From_Image, jpeg_as_it_is_to_be_seen) {
    struct {
        J_COLOR_SPACE space;
        int given, component, orientation;
        bool is_progressive;
    } const rows[] = {
        {JCS_GRAYSCALE, 1, 1, 0, false}, {JCS_RGB, 3, 3, 0, true},   {JCS_RGB, 3, 3, 1, false},
        {JCS_RGB, 3, 3, 2, false},       {JCS_RGB, 3, 3, 3, false},  {JCS_RGB, 3, 3, 4, false},
        {JCS_RGB, 3, 3, 5, false},       {JCS_RGB, 3, 3, 6, false},  {JCS_RGB, 3, 3, 7, true},
        {JCS_GRAYSCALE, 1, 1, 8, false}, {JCS_CMYK, 4, 3, 0, false}, {JCS_CMYK, 4, 3, 6, false},
    };
    for (const auto& r : rows) {
        const Bytes picture = write_jpeg("x", r.space, r.given, r.orientation, r.is_progressive);
        const PX_Map& map = *load("x");
        ASSERT_EQ(map.get_width(), int(r.orientation > 4 ? height : width)) << err;
        ASSERT_EQ(map.get_component(), r.component);
        int worst = 0;
        for (unsigned y = 0; y < unsigned(map.get_height()); ++y)
            for (unsigned x = 0; x < unsigned(map.get_width()); ++x) {
                const auto [u, v] = stored_at(r.orientation, x, y);
                const auto* const p = &picture[(v * width + u) * unsigned(r.given)];
                for (int c = 0; c < r.component; ++c) {
                    const int wanted = r.space == JCS_CMYK ? p[c] * p[3] / 255 : p[c];
                    worst = std::max(
                        worst, std::abs(wanted - map.get_pixel_component(
                                                     int(x), map.get_height() - 1 - int(y), c)));
                }
            }
        EXPECT_LE(worst, 3) << r.space << ' ' << r.orientation;
        EXPECT_TRUE(map.is_complete());
    }
}

TEST_F(From_Image, what_came_of_a_damaged_file_stays) {
    struct {
        const char* name;
        double part;
        const char* said;
    } const rows[] = {{"x.png", 0.5, "PNG: "}, {"i.png", 0.8, "PNG: "}, {"x.jpg", 0.9, "JPEG: "}};
    write_png("x.png", PNG_COLOR_TYPE_GRAY, 8, 0);
    write_png("i.png", PNG_COLOR_TYPE_GRAY, 8, 1);
    write_jpeg("x.jpg", JCS_GRAYSCALE, 1, 0, false);
    for (const auto& r : rows) {
        const Bytes whole = from_top(*load(r.name));
        cut(r.name, r.part);
        const PX_Map& map = *load(r.name);
        EXPECT_FALSE(map.is_complete());
        EXPECT_TRUE(holds(err, std::string("nolt_fromimage: ") + r.said)) << err;
        // Each row as it was, or black.
        const Bytes left = from_top(map);
        ASSERT_EQ(left.size(), whole.size()) << r.name << err;
        unsigned came = 0;
        for (unsigned at = 0; at < left.size(); at += width) {
            const bool is_there = std::equal(&left[at], &left[at] + width, &whole[at]);
            came += is_there;
            EXPECT_TRUE(is_there || Bytes(&left[at], &left[at] + width) == Bytes(width, 0));
        }
        EXPECT_TRUE(came > 0 && came < height) << r.name << ' ' << came;
    }
    // All rows, but not all of their digits.
    write_jpeg("p.jpg", JCS_GRAYSCALE, 1, 0, true);
    cut("p.jpg", 0.9);
    const PX_Map& map = *load("p.jpg");
    EXPECT_TRUE(!map.is_complete() && map.get_pixel_component(0, 0, 0) > 0);
}

TEST_F(From_Image, what_means_nothing_is_not_told) {
    write_jpeg("x", JCS_GRAYSCALE, 1, 0, false);
    const std::string whole = file("x");
    std::string revised = whole, more = whole, torn = whole;
    revised[11] = 9; // of the header's revision, which nobody knows
    more.insert(whole.size() - 2, "more");
    torn.replace(whole.size() * 3 / 4, 2, "\xFF\xD3"); // a place to start anew, without a need
    const std::tuple<const std::string&, bool> rows[] = {
        {whole, true}, {revised, true}, {more, true}, {torn, false}};
    const Bytes picture = from_top(*load("x"));
    for (const auto& [bytes, is_whole] : rows) {
        put_file("x", bytes);
        const PX_Map& map = *load("x");
        EXPECT_EQ(map.is_complete(), is_whole) << err;
        EXPECT_EQ(err.empty(), is_whole) << err;
        EXPECT_EQ(from_top(map) == picture, is_whole);
    }
}

TEST_F(From_Image, what_is_none) {
    const auto is_dummy = [&](const char* name, const char* said) {
        const PX_Map& map = *load(name);
        EXPECT_TRUE(map.get_width() == 4 && !map.is_complete());
        EXPECT_TRUE(holds(err, said)) << err;
    };
    write_png("x.png", PNG_COLOR_TYPE_RGB, 8, 0);
    std_limits.image_pixels = width * height - 1;
    is_dummy("x.png", "PNG: the picture is too large");
    std_limits.image_pixels = width * height;
    EXPECT_TRUE(load("x.png")->is_complete());
    cut("x.png", 0.1);
    is_dummy("x.png", "PNG: ");
    put_file("x.jpg", "\xFF\xD8\xFF\xE0");
    is_dummy("x.jpg", "JPEG: ");
    EXPECT_EQ(run(NOLT_FROMIMAGE, " >out 2>err <x.jpg"), 1);
    put_file("text", "text");
    EXPECT_EQ(run(NOLT_FROMIMAGE, " >out 2>err <text"), 1);
    EXPECT_EQ(err, "nolt_fromimage: neither PNG nor JPEG\n");
    EXPECT_EQ(run(NOLT_FROMIMAGE " -pixels 1x"), 2);
}
