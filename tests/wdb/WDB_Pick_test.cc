#include "wdb/WDB_Pick.h"

#include "tests/wdb/support.h"

static WDB_Tri_List* tetrahedron() {
    const Point a(1, 1, 1), b(-1, -1, 1), c(-1, 1, -1), d(1, -1, -1);
    return list_of({{a, b, c}, {a, d, b}, {a, c, d}, {b, d, c}});
}

static WDB_Camera* eye_at(const Frame& frame, float fov = 1) {
    return new WDB_Camera("eye", HFrame(frame), Matrix4::perspective(fov, 1, 1000), nullptr,
                          nullptr);
}

static Point placed(const WDB_Pick& pick, const Point& a, const Point& b, const Point& c) {
    return interp(a, b, c, pick.weights.a, pick.weights.b) * toFrame(pick.node->get_transform());
}

// The details of a pick agree with one another and with the pick of a node.
static void check_details(const WDB_Pick& pick, const WDB_Node* node, const Point& point) {
    ASSERT_EQ(pick.node, node);
    EXPECT_EQ(bits_of(pick.point), bits_of(point));
    if (!node) return;
    ASSERT_EQ(pick.tri_list, node->get_geometry());
    const WDB_Triangle& t = (*pick.tri_list)[pick.index];
    EXPECT_LT(dist(placed(pick, t.p0, t.p1, t.p2), point), 1e-3f);
    const Frame frame = toFrame(node->get_transform());
    EXPECT_NEAR(dot((t.p1 - t.p0) * frame, pick.face_normal), 0, 1e-4f);
    EXPECT_NEAR(dot((t.p2 - t.p0) * frame, pick.face_normal), 0, 1e-4f);
    EXPECT_LT(dot(toVector(t.p0) * frame, pick.face_normal), 0) << "its corners run clockwise";
    EXPECT_NEAR(mag(pick.face_normal), 1, 1e-5f);
    EXPECT_LT(mag(pick.normal - pick.face_normal), 1e-4f) << "the corners have that of the face";
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(pick.weights[i] > -1e-3f && pick.weights[i] < 1.001f);
}

// Random worlds: which node a line meets, as a loop over all nodes finds it; and which one is seen
// at a place of the picture, and where.
TEST(Picking, random_worlds) {
    std::mt19937 random(3);
    const auto between = [&](float low, float high) {
        return low + (high - low) * static_cast<float>(random() % 65536) / 65536;
    };
    const auto vector = [&](float low, float high) {
        return Vector{between(low, high), between(low, high), between(low, high)};
    };
    const WDB_Tri_List* const shape = tetrahedron();
    int hits = 0;
    for (int round = 0; round < 6; ++round) {
        WDB_Database world;
        std::vector<WDB_Node*> nodes;
        for (int i = 0; i < 250; ++i) {
            const Vector size = vector(.3f, 3), turn = vector(0, 6), place = vector(-20, 20);
            const Frame frame = Frame::scaling(size.x, size.y, size.z) *
                                Frame::rotation(i % 3, turn.x) * Frame::rotation(1, turn.y) *
                                Frame::translation(place.x, place.y, 1.5f * place.z - 35);
            world.put(nodes.emplace_back(node_with(shape, frame)));
        }
        WDB_Camera* const camera = eye_at(Frame::rotation(2, .2f) * Frame::translation(1, 2, 3));
        camera->set_ipd(.3f);
        world.put(camera);
        for (int shot = 0; shot < 500; ++shot) {
            const float x = between(-1, 1), y = between(-1, 1);
            WDB_Node* const picked = camera->pick_at_x_y(x, y, 1.5f, .01f, shot % 2 == 0);
            const Point point = camera->get_last_picked_point();
            check_details(camera->detailed_pick_at_x_y(x, y, 1.5f, .01f, shot % 2 == 0), picked,
                          point);
            EXPECT_EQ(bits_of(camera->get_last_picked_point()), bits_of(point));
            const Matrix4 eye = shot % 2 ? camera->get_render_projection(1.5f)
                                         : camera->get_right_render_projection(1.5f);
            const Point at =
                toPoint(normalize(Homogeneous(point) * camera->get_viewing() * HFrame(eye)));
            EXPECT_TRUE(!picked || (std::fabs(at.x - x) < 1e-3f && std::fabs(at.y - y) < 1e-3f))
                << at << x << ' ' << y;

            const Point p = toPoint(vector(-20, 20)),
                        q = shot % 2 && picked ? point
                                               : toPoint(vector(-20, 20) + Vector(0, 0, -60));
            const auto fraction = [&](const WDB_Node* n) {
                return n->line_intersection(p, q, 0, -1, 0, -10);
            };
            const auto nearest =
                std::min_element(nodes.begin(), nodes.end(),
                                 [&](auto* a, auto* b) { return fraction(a) < fraction(b); });
            const bool is_hit = fraction(*nearest) <= 1;
            hits += is_hit;
            EXPECT_EQ(world.closest_object_on_line(p, q, 0, -1, 0, -10),
                      is_hit ? *nearest : nullptr);
        }
    }
    EXPECT_GT(hits, 500);
}

