// Boxes, spheres, cylinders and cones as triangle lists of the scene. The frames of the nodes give most
// of the sizes, so that one list serves all nodes with that shape.
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

    // Names of lists, which are written at the first call.
    const std::string& sphere();            // radius 1
    const std::string& box();               // from -0.5 to 0.5
    const std::string& cylinder(int parts); // radius 1, from -0.5 to 0.5 along y
    // The slope of the sides shows in their normals: the frame must not change it.
    const std::string& cone(double radius, double height, int parts);

private:
    void begin(std::string* name, const char* wish);
    void put_triangle(const double* a, const double* b, const double* c);
    void put_triangle(const double* a, const double* b, const double* c, const double* na,
                      const double* nb, const double* nc);
    void put_disc(double radius, double y);

    Vrml_Writer& out_;
    std::string sphere_, box_;
    std::map<int, std::string> cylinders_;
    std::map<std::tuple<double, double, int>, std::string> cones_;
};

#endif
