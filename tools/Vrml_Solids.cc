#include "tools/Vrml_Solids.h"

#include <cmath>
#include <numbers>

#include "tools/Vrml_Writer.h"

using std::numbers::pi;

static const int strips = 24; // around all that is round

struct Vrml_Solids::Corner {
    double p[3], n[3], t[2];
};

void Vrml_Solids::begin(std::string* name, const char* wish, bool is_textured) {
    is_textured_ = is_textured;
    *name = out_.new_name(wish);
    out_.put("trianglelist " + *name + " {\n");
}

// In the order in which the scene reads them: points, normals, texture points.
void Vrml_Solids::put_triangle(const Corner& a, const Corner& b, const Corner& c, bool is_round) {
    out_.put("  triangle p");
    for (const Corner* corner : {&a, &b, &c}) out_.put_numbers(corner->p);
    if (is_round) out_.put(" n");
    for (const Corner* corner : {&a, &b, &c})
        if (is_round) out_.put_numbers(corner->n);
    if (is_textured_) out_.put(" t");
    for (const Corner* corner : {&a, &b, &c}) {
        if (!is_textured_) break;
        out_.put_numbers(corner->t);
        out_.put(" 0");
    }
    out_.put("\n");
}

// The last strip ends exactly where the first begins, so that no seam is left.
static double angle_of(double strip) {
    return 2 * pi * (strip < strips ? strip : strip - strips) / strips;
}

// Textures begin at the back, half way around; the last strip ends with 1.
static double texture_of(int strip, int step) {
    return static_cast<double>((strip + strips / 2) % strips + step) / strips;
}

// Of radius 1, once in a file: places of nodes give the sizes. Boxes and cylinders likewise.
const std::string& Vrml_Solids::sphere(bool is_textured) {
    std::string& name = spheres_[is_textured];
    if (!name.empty()) return name;
    const int bands = 12;
    // `step` is 1 for the far side of the strip.
    const auto corner = [](int band, int strip, int step) {
        const double theta = pi * band / bands, phi = angle_of(strip + step);
        const double ring = band % bands ? std::sin(theta) : 0;
        Corner c = {{ring * std::sin(phi), std::cos(theta), ring * std::cos(phi)},
                    {},
                    {texture_of(strip, step), 1 - static_cast<double>(band) / bands}};
        for (int i = 0; i < 3; ++i) c.n[i] = c.p[i];
        return c;
    };
    begin(&name, "sphere", is_textured);
    for (int i = 0; i < bands; ++i)
        for (int k = 0; k < strips; ++k) {
            const Corner top = corner(i, k, 0), low = corner(i + 1, k, 0),
                         far_low = corner(i + 1, k, 1);
            // At a pole two corners are one: there a strip has one triangle.
            if (i != bands - 1) put_triangle(top, low, far_low, true);
            if (i != 0) put_triangle(top, far_low, corner(i, k, 1), true);
        }
    out_.put("}\n");
    return name;
}

// Upright on the four sides, seen from outside; from above and below with the front towards the
// viewer.
static void set_box_texture(const double* p, int axis, double side, double* t) {
    t[0] = 0.5 + (axis == 0 ? (side > 0 ? -p[2] : p[2]) : axis == 2 && side < 0 ? -p[0] : p[0]);
    t[1] = 0.5 + (axis == 1 ? (side > 0 ? -p[2] : p[2]) : p[1]);
}

const std::string& Vrml_Solids::box(bool is_textured) {
    std::string& name = boxes_[is_textured];
    if (!name.empty()) return name;
    begin(&name, "box", is_textured);
    for (int axis = 0; axis < 3; ++axis)
        for (const double side : {-0.5, 0.5}) {
            Corner c[4]; // counter-clockwise from outside
            for (int i = 0; i < 4; ++i) {
                const double u = i == 0 || i == 3 ? -0.5 : 0.5, v = i < 2 ? -0.5 : 0.5;
                c[i].p[axis] = side;
                c[i].p[(axis + 1) % 3] = side > 0 ? u : v;
                c[i].p[(axis + 2) % 3] = side > 0 ? v : u;
                set_box_texture(c[i].p, axis, side, c[i].t);
            }
            put_triangle(c[0], c[1], c[2], false);
            put_triangle(c[0], c[2], c[3], false);
        }
    out_.put("}\n");
    return name;
}

// Looks up if it lies above the middle, else down.
void Vrml_Solids::put_disc(double radius, double y) {
    const auto rim = [&](int strip) {
        const double x = std::sin(angle_of(strip)), z = std::cos(angle_of(strip));
        return Corner{{radius * x, y, radius * z}, {}, {0.5 + x / 2, 0.5 + (y > 0 ? -z : z) / 2}};
    };
    const Corner center = {{0, y, 0}, {}, {0.5, 0.5}};
    for (int k = 0; k < strips; ++k)
        put_triangle(center, rim(y > 0 ? k : k + 1), rim(y > 0 ? k + 1 : k), false);
}

const std::string& Vrml_Solids::cylinder(int parts, bool is_textured) {
    std::string& name = cylinders_[{parts, is_textured}];
    if (!name.empty()) return name;
    const auto corner = [](int strip, int step, double y) {
        const double x = std::sin(angle_of(strip + step)), z = std::cos(angle_of(strip + step));
        return Corner{{x, y, z}, {x, 0, z}, {texture_of(strip, step), y + 0.5}};
    };
    begin(&name, "cylinder", is_textured);
    for (int k = 0; k < strips && parts & VRML_SIDES; ++k) {
        const Corner low = corner(k, 0, -0.5), high = corner(k, 1, 0.5);
        put_triangle(low, corner(k, 1, -0.5), high, true);
        put_triangle(low, high, corner(k, 0, 0.5), true);
    }
    if (parts & VRML_TOP) put_disc(1, 0.5);
    if (parts & VRML_BOTTOM) put_disc(1, -0.5);
    out_.put("}\n");
    return name;
}

const std::string& Vrml_Solids::cone(double radius, double height, int parts, bool is_textured) {
    std::string& name = cones_[{radius, height, parts, is_textured}];
    if (!name.empty()) return name;
    // A cone in its own size: scaling a cone would tilt its normals.
    const double slant = std::hypot(radius, height);
    // The apex has the normal and the texture point of the middle of its strip.
    const auto corner = [&](int strip, double step, bool is_apex) {
        const double phi = angle_of(strip + step), x = std::sin(phi), z = std::cos(phi);
        const double r = is_apex ? 0 : radius;
        return Corner{{r * x, is_apex ? height / 2 : -height / 2, r * z},
                      {x * height / slant, radius / slant, z * height / slant},
                      {texture_of(strip, 0) + step / strips, is_apex ? 1.0 : 0.0}};
    };
    begin(&name, "cone", is_textured);
    for (int k = 0; k < strips && parts & VRML_SIDES; ++k)
        put_triangle(corner(k, 0, false), corner(k, 1, false), corner(k, 0.5, true), true);
    if (parts & VRML_BOTTOM) put_disc(radius, -height / 2);
    out_.put("}\n");
    return name;
}
