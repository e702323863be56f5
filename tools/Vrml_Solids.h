// Boxes, spheres, cylinders and cones as triangle lists of the scene. The frames of the nodes give
// most of the sizes, so that one list serves all nodes with that shape.
#ifndef TOOLS_VRML_SOLIDS_H
#define TOOLS_VRML_SOLIDS_H

#include <map>
#include <string>
#include <tuple>

class Vrml_Writer;

// Parts of cylinders and cones.
enum Vrml_Parts : int { VRML_SIDES = 1, VRML_TOP = 2, VRML_BOTTOM = 4 };

class Vrml_Solids {
public:
    explicit Vrml_Solids(Vrml_Writer& out) : out_(out) {}

    // Names of lists, which are written at the first call. With texture points these lie as the
    // standard says: on each side of a box, and around the others from the back.
    const std::string& sphere(bool is_textured);              // radius 1
    const std::string& box(bool is_textured);                 // from -0.5 to 0.5
    const std::string& cylinder(int parts, bool is_textured); // radius 1, from -0.5 to 0.5 along y
    // The slope of the sides shows in their normals: the frame must not change it.
    const std::string& cone(double radius, double height, int parts, bool is_textured);

private:
    struct Corner;
    void begin(std::string* name, const char* wish, bool is_textured);
    void put_triangle(const Corner& a, const Corner& b, const Corner& c, bool is_round);
    void put_disc(double radius, double y);

    Vrml_Writer& out_;
    bool is_textured_ = false; // the list that is written
    std::string spheres_[2], boxes_[2];
    std::map<std::tuple<int, bool>, std::string> cylinders_;
    std::map<std::tuple<double, double, int, bool>, std::string> cones_;
};

#endif
