#include "wdb/WDB_Camera.h"

#include "tests/wdb/support.h"

static const float right_angle = 1.57079633f;
static const Matrix4 perspective = Matrix4::perspective(right_angle, 1, 1000);

static WDB_Camera* camera_at(const Frame& frame, const Matrix4& projection = perspective) {
    return new WDB_Camera("eye", HFrame(frame), projection, nullptr, nullptr);
}

static WDB_Node* box_at(const Point& lo, const Point& hi, const Frame& frame = Frame::identity()) {
    return node_with(list_in(lo, hi), frame, "box");
}

TEST(WDB_Camera, fitted_planes) {
    const std::tuple<const char*, float, float, float, float> rows[] = {
        {"behind the camera", 100, 10, .0001f * .95f, .0002f * 1.05f},
        {"in front", -10, -100, 9.5f, 105},
        {"around the camera", 50, -100000, 100000 / 10020.0f * .95f, 105000},
        {"no depth", -5, -5, 4.75f, 5.25f},
    };
    for (const auto& [row, nearest_z, farthest_z, near_plane, far_plane] : rows) {
        WDB_Database world(Bbox(Point(-1e6f, -1e6f, -1e6f), Point(1e6f, 1e6f, 1e6f)));
        WDB_Camera* const camera = camera_at(Frame::identity());
        world.put(camera);
        world.put(box_at({-1, -1, farthest_z}, {1, 1, nearest_z}));
        const Matrix4& render = camera->get_render_projection();
        // The planes come back out of the matrix with the roundings of m22 -+ 1.
        EXPECT_NEAR(render.near_from_std_perspective() / near_plane, 1, 1e-3) << row;
        EXPECT_NEAR(render.far_from_std_perspective() / far_plane, 1, 1e-2) << row;
        EXPECT_NEAR(render.fov_from_std_perspective(), right_angle, 1e-6) << row;
        EXPECT_EQ(bits_of(camera->get_projection()), bits_of(perspective)) << row;
    }
}

TEST(WDB_Camera, without_fit) {
    const Matrix4 skewed = Matrix4::window(-1, 2, -1, 1, 1, 10);
    WDB_Database world;
    world.put(box_at({-1, -1, -9}, {1, 1, -4}));
    WDB_Camera* const lonely = camera_at(Frame::identity());
    WDB_Camera* const odd = camera_at(Frame::identity(), skewed);
    world.put(odd);
    EXPECT_EQ(bits_of(lonely->get_render_projection()), bits_of(perspective));
    EXPECT_EQ(bits_of(odd->get_render_projection()), bits_of(skewed));
    EXPECT_EQ(odd->get_projection(2)[0][0], skewed[0][0] / 2);
}

// Each event either leaves both caches alone or makes the next use compute them afresh.
TEST(WDB_Camera, events_and_caches) {
    WDB_Database world;
    WDB_Node* const box = box_at({-1, -1, -9}, {1, 1, -4});
    WDB_Node* const far_box = box_at({0, 0, -700}, {1, 1, -600});
    world.put(box);
    WDB_Camera* const camera = camera_at(Frame::identity());
    world.put(camera);
    const std::tuple<const char*, std::function<void()>, bool, int> rows[] = {
        {"set_transform", [&] { camera->set_transform(HFrame(Frame::translation(0, 0, 1))); }, true,
         1},
        {"set_projection", [&] { camera->set_projection(Matrix4::perspective(1, 1, 9)); }, true, 1},
        {"set_ipd", [&] { camera->set_ipd(.5f); }, false, 1},
        {"a shape moves", [&] { box->set_transform(HFrame(Frame::translation(0, 0, -50))); }, true,
         0},
        {"a shape comes", [&] { world.put(far_box); }, true, 0},
        {"a node comes", [&] { world.put(node_with(nullptr)); }, false, 0},
        {"a shape goes", [&] { world.remove(box); }, false, 0},
        {"invalidate", [&] { camera->invalidate_render_projection(); }, true, 0},
        // Twice: the world tells the node on its way out.
        {"set_world", [&] { camera->set_world(nullptr); }, true, 2},
    };
    for (const auto& [row, event, changes, stamps] : rows) {
        const Bits projection = bits_of(camera->get_render_projection());
        const Bits product = bits_of(camera->get_viewing_x_render_projection());
        const int stamp = camera->get_stamp();
        event();
        EXPECT_EQ(camera->get_stamp() - stamp, stamps) << row;
        EXPECT_EQ(bits_of(camera->get_viewing_x_render_projection()) != product, changes) << row;
        EXPECT_EQ(bits_of(camera->get_render_projection()) != projection, changes) << row;
    }
}

