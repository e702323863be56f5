#include "wdb/wdb_topology_split.h"

#include "base/Hash_Table.h"
#include "std/Std_URL.h"
#include "tests/wdb/support.h"
#include "wdb/Corner_Groups.h"
#include "wdb/Point_Key.h"

using Triangles = std::vector<WDB_Triangle>;

static WDB_Tri_List* named_list(const Triangles& triangles, const char* name = "L") {
    WDB_Tri_List* const list = list_of(triangles);
    list->set_name(name);
    return list;
}

// Keeps the nodes that are put in their order. Parts of odd lists have boxes in which no walk would
// find them.
class Recording_World : public WDB_Database {
    STD_OBJ_CLASS(Recording_World, WDB_Database)
    void put(WDB_Node* node) override {
        nodes.push_back(node);
        if (is_filing) WDB_Database::put(node);
    }
    bool is_filing = true;
    std::vector<WDB_Node*> nodes;
};

static std::string split(WDB_Database& world) {
    const Report_Catcher reports;
    wdb_topology_split(world);
    return reports.text;
}

static const WDB_Tri_List& tri_list(const WDB_Node* node) {
    return *WDB_Tri_List::const_castdown(node->get_geometry());
}

// All reports, and the triangles of each part, which are told by the red of their corners.
static std::string split_text(const Triangles& triangles) {
    WDB_Tri_List* const list =
        named_list(Triangles(triangles.size(), WDB_Triangle({0, 0, 0}, {1, 1, 1}, {1, 0, 0})));
    Recording_World world;
    world.put(node_with(list));
    // After the list has got a box that is walked.
    for (int i = 0; i < list->count(); ++i) list->put(triangles[static_cast<std::size_t>(i)], i);
    world.is_filing = false;
    std::string text = split(world);
    for (std::size_t part = 1; part < world.nodes.size(); ++part) {
        for (const WDB_Triangle& t : tri_list(world.nodes[part])) text += shown(t.c0.r);
        text += "\n";
    }
    return text;
}

// Tests every triangle that is left against the corners of the component, again and again.
static std::string plainly_split(const Triangles& triangles) {
    std::ostringstream reports, parts;
    const auto tell = [&](const auto&... line) {
        ((reports << "TOPOLOGY_SPLITTER: ") << ... << line) << '\n';
    };
    std::vector<bool> is_joined(triangles.size());
    int component = 0;
    tell("Handling geometry L with ", triangles.size(), " triangles");
    for (std::size_t first = 0; first < triangles.size(); ++first) {
        if (is_joined[first]) continue;
        Hash_Table<const Point*, bool> corners(pnt_hash, pnt_equal);
        int size = 0;
        ++component;
        for (int before = -1; before != size;) {
            if (before > 0)
                tell("Connected component #", component, " of geometry L has grown to ", size,
                     " triangles - reiterating\n");
            before = size;
            for (std::size_t i = first; i < triangles.size(); ++i) {
                const WDB_Triangle& t = triangles[i];
                const int shared = corners.has(&t.p0) + corners.has(&t.p1) + corners.has(&t.p2);
                if (is_joined[i] || (before > 0 && shared < 2)) continue;
                is_joined[i] = true;
                ++size;
                for (const Point* p : {&t.p0, &t.p1, &t.p2}) corners.put(true, p);
                parts << t.c0.r << ' ';
                if (before == 0) break;
            }
        }
        parts << '\n';
        tell("Connected component #", component, " of geometry L has ", size, " triangles\n");
    }
    tell("Geometry L splitted into ", component, " components");
    if (component > 1) tell("Splitting node n into ", component, " parts");
    tell("Removing old splitted nodes...");
    tell("Inserting new splitted nodes...");
    return reports.str() + (component > 1 ? parts.str() : "");
}

