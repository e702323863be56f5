// Makes a world of two red squares that share one mesh, and saves it as "squares.3d".
#include <cstdio>

#include "wdb/WDB_Database.h"
#include "wdb/WDB_Material.h"
#include "wdb/WDB_Node.h"
#include "wdb/WDB_Tri_List.h"
#include "wdb/wdb_save.h"

static WDB_Tri_List* make_square() {
    const Point a(0, 0, 0), b(1, 0, 0), c(1, 1, 0), d(0, 1, 0);
    auto* square = new WDB_Tri_List(2); // collected: nobody deletes it
    square->set_name("square");
    square->begin_editing();
    square->put(WDB_Triangle(a, b, c), 0);
    square->put(WDB_Triangle(a, c, d), 1);
    square->end_editing(); // the box is computed here
    return square;
}

int main() {
    auto* red = new WDB_Material;
    red->set_name("red");
    red->set_diffuse(Color(1, 0, 0));

    WDB_Tri_List* square = make_square();
    WDB_Database world;
    for (float x : {-2.0f, 2.0f}) {
        const HFrame place(Frame::scaling(2) * Frame::translation(x, 0, 0)); // scaled first
        world.put(new WDB_Node("Square", place, square, red, nullptr));
    }
    std::printf("%d shapes from %g to %g\n", world.shape_count(), double(world.get_bbox().min.x),
                double(world.get_bbox().max.x));
    return wdb_save(world, "squares.3d");
}
