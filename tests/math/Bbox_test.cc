#include "math/Bbox.h"

#include "math/Homogeneous.h"
#include "tests/Test.h"

static const Bbox unit(Point(0, 0, 0), Point(1, 1, 1));
static const Matrix4 one = Matrix4::identity();

static Bbox cube(float lo, float hi) {
    return Bbox(Point(lo, lo, lo), Point(hi, hi, hi));
}

// x, y, z become y, z, x for a turn of 1, and so on.
static Point turn(const Point& p, int by) {
    return Point(p[(3 - by) % 3], p[(4 - by) % 3], p[(5 - by) % 3]);
}
static Bbox turn(const Bbox& b, int by) {
    return Bbox(turn(b.min, by), turn(b.max, by));
}

TEST(Bbox, merging_overwrites_the_empty_box) {
    Bbox box, copy;
    box.clear();
    EXPECT_EQ(bits_of(box), bits_of(cube(1e30f, -1e30f)));
    box.merge(Point(1, 2, 3));
    box.merge(Point(-1, 5, 2));
    EXPECT_EQ(bits_of(box), bits_of(Bbox({-1, 2, 2}, {1, 5, 3})));
    copy.infinite();
    copy.intersect(box);
    EXPECT_EQ(bits_of(copy), bits_of(box));
    EXPECT_EQ(cube(2e38f, 3e38f).center().x, 2.5e38f) << "halved before it is added";
    copy = cube(0, 0);
    copy.merge(cube(-0.0f, -0.0f));
    EXPECT_EQ(bits_of(copy), bits_of(cube(-0.0f, -0.0f))) << "of equals the other's";
}

// Told for x; the loop turns each row to y and z as well.
TEST(Bbox, boxes_against_boxes) {
    const Bbox box({0, 0, 0}, {2, 4, 4});
    const std::tuple<const char*, Bbox, int> rows[] = {
        {"apart below", {{-2, 1, 1}, {-1, 2, 2}}, 0},
        {"apart above", {{3, 1, 1}, {4, 2, 2}}, 0},
        {"touching above", {{2, 1, 1}, {3, 2, 2}}, 3},
        {"equal", box, 2},
        {"holding, up to the face", {{0, 1, 1}, {1, 2, 2}}, 2},
        {"held, up to the face", {{0, -1, -1}, {3, 5, 5}}, 1},
    };
    // Of two equal sides that of the other stays: 0 and -0 differ in their bits.
    Bbox zero({0, 0, 0}, {0, 0, 0});
    zero.intersect({{-0.0f, -0.0f, -0.0f}, {-0.0f, -0.0f, -0.0f}});
    for (int i = 0; i < 6; ++i) EXPECT_TRUE(std::signbit(zero[i / 3][i % 3])) << i;
    for (int axis = 0; axis < 3; ++axis) {
        for (const auto& [row, o, is_to_other] : rows) {
            SCOPED_TRACE(row);
            const Bbox does = turn(box, axis), other = turn(o, axis);
            Bbox cut = does;
            cut.intersect(other);
            EXPECT_EQ(does.classification_with_respect_to(other), is_to_other);
            EXPECT_EQ(cut.min[axis] > cut.max[axis], is_to_other == 0);
            EXPECT_TRUE(is_to_other == 0 || (does.contains(cut) && other.contains(cut)));
        }
    }
}

TEST(Bbox, line_intersection) {
    const float none = FLT_MAX;
    const std::tuple<const char*, Point, Point, float, float> rows[] = {
        {"through the low face", {-1, .5f, .5f}, {1, .5f, .5f}, .5f, .5f},
        {"through the high face", {2, .5f, .5f}, {-2, .5f, .5f}, .25f, .25f},
        {"up to the face", {-1, .5f, .5f}, {0, .5f, .5f}, none, none},
        {"past it", {-1, 2, .5f}, {1, 2, .5f}, none, none},
        {"past a corner", {-1, 1.5f, .5f}, {1.5f, -1.5f, 4}, none, none},
        {"in a face", {-1, 1, 0}, {1, 1, 0}, .5f, .5f},
        {"out of the box", {.5f, .5f, .5f}, {2.5f, .5f, .5f}, .25f, 0},
        {"wholly inside", {.2f, .5f, .5f}, {.8f, .5f, .5f}, none, 0},
        {"no length", {-1, 0, 0}, {-1, 0, 0}, none, none},
    };
    for (int axis = 0; axis < 3; ++axis) {
        for (const auto& [row, from, to, surface, solid] : rows) {
            const Point p = turn(from, axis), q = turn(to, axis);
            EXPECT_EQ(unit.line_intersection(p, q), surface) << row << axis;
            EXPECT_EQ(unit.bounds_line_intersection(p, q), solid) << row << axis;
        }
    }
}

