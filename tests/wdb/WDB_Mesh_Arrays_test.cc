#include "wdb/WDB_Mesh_Arrays.h"

#include <array>

#include "tests/wdb/support.h"

static std::string as_text(const WDB_Vertex& v) {
    return {reinterpret_cast<const char*>(&v), sizeof v};
}

static std::vector<std::uint32_t> indices_of(const WDB_Mesh_Arrays& mesh) {
    std::vector<std::uint32_t> indices;
    for (std::size_t i = 0; i < mesh.index_count(); ++i) indices.push_back(mesh.index(i));
    return indices;
}

// Few values of each kind meet, so that some corners share and some differ in one thing alone;
// beside a map.
TEST(WDB_Mesh_Arrays, shares_equal_corners) {
    std::mt19937 random(5);
    const float values[] = {0, -0.f, 1, std::numeric_limits<float>::quiet_NaN()};
    const auto any = [&] { return values[random() % 16 < 13 ? 0 : random() % 4]; };
    const auto all = {WDB_WITH_ALL + 0u, WDB_WITH_NORMALS | 0u, WDB_WITH_COLORS | WDB_WITH_TEXTURES,
                      0u};
    for (const unsigned contents : all) {
        std::vector<WDB_Triangle> triangles(500);
        for (WDB_Triangle& t : triangles)
            for (std::size_t i = 0; i < sizeof t / sizeof(float); ++i) (&t.p0.x)[i] = any();
        const WDB_Tri_List& list = *list_of(triangles);
        std::map<std::string, std::uint32_t> numbers;
        std::vector<std::uint32_t> should;
        std::vector<std::string> vertices;
        const auto add = [&](WDB_Vertex v) {
            if (!(contents & WDB_WITH_NORMALS)) v.normal = {0, 0, 0};
            if (!(contents & WDB_WITH_COLORS)) v.color = {0, 0, 0};
            if (!(contents & WDB_WITH_TEXTURES)) v.texture_point = {0, 0, 0};
            const auto number = static_cast<std::uint32_t>(numbers.size());
            const auto [at, is_new] = numbers.try_emplace(as_text(v), number);
            if (is_new) vertices.push_back(as_text(v));
            should.push_back(at->second);
        };
        for (const WDB_Triangle& t : list) {
            add({t.p0, t.n0, t.c0, t.t0});
            add({t.p1, t.n1, t.c1, t.t1});
            add({t.p2, t.n2, t.c2, t.t2});
        }
        WDB_Mesh_Arrays mesh(contents);
        EXPECT_TRUE(mesh.update(list));
        EXPECT_EQ(indices_of(mesh), should) << contents;
        ASSERT_EQ(mesh.vertex_count(), vertices.size());
        for (std::size_t i = 0; i < vertices.size(); ++i)
            ASSERT_EQ(as_text(mesh.vertices()[i]), vertices[i]) << contents << ' ' << i;
    }
}

// 16 bits serve up to 0xFFFF vertices, none of which is number 0xFFFF.
TEST(WDB_Mesh_Arrays, size_of_indices) {
    const std::pair<int, int> rows[] = {{0xFFFF / 3, 2}, {0xFFFF / 3 + 1, 4}, {1, 2}};
    WDB_Mesh_Arrays mesh(0);
    for (const auto& [count, size] : rows) {
        const WDB_Tri_List list(count, [n = count](WDB_Triangle* t) {
            for (int i = 0; i < n; ++i) {
                const float x = static_cast<float>(i);
                t[i] = WDB_Triangle({x, 0, 0}, {x, 1, 0}, {x, 0, 1});
            }
        });
        EXPECT_TRUE(mesh.update(list));
        const std::size_t corners = list.vertex_count();
        EXPECT_EQ(shown(mesh.index_size(), mesh.vertex_count(), mesh.index_count()),
                  shown(size, corners, corners));
        EXPECT_EQ(mesh.index(corners - 1), corners - 1);
        const void* const last = static_cast<const char*>(mesh.indices()) + (corners - 1) * size;
        std::uint32_t index = 0;
        std::memcpy(&index, last, static_cast<std::size_t>(size));
        EXPECT_EQ(index, corners - 1);
    }
}

TEST(WDB_Mesh_Arrays, packs_what_changed) {
    const Point a(0, 0, 0), b(1, 0, 0), c(0, 1, 0);
    WDB_Tri_List* const list = list_of({WDB_Triangle(a, b, c), WDB_Triangle(b, a, c)});
    WDB_Line_List* const lines = lines_of({WDB_Line(a, b), WDB_Line(b, c), WDB_Line(c, a)});
    WDB_Tri_List* const empty = list_of({});
    WDB_Mesh_Arrays mesh(0);
    EXPECT_EQ(shown(mesh.vertex_count(), mesh.index_count(), mesh.corners_of_item()), "0 0 0 ");
    const std::tuple<const char*, std::function<const WDB_Geometry*()>, bool, std::string> rows[] =
        {
            {"first", [&] { return list; }, true, "3 6 3 "},
            {"again", [&] { return list; }, false, "3 6 3 "},
            {"changed",
             [&] {
                 list->put(WDB_Triangle(b, a, {9, 9, 9}), 1);
                 return list;
             },
             true, "4 6 3 "},
            {"lines", [&] { return lines; }, true, "3 6 2 "},
            {"the first again", [&] { return list; }, true, "4 6 3 "},
            {"an equal one",
             [&] {
                 return list_of({(*list)[0], (*list)[1]});
             },
             true, "4 6 3 "},
            {"empty", [&] { return empty; }, true, "0 0 3 "},
            {"empty again", [&] { return empty; }, false, "0 0 3 "},
            {"of another class", [&] { return new Odd_Geometry; }, true, "0 0 0 "},
        };
    for (const auto& [row, geometry, is_packed, does] : rows) {
        EXPECT_EQ(mesh.update(*geometry()), is_packed) << row;
        EXPECT_EQ(shown(mesh.vertex_count(), mesh.index_count(), mesh.corners_of_item()), does)
            << row;
    }
    mesh.update(*lines);
    EXPECT_EQ(indices_of(mesh), (std::vector<std::uint32_t>{0, 1, 1, 2, 2, 0}));
    std::array<Point, 3> positions;
    const WDB_Vertex_Layout layout = {.positions = {0, 12}};
    EXPECT_FALSE(mesh.copy_vertices(layout, positions.data(), sizeof positions - 1));
    EXPECT_TRUE(mesh.copy_vertices(layout, positions.data(), sizeof positions));
    EXPECT_EQ(bits_of(positions), bits_of(std::array{a, b, c}));
}