// What lies behind a list in memory is no part of it. There is mostly another list, 16 bytes
// farther on: read from the end of the first, its floats are a triangle in the plane z = 0.
TEST(Picking, lists_side_by_side) {
    WDB_Database world;
    for (int i = 0; i < 20; ++i) {
        WDB_Node* const node =
            node_with(list_of({WDB_Triangle({1, 0, 1}, {0, 0, -9}, {0, 1, -9})}));
        world.put(node);
        EXPECT_EQ(
            node->detailed_line_intersection({.3f, .3f, 9}, {.3f, .3f, -9}, 0, -1, 0, -9).index, 0);
    }
}

TEST(Picking, lines_within_a_tolerance) {
    // The second stands near the eye.
    auto* const line = lines_of({WDB_Line({-1, 0, 0}, {1, 0, 0}), WDB_Line({-1, 5, 9}, {1, 5, 9})});
    WDB_Database world;
    WDB_Camera* const camera = eye_at(Frame::translation(0, 0, 10));
    world.put(camera);
    WDB_Node* const node = node_with(line);
    world.put(node);
    // At distance 10 the picture reaches up to 10 * tan(0.5) = 5.46; y is 0.273 beside the line.
    EXPECT_EQ(camera->pick_at_x_y(0, .05f, 1, .06f, false), node);
    EXPECT_NEAR(camera->get_last_picked_point().z, 0, .05f);
    EXPECT_EQ(camera->pick_at_x_y(0, .05f, 1, .04f, false), nullptr);
}

// What a line along -z meets at x, y of a node, as text: weights, normal, colour, texture point.
TEST(Picking, details) {
    const Vector n0(0, 0, 1), n1(0, .6f, .8f), n2(.6f, 0, .8f), none(0, 0, 0);
    const Color red(1, 0, 0), green(0, 1, 0), blue(0, 0, 1);
    const Point a(0, 0, 0), b(4, 0, 0), c(0, 4, 0), s(0, 0, 0), t(1, 0, 0), u(0, 2, 0);
    // The second stands nearer to the line's start, the third in its place; turned over, the first
    // is nearest.
    WDB_Tri_List* const mesh = list_of(
        {WDB_Triangle({0, 0, -1}, {4, 0, -1}, {0, 4, -1}, none, none, none),
         WDB_Triangle(a, b, c, n0, n1, n2, red, green, blue, s, t, u), WDB_Triangle(a, b, c)});
    auto* const lines = lines_of({WDB_Line({-1, 9, 0}, {1, 9, 0}),
                                  WDB_Line({0, 1, 0}, {4, 1, 0}, n0, n1, red, green, s, t)});
    auto* const odd = new Odd_Geometry;
    odd->touch();
    odd->end_editing();
    const std::tuple<const char*, const WDB_Geometry*, Frame, float, float, const char*> rows[] = {
        {"a corner", mesh, Frame::identity(), 4, 0, "1: 0 1 0, 0 0.6 0.8, 0 1 0, 1 0"},
        {"between", mesh, Frame::identity(), 1, 1,
         "1: 0.5 0.25 0.25, 0.162 0.162 0.973, 0.5 0.25 0.25, 0.25 0.5"},
        // Stretched along y, normals lean less that way.
        {"stretched", mesh, Frame::scaling(1, 2, 1), 4, 0, "1: 0 1 0, 0 0.351 0.936, 0 1 0, 1 0"},
        {"tiny and turned over", mesh, Frame::scaling(1e-3f, 1e-3f, -1e-3f), .001f, .001f,
         "0: 0.5 0.25 0.25, 0 0 0, 0.5 0.5 0.5, 0 0"},
        {"a line", lines, Frame::identity(), 3, 1,
         "1: 0.25 0.75 0, 0 0.468 0.884, 0.25 0.75 0, 0.75 0"},
        {"of no known kind", odd, Frame::identity(), .5f, .5f, "-1: 0 0 0, 0 0 0, 0 0 0, 0 0"},
        {"beside", mesh, Frame::identity(), 5, 5, "none"},
        {"within its box alone", mesh, Frame::identity(), 3, 3, "none"},
    };
    for (const auto& [row, geometry, frame, x, y, does] : rows) {
        WDB_Database world;
        WDB_Node* const node = node_with(geometry, frame);
        world.put(node);
        const WDB_Pick pick = node->detailed_line_intersection(Point(x, y, 5), Point(x, y, -5),
                                                               .001f, -1, .001f, -10);
        std::ostringstream text;
        text.precision(3);
        text << pick.index << ":";
        const float shown[] = {pick.weights.a,       pick.weights.b,      pick.weights.c,
                               pick.normal.x,        pick.normal.y,       pick.normal.z,
                               pick.color.r,         pick.color.g,        pick.color.b,
                               pick.texture_point.x, pick.texture_point.y};
        for (int i = 0; i < 11; ++i)
            text << (i % 3 || i == 0 ? " " : ", ") << (std::fabs(shown[i]) < 1e-6f ? 0 : shown[i]);
        EXPECT_EQ(pick.node ? text.str() : "none", does) << row;
    }
    EXPECT_EQ(eye_at(Frame::identity())->detailed_pick_at_x_y(0, 0, 1, 0, false).node, nullptr);
}

