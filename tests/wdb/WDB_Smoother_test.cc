#include "wdb/WDB_Smoother.h"

#include "tests/Test.h"
#include "tests/wdb/support.h"

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

// Another smoother takes the steps one by one; now and then with triangles that were noted before.
// Of a list nothing stays but cells, whose number decides only where points are close together.
TEST(WDB_Smoother, random_lists_as_step_by_step) {
    WDB_Smoother lasting;
    for (unsigned int seed = 0; seed < 300; ++seed) {
        WDB_Smoother plain;
        WDB_Smoother& smoother = seed % 3 ? *new WDB_Smoother : lasting;
        std::mt19937 random(seed);
        const auto corner = [&] {
            Point p;
            for (int axis = 0; axis < 3; ++axis) {
                p[axis] = (axis == 2 ? 16 : .3f) * static_cast<float>(random() % 4);
                for (unsigned int i = seed % 3 ? random() % 5 : 0; i > 0; --i)
                    p[axis] = std::nextafter(p[axis], 2.0f);
                if (random() % 60 == 0) p[axis] = -0.0f;
            }
            return p;
        };
        std::vector<WDB_Triangle> triangles(random() % 100);
        for (WDB_Triangle& t : triangles) {
            const Point a = corner(), b = corner(), c = corner();
            t = WDB_Triangle(a, b, c, Color(1, 2, 3));
            if (random() % 10 == 0) t.n1 = Vector(1, 0, 0);
        }
        WDB_Tri_List& source = *list_of(triangles);
        source.set_with_colors(seed % 2);
        auto& noted = *new std::vector<WDB_Triangle>(seed % 4 ? 0 : triangles.size());
        std::copy_n(triangles.begin(), noted.size(), noted.begin());
        for (const WDB_Triangle& t : noted)
            smoother.add_triangle(&t.p1, &t), plain.add_triangle(&t.p1, &t);
        for (const WDB_Triangle& t : source)
            for (const Point* p : {&t.p0, &t.p1, &t.p2}) plain.add_triangle(p, &t);
        const WDB_Tri_List& smooth = *smoother.smooth_version(&source);
        EXPECT_EQ(shown(smooth.count(), smooth.get_with_colors()),
                  shown(source.count(), source.get_with_colors()));
        for (int i = 0; i < smooth.count(); ++i)
            ASSERT_TRUE(smooth[i] == plain.smooth_triangle(&source[i])) << seed << ' ' << i;
    }
}