// A shape that goes changes the fit but tells nobody, so an answer shows whether a camera was told
// since.
TEST(WDB_Camera, hears_from_the_worlds_that_list_it) {
    WDB_Database home, other;
    WDB_Camera* const camera = camera_at(Frame::identity());
    const auto box = [](float z) { return box_at({-1, -1, z - 1}, {1, 1, z}); };
    WDB_Node *const near_box = box(-4), *const far_box = box(-90), *const middle = box(-40);
    for (WDB_Node* node : {near_box, far_box, static_cast<WDB_Node*>(camera)}) home.put(node);
    const std::tuple<const char*, std::function<void()>, bool> rows[] = {
        {"another world", [&] { home.remove(far_box), other.put(box(0)); }, false},
        {"listed there", [&] { other.update(camera); }, true},
        {"in two worlds", [&] { home.remove(near_box), other.put(box(0)); }, true},
        {"listed nowhere", [&] { home.wipe_out(), other.wipe_out(), home.put(middle); }, false},
        {"told before it came back", [&] { home.update(middle), home.put(camera); }, false},
        {"came back", [&] { home.put(far_box); }, true},
        {"left the other world",
         [&] {
             other.update(camera), other.remove(camera), home.put(camera);
             camera->get_render_projection(), home.remove(far_box), other.put(box(0));
         },
         false},
        {"told, gone and back", [&] { home.put(near_box), home.wipe_out(), home.put(camera); },
         true},
    };
    for (const auto& [row, event, is_told] : rows) {
        const Bits before = bits_of(camera->get_render_projection());
        event();
        EXPECT_EQ(bits_of(camera->get_render_projection()) != before, is_told) << row;
    }
    home.put(middle);
    WDB_Camera copy(*camera);
    const Bits fresh = bits_of(copy.get_render_projection());
    EXPECT_EQ(bits_of(camera->get_render_projection()), fresh) << "both were told";
    home.remove(middle);
    home.put(near_box);
    EXPECT_EQ(bits_of(copy.get_render_projection()), fresh) << "nobody lists the copy";
    copy = *camera; // which has not looked yet
    EXPECT_EQ(bits_of(copy.get_render_projection()), bits_of(camera->get_render_projection()));
    EXPECT_NE(bits_of(copy.get_render_projection()), fresh);
}

TEST(WDB_Camera, aspect_and_stereo) {
    WDB_Database world;
    world.put(box_at({-1, -1, -9}, {1, 1, -4}));
    WDB_Camera* const camera = camera_at(Frame::rotation(1, .3f) * Frame::translation(1, 2, 3));
    world.put(camera);
    EXPECT_EQ(bits_of(camera->get_left_render_projection(1.5f)),
              bits_of(camera->get_right_render_projection(1.5f)));
    camera->set_ipd(.25f);
    const Matrix4 render = camera->get_render_projection();
    EXPECT_EQ(bits_of(camera->get_left_render_projection(1.5f)),
              bits_of(Matrix4::stereo_perspective(render, 1.5f, -.125f)));
    EXPECT_EQ(bits_of(camera->get_right_render_projection(1.5f)),
              bits_of(Matrix4::stereo_perspective(render, 1.5f, .125f)));
    EXPECT_EQ(camera->get_render_projection(4)[0][0], render[0][0] / 4);
    const Matrix4 product = camera->get_viewing_x_render_projection();
    const Matrix4 narrow = camera->get_viewing_x_render_projection(3);
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            EXPECT_EQ(narrow[i][j], j == 0 ? product[i][j] / 3 : product[i][j]) << i << j;
}

TEST(WDB_Camera, positions_to_points_and_back) {
    WDB_Camera* const camera = camera_at(Frame::rotation(1, .3f) * Frame::translation(1, 2, 3));
    for (const auto& [x, y] : {std::pair(0.f, 0.f), std::pair(-.5f, .9f), std::pair(1.f, -1.f)}) {
        Point ends[2], back;
        camera->get_segment(x, y, 2, &ends[0], &ends[1]);
        for (int end = 0; end < 2; ++end) {
            ASSERT_TRUE(camera->project(ends[end], 2, &back));
            EXPECT_NEAR(back.x, x, 1e-4);
            EXPECT_NEAR(back.y, y, 1e-4);
            EXPECT_NEAR(back.z, end == 0 ? -1 : 1, 1e-3);
        }
        EXPECT_NEAR(mag(ends[0] - Point(1, 2, 3)), std::sqrt(1 + 4 * x * x + y * y), 1e-3);
        EXPECT_FALSE(camera->project(Point(1, 2, 3) - (ends[1] - ends[0]), 2, &back)) << "behind";
    }
}

