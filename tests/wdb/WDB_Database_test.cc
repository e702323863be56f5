#include "wdb/WDB_Database.h"

#include "math/Box_Queries.h"
#include "tests/wdb/support.h"

static WDB_Node* node_at(float x, float y, float z, const WDB_Geometry* geometry) {
    return node_with(geometry, Frame::translation(x, y, z), "Ball");
}

TEST(WDB_Database, bounds_and_editing) {
    WDB_Database world;
    world.begin_editing();
    EXPECT_TRUE(world.is_editing());
    world.end_editing();
    EXPECT_EQ(shown(world.is_editing(), world.get_stamp()), "0 2 ");
    EXPECT_EQ(world.get_bbox(), Bbox(Point(-1e4f, -1e4f, -1e4f), Point(1e4f, 1e4f, 1e4f)));
    const Bbox bounds(Point(0, 0, 0), Point(4, 4, 4));
    WDB_Database small(bounds);
    EXPECT_FALSE(small.is_editing());
    EXPECT_EQ(small.get_bbox(), bounds);
    Report_Catcher reports;
    small.put(node_at(3, 3, 3, list_in({0, 0, 0}, {1, .5f, .5f})));
    EXPECT_EQ(reports.text, "") << "touches them from within";
    for (const float x : {3.f, 20.f})
        small.put(node_at(x, 3, 3, list_in({0, 0, 0}, {2, .5f, .5f})));
    EXPECT_EQ(small.get_bbox(), Bbox(Point(3, 3, 3), Point(4, 3.5f, 3.5f))) << "cut to the bounds";
    const std::string report = "BSplit_box_tree put: element out of bounds\n";
    EXPECT_EQ(reports.text, report + report);
}

// A geometry whose end_editing was forgotten; once, until the next one.
TEST(WDB_Database, tells_of_unfinished_geometry) {
    WDB_Database world;
    const auto told = [&](WDB_Tri_List* list) {
        const std::string text = reports_of([&] {
            for (int i = 0; i < 2; ++i) world.put(node_with(list));
        });
        int reports = 0;
        for (std::size_t at = 0; (at = text.find("end_editing", at)) != text.npos; ++at) ++reports;
        return reports;
    };
    const WDB_Triangle triangle(Point(0, 0, 0), Point(1, 0, 0), Point(0, 1, 0));
    auto* const list = new WDB_Tri_List(1);
    list->put(triangle, 0);
    EXPECT_EQ(told(list), 1) << "no box";
    list->end_editing();
    list->set_name("named later");
    EXPECT_EQ(told(list), 0);
    list->begin_editing();
    EXPECT_EQ(told(list), 1) << "is edited";
    auto* const empty = new WDB_Tri_List(0);
    empty->begin_editing();
    empty->end_editing();
    empty->set_name("empty");
    EXPECT_EQ(told(empty), 0);
}

using Nodes = std::multiset<const WDB_Node*>;
struct Walk {
    Nodes seen;
    std::vector<Bbox> boxes;
    std::size_t stop_at = SIZE_MAX;
};

static bool note(SUniv* user, const WDB_Node* node, const Bbox& box) {
    Walk& walk = *Conv<Walk*>::from_univ(user);
    walk.seen.insert(node);
    walk.boxes.push_back(box);
    return walk.seen.size() >= walk.stop_at;
}

static SUniv* into(Walk& walk) {
    return Conv<Walk*>::to_univ(&walk);
}

TEST(WDB_Database, bounds_that_follow) {
    WDB_Database world(WDB_FOLLOWING);
    WDB_Tri_List* const list = list_in({0, 0, 0}, {1, 1, 1});
    std::vector<WDB_Node*> nodes;
    Nodes held;
    const Report_Catcher silence;
    for (int i = 0; i < 200; ++i) {
        // Farther each time, on one side after the other.
        const float x = 100.f * i * (i % 2 ? 1 : -1);
        nodes.push_back(node_at(x, i, -x, list));
        world.put(nodes.back());
        held.insert(nodes.back());
        if (i % 3) continue;
        world.remove(nodes[i / 2]);
        held.erase(nodes[i / 2]);
    }
    EXPECT_EQ(world.get_bounds(), Bbox(Point(-50000, -10000, -50000), Point(30000, 10000, 30000)));
    Walk all, some;
    world.apply_to_shapes(into(all), note);
    EXPECT_EQ(all.seen, held);
    world.apply_to_shapes(into(some), Bbox(Point(19900, 0, -20000), Point(20000, 500, 0)), note);
    EXPECT_EQ(some.seen, Nodes{nodes[199]});
    EXPECT_TRUE(world.has(nodes[199]) && !world.has(nodes[0]));
}

