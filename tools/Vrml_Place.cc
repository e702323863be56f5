#include "tools/Vrml_Place.h"

#include <cfloat>
#include <cmath>

Vrml_Place operator*(const Vrml_Place& a, const Vrml_Place& b) {
    Vrml_Place c;
    for (int i = 0; i < 4; ++i)
        for (int k = 0; k < 3; ++k) {
            c.m[i][k] = i == 3 ? b.m[3][k] : 0;
            for (int j = 0; j < 3; ++j) c.m[i][k] += a.m[i][j] * b.m[j][k];
        }
    return c;
}

Vrml_Place Vrml_Place::translation(double x, double y, double z) {
    Vrml_Place p;
    p.m[3][0] = x;
    p.m[3][1] = y;
    p.m[3][2] = z;
    return p;
}

Vrml_Place Vrml_Place::scaling(double x, double y, double z) {
    Vrml_Place p;
    p.m[0][0] = x;
    p.m[1][1] = y;
    p.m[2][2] = z;
    return p;
}

// Row vectors, so the matrix is the transpose of the usual one. An axis without a length turns
// nothing.
Vrml_Place Vrml_Place::rotation(double x, double y, double z, double angle) {
    double axis[3] = {x, y, z};
    const double length = std::hypot(x, y, z);
    if (length == 0) return Vrml_Place();
    for (double& a : axis) a /= length;
    const double s = std::sin(angle), c = std::cos(angle);
    Vrml_Place p;
    for (int i = 0; i < 3; ++i) {
        const int j = (i + 1) % 3, k = (i + 2) % 3;
        p.m[i][i] = c + axis[i] * axis[i] * (1 - c);
        p.m[i][j] = axis[i] * axis[j] * (1 - c) + axis[k] * s;
        p.m[i][k] = axis[i] * axis[k] * (1 - c) - axis[j] * s;
    }
    return p;
}

Vrml_Place Vrml_Place::translation(Vrml_Scene& s, Vrml_Ref n, std::string_view field, double sign) {
    return translation(sign * s.number(n, field, 0, 0), sign * s.number(n, field, 1, 0),
                       sign * s.number(n, field, 2, 0));
}

Vrml_Place Vrml_Place::scaling(Vrml_Scene& s, Vrml_Ref n, std::string_view field) {
    return scaling(s.number(n, field, 0, 1), s.number(n, field, 1, 1), s.number(n, field, 2, 1));
}

Vrml_Place Vrml_Place::rotation(Vrml_Scene& s, Vrml_Ref n, std::string_view field, double sign) {
    return rotation(s.number(n, field, 0, 0), s.number(n, field, 1, 0), s.number(n, field, 2, 1),
                    sign * s.number(n, field, 3, 0));
}

Vrml_Place Vrml_Place::transform(Vrml_Scene& s, Vrml_Ref n, std::string_view scale_field) {
    // Row vectors: what stands first acts first. The scale acts along the axes of
    // `scaleOrientation`, all of it around `center`.
    return translation(s, n, "center", -1) * rotation(s, n, "scaleOrientation", -1) *
           scaling(s, n, scale_field) * rotation(s, n, "scaleOrientation") *
           rotation(s, n, "rotation") * translation(s, n, "center") *
           translation(s, n, "translation");
}

Vrml_Place Vrml_Place::matrix_transform(Vrml_Scene& s, Vrml_Ref n) {
    Vrml_Place p;
    for (std::size_t i = 0; i < 4; ++i)
        for (std::size_t k = 0; k < 3; ++k) p.m[i][k] = s.number(n, "matrix", 4 * i + k, p.m[i][k]);
    return p;
}

// VRML97 moves first and scales last, VRML 1.0 the other way around.
Vrml_Place Vrml_Place::texture_transform(Vrml_Scene& s, Vrml_Ref n, std::string_view scale_field) {
    const Vrml_Place move =
        translation(s.number(n, "translation", 0, 0), s.number(n, "translation", 1, 0), 0);
    const double x = s.number(n, "center", 0, 0), y = s.number(n, "center", 1, 0);
    const Vrml_Place turn = rotation(0, 0, 1, s.number(n, "rotation", 0, 0));
    const Vrml_Place scale =
        scaling(s.number(n, scale_field, 0, 1), s.number(n, scale_field, 1, 1), 1);
    if (scale_field == "scale")
        return move * translation(x, y, 0) * turn * scale * translation(-x, -y, 0);
    return translation(-x, -y, 0) * scale * turn * translation(x, y, 0) * move;
}

bool Vrml_Place::is_within_single_precision(double extent) const {
    // The largest that a coordinate can become, whatever the signs.
    for (int k = 0; k < 3; ++k) {
        double most = std::fabs(m[3][k]);
        for (int i = 0; i < 3; ++i) most += std::fabs(m[i][k]) * (extent > 1 ? extent : 1);
        if (!(most <= static_cast<double>(FLT_MAX))) return false; // or it is NaN
    }
    return true;
}

bool Vrml_Place::is_regular() const {
    const double d = m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
                     m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
                     m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
    return d != 0 && std::isfinite(d);
}