TEST(WDB_Camera, visibility_and_coverage) {
    WDB_Database world;
    WDB_Camera* const camera = camera_at(Frame::identity());
    WDB_Node* const ahead = box_at({-1, -1, -5}, {1, 1, -4}, Frame::scaling(2));
    WDB_Node* const behind = box_at({-1, -1, 4}, {1, 1, 5});
    for (WDB_Node* node : {static_cast<WDB_Node*>(camera), ahead, behind}) world.put(node);
    EXPECT_EQ(shown(camera->is_visible(ahead), camera->is_visible(behind)), "1 0 ");
    // At distance 8 the picture spans 16 units, the box 4.
    EXPECT_NEAR(camera->coverage(ahead), 1 / 16.0f, 1e-6);
    camera->set_geometry(ahead->get_geometry());
    WDB_Node* const unseen[] = {camera, node_with(nullptr), nullptr};
    for (const WDB_Node* none : unseen)
        EXPECT_EQ(shown(camera->is_visible(none), camera->coverage(none)), "0 0 ");
}

TEST(WDB_Camera, twist) {
    const auto twist_with_up = [](float x, float y, float z) {
        HFrame h = HFrame::identity();
        h[1] = Vector4(x, y, z, 0);
        return compute_twist(h);
    };
    EXPECT_EQ(twist_with_up(0, 1, 0), 0);
    const float sides[][4] = {
        {1, 0, 0, right_angle}, {-1, 0, 0, -right_angle}, {0, 0, 1, right_angle}};
    for (const auto& [x, y, z, should] : sides) EXPECT_NEAR(twist_with_up(x, y, z), should, 1e-6);
    for (float y = .9999f; y < 1.0001f; y = std::nextafter(y, 2.0f))
        ASSERT_FALSE(std::isnan(twist_with_up(1e-9f, y, 0))) << y;
}

TEST(WDB_Camera, aiming) {
    WDB_Database world;
    WDB_Node* const box = box_at({-1, -1, -1}, {1, 1, 1}, Frame::translation(7, 8, 9));
    world.put(box);
    const Frame start = Frame::rotation(2, .5f) * Frame::translation(100, 50, -30);
    const Bbox there({6, 7, 8}, {8, 9, 10});
    for (bool keep : {false, true}) {
        WDB_Camera* const cameras[] = {camera_at(start), camera_at(start), camera_at(start),
                                       camera_at(start)};
        const float twist = keep ? compute_twist(cameras[0]->get_viewing()) : 0;
        cameras[0]->lookat(*box, keep);
        cameras[1]->lookat(world, keep);
        cameras[2]->pointat(*box, keep);
        cameras[3]->pointat(world, keep);
        for (WDB_Camera* const& camera : cameras) {
            const bool is_moved = &camera < cameras + 2;
            const Matrix4 should =
                toMatrix4(is_moved ? Frame::lookat(there, twist)
                                   : Frame::lookat({100, 50, -30}, {7, 8, 9}, twist));
            EXPECT_EQ(bits_of(camera->get_transform()), bits_of(HFrame(~should)));
            EXPECT_EQ(camera->get_stamp(), 5);
        }
    }
}

static Matrix4 parallel(float width, float height, float near, float far) {
    Matrix4 m = Matrix4::identity();
    m[0].x = 2 / width;
    m[1].y = 2 / height;
    m[2].z = -2 / (far - near);
    m[3].z = -(far + near) / (far - near);
    return m;
}