TEST(Bbox, BoundsIntersect_only_improves) {
    const Point inside(.5f, .5f, .5f), before(-1, .5f, .5f);
    const std::tuple<const char*, Point, float, float, float, float> rows[] = {
        {"entry", before, 2, 0, 9, .5f},
        {"exit, from inside", inside, 2, 0, 9, .25f},
        {"start behind the entry", before, 1, 1.5f, 9, 2},
        {"no nearer than what is known", before, 2, 0, .5f, .5f},
        {"no direction", inside, 0, 0, 9, 9},
    };
    for (const auto& [row, o, speed, t_min, t_max, should] : rows) {
        float t = t_max;
        const bool hits = BoundsIntersect(o, Vector(speed, 0, 0), unit.min, unit.max, t_min, &t);
        EXPECT_EQ(hits, should != t_max) << row;
        EXPECT_EQ(t, should) << row;
    }
}

// The corners share their products; each must still be its own product, to the bit.
TEST(Bbox, transform_to_is_corner_by_corner) {
    const Bbox box({.1f, -2.3f, 4.7f}, {1.9f, 3.1f, 7.3f});
    const Frame f =
        Frame::rotation(0, 1) * Frame::rotation(1, 2) * Frame::translation(.3f, 7, -.9f);
    const HFrame m = Matrix4::perspective(1, 1, 9) * toMatrix4(f);
    Point moved[8];
    Homogeneous projected[8];
    box.transform_to(f, moved);
    box.transform_to(m, projected);
    for (int i = 0; i < 8; ++i) {
        const Point p(box[i & 1].x, box[i >> 1 & 1].y, box[i >> 2].z);
        EXPECT_EQ(bits_of(moved[i]), bits_of(p * f)) << i;
        EXPECT_EQ(bits_of(projected[i]), bits_of(Homogeneous(p) * m)) << i;
    }
}

TEST(Bbox, transform_bounds_the_moved_corners) {
    const Frame sheared({1, 2, 0}, {1, -3, 0}, {1, 0, 1}, {1, 1, 1});
    Matrix4 through(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 1, 0, 0, 0, 1); // w = z + 1
    Bbox box({-1, 1, 0}, {1, 2, 1});
    box.transform(through);
    EXPECT_EQ(bits_of(box), bits_of(Bbox({-1, .5f, 0}, {1, 2, .5f})));
    box = unit;
    box.transform(sheared);
    EXPECT_EQ(bits_of(box), bits_of(Bbox({1, -2, 1}, {4, 3, 2})));
    through[3].w = 41;
    EXPECT_LT(Bbox({41, 0, 0}, {41, 0, 0}).transformed_by(through).min.x, 1) << "41 * (1 / 41)";
}

TEST(Bbox, views) {
    const Matrix4 eye = Matrix4::perspective(std::numbers::pi_v<float> / 2, 1, 100);
    const std::tuple<const char*, Bbox, Matrix4, int> rows[] = {
        {"the volume itself", cube(-1, 1), one, 1},
        {"touching a corner", cube(1, 2), one, 3},
        {"beyond x = 1", {{2, 0, 0}, {3, .5f, .5f}}, one, 0},
        {"below y = -1", {{0, -3, 0}, {.5f, -2, .5f}}, one, 0},
        {"beyond z = 1", {{0, 0, 2}, {.5f, .5f, 3}}, one, 0},
        {"outside, but of no one side", {{-.5f, 1.5f, -9}, {9, 9, -8}}, eye, 3},
        {"behind the eye", {{-1, -1, 5}, {1, 1, 9}}, eye, 0},
        {"around the eye", cube(-2, 2), eye, 3},
    };
    for (const auto& [row, box, m, is_to_volume] : rows) {
        EXPECT_EQ(box.classification_with_respect_to(m), is_to_volume) << row;
        EXPECT_EQ(box.is_visible(m), is_to_volume != 0) << row;
    }
}

