// All opaque shapes of a world as dots, which stand on the graphics card from picture to picture.
// One call draws those that are small in the picture; who draws the others asks which these are.
//
//     dots.aim(*world, meshes, light, view, eye, width, height, 16);
//     for each shape in view: if (!dots.shows(node, box)) draw its mesh
//     dots.draw();
//
// They are made anew when a shape of the world has changed, or the light. What nodes share does not
// tell of its changes: who edits materials or pictures calls `forget`.
#ifndef TOOLS_VIEWER_DOTS_H
#define TOOLS_VIEWER_DOTS_H

#include "math/Bbox.h"
#include "math/Color.h"
#include "math/Matrix4.h"
#include "tools/Viewer_Gl.h"
#include "tools/Viewer_Meshes.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Listener.h"

class Viewer_Dots : public WDB_Listener {
public:
    Viewer_Dots() = default;
    Viewer_Dots(const Viewer_Dots&) = delete;
    Viewer_Dots& operator=(const Viewer_Dots&) = delete;
    ~Viewer_Dots() override;

    // On failure: false.
    bool open();

    // For the next picture: `view` leads from the eye's place to clip space. What is shorter than
    // `limit` pixels is a dot.
    void aim(WDB_Database& world, Viewer_Meshes& meshes, const Color& light, const Matrix4& view,
             const Point& eye, int width, int height, double limit);

    // Whether a shape of the world is a dot. The box is that of the walk.
    bool shows(const WDB_Node& node, const Bbox& box) const;

    void draw() const;

    void forget() { is_stale_ = true; }

private:
    void put(WDB_Database&, WDB_Node& node) override { note(node); }
    void removed(WDB_Database&, WDB_Node& node) override { note(node); }
    void moved(WDB_Database&, WDB_Node& node) override { note(node); }
    void geometry_changed(WDB_Database&, WDB_Node&) override { forget(); }
    void material_changed(WDB_Database&, WDB_Node& node) override { note(node); }
    void texture_changed(WDB_Database&, WDB_Node& node) override { note(node); }
    // Cameras move all the time, and are no shapes.
    void note(const WDB_Node& node) {
        if (node.get_geometry()) forget();
    }
    void make(Viewer_Meshes& meshes);

    GLuint program_ = 0, array_ = 0, buffer_ = 0;
    WDB_Database* world_ = nullptr;
    bool is_stale_ = true;
    bool holds_all_ = false; // no shape is transparent
    GLsizei count_ = 0;
    Color light_ = Color(0, 0, 0);
    Matrix4 view_ = Matrix4::identity();
    Point eye_ = Point(0, 0, 0);
    float half_size_[2] = {}; // of the picture, in pixels
    float scale_ = 0;         // pixels for one unit of the world, where w is 1
    float limit_ = 0;         // pixels
};

#endif