// Corners from a small pool, so that triangles meet by chance. Each value of a coordinate may be
// off by a few last bits. With a hub, all triangles meet there.
static Triangles random_triangles(std::mt19937& random, float size, int most_ulps, bool has_hub) {
    const auto below = [&](unsigned int n) { return random() % n; };
    const auto coordinate = [&] {
        const float odd[] = {0.0f, -0.0f, 1, 2, 16, 256, NAN, INFINITY, -INFINITY, 3e38f};
        const float even = size * static_cast<float>(static_cast<int>(below(9)) - 4);
        return below(50) == 0 ? odd[below(std::size(odd))] : even;
    };
    std::vector<Point> pool(5 + below(100));
    for (Point& p : pool) p = Point{coordinate(), coordinate(), coordinate()};
    const auto corner = [&](bool is_hub) {
        Point p = pool[is_hub ? 0 : below(static_cast<unsigned int>(pool.size()))];
        for (int axis = 0; axis < 3 && most_ulps != 0; ++axis)
            for (unsigned int i = below(static_cast<unsigned int>(most_ulps) + 1); i > 0; --i)
                p[axis] = std::nextafter(p[axis], 4.0f);
        return p;
    };
    Triangles triangles(below(120));
    for (WDB_Triangle& t : triangles) {
        const Point a = corner(has_hub), b = corner(false), c = corner(false);
        t = WDB_Triangle(a, b, c, Color(static_cast<float>(&t - &triangles[0]), 0, 0));
    }
    return triangles;
}

TEST(wdb_topology_split, random_lists_as_the_plain_way) {
    const std::tuple<const char*, float, int, bool, bool> rows[] = {
        {"exact", 1, 0, false, false},
        {"far apart", 100, 1, false, false},
        {"near one another", .2f, 1, false, false},
        {"chains", .2f, 6, true, false},
        {"around 2", .5f, 4, true, false},
        {"clouds", 1e-7f, 3, true, false},
        {"all as good as one", 1e-9f, 0, false, false},
        {"around a hub", 1, 0, false, true},
        {"around a hub in a chain", .2f, 3, true, true},
    };
    for (const auto& [row, size, most_ulps, may_be_tangled, has_hub] : rows) {
        int tangled = 0;
        for (unsigned int seed = 0; seed < 150; ++seed) {
            std::mt19937 random(seed);
            const Triangles triangles = random_triangles(random, size, most_ulps, has_hub);
            ASSERT_EQ(split_text(triangles), plainly_split(triangles)) << row << seed;
            tangled += Corner_Groups(*named_list(triangles)).has_tangled();
        }
        EXPECT_EQ(tangled > 0, may_be_tangled) << row;
    }
}