TEST(Picking, who_can_be_picked) {
    WDB_Database world;
    const Point p(0, 0, 5), q(0, 0, -5);
    const auto closest = [&] { return world.closest_object_on_line(p, q, 0, -1, 0, -10); };
    world.put(node_with(nullptr));
    world.put(new WDB_Light("l", HFrame::identity(), 0, nullptr, nullptr));
    world.put(eye_at(Frame::identity()));
    EXPECT_EQ(closest(), nullptr);
    WDB_Node* const far_away = node_with(tetrahedron(), Frame::translation(.1f, .2f, -3));
    world.put(far_away);
    EXPECT_EQ(closest(), far_away);
    WDB_Light* const lamp =
        new WDB_Light("l", HFrame(Frame::translation(.1f, .2f, 0)), 0, tetrahedron(), nullptr);
    world.put(lamp);
    EXPECT_EQ(closest(), lamp);
    lamp->set_transform(HFrame(Frame::scaling(0)));
    EXPECT_EQ(closest(), far_away) << "a singular transform hits nothing";

    WDB_Camera* const lonely = eye_at(Frame::identity());
    EXPECT_EQ(lonely->pick_at_x_y(0, 0, 1, 0, false), nullptr);
    EXPECT_EQ(node_with(nullptr)->line_intersection(p, q, 0, -1, 0, -10), FLT_MAX);
}

TEST(Default_camera, of_an_empty_world) {
    WDB_Database world, small(Bbox(Point(0, 0, 0), Point(.001f, .001f, .001f)));
    const int stamp = world.get_stamp();
    WDB_Camera* const camera = world.default_camera();
    EXPECT_EQ(world.default_camera(), camera);
    EXPECT_EQ(shown(world.camera_count(), world.node_count(), world.get_stamp() - stamp,
                    world.is_editing()),
              "1 1 2 0 ");
    const Matrix4& projection = camera->get_projection();
    EXPECT_NEAR(projection.far_from_std_perspective() / 173205.08f, 1, 1e-3);
    EXPECT_NEAR(projection.near_from_std_perspective() / 17.32f, 1, 1e-3);
    EXPECT_NEAR(projection.fov_from_std_perspective(), .61086524f, 1e-6);
    EXPECT_GT(camera->get_transform()[3][2], 10000);
    small.begin_editing();
    EXPECT_EQ(bits_of(small.default_camera()->get_projection()),
              bits_of(Matrix4::perspective(.61086524f, .001f, 10)));
    EXPECT_TRUE(small.is_editing());
}

TEST(Default_camera, copies_another) {
    for (bool suggested : {false, true}) {
        WDB_Database world;
        WDB_Camera* const eye = eye_at(Frame::translation(1, 2, 3), .7f);
        eye->set_ipd(.5f);
        world.put(eye);
        WDB_Camera* const camera =
            suggested ? world.default_camera(Matrix4::identity(), HFrame::identity())
                      : world.default_camera();
        EXPECT_EQ(shown(world.camera_count(), camera->get_name(), camera->get_ipd()),
                  "2 default_camera 0.5 ");
        EXPECT_EQ(bits_of(camera->get_projection()), bits_of(eye->get_projection()));
        EXPECT_EQ(bits_of(camera->get_transform()), bits_of(eye->get_transform()));
    }
}

