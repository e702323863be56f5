#include "math/Matrix4.h"

#include <numbers>

#include "math/Homogeneous.h"
#include "tests/Test.h"

static const Matrix4 one = Matrix4::identity();

static Matrix4 one_but(int i, int j, float entry) {
    Matrix4 m = one;
    m[i][j] = entry;
    return m;
}

static void expect_near(const Matrix4& does, const Matrix4& should, float slack) {
    for (int i = 0; i < 16; ++i) EXPECT_NEAR(does.to_c()[i], should.to_c()[i], slack) << i;
}

// Where p appears on the screen.
static Point seen(const Point& p, const Matrix4& m) {
    return toPoint(normalize(Homogeneous(p) * HFrame(m)));
}

TEST(Matrix4, sums_run_from_the_left) {
    const float big = 1e8f; // swallows a 1
    const Vector4 v(1, 1, 1, 1);
    const Matrix4 m(Vector4(big, -big, 1, 1), Vector4(1, big, -big, 1), v, v), ones(v, v, v, v);
    EXPECT_EQ(bits_of(m * v), bits_of(Vector4(2, 1, 4, 4)));
    EXPECT_EQ(bits_of(v * transpose(m)), bits_of(Vector4(2, 1, 4, 4)));
    EXPECT_EQ(bits_of((ones * transpose(m))[3]), bits_of(Vector4(2, 1, 4, 4)));
    EXPECT_LT((Vector4(41, 0, 0, 0) / 41).x, 1) << "a product with the reciprocal";
}

// A term that is left out cannot turn an infinite entry into a NaN.
TEST(Matrix4, product_leaves_out_what_is_affine) {
    Matrix4 far_off = one_but(3, 0, INFINITY), projected = far_off;
    projected[2].w = -1;
    const std::tuple<Matrix4, Matrix4, bool> rows[] = {
        {one, far_off, true}, {one, projected, true}, {one_but(0, 3, 1), far_off, false}};
    for (const auto& [a, b, is_finite] : rows) {
        EXPECT_EQ(std::isfinite((a * b)[1].x), is_finite) << a << b;
        EXPECT_EQ((a * b)[3].x, INFINITY) << a << b;
    }
    EXPECT_TRUE((far_off * one).is_affine());
    const Frame f = Frame::rotation(0, 1) * Frame::translation(1, 2, 3) * Frame::scaling(2, 3, 5);
    const Frame g = Frame::shear(0.1f, 0.2f, 0.3f) * Frame::rotation(2, 2);
    EXPECT_EQ(bits_of(toMatrix4(f) * toMatrix4(g)), bits_of(toMatrix4(f * g)));
}

TEST(Matrix4, recognises_its_kinds) {
    EXPECT_TRUE(one.is_identity());
    for (int i = 0; i < 16; ++i) {
        const bool is_free = i == 0 || i == 5 || i == 10 || i == 14;
        Matrix4 m = Matrix4::perspective(1, 1, 10);
        EXPECT_TRUE(m.is_std_perspective());
        m.to_c()[i] = 0.5f;
        EXPECT_EQ(m.is_std_perspective(), is_free) << i;
        EXPECT_EQ(one_but(i / 4, i % 4, 0.5f).is_affine(), i % 4 < 3) << i;
        EXPECT_FALSE(one_but(i / 4, i % 4, 0.5f).is_identity()) << i;
    }
    Matrix4 m = one_but(3, 3, 2);
    m.ident();
    EXPECT_TRUE(m.is_identity());
    m.zero();
    EXPECT_EQ(bits_of(m), Bits{std::vector<std::uint32_t>(16)});
    EXPECT_TRUE(one_but(1, 1, 1.0009f).is_scale_preserving());
    EXPECT_FALSE(one_but(1, 1, 1.0011f).is_scale_preserving());
    EXPECT_FALSE(one_but(0, 3, 0.0001f).is_scale_preserving()) << "not affine";
    const std::pair<Matrix4, bool> becoming_affine[] = {
        {one_but(3, 3, 1.0011f), false},
        {one_but(2, 3, -0.001f), true},
        {one_but(2, 3, std::nextafterf(0.001f, 1)), false},
        {one_but(2, 3, 0.001f) * one_but(3, 3, 1.0005f), false}};
    for (auto [fixed, is_affine] : becoming_affine)
        EXPECT_EQ(fixed.fix().is_affine(), is_affine) << fixed;
}