// Told apart from the plain way, which takes the same points for equal.
TEST(wdb_topology_split, what_counts_as_one_corner) {
    const float ulp = std::numeric_limits<float>::epsilon();
    const WDB_Triangle t({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    const std::tuple<const char*, WDB_Triangle, int> rows[] = {
        {"off by 1e-7", {{1, 1e-7f, 0}, {0, 1, -1e-7f}, {1, 1, 0}}, 1},
        {"off by 1e-6", {{1, 1e-6f, 0}, {0, 1, 0}, {1, 1, 0}}, 2},
        {"off by one ulp of 1", {{1 + ulp, 0, 0}, {0, 1, 0}, {1, 1, 0}}, 1},
        {"off by two", {{1 + 2 * ulp, 0, 0}, {0, 1, 0}, {1, 1, 0}}, 2},
        {"mirrored", {{-1, 0, 0}, {0, -1, 0}, {1, 1, 0}}, 2},
        {"nothing", {{NAN, 0, 0}, {1, NAN, 0}, {0, 1, 0}}, 2},
    };
    for (const auto& [row, other, parts] : rows)
        EXPECT_TRUE(holds(split_text({t, other}),
                          "splitted into " + std::to_string(parts) + " components\n"));
}

static WDB_Tri_List* two_pieces(const char* name) {
    WDB_Tri_List* const list = named_list({WDB_Triangle({0, 0, 0}, {1, 0, 0}, {0, 1, 0}),
                                           WDB_Triangle({5, 5, 5}, {6, 5, 5}, {5, 6, 5})},
                                          name);
    list->set_with_colors(true);
    return list;
}

TEST(wdb_topology_split, nodes_are_replaced_by_copies_of_their_class) {
    Recording_World world;
    auto* const lamp =
        new WDB_Light("lamp", HFrame(Frame::translation(1, 2, 3)), .5f, two_pieces("l"), nullptr);
    lamp->set_on(false);
    auto* const eye = new WDB_Camera("eye", HFrame(Frame::scaling(2)),
                                     Matrix4::perspective(.3f, 4, 50), two_pieces("e"), nullptr);
    eye->set_ipd(.7f);
    WDB_Node* const plain = node_with(two_pieces("p"), Frame::identity(), "plain");
    plain->set_url(new Std_URL("http://host/p.3d"));
    for (WDB_Node* node : std::initializer_list<WDB_Node*>{lamp, eye, plain}) world.put(node);
    world.nodes.clear();
    split(world);
    EXPECT_EQ(
        shown(world.shape_count(), world.light_count(), world.camera_count(), world.is_editing()),
        "6 2 2 0 ");
    ASSERT_EQ(world.nodes.size(), 6u);
    const std::map<std::string, WDB_Node*> sources = {
        {"lamp", lamp}, {"eye", eye}, {"plain", plain}};
    for (WDB_Node* node : world.nodes) {
        const WDB_Node* const old = sources.at(node->get_name());
        EXPECT_EQ(old->get_world(), nullptr);
        EXPECT_EQ(node->get_dynamic_class_id(), old->get_dynamic_class_id());
        EXPECT_EQ(bits_of(node->get_transform()), bits_of(old->get_transform()));
        EXPECT_EQ(tri_list(node).count(), 1);
        EXPECT_EQ(tri_list(node).get_bbox().min, tri_list(node)[0].p0);
        EXPECT_STREQ(tri_list(node).get_name(), tri_list(old).get_name());
        EXPECT_TRUE(tri_list(node).get_with_colors());
        if (const WDB_Light* light = WDB_Light::const_castdown(node)) {
            EXPECT_TRUE(light->get_angle() == .5f && light->is_on());
        }
        if (const WDB_Camera* camera = WDB_Camera::const_castdown(node)) {
            EXPECT_EQ(bits_of(camera->get_projection()), bits_of(eye->get_projection()));
            EXPECT_EQ(camera->get_ipd(), 0);
        }
        ASSERT_EQ(!node->get_url(), old != plain);
        if (old != plain) continue;
        EXPECT_STREQ(node->get_url()->get_url_string(), "http://host/p.3d");
        EXPECT_NE(node->get_url(), plain->get_url());
    }
}

TEST(wdb_topology_split, a_shared_list_is_cut_once_and_others_stay) {
    Recording_World world;
    WDB_Tri_List* const shared = two_pieces("S");
    for (int i = 0; i < 3; ++i) world.put(node_with(shared));
    WDB_Node* const levels = node_with(two_pieces("A"));
    levels->insert_lod(two_pieces("B"), 1);
    WDB_Node* const others[] = {levels, node_with(lines_of({WDB_Line({0, 0, 0}, {1, 1, 1})})),
                                node_with(named_list({}, "E")),
                                node_with(list_in(Point(0, 0, 0), Point(1, 1, 1))),
                                node_with(nullptr)};
    for (WDB_Node* node : others) world.put(node);
    world.nodes.clear();
    const std::string reports = split(world);
    std::map<std::string, int> counts;
    std::istringstream each(reports);
    for (std::string line; std::getline(each, line);) ++counts[line.substr(line.find(' ') + 1)];
    EXPECT_EQ(shown(counts["Handling geometry S with 2 triangles"],
                    counts["Geometry E splitted into 0 components"],
                    counts["Geometry WDB_Obj splitted into 1 components"],
                    counts["Splitting node n into 2 parts"],
                    counts["Handling geometry A with 2 triangles"]), // two levels of detail
              "1 1 1 3 0 ");
    for (WDB_Node* node : others) EXPECT_EQ(node->get_world(), &world);
    ASSERT_EQ(world.nodes.size(), 6u);
    for (std::size_t i = 2; i < 6; ++i)
        EXPECT_EQ(world.nodes[i]->get_geometry(), world.nodes[i % 2]->get_geometry());
    EXPECT_EQ(split(world).find("Splitting"), std::string::npos) << "parts are connected";
}
