#include "math/Viewer_Moves.h"

#include "tests/Test.h"

static const float quarter = std::numbers::pi_v<float> / 2;

static Frame viewer_at(const Point& at, int axis = 1, float angle = 0) {
    return Frame::rotation(axis, angle) * Frame::translation(at);
}

static void expect_near(const Frame& does, const Frame& should, float within, const char* row) {
    for (int i = 0; i < 4; ++i)
        EXPECT_LE(mag(does[i] - should[i]), within) << row << " row " << i << does << should;
}

static void expect_right_angles(const Frame& f) {
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j <= i; ++j) EXPECT_NEAR(dot(f[i], f[j]), i == j, 4 * FLT_EPSILON) << f;
}

TEST(Viewer_Moves, where_they_lead) {
    const Point centre(1, 2, 3), ahead(1, 2, 13);
    const Frame start = viewer_at(ahead), none = Frame::scaling(0) * Frame::translation(ahead);
    const Frame down = viewer_at({1, 12, 3}, 0, -quarter);
    Frame scaled = start, mirrored = start, infinite = start;
    for (int i = 0; i < 3; ++i) scaled[i] *= 7;
    mirrored[0] = -mirrored[0];
    infinite[3].x = INFINITY;
    const Vector y(0, 1, 0), z(0, 0, 2);
    const std::tuple<const char*, Frame, Frame> rows[] = {
        {"round to the right", orbit_viewer(start, centre, quarter, 0),
         viewer_at({11, 2, 3}, 1, quarter)},
        {"over the top", orbit_viewer(start, centre, 0, 9), down},
        {"back from there", orbit_viewer(down, centre, 0, -quarter), start},
        {"round, up there", orbit_viewer(down, centre, quarter, 0),
         Frame::rotation(0, -quarter) * Frame::rotation(1, quarter) * Frame::translation(1, 12, 3)},
        {"from below", orbit_viewer(start, centre, 0, -quarter), viewer_at({1, -8, 3}, 0, quarter)},
        {"at the centre", orbit_viewer(start, ahead, .5f, 0), viewer_at(ahead, 1, .5f)},
        {"up is z", orbit_viewer(viewer_at(ahead, 0, quarter), centre, 0, -quarter, z),
         viewer_at({1, -8, 3}, 0, quarter * 2)},
        {"up is none", orbit_viewer(start, centre, quarter, 0, {0, 0, 0}),
         viewer_at({11, 2, 3}, 1, quarter)},
        {"to the left", turn_viewer(start, .25f, 0), viewer_at(ahead, 1, .25f)},
        {"upwards", turn_viewer(start, 0, .25f), viewer_at(ahead, 0, .25f)},
        {"no farther up", turn_viewer(start, 0, 2), viewer_at(ahead, 0, quarter)},
        {"along its axes", fly_viewer(viewer_at(ahead, 1, quarter), 1, 2, 3),
         viewer_at({0, 5, 11}, 1, quarter)},
        {"with a scale", fly_viewer(scaled, 1, 0, 0), viewer_at({1, 2, 12})},
        {"left-handed", fly_viewer(mirrored, 0, 1, 0),
         Frame(mirrored[0], y, {0, 0, 1}, {0, 2, 13})},
        {"no directions", orbit_viewer(none, centre, 1, 1), none},
        {"no number", turn_viewer(start, NAN, 0), start},
        {"infinitely far", fly_viewer(start, INFINITY, 0, 0), start},
    };
    for (const auto& [row, does, should] : rows) expect_near(does, should, 1e-5f, row);
    EXPECT_EQ(bits_of(fly_viewer(infinite, 1, 0, 0)), bits_of(infinite));
}

// Many moves of any size, beside what they may not change.
TEST(Viewer_Moves, keep_what_they_promise) {
    std::mt19937 random(6);
    const auto any = [&] { return static_cast<float>(random() % 2001) / 1000 - 1; };
    for (int round = 0; round < 20; ++round) {
        const Point centre(10 * any(), 10 * any(), 10 * any());
        const Vector up(any(), any(), any() + 2);
        // Level: its right is at right angles to above.
        const Vector right = oknormalize(cross(up, Vector(any(), 1, any())));
        const Vector back = oknormalize(cross(right, up));
        Frame f(right, cross(back, right), back, {10 * any(), 10 * any(), 10 * any()});
        const float distance = dist(toPoint(f[3]), centre);
        const Vector seen = f * (centre - toPoint(f[3])); // in the viewer's axes
        const Frame start = f;
        for (int i = 0; i < 36; ++i) f = orbit_viewer(f, centre, 2 * quarter / 18, 0, up);
        expect_near(f, start, 1e-4f, "full circle");
        for (int i = 0; i < 10000; ++i) {
            f = orbit_viewer(f, centre, any(), any() / 4, up);
            ASSERT_GE(dot(f[1], up), -1e-3f) << "upside down";
        }
        EXPECT_NEAR(dist(toPoint(f[3]), centre), distance, 1e-3f);
        EXPECT_LE(mag(f * (centre - toPoint(f[3])) - seen), 2e-3f) << "its place in the picture";
        EXPECT_NEAR(dot(f[0], oknormalize(up)), 0, 1e-3f) << "the horizon";
        for (int i = 0; i < 1000; ++i)
            f = turn_viewer(fly_viewer(f, any(), 0, any()), any(), .1f, up);
        expect_right_angles(f);
    }
}
