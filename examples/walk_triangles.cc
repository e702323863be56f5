// Hands the triangles of what a camera shows to a renderer, in world space and without copies of
// the lists: here they are only counted and lit.
#include <cstdio>

#include "std/Std_Common.h"
#include "wdb/WDB_Camera.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Tri_List.h"

struct Renderer {
    Vector to_sun;
    int shapes, triangles;
    Color light;
};

static void draw(Renderer& renderer, const WDB_Node& node) {
    const auto* list = WDB_Tri_List::const_castdown(node.get_geometry());
    if (!list) return;
    ++renderer.shapes;
    const Frame place = toFrame(node.get_transform());
    for (const WDB_Triangle& t : *list) { // the list's own slots, as long as the list lives
        const Vector n = oknormalize(cross(t.p0 * place, t.p1 * place, t.p2 * place));
        const float cosine = dot(n, renderer.to_sun);
        if (cosine > 0) renderer.light += cosine * t.c0;
        ++renderer.triangles;
    }
}

int main() {
    const Color grass(0.2f, 0.8f, 0.3f);
    auto* blade = new WDB_Tri_List(2);
    blade->put(WDB_Triangle(Point(0, 0, 0), Point(1, 0, 0), Point(0, 4, 0), grass), 0);
    blade->put(WDB_Triangle(Point(1, 0, 0), Point(1, 4, 0), Point(0, 4, 0), grass), 1);
    blade->end_editing();

    WDB_Database world;
    for (int i = 0; i < 100; ++i) {
        const Frame place = Frame::translation(static_cast<float>(10 * (i % 10) - 45), 0,
                                               static_cast<float>(-10 * (i / 10)));
        world.put(new WDB_Node("blade", HFrame(place), blade, nullptr, nullptr));
    }
    auto* eye = new WDB_Camera("eye", HFrame(Frame::translation(0, 2, 0)),
                               Matrix4::perspective(deg_to_rad(45), 1, 1000), nullptr, nullptr);
    world.put(eye);

    Renderer renderer = {Vector(0, 0, 1), 0, 0, Color(0, 0, 0)};
    // Like a renderer that sorts by itself: in no order of the world's.
    world.for_each_shape_unordered(
        eye, 4.0f / 3, [&](const WDB_Node& node, const Bbox&) { draw(renderer, node); });
    const Color mean = renderer.light / static_cast<float>(renderer.triangles);
    std::printf("%d of %d shapes in view, %d triangles, mean light (%.1f, %.1f, %.1f)\n",
                renderer.shapes, world.shape_count(), renderer.triangles, double(mean.r),
                double(mean.g), double(mean.b));
}
