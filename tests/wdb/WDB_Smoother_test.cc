#include "wdb/WDB_Smoother.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <vector>

#include "plain_smooth.h"
#include "support.h"
#include "tests/Reports.h"

// Two triangles that share the edge from (0,0,0) to (0,1,0), folded by `degrees`.
static WDB_Tri_List* folded(float degrees) {
    const float a = degrees * 3.14159265f / 180;
    return list_of({WDB_Triangle({0, 0, 0}, {1, 0, 0}, {0, 1, 0}),
                    WDB_Triangle({0, 0, 0}, {0, 1, 0}, {-std::cos(a), 0, -std::sin(a)})});
}

TEST(WDB_Smoother, creases) {
    for (float degrees : {10.0f, 45.0f, 59.0f, 61.0f, 90.0f, 170.0f}) {
        WDB_Smoother smoother;
        const WDB_Triangle smooth = (*smoother.smooth_version(folded(degrees)))[0];
        const WDB_Triangle flat = (*folded(degrees))[0];
        // The middle of two unit vectors stands at half the angle to either.
        const float half = std::cos(degrees / 2 * 3.14159265f / 180);
        const float should = degrees < 60 ? half : 1;
        EXPECT_NEAR(dot(smooth.n0, flat.n0), should, 1e-6) << degrees;
        EXPECT_NEAR(dot(smooth.n2, flat.n0), should, 1e-6) << degrees;
        EXPECT_TRUE(smooth.n1 == flat.n1) << degrees;
    }
}

// Octant faces cut into a fan around +z: the neighbours come in turn, each after a normalisation.
TEST(WDB_Smoother, later_neighbours_weigh_more) {
    const Point top(0, 0, 1), a(4, 0, 0), b(0, 4, 0), c(-4, 0, 0);
    WDB_Smoother smoother;
    const WDB_Tri_List* const source =
        list_of({WDB_Triangle(top, a, b), WDB_Triangle(top, b, c), WDB_Triangle(top, a, b)});
    const Vector f = (*source)[0].n0, g = (*source)[1].n0;
    Vector sum = f;
    sum.normalize();
    sum = oknormalize(sum + g);
    sum = oknormalize(sum + f);
    EXPECT_EQ(bits_of((*smoother.smooth_version(source))[0].n0), bits_of(sum));
}

TEST(WDB_Smoother, sphere_comes_near_the_radii_and_calls_repeat) {
    const int rings = 24;
    const auto at = [&](int ring, int side) {
        const float phi = 3.14159265f * static_cast<float>(ring) / rings;
        const float theta = 2 * 3.14159265f * static_cast<float>(side % rings) / rings;
        return Point(std::sin(phi) * std::cos(theta), std::sin(phi) * std::sin(theta),
                     std::cos(phi));
    };
    std::vector<WDB_Triangle> triangles;
    for (int i = 1; i < rings - 1; ++i)
        for (int k = 0; k < rings; ++k) {
            triangles.emplace_back(at(i, k), at(i + 1, k), at(i + 1, k + 1), Color(1, 2, 3));
            triangles.emplace_back(at(i, k), at(i + 1, k + 1), at(i, k + 1));
        }
    WDB_Tri_List* const faceted = list_of(triangles);
    faceted->set_with_colors(true);
    WDB_Smoother smoother;
    const WDB_Tri_List* const smooth = smoother.smooth_version(faceted);
    const WDB_Tri_List* const again = smoother.smooth_version(faceted);
    EXPECT_TRUE(smooth->get_with_colors());
    ASSERT_EQ(smooth->count(), faceted->count());
    for (int i = 0; i < smooth->count(); ++i) {
        const WDB_Triangle& t = (*smooth)[i];
        EXPECT_GT(dot(t.n0, t.p0 - Point(0, 0, 0)), .99f) << i;
        EXPECT_GT(dot(t.n2, t.p2 - Point(0, 0, 0)), .99f) << i;
        EXPECT_TRUE(t == (*again)[i]) << i;
    }
    EXPECT_TRUE((*smooth)[0].c0 == Color(1, 2, 3));
}

TEST(WDB_Smoother, what_is_not_flat_shaded_stays) {
    WDB_Smoother smoother;
    const Vector odd(0, .6f, .8f), up(0, 0, 1);
    const WDB_Triangle bent({0, 0, 0}, {1, 0, 0}, {0, 1, 0}, up, odd, up);
    const WDB_Triangle point({5, 5, 5}, {5, 5, 5}, {6, 6, 6});
    const WDB_Tri_List* const smooth = smoother.smooth_version(list_of({bent, point}));
    EXPECT_TRUE((*smooth)[0] == bent);
    EXPECT_TRUE((*smooth)[1].n0 == Vector(0, 0, 0));
    EXPECT_EQ(smoother.smooth_version(nullptr), nullptr);

    const std::string reports =
        reports_of([&] { EXPECT_TRUE(smoother.smooth_normal(Point(9, 9, 9), &bent) == up); });
    EXPECT_EQ(reports.find("WARNING: Bad Vertex to smooth in"), 0u) << reports;
    EXPECT_TRUE(smoother.smooth_normal(Point(1, 1e-7f, 0), &bent) == odd) << "within 2^-23";
}

// One smoother for all lists, as the cells of its table stay from call to call; now and then with
// triangles that were noted before.
TEST(WDB_Smoother, random_lists_come_out_as_by_the_plain_way) {
    WDB_Smoother smoother;
    Plain_Smoother plain;
    for (unsigned int seed = 0; seed < 300; ++seed) {
        std::mt19937 random(seed);
        const bool is_close = seed % 3 != 0;
        const auto corner = [&] {
            Point p;
            for (int axis = 0; axis < 3; ++axis) {
                p[axis] = (axis == 2 ? 16 : .3f) * static_cast<float>(random() % 4);
                for (unsigned int i = is_close ? random() % 5 : 0; i > 0; --i)
                    p[axis] = std::nextafter(p[axis], 2.0f);
                if (random() % 60 == 0) p[axis] = random() % 2 ? NAN : -0.0f;
            }
            return p;
        };
        std::vector<WDB_Triangle> triangles(random() % 100);
        for (WDB_Triangle& t : triangles) {
            const Point a = corner(), b = corner(), c = corner();
            t = WDB_Triangle(a, b, c);
            if (random() % 10 == 0) t.n1 = Vector(1, 0, 0);
        }
        const WDB_Tri_List& source = *list_of(triangles);
        for (const WDB_Triangle& t : triangles) {
            if (seed % 4 != 0) break;
            smoother.add_triangle(&t.p1, &t);
            plain.add_triangle(&t.p1, &t);
        }
        reports_of([&] { // on corners that are no numbers
            const WDB_Tri_List& smooth = *smoother.smooth_version(&source);
            const std::vector<WDB_Triangle> should = plain.smooth_version(source);
            for (int i = 0; i < source.count(); ++i) {
                ASSERT_EQ(bits_of(smooth[i]), bits_of(should[static_cast<std::size_t>(i)])) << seed;
            }
        });
    }
}