TEST(Matrix4, invert) {
    const Matrix4 moved =
        toMatrix4(Frame::scaling(0x1p-20f, 0x1p-10f, -8) * Frame::translation(2, 4, 8));
    const Matrix4 turned(one[3], one[0], one[1], one[2]);
    // Four equal candidates for the first pivot: each other choice, and each other order of
    // scaling and clearing, rounds differently.
    const Matrix4 ties(3, 9, 8, -5, -3, 6, 9, -7, 3, 6, -1, 8, 3, -3, 6, 8);
    const std::tuple<Matrix4, Matrix4> rows[] = {
        {moved, {0x1p20f, 0, 0, 0, 0, 0x1p10f, 0, 0, 0, 0, -0.125f, 0, -0x1p21f, -0x1p12f, 1, 1}},
        {turned, transpose(turned)},
        {ties,
         {0x1.856890p-3f, -0x1.8f0604p-3f, -0x1.3d4bb8p-4f, 0x1.a70fa0p-6f, 0x1.aec0c0p-9f,
          0x1.5dfca0p-5f, 0x1.7ad4fap-4f, -0x1.b2995ep-5f, 0x1.14e9b0p-8f, 0x1.c1fbaap-5f,
          -0x1.884afap-6f, 0x1.31c1fap-4f, -0x1.2bfd1cp-4f, 0x1.884b00p-5f, 0x1.4e9a54p-4f,
          0x1.431094p-5f}}};
    for (const auto& [m, should] : rows) {
        Matrix4 self = m;
        EXPECT_TRUE(invert(self, self)) << m;
        for (int i = 0; i < 16; ++i) EXPECT_EQ(self.to_c()[i], should.to_c()[i]) << m << i;
        EXPECT_EQ(bits_of(~m), bits_of(self)) << m;
    }
    const Frame f = Frame::rotation(0, 1) * Frame::shear(1, 2, 3) * Frame::translation(4, -3, 2);
    expect_near(toMatrix4(f * inverse(f)), one, 64 * FLT_EPSILON);
}

TEST(Matrix4, singular_values_leave_the_target) {
    const Matrix4 rows[] = {one_but(2, 2, 0), one_but(3, 3, 0),
                            Matrix4(one[0], one[1], one[2], one[0])};
    for (const Matrix4& m : rows) {
        Matrix4 out = one;
        EXPECT_FALSE(invert(m, out)) << m;
        EXPECT_EQ(bits_of(out), bits_of(one)) << m;
        EXPECT_EQ(bits_of(~m), bits_of(m)) << m;
    }
    Frame flat = Frame::scaling(0), out = Frame::scaling(3);
    EXPECT_FALSE(flat.invert() || invert(flat, out));
    EXPECT_EQ(out[0].x, 3);
    EXPECT_EQ(bits_of(~flat), bits_of(Frame::scaling(0)));
}

TEST(Matrix4, perspective) {
    const float right_angle = std::numbers::pi_v<float> / 2;
    const Matrix4 m = Matrix4::perspective(right_angle, 1, 3);
    const float c = m[0].x;
    EXPECT_NEAR(c, 1, FLT_EPSILON);
    EXPECT_EQ(bits_of(m), bits_of(Matrix4(c, 0, 0, 0, 0, c, 0, 0, 0, 0, -2, -1, 0, 0, -3, 0)));
    EXPECT_NEAR(m.fov_from_std_perspective(), right_angle, 2 * FLT_EPSILON);
    EXPECT_EQ(m.near_from_std_perspective(), 1);
    EXPECT_EQ(m.far_from_std_perspective(), 3);
    expect_near(Matrix4::stereo_perspective(m, 1, 0), m, 4 * FLT_EPSILON);
}

TEST(Matrix4, window_carries_its_corners_to_the_screen) {
    const Matrix4 m = Matrix4::window(-1, 3, 2, 4, 2, 8);
    EXPECT_TRUE(seen({-1, 4, -2}, m).is_epsilon_equal({-1, 1, -1}, 8 * FLT_EPSILON));
    EXPECT_TRUE(seen({12, 8, -8}, m).is_epsilon_equal({1, -1, 1}, 8 * FLT_EPSILON));
}

TEST(Matrix4, stereo_pictures_agree_halfway) {
    const Matrix4 middle = Matrix4::perspective(1, 2, 6);
    const Matrix4 left = Matrix4::stereo_perspective(middle, 1.25f, -0.25f);
    const Matrix4 right = Matrix4::stereo_perspective(middle, 1.25f, 0.25f);
    const float scale = 1 / std::tan(1.25f / 2), slack = 8 * FLT_EPSILON;
    const std::tuple<float, float> rows[] = {{-4, 0}, {-2, scale / 8}, {-6, -scale / 24}};
    for (const auto& [z, apart] : rows)
        EXPECT_NEAR(seen({0.5f, 1, z}, left).x - seen({0.5f, 1, z}, right).x, apart, slack) << z;
    EXPECT_NEAR(left[0].x, scale, slack);
}
