// An affine map of row vectors, in double precision: p * A * B means A first.
#ifndef TOOLS_VRML_PLACE_H
#define TOOLS_VRML_PLACE_H

#include <string_view>

#include "tools/Vrml_Scene.h"

struct Vrml_Place {
    double m[4][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}}; // axes and origin

    static Vrml_Place translation(double x, double y, double z);
    static Vrml_Place scaling(double x, double y, double z);
    // About an axis of any length, in radians. No axis, no turn.
    static Vrml_Place rotation(double x, double y, double z, double angle);

    // Fields of a node, and whole nodes of both languages.
    static Vrml_Place translation(Vrml_Scene& s, Vrml_Ref n, std::string_view field,
                                  double sign = 1);
    static Vrml_Place scaling(Vrml_Scene& s, Vrml_Ref n, std::string_view field);
    static Vrml_Place rotation(Vrml_Scene& s, Vrml_Ref n, std::string_view field, double sign = 1);
    static Vrml_Place transform(Vrml_Scene& s, Vrml_Ref n, std::string_view scale_field);
    static Vrml_Place matrix_transform(Vrml_Scene& s, Vrml_Ref n);
    // Of texture points: the first two columns count.
    static Vrml_Place texture_transform(Vrml_Scene& s, Vrml_Ref n, std::string_view scale_field);

    bool operator==(const Vrml_Place&) const = default;

    // Whether all points with coordinates up to `extent` stay within single precision.
    bool is_within_single_precision(double extent) const;
    // Whether it leaves space three dimensions.
    bool is_regular() const;
};

Vrml_Place operator*(const Vrml_Place& a, const Vrml_Place& b);

#endif
