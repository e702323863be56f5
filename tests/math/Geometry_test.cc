#include "math/Geometry.h"

#include <limits>
#include <numbers>

#include "math/Bbox.h"
#include "math/Homogeneous.h"
#include "tests/Test.h"

static const float half_pi = std::numbers::pi_v<float> / 2;
static const float denorm = std::numeric_limits<float>::denorm_min();

TEST(Geometry, arithmetic) {
    const float big = 1e8f; // swallows a 1: another order of the sum gives another value
    const float u = 1 + 0x1p-12f, u2 = 1 + 0x1p-11f; // u * u is u2 once it is rounded, not fused
    const Frame f({big, 0, 0}, {-big, 0, 0}, {1, 0, 0}, {1, 0, 0});
    const Frame tail({1, 0, 0}, {0, 0, 0}, {-big, 0, 0}, {big, 0, 0});
    const Point p(1, 1, 1), a(0, 0, 0), b(2, 0, 0), c(0, 3, 0);
    const Vector v(1, 1, 1);
    const std::tuple<const char*, float, float> rows[] = {
        {"dot", dot(Vector(big, -big, 1), v), 1},
        {"dot, rounded products", dot(Vector(u, u2, 0), Vector(u, -1, 0)), 0},
        {"cross, z x x", cross(Vector(0, 0, 1), Vector(1, 0, 0)).y, 1},
        {"cross, rounded products", cross(Vector(0, u, 1), Vector(0, u2, u)).x, 0},
        {"vector * frame", (v * f).x, 1},
        {"point * frame", (p * f).x, 2},
        {"point * frame, origin last", (p * tail).x, 0},
        {"frame * vector", (transpose(f) * v).x, 1},
        {"frame * frame", (Frame(v, v, v, p) * f)[0].x, 1},
        {"frame * frame, origin", (Frame(v, v, v, p) * f)[3].x, 2},
        {"interp, weight of the first", interp(b, a, 0.25f).x, 0.5f},
        {"interp, third weight", interp(a, a, b, 1, 0x1p-30f).x, -0x1p-29f},
        {"interp of three", interp(Point(big, 0, 0), Point(-big, 0, 0), p, 1, 1).x, -1},
        {"division, not 41 * (1 / 41)", (Vector(41, 0, 0) / 41).x, 1},
        {"mag", mag(Vector(2, 3, 6)), 7},
        {"dist2", dist2(Point(4096, 1, 1), a), 16777216},
        {"area2", area2(a, c, b), 9},
    };
    for (const auto& [row, does, should] : rows) EXPECT_EQ(bits_of(does), bits_of(should)) << row;
}

TEST(Geometry, normalize) {
    const std::tuple<Vector, bool, Vector> rows[] = {
        {{0, 0, 0}, false, {0, 0, 0}},
        {{1e-30f, 0, 0}, false, {0, 0, 0}}, // its square is 0
        {{0, 0, -0x1p-70f}, true, {0, 0, -1}},
        {{3, 0, -4}, true, {0.6f, 0, -0.8f}},
    };
    for (const auto& [v, passes, unit] : rows) {
        Vector out(7, 8, 9);
        EXPECT_EQ(normalize(v, out), passes) << v;
        EXPECT_EQ(bits_of(out), bits_of(passes ? unit : Vector(7, 8, 9))) << v;
        EXPECT_EQ(bits_of(oknormalize(v)), bits_of(unit)) << v;
    }
}

TEST(Geometry, compare) {
    const float not_a_number = std::numeric_limits<float>::quiet_NaN();
    const std::tuple<const char*, Vector, Vector, int, int, bool> rows[] = {
        {"x decides", {1, 0, 0}, {0, 5, 5}, 1, 1, false},
        {"x within, y decides", {0.5f, 0, 0}, {0, 1, 0}, 1, -1, false},
        {"a difference of eps is none", {0, 0, 0.5f}, {0, 0, 0}, 1, 0, true},
        {"just above eps", {0, 0, 0}, {0, 0, 0.50000006f}, -1, -1, false},
        {"smallest difference", {0, 0, 0}, {0, denorm, -9}, -1, 1, false},
        {"zeros of both signs", {0, -0.0f, 0}, {-0.0f, 0, 0}, 0, 0, true},
        {"not a number", {not_a_number, 0, 0}, {0, 0, 0}, 1, 0, false},
    };
    for (const auto& [row, v, w, exact, within_half, agrees] : rows) {
        SCOPED_TRACE(row);
        const Point a = toPoint(v), b = toPoint(w);
        EXPECT_EQ(compare(v, w), exact);
        EXPECT_EQ(compare(a, b, 0.5f), within_half);
        EXPECT_EQ(compare(v, w, 0.5f), within_half);
        EXPECT_EQ(a == b, exact == 0);
        EXPECT_EQ(v.is_epsilon_equal(w, 0.5f), agrees);
        EXPECT_EQ(Bary(a.x, a.y, a.z).is_epsilon_equal(Bary(b.x, b.y, b.z), 0), exact == 0);
    }
}

