// A tour: make a world, save it, load it, look through a camera, pick.
#include <cstdio>

#include "std/Std_Common.h"
#include "wdb/WDB_Camera.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Material.h"
#include "wdb/WDB_Tri_List.h"
#include "wdb/wdb_load.h"
#include "wdb/wdb_save.h"

int main() {
    auto* square = new WDB_Tri_List(2); // collected: nobody deletes it
    square->set_name("square");
    square->begin_editing();
    square->put(WDB_Triangle(Point(-1, -1, 0), Point(1, -1, 0), Point(1, 1, 0)), 0);
    square->put(WDB_Triangle(Point(-1, -1, 0), Point(1, 1, 0), Point(-1, 1, 0)), 1);
    square->end_editing(); // computes the box

    auto* red = new WDB_Material;
    red->set_name("red");
    red->set_diffuse(Color(1, 0, 0));

    WDB_Database world;
    const HFrame place(Frame::scaling(2) * Frame::translation(5, 0, -3)); // scaled first
    world.put(new WDB_Node("ball", place, square, red, nullptr));
    wdb_save(world, "tour.3d");

    WDB_Database* again = wdb_load("tour.3d", nullptr);
    if (!again) return 1;
    auto* eye = new WDB_Camera("eye", HFrame::identity(),
                               Matrix4::perspective(deg_to_rad(45), 1, 100), nullptr, nullptr);
    again->put(eye);
    eye->lookat(*again, false); // from the front, as far away as the height needs

    const float aspect = 4.0f / 3.0f;
    if (const WDB_Node* node = eye->pick_at_x_y(0, 0, aspect, 0, false))
        std::printf("in the middle: %s, at z = %g\n", node->get_name(),
                    double(eye->get_last_picked_point().z));
}
