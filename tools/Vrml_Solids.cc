#include "tools/Vrml_Solids.h"

#include <cmath>
#include <span>

#include "tools/Vrml_Writer.h"

static const double pi = 3.141592653589793;
static const int strips = 24; // around all that is round

void Vrml_Solids::begin(std::string* name, const char* wish) {
    *name = out_.new_name(wish);
    out_.put("trianglelist " + *name + " {\n");
}

void Vrml_Solids::put_triangle(const double* a, const double* b, const double* c) {
    out_.put("  triangle p");
    for (const double* p : {a, b, c}) out_.put_numbers(std::span(p, 3));
    out_.put("\n");
}

void Vrml_Solids::put_triangle(const double* a, const double* b, const double* c, const double* na,
                               const double* nb, const double* nc) {
    out_.put("  triangle p");
    for (const double* p : {a, b, c}) out_.put_numbers(std::span(p, 3));
    out_.put(" n");
    for (const double* n : {na, nb, nc}) out_.put_numbers(std::span(n, 3));
    out_.put("\n");
}

const std::string& Vrml_Solids::sphere() {
    if (!sphere_.empty()) return sphere_;
    const int bands = 12;
    double p[bands + 1][strips + 1][3];
    for (int i = 0; i <= bands; ++i)
        for (int k = 0; k <= strips; ++k) {
            const double theta = pi * i / bands, phi = 2 * pi * (k % strips) / strips;
            const double ring = i % bands ? std::sin(theta) : 0;
            p[i][k][0] = ring * std::sin(phi);
            p[i][k][1] = std::cos(theta);
            p[i][k][2] = ring * std::cos(phi);
        }
    begin(&sphere_, "sphere");
    const auto put = [this](const double* a, const double* b, const double* c) {
        put_triangle(a, b, c, a, b, c); // corners are normals
    };
    for (int i = 0; i < bands; ++i)
        for (int k = 0; k < strips; ++k) {
            if (i != bands - 1) put(p[i][k], p[i + 1][k], p[i + 1][k + 1]);
            if (i != 0) put(p[i][k], p[i + 1][k + 1], p[i][k + 1]);
        }
    out_.put("}\n");
    return sphere_;
}

const std::string& Vrml_Solids::box() {
    if (!box_.empty()) return box_;
    begin(&box_, "box");
    for (int axis = 0; axis < 3; ++axis)
        for (const double side : {-0.5, 0.5}) {
            double p[4][3]; // counter-clockwise from outside
            for (int i = 0; i < 4; ++i) {
                const double u = i == 0 || i == 3 ? -0.5 : 0.5, v = i < 2 ? -0.5 : 0.5;
                p[i][axis] = side;
                p[i][(axis + 1) % 3] = side > 0 ? u : v;
                p[i][(axis + 2) % 3] = side > 0 ? v : u;
            }
            put_triangle(p[0], p[1], p[2]);
            put_triangle(p[0], p[2], p[3]);
        }
    out_.put("}\n");
    return box_;
}

static void set_rim(int strip, double radius, double y, double* p) {
    const double phi = 2 * pi * (strip % strips) / strips;
    p[0] = radius * std::sin(phi);
    p[1] = y;
    p[2] = radius * std::cos(phi);
}

// Looks up if it lies above the middle, else down.
void Vrml_Solids::put_disc(double radius, double y) {
    const double center[3] = {0, y, 0};
    for (int k = 0; k < strips; ++k) {
        double a[3], b[3];
        set_rim(y > 0 ? k : k + 1, radius, y, a);
        set_rim(y > 0 ? k + 1 : k, radius, y, b);
        put_triangle(center, a, b);
    }
}

const std::string& Vrml_Solids::cylinder(int parts) {
    std::string& name = cylinders_[parts];
    if (!name.empty()) return name;
    begin(&name, "cylinder");
    for (int k = 0; k < strips && parts & VRML_SIDES; ++k) {
        double low[2][3], high[2][3], n[2][3];
        for (int i = 0; i < 2; ++i) {
            set_rim(k + i, 1, -0.5, low[i]);
            set_rim(k + i, 1, 0.5, high[i]);
            set_rim(k + i, 1, 0, n[i]);
        }
        put_triangle(low[0], low[1], high[1], n[0], n[1], n[1]);
        put_triangle(low[0], high[1], high[0], n[0], n[1], n[0]);
    }
    if (parts & VRML_TOP) put_disc(1, 0.5);
    if (parts & VRML_BOTTOM) put_disc(1, -0.5);
    out_.put("}\n");
    return name;
}

const std::string& Vrml_Solids::cone(double radius, double height, int parts) {
    std::string& name = cones_[{radius, height, parts}];
    if (!name.empty()) return name;
    begin(&name, "cone");
    const double slant = std::hypot(radius, height), apex[3] = {0, height / 2, 0};
    for (int k = 0; k < strips && parts & VRML_SIDES; ++k) {
        double rim[2][3], n[3][3]; // of the rim's ends, and of the apex half way between
        for (int i = 0; i < 2; ++i) set_rim(k + i, radius, -height / 2, rim[i]);
        for (int i = 0; i < 3; ++i) {
            const double phi = 2 * pi * (i < 2 ? k + i : k + 0.5) / strips;
            n[i][0] = std::sin(phi) * height / slant;
            n[i][1] = radius / slant;
            n[i][2] = std::cos(phi) * height / slant;
        }
        put_triangle(rim[0], rim[1], apex, n[0], n[1], n[2]);
    }
    if (parts & VRML_BOTTOM) put_disc(radius, -height / 2);
    out_.put("}\n");
    return name;
}