// Any box, from any side: all corners are in the picture, on one axis as far out as can be to both
// sides, and the camera has not turned.
TEST(WDB_Camera, fits_boxes) {
    const Matrix4 projections[] = {perspective, Matrix4::perspective(.3f, .01f, 1e5f),
                                   Matrix4::window(-1, 1, -2, 2, 1, 1000), parallel(3, 2, 1, 100)};
    std::mt19937 random(8);
    const auto any = [&] { return static_cast<float>(random() % 2001) / 1000 - 1; };
    for (const Matrix4& projection : projections) {
        for (int round = 0; round < 200; ++round) {
            const Point at(50 * any(), 50 * any(), 50 * any());
            const Vector size(20 * any() + 21, 20 * any() + 21, round % 7 ? 20 * any() + 21 : 0);
            const Bbox box(at, at + size);
            const Frame frame = Frame::scaling(round % 5 ? 1 : 3) * Frame::rotation(0, 9 * any()) *
                                Frame::rotation(2, 9 * any()) * Frame::translation(any(), 900, 9);
            WDB_Camera* const camera = camera_at(frame, projection);
            WDB_Database world;
            world.put(node_with(list_in(box.min, box.max)));
            if (round % 2) world.put(camera);
            const float aspect = 1.5f + any();
            ASSERT_TRUE(camera->fit(box, aspect));
            for (int i = 0; i < 3; ++i)
                EXPECT_EQ(bits_of(camera->get_transform()[i]), bits_of(HFrame(frame)[i]));
            Bbox reach;
            reach.clear();
            for (int i = 0; i < 8; ++i) {
                Point position;
                const Point corner(box[i & 1].x, box[i >> 1 & 1].y, box[i >> 2].z);
                ASSERT_TRUE(camera->project(corner, aspect, &position));
                reach.merge(position);
            }
            const float nearest = -box.transformed_by(camera->get_viewing()).max.z;
            const float rounding = 2e-5f * (1 + 1 / std::fabs(nearest));
            bool touches = false;
            for (int axis = 0; axis < 2; ++axis) {
                const float low = reach.min[axis], high = reach.max[axis];
                EXPECT_GE(low, -1 - rounding) << round;
                EXPECT_LE(high, 1 + rounding) << round;
                touches |= low < -1 + rounding && high > 1 - rounding;
            }
            const float scale = round % 5 ? 1 : 3, least = 1e-3f * mag(box.size()) / scale;
            const float near_plane = round % 2 ? 0 : projection.near_from_std_perspective();
            // Or it stands as near to a corner as it may.
            EXPECT_TRUE(touches || nearest < 1.01f * std::max(least, near_plane)) << round << reach;
            if (round % 2 || projection.is_affine()) {
                EXPECT_GE(reach.min.z, -1) << round;
                EXPECT_LE(reach.max.z, 1) << round;
            }
        }
    }
}

TEST(WDB_Camera, fits_what_there_is) {
    Bbox empty, infinite;
    empty.clear();
    infinite.infinite();
    const Bbox box({-1, -1, -1}, {1, 1, 1}), point({5, 6, 7}, {5, 6, 7});
    const Bbox stick({5, 6, 7}, {5, 6, 17});
    const Frame start = Frame::translation(9, 9, 9);
    const Matrix4 flat = parallel(3, 2, 1, 100);
    Matrix4 turned = flat;
    turned[0].y = .1f;
    const std::tuple<const char*, Bbox, float, Matrix4, Frame, const char*> rows[] = {
        {"empty", empty, 1, perspective, start, "no"},
        {"infinite", infinite, 1, perspective, start, "no"},
        {"no number", Bbox({NAN, 0, 0}, {1, 1, 1}), 1, perspective, start, "no"},
        {"no aspect", box, 0, perspective, start, "no"},
        {"no number as aspect", box, NAN, perspective, start, "no"},
        {"singular", box, 1, perspective, Frame::scaling(0), "no"},
        {"another projection", box, 1, turned, start, "no"},
        {"a point", point, 1, perspective, start, "5 6 8 "},
        {"along the view", stick, 1, perspective, start, "5 6 18 "},
        {"a point, parallel", point, 1, flat, start, "5 6 57.5 "},
        {"a box", box, 2, perspective, start, "0 0 2 "},
        {"in a narrow picture", box, .5f, perspective, start, "0 0 3 "},
    };
    for (const auto& [row, it, aspect, projection, frame, should] : rows) {
        WDB_Camera* const camera = camera_at(frame, projection);
        const int stamp = camera->get_stamp();
        const bool fits = camera->fit(it, aspect);
        const Point at = toPoint(camera->get_transform()[3]);
        EXPECT_EQ(fits ? shown(at.x, at.y, at.z) : "no", should) << row;
        EXPECT_EQ(camera->get_stamp() != stamp, fits) << row;
    }
}

TEST(WDB_Camera, print) {
    WDB_Camera* const camera = camera_at(Frame::identity());
    camera->set_ipd(.5f);
    EXPECT_TRUE(
        printed(*camera).ends_with("}\n\n  Fov : 90\n  Near: 1\n  Far : 1000\n  IPD : 0.5\n}\n"));
    camera->set_projection(Matrix4::identity());
    EXPECT_TRUE(
        printed(*camera).ends_with("  Projection: " + printed(Matrix4::identity()) + "\n}\n"));
}
