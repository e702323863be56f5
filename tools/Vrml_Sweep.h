// Elevation grids and extrusions of VRML97 as points and faces.
#ifndef TOOLS_VRML_SWEEP_H
#define TOOLS_VRML_SWEEP_H

#include <vector>

#include "tools/Vrml_Scene.h"

class Vrml_Budget;
class Vrml_Report;

struct Vrml_Sweep {
    std::vector<double> points;      // three numbers each
    std::vector<double> coord_index; // faces end with -1; four corners each, caps more
    // Two numbers each, and their index along with that of the points; empty without a texture.
    std::vector<double> texture_points, texture_index;
};

// The texture lies once over a grid, once over the sides of an extrusion and once over each cap.
// On failure: empty. What is wrong with the node is told.
Vrml_Sweep vrml_elevation_grid(Vrml_Scene& scene, Vrml_Ref node, bool is_textured,
                               Vrml_Report& report, Vrml_Budget& budget);
Vrml_Sweep vrml_extrusion(Vrml_Scene& scene, Vrml_Ref node, bool is_textured, Vrml_Report& report,
                          Vrml_Budget& budget);

#endif
