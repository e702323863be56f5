#include "images/PX_Map.h"

#include <numeric>
#include <sys/resource.h>
#include <sys/stat.h>

#include "images/image.h"
#include "images/pix_support.h"
#include "std/Std_Limits.h"
#include "std/Std_URL.h"
#include "tests/Scratch_Folder.h"

using Bytes = std::vector<unsigned char>;

using PX_Map_test = Scratch_Folder_Test;

static Bytes pixels_of(const PX_Map& map) {
    const unsigned char* const p = map.get_pixels();
    return Bytes(p, p + map.get_width() * map.get_height() * map.get_component());
}

static PX_Map* random_map(int width, int height, int component) {
    static std::mt19937 random(9);
    auto* const map = new PX_Map(width, height, component);
    for (int i = 0; i < width * height * component; ++i)
        map->get_pixels()[i] = static_cast<unsigned char>(random());
    return map;
}

TEST_F(PX_Map_test, conversions) {
    // One pixel of each file, and what it becomes with 1 to 4 components.
    const std::vector<Bytes> rows[] = {
        {{100}, {100}, {100, 255}, {100, 100, 100}, {100, 100, 100, 255}},
        {{100, 7}, {100}, {100, 7}, {100, 100, 100}, {100, 100, 100, 7}},
        {{255, 0, 0}, {78}, {78, 255}, {255, 0, 0}, {255, 0, 0, 255}},
        {{0, 255, 0}, {155}, {155, 255}, {0, 255, 0}, {0, 255, 0, 255}},
        {{0, 0, 255, 9}, {20}, {20, 9}, {0, 0, 255}, {0, 0, 255, 9}},
    };
    for (const auto& as : rows) {
        PX_Map map(1, 1, static_cast<int>(as[0].size()));
        std::copy(as[0].begin(), as[0].end(), map.get_pixels());
        map.save("f.rgb");
        for (int component = 0; component <= 4; ++component)
            EXPECT_EQ(pixels_of(PX_Map("f.rgb", component)),
                      as[static_cast<std::size_t>(component)])
                << component;
        EXPECT_EQ(pixels_of(PX_Map("f.rgb", 5)), Bytes(5, 0));
    }
}

TEST_F(PX_Map_test, save_and_load) {
    for (int component : {1, 2, 3, 4}) {
        PX_Map& map = *random_map(37, 11, component);
        map.save("f.rgb");
        ASSERT_EQ(std::system("gzip -f f.rgb"), 0);
        const PX_Map loaded("f.rgb.gz", 0);
        EXPECT_TRUE(loaded.get_width() == 37 && pixels_of(loaded) == pixels_of(map)) << component;
    }
    // The channels of a row lie in the file from blue to red.
    PX_Map map(1, 1, 3);
    for (int c = 0; c < 3; ++c)
        map.put_pixel_component(static_cast<unsigned char>('r' + c), 0, 0, c);
    map.save("f.rgb");
    EXPECT_EQ(file("f.rgb").substr(512 + 24), std::string("\1t\0\1s\0\1r\0", 9));
}

TEST_F(PX_Map_test, rows_and_columns) {
    PX_Map map(3, 2, 2);
    std::iota(map.get_pixels(), map.get_pixels() + 12, static_cast<unsigned char>(0));
    Bytes row(6), column(4);
    map.get_row_in(row.data(), 1);
    map.get_column_in(column.data(), 2);
    EXPECT_TRUE(row == Bytes({6, 7, 8, 9, 10, 11}) && column == Bytes({4, 5, 10, 11}));
    EXPECT_EQ(map.get_pixel_component(1, 1, 1), 9);
}

TEST_F(PX_Map_test, what_cannot_be_loaded_becomes_a_dummy) {
    put_file("text.rgb", "not an image");
    const auto expect_dummy = [](const char* name, const std::string& message) {
        for (int component : {0, 3}) {
            PX_Map map(0, 0, 0);
            const std::string reports = reports_of([&] { map = PX_Map(name, component); });
            EXPECT_TRUE(reports.ends_with("PX_Map: LOAD ERROR - " + message +
                                          "\nPX_Map: CREATING DUMMY IMAGE\n"))
                << name << reports;
            EXPECT_EQ(shown(map.get_width(), map.get_height(), map.get_component()),
                      component ? "4 4 3 " : "4 4 1 ");
        }
    };
    expect_dummy("missing.rgb", "Unable to get url");
    expect_dummy("text.rgb", "Image not found");
    setenv("TMPDIR", "/no/such/folder", 1);
    expect_dummy("text.rgb", "Unable to open local tmpfile");
}

