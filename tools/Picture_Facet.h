// How a triangle of a node looks at a place on it.
//
//     const Picture_Look look(node, level, texture, lighting);     // once for the node
//     const Picture_Facet facet(triangle, look);                   // once for the triangle
//     const Picture_Paint paint = facet.at(sample);
//
// Normals, colours and texture points are mixed for each sample, and lit there. A colour of the
// geometry takes the place of the material's diffuse colour; a texture is multiplied with the lit
// colour. Both sides of a triangle are seen: the normal is turned to the side that is.
#ifndef TOOLS_PICTURE_FACET_H
#define TOOLS_PICTURE_FACET_H

#include "tools/Picture_Canvas.h"
#include "tools/Picture_Lighting.h"
#include "tools/Picture_Texture.h"
#include "wdb/WDB_Tri_List.h"

// What all triangles of a node have in common.
struct Picture_Look {
    // `texture` may be null. A node without material looks like a new WDB_Material.
    Picture_Look(const WDB_Node& node, const WDB_Geometry& level, const Picture_Texture* texture,
                 const Picture_Lighting& lighting, const Point& eye);

    bool is_opaque() const;

    const WDB_Material* material;
    const Picture_Texture* texture;
    const Picture_Lighting& lighting;
    Point eye;
    Frame place;     // node to world
    Frame unplace;   // and back
    bool has_colors; // of its own
    bool is_lit;     // or shown in its plain colour
    bool repeats;    // the texture does, beyond the picture
};

class Picture_Facet {
public:
    Picture_Facet(const WDB_Triangle& triangle, const Picture_Look& look);

    Picture_Paint at(const Picture_Sample& sample) const;

private:
    Color diffuse_at(const double* shares) const;
    Picture_Paint texture_at(const Picture_Sample& sample, const double* shares) const;

    const WDB_Triangle& triangle_;
    const Picture_Look& look_;
    Point place_[3]; // in the world
    Vector normal_[3];
};

#endif