TEST(Frame, acts_on_the_right) {
    const Frame f({1, 2, 3}, {4, 5, 6}, {7, 8, 9}, {10, 11, 12});
    const Frame g = Frame::shear(2, 3, 5) * Frame::translation(Vector(1, 2, 3));
    const Vector v(1, 10, 100);
    EXPECT_EQ(v * f, Vector(741, 852, 963));
    EXPECT_EQ(toPoint(v) * f, Point(751, 863, 975));
    EXPECT_EQ(f * v, Vector(321, 654, 987));
    EXPECT_EQ(toPoint(v) * g, Point(2, 14, 156));
    EXPECT_EQ(toPoint(v) * (f * g), (toPoint(v) * f) * g);
    EXPECT_EQ(transpose(f)[0], Vector(1, 4, 7));
    EXPECT_EQ(transpose(f)[3], f[3]);
}

TEST(Frame, rotation_follows_the_right_hand) {
    const Vector axis[] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    for (int i = 0; i < 3; ++i) {
        const Vector &next = axis[(i + 1) % 3], &last = axis[(i + 2) % 3];
        EXPECT_EQ(axis[i] * Frame::rotation(i, half_pi), axis[i]);
        EXPECT_TRUE((next * Frame::rotation(i, half_pi)).is_epsilon_equal(last, FLT_EPSILON));
        EXPECT_TRUE((last * Frame::rotation(i, half_pi)).is_epsilon_equal(-next, FLT_EPSILON));
    }
    EXPECT_EQ(bits_of(Frame::rotation(7, 1)), bits_of(Frame::identity()));
}

TEST(Frame, isident_allows_no_deviation) {
    Frame f = Frame::scaling(1, 1 - FLT_EPSILON / 2, 1), left = Frame::scaling(2, 3, -4),
          flat = Frame::scaling(1, 1, 0);
    EXPECT_TRUE(Frame::translation(-0.0f, 0, 0).isident());
    EXPECT_FALSE(Frame::translation(0, 0, denorm).isident() || f.isident());
    f.ident();
    EXPECT_TRUE(f.isident());
    f.zero();
    EXPECT_EQ(bits_of(f), bits_of(Frame::scaling(0)));
    left.makerighthand();
    flat.makerighthand(); // spares flat frames
    EXPECT_EQ(left * Vector(1, 1, 1), Vector(-2, 3, -4));
    EXPECT_EQ(flat[0], Vector(1, 0, 0));
}

TEST(Frame, lookat) {
    const Point o(0, 0, 0), off(0, 0, -5);
    const std::tuple<const char*, Point, Point, Frame> rows[] = {
        {"along -z", {0, 0, 5}, o, Frame::translation(off)},
        {"along -x", {5, 0, 0}, o, {{0, 0, 1}, {0, 1, 0}, {-1, 0, 0}, off}},
        {"straight down", {0, 5, 0}, o, {{1, 0, 0}, {0, 0, 1}, {0, -1, 0}, off}},
        {"straight up", {0, -5, 0}, o, {{1, 0, 0}, {0, 0, -1}, {0, 1, 0}, off}},
        {"nowhere", {1, 2, 3}, {1, 2, 3}, Frame::translation(-1, -2, -3)},
        {"too near", o, {5e-8f, 0, 0}, Frame::identity()},
        {"just far enough", o, {2e-7f, 0, 0}, {{0, 0, -1}, {0, 1, 0}, {1, 0, 0}, o}},
    };
    for (const auto& [row, eye, at, should] : rows)
        for (int i = 0; i < 4; ++i) EXPECT_EQ(Frame::lookat(eye, at, 0)[i], should[i]) << row << i;

    const Point eye(3, -7, 2), at(5, 1, 4);
    const Frame f = Frame::lookat(eye, at, 0), twisted = Frame::lookat(eye, at, half_pi);
    const float slack = 5 * 16 * FLT_EPSILON; // five roundings of numbers up to 16
    EXPECT_TRUE((at * f).is_epsilon_equal(Point(0, 0, -dist(eye, at)), slack));
    EXPECT_NEAR(f[1].x, 0, slack);
    EXPECT_NEAR(twisted[1].x, f[1].y, slack) << "+y turns to +x";
}

TEST(Geometry, text) {
    EXPECT_EQ(
        shown(Affine(1, -0.0f, 1e30f), Vector(0.5f, 100000, 1000000), Bary(0.25f, 0.25f, 0.5f)),
        "Affine(1,-0,1e+30)\n Vector(0.5,100000,1e+06)\n Bary {\n  0.25  0.25  0.5}\n ");
    EXPECT_EQ(printed(Frame::translation(1.0f / 3, 2, 3)),
              "Frame {\n  Vector(1,0,0)\n  Vector(0,1,0)\n  Vector(0,0,1)\n"
              "  Point(0.333333,2,3)\n}\n");
    EXPECT_EQ(shown(Bbox({0, .5f, -1}, {1, 2, 3}), Homogeneous(1, 2.5f, -3, 0)),
              "BBox {\n  Point(0,0.5,-1)\n  Point(1,2,3)\n}\n Homogeneous(1,2.5,-3,0)\n ");
    for (const std::string& kind : {printed(HFrame::identity()), printed(Matrix4::identity())})
        EXPECT_TRUE(holds(kind, " {\n  Vector4(1,0,0,0)\n  Vector4(0,1,0,0)\n  Vector4(0,0,1,0)\n"
                                "  Vector4(0,0,0,1)\n}\n"));
}