TEST(WDB_Database, boxes_handed_to_callbacks) {
    WDB_Database world;
    WDB_Node* const bare = node_at(1, 2, 3, nullptr);
    bare->set_transform(HFrame({2, 0, 0, 0}, {0, 2, 0, 0}, {0, 0, 2, 0}, {1, 2, 3, 2}));
    Walk walk, stopped;
    stopped.stop_at = 1;
    EXPECT_FALSE(world.apply(into(stopped), note));
    world.put(node_at(1, 2, 3, list_in({0, 0, 0}, {1, 1, 1})));
    world.put(bare);
    EXPECT_FALSE(world.apply(into(walk), note));
    ASSERT_EQ(walk.boxes.size(), 2u);
    EXPECT_EQ(walk.boxes[0], Bbox(Point(1, 2, 3), Point(1, 2, 3))) << "not divided by w";
    EXPECT_EQ(walk.boxes[1], Bbox(Point(1, 2, 3), Point(2, 3, 4)));
    EXPECT_TRUE(world.apply(into(stopped), note));
    EXPECT_TRUE(stopped.boxes.size() == 1 && stopped.seen.count(bare) == 1) << "nodes come first";
}

// Each query goes to the tree with its own box, matrices or segment; a loop over all nodes agrees.
TEST(WDB_Database, queries_after_each_change) {
    const Bbox query(Point(-30, -30, -30), Point(10, 20, 30));
    const HFrame view(Frame::scaling(.03f)), other(Frame::scaling(-.02f, .04f, .01f));
    const Point p(-50, -40, -60), q(40, 50, 60);
    WDB_Tri_List* const cube = list_in({0, 0, 0}, {2, 3, 4});
    std::mt19937 random(1);
    const auto place = [&] { return static_cast<float>(random() % 100) - 50; };
    WDB_Database world(Bbox(Point(-60, -60, -60), Point(60, 60, 60)));
    WDB_Camera eye("eye", HFrame(Frame::rotation(1, .4f)), Matrix4::perspective(1, 1, 1000),
                   nullptr, nullptr);
    std::vector<WDB_Node*> nodes;
    for (int i = 0; i < 120; ++i) nodes.push_back(node_at(0, 0, 0, i % 3 ? cube : nullptr));
    for (int step = 0; step < 800; ++step) {
        WDB_Node* const n = nodes[random() % nodes.size()];
        const float x = place(), y = place(), z = place();
        const auto kind = random() % 6;
        if (kind == 0) n->set_world(&world);
        if (kind == 1) world.remove(n);
        if (kind == 2) n->wipe_out_lods();
        if (kind == 3) n->set_geometry(cube);
        if (kind > 3) n->set_transform(HFrame(Frame::translation(x, y, z)));
        const auto met = [&](const auto&... where) {
            Walk walk;
            world.apply_to_shapes(into(walk), where..., note);
            return walk.seen;
        };
        const auto accepted = [&](const auto& question) {
            Nodes shapes;
            for (const WDB_Node* node : nodes)
                if (node->get_world() == &world && node->get_geometry() &&
                    question.accepts(node->get_bbox().transformed_by(node->get_transform())))
                    shapes.insert(node);
            return shapes;
        };
        const Nodes all = accepted(Everything()), seen = accepted(In_View{view});
        ASSERT_TRUE(met() == all && met(view) == seen) << step;
        ASSERT_EQ(met(query), accepted(In_Box{query})) << step;
        ASSERT_EQ(met(view, other), accepted(In_Either_View{view, other})) << step;
        ASSERT_EQ(met(p, q), accepted(On_Segment{p, q})) << step;
        ASSERT_EQ(met(&eye, 2), accepted(In_View{eye.get_viewing_x_render_projection(2)})) << step;
        const auto in_world = std::count_if(nodes.begin(), nodes.end(), [&](const WDB_Node* node) {
            return node->get_world() == &world;
        });
        EXPECT_EQ(shown(world.visible_shape_count(view), world.shape_count(),
                        world.shape_count() + world.node_count(), world.has(n)),
                  shown(seen.size(), all.size(), in_world, n->get_world() == &world));
    }
}