// Headers and tables that claim what the file does not hold.
// Cut anywhere, or with one of its tables' entries wrong: each row is as it was or black, and a
// report tells how many are not; without any row there is the dummy.
TEST_F(PX_Map_test, hostile_files) {
    PX_Map& original = *random_map(5, 3, 3);
    original.save("good.rgb");
    const std::string good = file("good.rgb");
    const auto good_rows = [&](const std::string& text) {
        put_file("bad.rgb", text);
        PX_Map map(0, 0, 0);
        const std::string reports = reports_of([&] { map = PX_Map("bad.rgb", 0); });
        if (map.get_width() == 4) {
            EXPECT_TRUE(holds(reports, "DUMMY"));
            EXPECT_FALSE(map.is_complete());
            return -1;
        }
        int n = 0;
        for (int y = 0; y < 3; ++y) {
            bool is_good = true;
            for (int i = 15 * y; i < 15 * y + 15; ++i) {
                if (map.get_pixels()[i] == original.get_pixels()[i]) continue;
                is_good = false;
                EXPECT_EQ(map.get_pixels()[i], 0);
            }
            n += is_good;
        }
        EXPECT_EQ(map.is_complete(), n == 3);
        const std::string told = std::to_string(3 - n) + " of 3 rows are damaged in bad.rgb\n";
        EXPECT_EQ(reports, n == 3 ? "" : "INFO   : PX_Map: " + told);
        return n;
    };
    ASSERT_EQ(good_rows(good), 3);
    int best = -1;
    for (std::size_t cut = 0; cut + 3 < good.size(); ++cut) {
        const int rows = good_rows(good.substr(0, cut));
        EXPECT_GE(rows, best) << cut;
        best = rows;
    }
    EXPECT_EQ(best, 2);
    const auto with = [&](std::size_t at, std::uint16_t value) {
        std::string text = good;
        std::memcpy(text.data() + at, &value, 2);
        return text;
    };
    for (std::size_t field : {6u, 8u}) // xsize, ysize
        for (std::uint16_t value : {0, 4097, 65535})
            EXPECT_EQ(good_rows(with(field, value)), -1) << field << ' ' << value;
    for (std::uint16_t type : {0x0103, 0x0300}) EXPECT_EQ(good_rows(with(2, type)), -1) << type;
    EXPECT_EQ(good_rows(with(4, 0)), -1) << "dim";
    for (std::size_t entry = 0; entry < 18; ++entry) // row starts, then row sizes
        for (std::uint32_t value : {0xFFFFFFFFu, 0x7FFFFFFFu, 0u}) {
            std::string text = good;
            std::memcpy(text.data() + 512 + 4 * entry, &value, 4);
            if (entry < 9 && value == 0) continue; // the header is somebody's row
            EXPECT_EQ(good_rows(text), 2) << entry << ' ' << value;
        }
    std::string text = good;
    const std::uint32_t cut = 4; // bytes: a count and three values
    std::memcpy(text.data() + 512 + 4 * 9, &cut, 4);
    EXPECT_EQ(good_rows(text), 2);
    Bytes should = pixels_of(original);
    should[3 * 3] = should[4 * 3] = 0;
    EXPECT_EQ(pixels_of(PX_Map("bad.rgb", 0)), should);
    std_limits.image_pixels = 14;
    EXPECT_EQ(good_rows(good), -1) << "more pixels than are allowed";
    std_limits = Std_Limits();
}

// Some writers store equal rows once.
TEST_F(PX_Map_test, rows_that_share_their_bytes) {
    PX_Map(300, 200, 1).save("f.rgb");
    std::string text = file("f.rgb");
    const std::size_t tables = 512, entries = 200;
    for (std::size_t i = 1; i < entries; ++i) text.replace(tables + 4 * i, 4, text, tables, 4);
    text.resize(tables + 2 * 4 * entries + 3 * 2 + 1); // packets of 126, 126 and 48, and an end
    put_file("f.rgb", text);
    EXPECT_EQ(pixels_of(PX_Map("f.rgb", 0)), Bytes(300 * 200, 0));
}

