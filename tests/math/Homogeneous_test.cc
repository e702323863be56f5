#include "math/Homogeneous.h"

#include "tests/Test.h"

TEST(Homogeneous, points_and_vectors_convert) {
    const Point p(1, 2, 3);
    const Vector v(1, 2, 3);
    const std::tuple<const char*, Homogeneous, Homogeneous> rows[] = {
        {"nothing", Homogeneous(), {0, 0, 0, 0}},
        {"point + point", p + p, {2, 4, 6, 2}},
        {"point + vector", Homogeneous(p) += v, {2, 4, 6, 1}},
        {"vector - point", Homogeneous(v) - p, {0, 0, 0, -1}},
        {"number * point", 0.5f * p, {0.5f, 1, 1.5f, 0.5f}},
        {"mean", normalize(p * 2 + Point(6, 2, -2) * 3), {4, 2, 0, 1}},
        {"products of sums", (Homogeneous(p) * 2 + p) + (p - Homogeneous(p) * 3), {1, 2, 3, 1}},
        {"a Vector4 less", Homogeneous(p) - Vector4(1, 1, 1, 1), {0, 1, 2, 0}},
        {"turned round", -Vector4(1, 2, 3, -4), {-1, -2, -3, 4}},
        {"endless", normalize(Homogeneous(1, 1, -1, 0)), {INFINITY, INFINITY, -INFINITY, NAN}},
    };
    for (const auto& [row, does, should] : rows) {
        EXPECT_EQ(bits_of(toPoint(does)), bits_of(toPoint(should))) << row;
        EXPECT_TRUE(does.w == should.w || std::isnan(should.w)) << row << does;
    }
    EXPECT_TRUE(Homogeneous(0, 0, -0.0f, 0).iszero());
    EXPECT_FALSE(Homogeneous(Point(0, 0, 0)).iszero());
    EXPECT_LT(Homogeneous(41, 1, 0, 41).normalize().w, 1) << "41 * (1 / 41), not set to 1";
}

TEST(HFrame, stands_for_frames_and_matrices) {
    const Frame f({1, 2, 3}, {4, 5, 6}, {7, 8, 9}, {10, 11, -0.0f});
    const HFrame h = f;
    const Point p(1, 10, 100);
    EXPECT_TRUE(h.is_affine());
    EXPECT_EQ(bits_of(toFrame(h)), bits_of(f));
    EXPECT_EQ(bits_of(Homogeneous(p) * h), bits_of(Homogeneous(p * f)));
    EXPECT_EQ(bits_of(Homogeneous(toVector(p)) * h), bits_of(Homogeneous(toVector(p) * f)));
}

// Whatever kind the operands have, the products are those of their matrices.
TEST(HFrame, products_of_mixed_kinds) {
    const Frame f = Frame::rotation(1, 0.3f) * Frame::translation(1, 2, 3);
    const Matrix4 m = Matrix4::perspective(1, 1, 10), fm = toMatrix4(f) * m, mf = m * toMatrix4(f);
    const HFrame h = m;
    const Homogeneous p = Point(4, 5, 6);
    Matrix4 in_place = m;
    HFrame placed = h;
    Homogeneous moved = p;
    const std::tuple<const char*, Bits, Bits> rows[] = {
        {"frame, matrix", bits_of(f * m), bits_of(fm)},
        {"frame, hframe", bits_of(f * h), bits_of(fm)},
        {"matrix, frame", bits_of(m * f), bits_of(mf)},
        {"hframe, frame", bits_of(HFrame(h * f)), bits_of(mf)},
        {"matrix *= frame", bits_of(in_place *= f), bits_of(mf)},
        {"hframe *= frame", bits_of(placed *= f), bits_of(mf)},
        {"homogeneous, matrix", bits_of(p * m), bits_of(p * h)},
        {"homogeneous *= frame", bits_of(moved *= f), bits_of(p * HFrame(f))},
        {"point, matrix", bits_of(Point(4, 5, 6) * m), bits_of(p * h)},
    };
    for (const auto& [row, does, should] : rows) EXPECT_EQ(does, should) << row;
}