// Two worlds, of which one moves its nodes at a time: some twice, some out of the bounds, one that
// is held nowhere, and a camera.
TEST(WDB_Database, moves_many_at_once) {
    std::string order[2];
    for (const bool is_bulk : {false, true}) {
        WDB_Database world(Bbox(Point(-10, -10, -10), Point(10, 10, 10)));
        std::mt19937 random(3);
        std::vector<WDB_Node*> all, nodes = {nullptr};
        std::vector<HFrame> places = {HFrame::identity()};
        const auto place = [&] {
            const auto at = [&] { return static_cast<float>(random() % 24) - 12; };
            const float x = at(), y = at();
            return HFrame(Frame::translation(x, y, at()));
        };
        for (int i = 0; i < 300; ++i) {
            all.push_back(node_with(list_in(Point(0, 0, 0), Point(1, 1, 1))));
            if (i > 0) world.put(all.back());
        }
        WDB_Camera* const camera = world.default_camera();
        const Matrix4 before = camera->get_render_projection();
        all.push_back(camera);
        for (int i = 0; i < 500; ++i) {
            nodes.push_back(all[random() % all.size()]);
            places.push_back(place());
        }
        for (std::size_t i = 1; i < nodes.size() && !is_bulk; ++i)
            nodes[i]->set_transform(places[i]);
        if (is_bulk) world.set_transforms(nodes.data(), places.data(), int(nodes.size()));
        std::ostringstream told;
        const auto note = [&](const WDB_Node& node, const Bbox& box) {
            told << std::find(all.begin(), all.end(), &node) - all.begin() << box;
        };
        world.for_each_shape(note);
        world.for_each_shape(Bbox(Point(-3, -3, -3), Point(3, 3, 3)), note);
        world.for_each_shape(Point(-9, -9, -9), Point(9, 9, 9), note);
        told << world.get_bbox() << world.get_stamp() << camera->get_viewing();
        told << (before[2][2] == camera->get_render_projection()[2][2]);
        for (const WDB_Node* node : all) told << ' ' << node->get_stamp();
        order[is_bulk] = told.str();
    }
    EXPECT_EQ(order[0], order[1]);
}

TEST(WDB_Database, finds_by_name) {
    WDB_Database world;
    const auto named = [](auto* object, const char* name) {
        object->set_name(name);
        return object;
    };
    auto* const fine = named(list_in({0, 0, 0}, {1, 1, 1}), "fine");
    auto* const coarse = named(list_in({0, 0, 0}, {1, 1, 1}), "coarse");
    auto* const red = named(new WDB_Material, "red");
    auto* const bark = named(new WDB_Texture(new PX_Map(4, 4, 1)), "bark");
    auto* const tree = new WDB_Node("tree", HFrame::identity(), fine, red, bark);
    tree->insert_lod(coarse, 1);
    auto* const eye = new WDB_Camera("eye", HFrame::identity(), Matrix4::identity(), fine, nullptr);
    auto* const lamp = new WDB_Light("lamp", HFrame::identity(), 0, nullptr, red);
    auto* const bare =
        named(new WDB_Node("x", HFrame::identity(), nullptr, nullptr, nullptr), nullptr);
    for (WDB_Node* node : {tree, static_cast<WDB_Node*>(eye), static_cast<WDB_Node*>(lamp), bare})
        world.put(node);
    // Which search finds what: node, shape, camera, light, material, texture, geometry.
    const std::tuple<const char*, std::vector<const WDB_Obj*>> rows[] = {
        {"tree", {tree, tree, 0, 0, 0, 0, 0}},  {"eye", {eye, eye, eye, 0, 0, 0, 0}},
        {"lamp", {lamp, 0, 0, lamp, 0, 0, 0}},  {"red", {0, 0, 0, 0, red, 0, 0}},
        {"bark", {0, 0, 0, 0, 0, bark, 0}},     {"fine", {0, 0, 0, 0, 0, 0, fine}},
        {"coarse", {0, 0, 0, 0, 0, 0, coarse}}, {"Tree", {0, 0, 0, 0, 0, 0, 0}},
        {nullptr, {0, 0, 0, 0, 0, 0, 0}},
    };
    for (const auto& [name, should] : rows) {
        const std::vector<const WDB_Obj*> found = {
            world.find_node(name),    world.find_shape(name),    world.find_camera(name),
            world.find_light(name),   world.find_material(name), world.find_texture(name),
            world.find_geometry(name)};
        EXPECT_EQ(found, should) << (name ? name : "null");
    }
}

