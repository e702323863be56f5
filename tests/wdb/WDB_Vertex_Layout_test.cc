#include "wdb/WDB_Vertex_Layout.h"

#include <array>

#include "tests/wdb/support.h"

static const Vector normal(0, .6f, .8f);
static const Point texel(.25f, .5f, .75f);

// One triangle, and a line of its first two corners.
static WDB_Tri_List* one_triangle() {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    return list_of(
        {WDB_Triangle({1, 2, 3}, {4, 5, 6}, {7, 8, 9}, normal, normal, normal, {0, .5f, 1},
                      {-1, 2, .25f}, {nan, .002f, .001f}, texel, texel, texel)});
}

TEST(WDB_Vertex_Layout, how_much_room) {
    using Layout = WDB_Vertex_Layout;
    const std::tuple<const char*, Layout, std::size_t, std::size_t> rows[] = {
        {"nothing wanted", Layout{}, 9, 0},
        {"no vertices", {.positions = {100, 12}}, 0, 0},
        {"to the last byte", {.positions = {4, 20}}, 3, 4 + 2 * 20 + 12},
        {"the farthest counts", {.positions = {0, 12}, .colors = {36, 12}}, 3, 36 + 2 * 12 + 12},
        {"forms",
         {.texture_points = {0, 8}, .colors = {0, 4}, .color_form = WDB_COLOR_BYTES},
         1,
         8},
        {"no room for a position", {.positions = {0, 11}}, 1, SIZE_MAX},
        {"nor for a z", {.texture_points = {0, 8}, .texture_form = WDB_TEXTURE_3}, 1, SIZE_MAX},
        {"offset too large", {.normals = {SIZE_MAX - 11, 12}}, 1, SIZE_MAX},
        {"stride too large", {.normals = {0, SIZE_MAX / 2}}, 3, SIZE_MAX},
        {"too many", {.positions = {0, 12}}, SIZE_MAX / 12 + 1, SIZE_MAX},
    };
    for (const auto& [row, layout, vertices, should] : rows)
        EXPECT_EQ(layout.byte_count(vertices), should) << row;
}

TEST(WDB_Vertex_Layout, copies_of_corners) {
    const WDB_Tri_List& list = *one_triangle();
    // Interleaved with a gap, from an odd byte on: nothing beside what is named is written.
    WDB_Vertex_Layout mixed = {.positions = {1, 30}, .colors = {15, 30}};
    mixed.color_form = WDB_COLOR_BYTES;
    std::vector<unsigned char> out(mixed.byte_count(list.vertex_count()), 0xEE);
    ASSERT_EQ(out.size(), 79u);
    EXPECT_FALSE(list.copy_vertices(mixed, out.data(), 78));
    EXPECT_EQ(std::count(out.begin(), out.end(), 0xEE), 79) << "nothing is written";
    EXPECT_TRUE(list.copy_vertices(mixed, out.data(), 79));
    const unsigned char colors[3][4] = {{0, 128, 255, 255}, {0, 255, 64, 255}, {0, 1, 0, 255}};
    const Point* const points[] = {&list[0].p0, &list[0].p1, &list[0].p2};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(std::memcmp(&out[1 + 30 * i], points[i], sizeof(Point)), 0) << i;
        EXPECT_EQ(std::memcmp(&out[15 + 30 * i], colors[i], 4), 0) << i;
    }
    EXPECT_EQ(std::count(out.begin(), out.end(), 0xEE), 79 - 3 * (12 + 4));

    // Arrays one behind the other: normals, texture points of two and of three, colours.
    WDB_Vertex_Layout arrays = {.normals = {0, 12}, .texture_points = {36, 8}, .colors = {60, 12}};
    std::vector<float> floats(arrays.byte_count(3) / sizeof(float));
    ASSERT_TRUE(list.copy_vertices(arrays, floats.data(), floats.size() * sizeof(float)));
    floats[21] = 9; // the NaN
    EXPECT_EQ(floats,
              (std::vector<float>{0,   .6f,  .8f, 0, .6f, .8f, 0,  .6f, .8f,  .25f, .5f,   .25f,
                                  .5f, .25f, .5f, 0, .5f, 1,   -1, 2,   .25f, 9,    .002f, .001f}));
    const WDB_Line_List& lines =
        *lines_of({WDB_Line({1, 2, 3}, {4, 5, 6}, normal, normal, texel, texel)});
    std::array<Point, 2> ends;
    EXPECT_TRUE(lines.copy_vertices({.texture_points = {0, 12}, .texture_form = WDB_TEXTURE_3},
                                    ends.data(), sizeof ends));
    EXPECT_EQ(bits_of(ends), bits_of(std::array{texel, texel}));
    EXPECT_TRUE(list_of({})->copy_vertices(mixed, nullptr, 0));
}