TEST(Bbox, coverage_and_projected_area) {
    const Matrix4 w_is_z(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 1, 0, 0, 0, 0);
    const std::tuple<const char*, Bbox, Matrix4, float, float> rows[] = {
        {"not clipped", cube(0, 4), one, 4, 16},
        {"flat in x", {{0, 0, 0}, {0, 1, 1}}, one, 0, 0},
        {"inside out", cube(1, 0), one, .25f, 1},
        {"nearer face larger", {{-1, -1, 1}, {1, 1, 2}}, w_is_z, 1, 4},
        {"corners with w = 0 left out", {{-1, -1, 0}, {1, 1, 2}}, w_is_z, .25f, 1},
        {"nothing but such corners", {{-1, -1, 0}, {1, 1, 0}}, w_is_z, 0, 0},
    };
    for (const auto& [row, box, m, coverage, area] : rows) {
        EXPECT_EQ(box.coverage(m), coverage) << row;
        EXPECT_EQ(box.projected_area(m), area) << row;
    }
    const float tilt = std::atan(std::numbers::sqrt2_v<float> / 2);
    const Frame on_edge = Frame::rotation(1, std::numbers::pi_v<float> / 4);
    const Matrix4 on_tip = toMatrix4(on_edge * Frame::rotation(0, tilt));
    EXPECT_NEAR(unit.projected_area(on_tip), std::sqrt(3.0f), 8 * FLT_EPSILON);
}

TEST(Bbox, frames_to_the_cube) {
    const Bbox deep({-4, -3, 2}, {-3, -1, 6}), still({5, 6, 7}, {5, 6, 7});
    const std::tuple<Bbox, Bbox, Bbox> rows[] = {
        {deep, {{.375f, .25f, 0}, {.625f, .75f, 1}}, {{.4f, .3f, .1f}, {.6f, .7f, .9f}}},
        {still, {{.5f, .5f, 0}, {.5f, .5f, 0}}, {{.5f, .5f, .1f}, {.5f, .5f, .1f}}},
    };
    for (const auto& [box, whole, part] : rows) {
        const Bbox small = box.transformed_by(box.getFrameToSmallCube());
        EXPECT_EQ(bits_of(box.transformed_by(box.getFrameToCube())), bits_of(whole));
        for (int i = 0; i < 2; ++i)
            EXPECT_TRUE(small[i].is_epsilon_equal(part[i], 4 * FLT_EPSILON)) << small;
    }
    // A scale of 0.8 / 0.82 and an x of 0.1 - 0.07 * 0.8 / 0.82 are near enough to 1 and 0.
    const Frame snapped = Bbox({.07f, 0, 0}, {.89f, .82f, .82f}).getFrameToSmallCube();
    EXPECT_EQ(bits_of(snapped[3].x), bits_of(0.0f));
    EXPECT_EQ(shown(snapped[0].x, snapped[3].y, unit.getFrameToSmallCube()[1].y), "1 0.1 0.8 ");
}

TEST(Frame, lookat_takes_a_box_from_its_front) {
    const float slope = 5.0273395f; // 1 / tan(pi / 16)
    const std::tuple<const char*, Bbox, float> rows[] = {
        {"height counts", {{-1, -4, -2}, {3, 4, 2}}, 2 + 4 * slope},
        {"depth counts", {{-1, -1, -8}, {3, 1, 8}}, 8 + 8 * slope},
        {"width does not", {{-100, -1, -1}, {100, 1, 1}}, 1 + slope},
    };
    for (const auto& [row, box, distance] : rows) {
        const Point seen = box.center() * Frame::lookat(box, 0);
        EXPECT_NEAR(seen.z, -distance, distance * 2 * FLT_EPSILON) << row;
        EXPECT_EQ(seen.x, 0) << row;
    }
    EXPECT_NEAR(Frame::lookat(unit, 1)[0].y, -std::sin(1.0f), FLT_EPSILON);
}
