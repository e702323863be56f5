// Finds nodes by name, and tells all about what is under a position of the picture: which triangle,
// where, how it faces, and the point of its texture.
#include <cstdio>

#include "std/Std_Common.h"
#include "wdb/WDB_Camera.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Pick.h"
#include "wdb/WDB_Tri_List.h"

// A square of two triangles, with its texture across it.
static WDB_Tri_List* make_wall() {
    const Point a(-1, -1, 0), b(1, -1, 0), c(1, 1, 0), d(-1, 1, 0);
    const Point ta(0, 0, 0), tb(1, 0, 0), tc(1, 1, 0), td(0, 1, 0);
    auto* wall = new WDB_Tri_List(2);
    wall->set_name("wall");
    wall->put(WDB_Triangle(a, b, c, ta, tb, tc), 0);
    wall->put(WDB_Triangle(a, c, d, ta, tc, td), 1);
    wall->end_editing();
    return wall;
}

static void tell(const WDB_Pick& pick) {
    if (!pick.node) {
        std::printf("nothing there\n");
        return;
    }
    std::printf("%s, triangle %d at (%.2f, %.2f, %.2f), facing (%.1f, %.1f, %.1f), texture at "
                "(%.2f, %.2f)\n",
                pick.node->get_name(), pick.index, double(pick.point.x), double(pick.point.y),
                double(pick.point.z), double(pick.normal.x), double(pick.normal.y),
                double(pick.normal.z), double(pick.texture_point.x), double(pick.texture_point.y));
}

int main() {
    WDB_Database world;
    const WDB_Tri_List* wall = make_wall();
    world.put(new WDB_Node("front", HFrame(Frame::translation(0, 0, -5)), wall, nullptr, nullptr));
    world.put(
        new WDB_Node("side", HFrame(Frame::rotation(1, deg_to_rad(90))), wall, nullptr, nullptr));
    auto* eye = new WDB_Camera("eye", HFrame::identity(),
                               Matrix4::perspective(deg_to_rad(60), 1, 100), nullptr, nullptr);
    world.put(eye);

    WDB_Node* side = world.find_node("side");
    side->set_transform(side->get_transform() * Frame::translation(-2, 0, -5));
    std::printf("find_camera: %s, find_light: %s, find_geometry: %d triangles\n",
                world.find_camera("eye") ? "yes" : "no", world.find_light("eye") ? "yes" : "no",
                WDB_Tri_List::castdown(world.find_geometry("wall"))->count());
    tell(eye->detailed_pick_at_x_y(0.1f, 0.05f, 1, 0, false));
    tell(eye->detailed_pick_at_x_y(-0.7f, 0.05f, 1, 0, false));
    tell(eye->detailed_pick_at_x_y(0.9f, 0.9f, 1, 0, false));
}
