#include "math/Homogeneous.h"

#include <ostream>

Homogeneous& Homogeneous::normalize() {
    return *this = ::normalize(*this);
}

HFrame::HFrame(const Frame& f) : Matrix4(toMatrix4(f)) {}

Matrix4 toMatrix4(const Frame& f) {
    return Matrix4(Homogeneous(f[0]), Homogeneous(f[1]), Homogeneous(f[2]),
                   Homogeneous(toPoint(f[3])));
}

Frame toFrame(const Matrix4& m) {
    return Frame(toVector(m[0]), toVector(m[1]), toVector(m[2]), toPoint(m[3]));
}

Homogeneous normalize(const Homogeneous& h) {
    return h * static_cast<float>(1.0 / static_cast<double>(h.w));
}

std::ostream& operator<<(std::ostream& os, const Homogeneous& h) {
    return os << "Homogeneous(" << static_cast<double>(h.x) << ',' << static_cast<double>(h.y)
              << ',' << static_cast<double>(h.z) << ',' << static_cast<double>(h.w) << ")\n";
}

std::ostream& operator<<(std::ostream& os, const HFrame& f) {
    os << "HFrame {\n";
    for (int i = 0; i < 4; ++i) os << "  " << f[i];
    return os << "}\n";
}
