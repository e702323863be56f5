#include "tools/Picture_Facet.h"

#include <algorithm>
#include <cmath>

#include "wdb/WDB_Node.h"

static const WDB_Material* material_of(const WDB_Node& node) {
    static const WDB_Material* const plain = new WDB_Material;
    return node.get_material() ? node.get_material() : plain;
}

static bool is_once(const Point& t) {
    return t.x >= 0 && t.x <= 1 && t.y >= 0 && t.y <= 1;
}

// Whether a list shows no more than the picture itself.
static bool is_once(const WDB_Geometry& level) {
    const auto* const list = WDB_Tri_List::const_castdown(&level);
    return list && std::all_of(list->begin(), list->end(), [](const WDB_Triangle& t) {
               return is_once(t.t0) && is_once(t.t1) && is_once(t.t2);
           });
}

Picture_Look::Picture_Look(const WDB_Node& node, const WDB_Geometry& level,
                           const Picture_Texture* its_texture, const Picture_Lighting& its_lighting,
                           const Point& its_eye)
    : material(material_of(node)), texture(level.get_with_textures() ? its_texture : nullptr),
      lighting(its_lighting), eye(its_eye), place(toFrame(node.get_transform())),
      has_colors(level.get_with_colors()), is_lit(level.get_with_normals()) {
    repeats = texture && !is_once(level);
    // A flat node has no way back; its normals turn as its points do.
    if (!invert(place, unplace)) unplace = transpose(place);
}

bool Picture_Look::is_opaque() const {
    return !(material->get_alpha() < 1) && (!texture || texture->is_opaque());
}

Picture_Facet::Picture_Facet(const WDB_Triangle& t, const Picture_Look& look)
    : triangle_(t), look_(look), place_{t.p0 * look.place, t.p1 * look.place, t.p2 * look.place},
      // Normals stay upright on their surface through the transposed inverse.
      normal_{oknormalize(look.unplace * t.n0), oknormalize(look.unplace * t.n1),
              oknormalize(look.unplace * t.n2)} {
    // Normals and order of corners may contradict one another, as in a mirrored node: normals tell
    // which side is the front, corners tell how it lies.
    const Vector sum = (normal_[0] + normal_[1]) + normal_[2];
    Vector face = cross(place_[0], place_[1], place_[2]);
    if (face.iszero()) face = sum;
    if (dot(face, sum) < 0) face = -face;
    if (dot(face, look.eye - place_[0]) < 0)
        for (Vector& normal : normal_) normal = -normal;
}

// a, b and c are Affine or Color; both are three floats.
template<class T>
static T mixed(const T& a, const T& b, const T& c, const double* shares) {
    const auto part = [&](int i) {
        return static_cast<float>(
            (static_cast<double>(a[i]) * shares[0] + static_cast<double>(b[i]) * shares[1]) +
            static_cast<double>(c[i]) * shares[2]);
    };
    return T(part(0), part(1), part(2));
}

Color Picture_Facet::diffuse_at(const double* shares) const {
    if (!look_.has_colors) return look_.material->get_diffuse();
    return mixed(triangle_.c0, triangle_.c1, triangle_.c2, shares);
}

Picture_Paint Picture_Facet::texture_at(const Picture_Sample& sample, const double* shares) const {
    const auto point_at = [this](const double* s) {
        return mixed(triangle_.t0, triangle_.t1, triangle_.t2, s);
    };
    const auto step_to = [this](const Point& from, const Point& to) {
        const double x = static_cast<double>(to.x - from.x) * look_.texture->get_width();
        const double y = static_cast<double>(to.y - from.y) * look_.texture->get_height();
        return std::sqrt(x * x + y * y);
    };
    double right[3], above[3];
    sample.shares_right(right);
    sample.shares_above(above);
    const Point here = point_at(shares);
    const double step = std::max(step_to(here, point_at(right)), step_to(here, point_at(above)));
    return look_.texture->at(static_cast<double>(here.x), static_cast<double>(here.y), step,
                             look_.repeats);
}

// Between 0 and 1, also for NaN.
static float bounded(float f) {
    return f > 0 ? std::min(f, 1.0f) : 0;
}

Picture_Paint Picture_Facet::at(const Picture_Sample& sample) const {
    double shares[3];
    sample.shares(shares);
    const Color diffuse = diffuse_at(shares);
    Color color = diffuse + look_.material->get_emission();
    if (look_.is_lit)
        color = look_.lighting.shine(
            *look_.material, diffuse, mixed(place_[0], place_[1], place_[2], shares),
            oknormalize(mixed(normal_[0], normal_[1], normal_[2], shares)));
    float alpha = look_.material->get_alpha();
    if (look_.texture) {
        const Picture_Paint texture = texture_at(sample, shares);
        color =
            Color(color.r * texture.color.r, color.g * texture.color.g, color.b * texture.color.b);
        alpha *= texture.alpha;
    }
    return {Color(bounded(color.r), bounded(color.g), bounded(color.b)), bounded(alpha)};
}
