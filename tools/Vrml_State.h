// What earlier nodes have set for a shape. VRML97 uses the first block only, and sets the looks in
// the shape.
#ifndef TOOLS_VRML_STATE_H
#define TOOLS_VRML_STATE_H

#include <string_view>

#include "tools/Vrml_Place.h"
#include "tools/Vrml_Scene.h"

struct Vrml_State {
    Vrml_Place place;
    std::string_view name, url; // of the nearest DEF and anchor around; the url with its quote
    Vrml_Ref material, texture, texture_transform;

    Vrml_Ref coordinates, normals, texture_points, hints, material_binding, normal_binding;
};

#endif