TEST(WDB_Database, print) {
    WDB_Database world;
    WDB_Tri_List* const list = list_in({0, 0, 0}, {1, 1, 1});
    WDB_Node* const shape = node_at(1, 2, 3, list);
    shape->insert_lod(list, 0);
    shape->set_material(new WDB_Material);
    world.put(shape);
    world.put(node_at(1, 2, 3, nullptr));
    const std::string text = printed(world), rule = "//" + std::string(44, '-') + "\n",
                      global = "Global bbox of previous node ",
                      node =
                          "WDB_Node Ball{\n  Transform " + printed(shape->get_transform()) + "\n";
    EXPECT_TRUE(text.starts_with("WDB_Database Anonymous world{\n" + rule));
    EXPECT_EQ(text.substr(text.find(rule + "//SHAPES")),
              rule + "//SHAPES\n" + rule + node + "  Material WDB_Obj\n  Bbox " +
                  printed(list->get_bbox()) + "\n  Geometry  [ WDB_Obj WDB_Obj ]\n}\n" + global +
                  printed(Bbox({1, 2, 3}, {2, 3, 4})) + rule + "//NODES\n" + rule + node + "}\n" +
                  global + printed(Bbox({1, 2, 3}, {1, 2, 3})) + "}\n");
}

// In a walk over shapes, and in one over cameras.
TEST(WDB_Database, must_not_change_under_a_walk) {
    WDB_Tri_List* const list = list_in(Point(0, 0, 0), Point(1, 1, 1));
    WDB_Database world, other;
    WDB_Node* const shape = node_with(list, Frame::identity(), "shape");
    WDB_Node* const mark = node_with(nullptr, Frame::identity(), "mark");
    WDB_Camera* const eye =
        new WDB_Camera("eye", HFrame::identity(), Matrix4::perspective(1, 1, 9), nullptr, nullptr);
    for (WDB_Node* n : {shape, mark, static_cast<WDB_Node*>(eye)}) world.put(n);
    const struct {
        const char* row;
        std::function<void()> change;
        const char* told[2]; // in a walk over shapes, and over cameras
    } rows[] = {
        {"a shape comes", [&] { world.put(node_with(list)); }, {"node \"n\"", nullptr}},
        {"a shape goes", [&] { world.remove(shape); }, {"node \"shape\"", nullptr}},
        {"a shape moves", [&] { shape->set_transform(HFrame()); }, {"node \"shape\"", nullptr}},
        {"no shape any more", [&] { shape->wipe_out_lods(); }, {"\"shape\"", "\"shape\""}},
        {"now a shape", [&] { mark->set_geometry(list); }, {"\"mark\"", "\"mark\""}},
        {"a node comes", [&] { world.put(node_with(nullptr)); }, {nullptr, "node \"n\""}},
        {"a node goes", [&] { mark->set_world(&other); }, {nullptr, "node \"mark\""}},
        {"a camera moves", [&] { eye->set_transform(HFrame::identity()); }, {nullptr, nullptr}},
        {"wiped out", [&] { world.wipe_out(); }, {"wiped out", "wiped out"}},
        {"another world", [&] { other.put(node_with(list)); }, {nullptr, nullptr}},
    };
    for (const auto& r : rows) {
        const auto in_walk = [&](int over) {
            const auto change = [&](WDB_Node&, const Bbox&) { return r.change(), true; };
            over ? world.for_each_camera(change)
                 : world.for_each_shape_unordered(Bbox(Point(0, 0, 0), Point(2, 2, 2)), change);
        };
        for (int over = 0; over < 2; ++over) {
            SCOPED_TRACE(r.row);
            const std::string begin =
                "The callback of a walk of world \"Anonymous world\" must not change it: ";
            if (r.told[over])
                EXPECT_FATAL(in_walk(over), begin + ".*" + r.told[over]);
            else
                EXPECT_EXIT((in_walk(over), std::_Exit(0)), ::testing::ExitedWithCode(0), "");
        }
    }

    world.put(node_with(list)); // no walk is under way any more
    ASSERT_EQ(world.cameras(), WDB_Database::List<WDB_Camera>{eye});
    EXPECT_TRUE(world.nodes().size() == 2 && world.shapes().size() == 2 && world.lights().empty());
    for (WDB_Node* node : world.shapes()) world.remove(node);
    EXPECT_EQ(world.shape_count(), 0);
}