// A failed save leaves what was there, and nothing beside it.
TEST_F(PX_Map_test, what_cannot_be_saved_is_reported) {
    put_file("old.rgb", "old");
    ASSERT_EQ(mkfifo("pipe.rgb", 0600), 0);
    const auto files = std::distance(std::filesystem::directory_iterator("."), {});
    const std::tuple<const char*, int, int, bool, std::string> rows[] = {
        {"/no/such/folder/f.rgb", 2, 3, false, ": No such file or directory"},
        {"pipe.rgb", 2, 3, false, ": No such device or address"}, // nobody reads it
        {"old.rgb", 65536, 1, false, ""},
        {"old.rgb", 2, 5, false, ""},
        {"old.rgb", 2000, 3, true, ": File too large"}};
    for (const auto& [name, width, component, is_full, why] : rows) {
        SCOPED_TRACE(name + std::to_string(width));
        PX_Map& map = *random_map(width, 2, component);
        const rlimit full = {is_full ? 600u : RLIM_INFINITY, RLIM_INFINITY},
                     none = {RLIM_INFINITY, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &full);
        const std::string told = reports_of([&, to = name] { EXPECT_FALSE(map.save(to)); });
        setrlimit(RLIMIT_FSIZE, &none);
        EXPECT_TRUE(
            holds(told, std::string("WARNING: Unable to save image ") + name + why + " in "));
        EXPECT_EQ(file("old.rgb"), "old");
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator("."), {}), files);
    }
    // A link is replaced, not followed, and the map that comes back is the same, however wide.
    std::filesystem::create_symlink("old.rgb", "link.rgb");
    PX_Map& wide = *random_map(5000, 2, 4);
    EXPECT_TRUE(wide.save("link.rgb"));
    EXPECT_EQ(file("old.rgb"), "old");
    EXPECT_EQ(pixels_of(PX_Map("link.rgb", 0)), pixels_of(wide));
    PX_Map copy(1, 1, 1);
    EXPECT_EQ(pixels_of(copy = wide), pixels_of(wide));
    copy.resize(2, 2);
    EXPECT_EQ(pixels_of(wide), pixels_of(PX_Map("link.rgb", 0))) << "a copy has pixels of its own";
    unsigned char pixel = 7;
    pixmap_open_write("named.rgb", 1, 1, 1);
    EXPECT_TRUE(pixmap_save(&pixel, 1) && pixmap_close());
    EXPECT_EQ(pixels_of(PX_Map("named.rgb", 0)), Bytes{7});
    EXPECT_EXIT(pixmap_save(&pixel, 1), ::testing::ExitedWithCode(0),
                "^can't open image in write mode\n$");
}

TEST(PX_Map_filters, values) {
    const PX_Map map(1, 1, 1);
    const auto box = map.get_box_filter(), triangle = map.get_triangle_filter();
    const auto bell = map.get_bell_filter(), spline = map.get_bspline_filter();
    EXPECT_EQ(shown(box(-.5f), box(.5f), triangle(-.25f), triangle(1)), "0 1 0.75 0 ");
    EXPECT_EQ(shown(bell(0), bell(-.5f), bell(1), bell(-1.6f)), "0.75 0.5 0.125 0 ");
    EXPECT_TRUE(spline(0) == 2 / 3.0f && spline(-1) == 1 / 6.0f && spline(2) == 0);
}

static float overshooting(float t) {
    return std::fabs(t) < .5f ? 1.5f : std::fabs(t) < 1.5f ? -.2f : 0;
}

static float sometimes_no_number(float t) {
    return t > 1.5f && t < 1.7f ? NAN : -0.3f;
}

// One value after the other, with a call of the filter for each contribution.
static void plain_line(const unsigned char* in, int size, int step, unsigned char* out,
                       int new_size, PX_Map::Filter filter) {
    const float scale = static_cast<float>(new_size) / static_cast<float>(size);
    const float wide = scale < 1 ? static_cast<float>(1 / static_cast<double>(scale)) : 1;
    const float reach = scale < 1 ? 3 / scale : 3;
    for (int i = 0; i < new_size; ++i) {
        const auto centre = static_cast<float>(i / static_cast<double>(scale));
        float sum = 0;
        for (float j = std::ceil(centre - reach); j <= std::floor(centre + reach); ++j) {
            int at = static_cast<int>(j); // mirrored at both ends, which are not repeated below 0
            while (size > 1 && (at < 0 || at >= size)) at = at < 0 ? -at : 2 * size - 1 - at;
            sum += static_cast<float>(in[size > 1 ? at * step : 0]) *
                   (filter((centre - j) / wide) / wide);
        }
        out[i * step] = !(sum < 255) ? 255 : sum < 0 ? 0 : static_cast<unsigned char>(sum);
    }
}

