// The lights of a world, and the colour that a surface has in them.
//
//     Picture_Lighting lighting(world, eye);
//     Color seen = lighting.shine(*node->get_material(), diffuse, place, normal);
//
// A light that is on shines from its place in all directions, equally far; nothing casts a shadow.
// If no light of the world has a colour other than black, a white one shines from the eye.
#ifndef TOOLS_PICTURE_LIGHTING_H
#define TOOLS_PICTURE_LIGHTING_H

#include <vector>

#include "math/Color.h"
#include "math/Geometry.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Material.h"

class Picture_Lighting {
public:
    Picture_Lighting(const WDB_Database& world, const Point& eye);

    // The surface at `place`, with the unit `normal` on the side of the eye, all in world space.
    // `diffuse` stands for the material's own. The ambient light is white.
    Color shine(const WDB_Material& material, const Color& diffuse, const Point& place,
                const Vector& normal) const;

private:
    static bool collect(SUniv* user, const WDB_Node* node, const Bbox& box);

    struct Lamp {
        Point place;
        Color color;
        int id; // of the light
    };
    std::vector<Lamp> lamps_;
    Point eye_;
};

#endif
