// Two spheres and a lamp, seen through a camera: which sphere lies under a position of the picture,
// and where on it?
#include <cmath>
#include <cstdio>

#include "std/Std_Common.h"
#include "wdb/WDB_Camera.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Light.h"
#include "wdb/WDB_Smoother.h"
#include "wdb/WDB_Tri_List.h"

static Point on_sphere(int band, int strip, int count) {
    const float phi = deg_to_rad(180.0f) * static_cast<float>(band) / static_cast<float>(count);
    const float theta = deg_to_rad(360.0f) * static_cast<float>(strip) / static_cast<float>(count);
    return Point(std::sin(phi) * std::cos(theta), std::sin(phi) * std::sin(theta), std::cos(phi));
}

// Radius 1 around the origin, with smooth normals.
static WDB_Tri_List* make_sphere(int count) {
    auto* list = new WDB_Tri_List(2 * count * count);
    list->begin_editing();
    for (int band = 0; band < count; ++band) {
        for (int strip = 0; strip < count; ++strip) {
            const Point a = on_sphere(band, strip, count), b = on_sphere(band + 1, strip, count);
            const Point c = on_sphere(band + 1, strip + 1, count),
                        d = on_sphere(band, strip + 1, count);
            list->put(WDB_Triangle(a, b, c), 2 * (band * count + strip));
            list->put(WDB_Triangle(a, c, d), 2 * (band * count + strip) + 1);
        }
    }
    list->end_editing();
    return WDB_Smoother().smooth_version(list);
}

int main() {
    WDB_Tri_List* sphere = make_sphere(32);
    WDB_Database world;
    world.put(new WDB_Node("near", HFrame(Frame::translation(-2, 0, 0)), sphere, nullptr, nullptr));
    world.put(new WDB_Node("far", HFrame(Frame::scaling(2) * Frame::translation(2, 0, -5)), sphere,
                           nullptr, nullptr));
    world.put(new WDB_Light("lamp", HFrame(Frame::translation(0, 9, 0)), deg_to_rad(30), nullptr,
                            nullptr));

    auto* eye = new WDB_Camera("eye", HFrame::identity(),
                               Matrix4::perspective(deg_to_rad(60), 1, 1000), nullptr, nullptr);
    world.put(eye);
    eye->lookat(world, false);

    const float aspect = 4.0f / 3.0f;
    for (float x : {-0.16f, -0.05f, 0.12f}) {
        const WDB_Node* node = eye->pick_at_x_y(x, 0, aspect, 0, false);
        if (!node) std::printf("at %5.2f: nothing\n", double(x));
        if (!node) continue;
        const Point& where = eye->get_last_picked_point();
        std::printf("at %5.2f: %s, at (%.1f, %.1f, %.1f), covers %.0f%% of the picture\n",
                    double(x), node->get_name(), double(where.x), double(where.y), double(where.z),
                    100 * double(eye->coverage(node)));
    }
}