static Bytes plainly_resized(const PX_Map& map, int width, int height, PX_Map::Filter filter) {
    const int w = map.get_width(), h = map.get_height(), n = map.get_component();
    Bytes across(static_cast<std::size_t>(width * h * n)),
        out(static_cast<std::size_t>(width * height * n));
    for (int y = 0; y < h; ++y)
        for (int c = 0; c < n; ++c)
            plain_line(map.get_pixels() + y * w * n + c, w, n, across.data() + y * width * n + c,
                       width, filter);
    for (int k = 0; k < width * n; ++k)
        plain_line(across.data() + k, h, width * n, out.data() + k, height, filter);
    return out;
}

TEST(PX_Map_resize, same_bytes_as_the_plain_way) {
    const int rows[][5] = {{7, 5, 3, 6, 9},    {40, 33, 4, 20, 17}, {16, 16, 1, 16, 16},
                           {1, 1, 2, 5, 3},    {2, 3, 3, 1, 1},     {100, 3, 3, 128, 2},
                           {33, 70, 2, 90, 8}, {50, 21, 1, 25, 43}, {9, 7, 5, 12, 4},
                           {64, 31, 3, 4, 2},  {5, 4, 0, 2, 9}};
    for (const auto& [w, h, n, width, height] : rows) {
        const PX_Map& map = *random_map(w, h, n);
        for (PX_Map::Filter filter :
             {map.get_box_filter(), map.get_triangle_filter(), map.get_bell_filter(),
              map.get_bspline_filter(), PX_Map::Filter(overshooting),
              PX_Map::Filter(sometimes_no_number)}) {
            PX_Map copy(map);
            copy.resize(width, height, filter, 3);
            EXPECT_EQ(pixels_of(copy), plainly_resized(map, width, height, filter))
                << w << " to " << width;
        }
    }
}

TEST(PX_Map_resize, sizes_that_cannot_be) {
    const char* const too_large = "65536 x 65536 x 1 cannot be made";
    EXPECT_FATAL(PX_Map(2, 2, 1).resize(0, 2), "cannot be resized to 0 x 2");
    EXPECT_FATAL(PX_Map(1, 65536, 1).resize(65536, 1), too_large);
    EXPECT_FATAL(PX_Map(65536, 65536, 1), too_large);
}

TEST(PX_Map_resize, texture_align) {
    std::string sizes;
    for (const auto& [width, height] :
         std::vector<std::pair<int, int>>{{100, 100}, {64, 256}, {1, 1}, {96, 90}, {91, 3}}) {
        PX_Map map(width, height, 1);
        map.texture_align();
        sizes += shown(map.get_width(), map.get_height());
    }
    EXPECT_EQ(sizes, "128 128 64 256 1 1 128 64 128 4 ");
}

TEST_F(PX_Map_test, changes_are_counted) {
    PX_Map map(3, 3, 1);
    const PX_Map other(2, 2, 3);
    const struct {
        const char* row;
        std::function<void()> act;
        bool is_change;
    } rows[] = {
        {"pixel", [&] { map.put_pixel_component(1, 2, 2, 0); }, true},
        {"touch", [&] { map.touch(); }, true},
        {"look", [&] { map.save("x"); }, false},
        {"resize", [&] { map.resize(3, 5); }, true},
        {"align", [&] { map.texture_align(); }, true},
        {"aligned", [&] { map.texture_align(); }, false},
        {"load", [&] { map.load(new Std_URL("x"), 0); }, true},
        {"no such file", [&] { map.load(new Std_URL("absent"), 0); }, true},
        {"assign", [&] { map = other; }, true},
    };
    for (const auto& r : rows) {
        const std::uint64_t before = map.get_change_count();
        reports_of(r.act);
        EXPECT_EQ(map.get_change_count() != before, r.is_change) << r.row;
    }
}
