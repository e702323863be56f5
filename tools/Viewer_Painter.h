// Draws with OpenGL what a camera sees of its world.
//
//     Viewer_Painter painter;
//     if (!painter.open()) return 1;
//     painter.paint(*world, *camera, window.width(), window.height(), picked);
//
// The world finds the shapes in view. Those that show the same mesh in the same look are drawn by
// one call, each with its place beside it, so that many small things cost no more than their
// triangles. What is transparent comes last, node by node from far to near. What is tiny is a dot.
// All is relative to the eye, so that worlds far from their origin do not tremble.
#ifndef TOOLS_VIEWER_PAINTER_H
#define TOOLS_VIEWER_PAINTER_H

#include <map>

#include "std/Std_Allocator.h"
#include "tools/Viewer_Dots.h"
#include "tools/Viewer_Gl.h"
#include "tools/Viewer_Meshes.h"
#include "wdb/WDB_Camera.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Material.h"

class Viewer_Painter {
public:
    // On failure: false, after a report, if OpenGL here cannot do what this needs.
    bool open();

    // Requires: a camera in that world. With the box of `marked`, unless that is null.
    void paint(WDB_Database& world, WDB_Camera& camera, int width, int height,
               const WDB_Node* marked);
    // Where there is no world yet.
    void clear(int width, int height);

    // Draw the finest level of each node, however far it is.
    void set_finest(bool is_finest) { is_finest_ = is_finest; }
    bool is_finest() const { return is_finest_; }

    // Levels of detail are those of a picture that is so many times smaller, and what is opaque and
    // less than a pixel there is a round dot of its size and colour. 1 at first and at least; more
    // makes pictures much cheaper, for while the camera moves.
    void set_coarseness(double times) { coarseness_ = times; }

    // Of the last picture.
    int shape_count() const { return shapes_; }
    int dot_count() const { return dot_count_; }
    long long item_count() const { return items_; } // triangles and lines

private:
    // What one call draws.
    struct Look {
        int order; // from fine meshes, which are near, to lines, which often lie on a surface
        const Viewer_Mesh* mesh;
        const WDB_Material* material;
        const WDB_Texture* texture;
        auto operator<=>(const Look&) const = default;
    };
    // From a node's space to that of the eye's place: x, y and z of a point are its products with
    // the columns.
    struct Place {
        float columns[3][4];
    };
    using Places = Std_Plain_Vector<Place>;
    struct Clear_Shape {
        float distance;
        Look look;
        Place place;
    };

    GLint uniform(const char* name) const { return glGetUniformLocation(program_, name); }
    void collect(WDB_Database& world, WDB_Camera& camera, int width, int height);
    void send_lamps(const WDB_Database& world);
    void draw(const Look& look, const Places& places);
    void draw_opaque();
    void draw_clear();
    void mark(const WDB_Node& node);

    GLuint program_ = 0, places_ = 0;
    Viewer_Meshes meshes_;
    Viewer_Dots dots_;
    const WDB_Material* const plain_ = new WDB_Material; // of nodes without one
    bool is_finest_ = false;
    double coarseness_ = 1;
    int shapes_ = 0, dot_count_ = 0;
    long long items_ = 0;

    Point eye_ = Point(0, 0, 0);
    Color light_ = Color(0, 0, 0); // of all lamps
    std::map<Look, Places> opaque_;
    Std_Plain_Vector<Clear_Shape> clear_;
};

#endif
