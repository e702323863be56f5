// Paints what a camera sees of its world.
//
//     Picture_Painter painter(*world, *camera, 640, 480);
//     PX_Map* picture = painter.paint(progress);
//     picture->save("view.rgb");
//
// The box tree of the world finds the shapes in view. Of each the coarsest level of detail is taken
// that is fine enough for its size in the picture. What is opaque is drawn first, near shapes
// before far ones, so that most of what is hidden is never lit; then what is transparent, from far
// to near.
#ifndef TOOLS_PICTURE_PAINTER_H
#define TOOLS_PICTURE_PAINTER_H

#include <vector>

#include "base/Hash_Table.h"
#include "images/PX_Map.h"
#include "math/Matrix4.h"
#include "tools/Picture_Canvas.h"
#include "tools/Picture_Facet.h"
#include "tools/Picture_Lighting.h"
#include "tools/Picture_Texture.h"
#include "wdb/WDB_Camera.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Line_List.h"
#include "wdb/WDB_Lod_View.h"
#include "wdb/WDB_Texture.h"
#include "wdb/WDB_Tri_List.h"

class Picture_Painter {
public:
    // Requires: a camera in that world, sizes above 0.
    Picture_Painter(const WDB_Database& world, WDB_Camera& camera, int width, int height);

    // In view, also behind others.
    int shape_count() const { return static_cast<int>(shapes_.size()); }

    // Calls `progress(fraction)` now and then. A new map with 3 components.
    PX_Map* paint(void (*progress)(double fraction));

private:
    struct Shape {
        const WDB_Node* node;
        const WDB_Geometry* level;
        double distance; // of its middle, before the camera
        int bottom, top; // rows of samples that it may cover
        bool is_opaque;
    };
    struct Extent;

    static bool collect(SUniv* user, const WDB_Node* node, const Bbox& box);
    float aspect() const { return static_cast<float>(width_) / static_cast<float>(height_); }
    Extent extent_of(const WDB_Node& node) const;
    void put(const WDB_Node& node);
    const Picture_Texture* texture_of(const WDB_Node& node);
    void sort();
    void draw(const Shape& shape);
    void draw_triangles(const WDB_Tri_List& list, const Picture_Look& look,
                        const Picture_Projection& to_clip);
    void draw_triangle(const WDB_Triangle& triangle, const Picture_Look& look,
                       const Picture_Projection& to_clip);
    void draw_line(const WDB_Line& line, const Picture_Look& look,
                   const Picture_Projection& to_clip);
    void draw(const Picture_Polygon& polygon, const WDB_Triangle& triangle,
              const Picture_Look& look);

    int width_, height_; // pixels
    const WDB_Camera* camera_;
    Matrix4 view_; // world to clip space
    Point eye_;
    WDB_Lod_View levels_;
    Picture_Lighting lighting_;
    Picture_Canvas canvas_;
    Hash_Table<const WDB_Texture*, Picture_Texture*> textures_;
    std::vector<Shape> shapes_;
};

#endif