TEST(Default_camera, takes_a_view_that_shows_enough) {
    const Matrix4 projection = Matrix4::perspective(1, 1, 100);
    const std::tuple<const char*, Frame, bool> rows[] = {
        {"fills the picture", Frame::translation(0, 0, 5), true},
        {"a speck", Frame::translation(0, 0, 90), false},
        {"behind", Frame::translation(0, 0, -5), false},
        {"singular", Frame::scaling(0), false},
    };
    for (const auto& [row, frame, is_taken] : rows) {
        WDB_Database world;
        world.put(node_with(tetrahedron()));
        WDB_Camera* const camera = world.default_camera(projection, HFrame(frame));
        EXPECT_EQ(bits_of(camera->get_projection()) == bits_of(projection), is_taken) << row;
        EXPECT_EQ(bits_of(camera->get_transform()) == bits_of(HFrame(frame)), is_taken) << row;
    }
}

static std::vector<WDB_Camera*> default_cameras(const WDB_Database& world) {
    std::vector<WDB_Camera*> found;
    const auto add = [](SUniv* user, const WDB_Node* node, const Bbox&) {
        if (std::string("default_camera") == node->get_name())
            Conv<decltype(found)*>::from_univ(user)->push_back(
                WDB_Camera::castdown(const_cast<WDB_Node*>(node)));
        return false;
    };
    world.apply_to_cameras(Conv<decltype(found)*>::to_univ(&found), add);
    return found;
}

TEST(Default_camera, is_the_first_of_its_name) {
    std::mt19937 random(2);
    for (int round = 0; round < 300; ++round) {
        WDB_Database world, other;
        std::vector<WDB_Camera*> cameras(1 + random() % 50);
        for (WDB_Camera*& camera : cameras) camera = eye_at(Frame::identity());
        const auto any = [&]() -> WDB_Camera*& { return cameras[random() % cameras.size()]; };
        for (int step = 0; step < 200; ++step) {
            WDB_Camera* const camera = any();
            const auto act = random() % 8;
            if (act == 0) world.remove(camera);
            if (act == 1) world.update(camera);
            if (act == 2) camera->set_name(random() % 8 ? "eye" : "default_camera");
            if (act == 3) *camera = *any();
            if (act == 4) other.put(camera);
            if (act == 5 && random() % 30 == 0) world.wipe_out();
            if (act > 5) world.put(camera);
            const std::vector<WDB_Camera*> should = default_cameras(world);
            WDB_Camera* const does = world.default_camera();
            ASSERT_TRUE(should.empty() || does == should[0]) << round << ' ' << step;
            if (!should.empty()) continue;
            ASSERT_EQ(default_cameras(world), std::vector{does}) << round << ' ' << step;
            any() = does;
        }
    }
}

TEST(WDB_Database, lists_cameras_and_lights_besides) {
    WDB_Database world;
    WDB_Light* const lamp = new WDB_Light("lamp", HFrame::identity(), 0, nullptr, nullptr);
    WDB_Camera* const eye = eye_at(Frame::identity());
    const auto counts = [&] {
        return shown(world.node_count(), world.shape_count(), world.light_count(),
                     world.camera_count());
    };
    world.put(lamp);
    eye->set_world(&world);
    EXPECT_EQ(counts(), "2 0 1 1 ");
    eye->set_geometry(tetrahedron());
    lamp->set_geometry(tetrahedron());
    EXPECT_EQ(counts(), "0 2 1 1 ");
    lamp->set_geometry(nullptr);
    EXPECT_EQ(counts(), "1 1 1 1 ");
    const std::string text = printed(world);
    std::size_t at = 0;
    for (const char* part : {"//CAMERAS", "WDB_Camera eye{", "//LIGHTS", "WDB_Light lamp{"})
        EXPECT_NE(at = text.find(part, at), std::string::npos) << part;
    world.remove(lamp);
    EXPECT_EQ(counts(), "0 1 0 1 ");
    world.wipe_out();
    EXPECT_EQ(counts(), "0 0 0 0 ");
    EXPECT_FALSE(
        world.apply_to_cameras(nullptr, [](SUniv*, const WDB_Node*, const Bbox&) { return true; }));
}
