// 1. The scene reader finds the normal of a flat triangle in single precision, and drops the
//    triangle if that comes out as zero. So a triangle whose normal gets lost there takes its
//    normal along.
// 2. It drops triangles with a normal of its own that is too short, too. Such normals count as
//    missing.
#include "tools/Vrml_Faces.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

#include "tools/Vrml_Budget.h"
#include "tools/Vrml_Report.h"
#include "tools/Vrml_Writer.h"

Vrml_Faces::Vrml_Faces(const Vrml_Face_Set& set, Vrml_Rows& points, std::string_view where,
                       Vrml_Report& report, Vrml_Budget& budget)
    : set_(set), where_(where), report_(report), budget_(budget), smooth_(report, budget),
      cutter_(report, budget), points_(points), colors_(set.colors.values, set.colors.width),
      texture_points_(set.texture_points.values, set.texture_points.width) {
    const std::size_t most = 0xFFFFFFFF; // places are kept in 32 bits
    if (set_.coord_index.size() >= most || !budget_.spend(set_.coord_index.size(), where_)) return;
    find_faces();
    are_good_ = !faces_.empty() && are_points_good();
    if (!are_good_) return;
    straighten_normals();
    if (set_.normals.binding == Vrml_Attribute::NONE && set_.crease_angle > 0)
        smooth_.make(set_, faces_, where_);
    normals_ = Vrml_Rows(smooth_.is_made() ? smooth_.values() : set_.normals.values, 3);
}

void Vrml_Faces::find_faces() {
    const std::span<const double> index = set_.coord_index;
    const std::size_t points = set_.points.size() / 3;
    const auto count = static_cast<double>(points);
    std::uint32_t number = 0, corner = 0;
    int bad = 0;
    std::size_t end;
    for (std::size_t begin = 0; begin < index.size(); begin = end + 1, ++number) {
        bool is_valid = true;
        for (end = begin; end < index.size() && index[end] >= 0; ++end)
            is_valid &= index[end] < count;
        if (end - begin < 3 || !is_valid) {
            ++bad;
        } else {
            faces_.push_back({static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(end),
                              number, corner});
        }
        corner += static_cast<std::uint32_t>(end - begin);
    }
    if (bad > 0) report_.skip("face with wrong indices", where_, bad);
}

bool Vrml_Faces::are_points_good() {
    const double most = static_cast<double>(FLT_MAX);
    for (const Vrml_Face& face : faces_)
        for (std::size_t i = face.begin; i < face.end; ++i)
            for (std::size_t k = 0; k < 3; ++k) {
                const double size = std::fabs(set_.points[3 * point(i) + k]);
                if (!(size <= most)) {
                    report_.skip("shape beyond single precision", where_);
                    return false;
                }
                extent_ = std::max(extent_, size);
            }
    return true;
}

// The reader takes normals of a length near 1 as they are, and others as they are if they are
// longer.
void Vrml_Faces::straighten_normals() {
    const std::span<const double> given = set_.normals.values;
    // Many shapes may share what varies over them, all of which is looked at for each.
    const std::size_t much = 16;
    const std::size_t shared =
        given.size() + set_.colors.values.size() + set_.texture_points.values.size();
    if (!budget_.spend(shared / much, where_) || set_.normals.binding == Vrml_Attribute::NONE)
        return;
    const std::span<const double> whole = given.first(given.size() - given.size() % 3);
    straight_normals_.assign(whole.begin(), whole.end());
    const double least = 1e-6, slack = 0.01;
    for (std::size_t i = 0; i < straight_normals_.size(); i += 3) {
        double* const n = &straight_normals_[i];
        const double length = std::hypot(n[0], n[1], n[2]);
        const bool is_good = length > least && std::isfinite(length);
        if (is_good && std::fabs(length * length - 1) <= slack) continue;
        for (int k = 0; k < 3; ++k) n[k] = is_good ? n[k] / length : 0;
    }
    set_.normals.values = straight_normals_;
}

std::string Vrml_Faces::write(Vrml_Writer& out, std::string_view wish) {
    wish_ = wish;
    for (const Vrml_Face& face : faces_) write_face(out, face);
    if (!name_.empty()) out.put("}\n");
    if (empty_faces_ > 0) report_.skip("face without area", where_, empty_faces_);
    if (bad_normals_ > 0) report_.skip("normals with wrong indices", where_, bad_normals_);
    if (bad_colors_ > 0) report_.skip("colours with wrong indices", where_, bad_colors_);
    if (bad_texture_points_ > 0)
        report_.skip("texture points with wrong indices", where_, bad_texture_points_);
    return name_;
}

void Vrml_Faces::write_face(Vrml_Writer& out, const Vrml_Face& face) {
    corners_.clear();
    for (std::size_t i = face.begin; i < face.end; ++i) {
        const double* const p = &set_.points[3 * point(i)];
        corners_.push_back({p[0], p[1], p[2]});
    }
    bool is_empty = true;
    for (const Vrml_Cutter::Triangle& t : cutter_.cut(corners_, set_.is_convex, where_)) {
        Corners corners;
        for (std::size_t i = 0; i < 3; ++i)
            corners[i] = {face.begin + t[i], std::size_t(face.corner) + t[i]};
        if (set_.is_clockwise) std::swap(corners[1], corners[2]);
        is_empty &= !write_triangle(out, face, corners);
    }
    empty_faces_ += is_empty && !budget_.is_spent();
}

namespace {
// What is left of the area of a triangle.
enum Area { NONE, LOST_IN_SINGLE_PRECISION, PLAIN };
} // namespace

// `normal` gets the cross product of two sides, as the scene reader sees the corners.
static Area area_of(const double* p, const double* q, const double* r, double* normal) {
    float a[3], b[3];
    double wide_a[3], wide_b[3];
    for (int k = 0; k < 3; ++k) {
        const auto f = static_cast<float>(p[k]), g = static_cast<float>(q[k]),
                   h = static_cast<float>(r[k]);
        a[k] = g - f;
        b[k] = h - f;
        wide_a[k] = static_cast<double>(g) - static_cast<double>(f);
        wide_b[k] = static_cast<double>(h) - static_cast<double>(f);
    }
    float square = 0;
    for (int k = 0; k < 3; ++k) {
        const int u = (k + 1) % 3, v = (k + 2) % 3;
        normal[k] = wide_a[u] * wide_b[v] - wide_a[v] * wide_b[u];
        const float n = a[u] * b[v] - a[v] * b[u];
        square += n * n;
    }
    if (std::hypot(normal[0], normal[1], normal[2]) == 0) return NONE;
    return square > FLT_MIN && square <= FLT_MAX ? PLAIN : LOST_IN_SINGLE_PRECISION;
}

// False if it has no area.
bool Vrml_Faces::write_triangle(Vrml_Writer& out, const Vrml_Face& face, const Corners& corners) {
    double normal[3];
    const double* p[3];
    for (std::size_t i = 0; i < 3; ++i) p[i] = &set_.points[3 * point(corners[i].place)];
    const Area area = area_of(p[0], p[1], p[2], normal);
    if (area == NONE || !budget_.take_triangle(where_)) return false;
    if (name_.empty()) {
        name_ = out.new_name(wish_);
        out.put("trianglelist " + name_ + " {\n");
    }
    out.put("  triangle p");
    for (const Corner& c : corners) out.put(points_.text(point(c.place)));
    write_normals(out, face, corners, normal, area == LOST_IN_SINGLE_PRECISION);
    write_rows(out, " c", set_.colors, colors_, face, corners);
    write_rows(out, " t", set_.texture_points, texture_points_, face, corners);
    out.put("\n");
    return true;
}

// False if the triangle is flat, and nothing is written. `flat` is of any length.
bool Vrml_Faces::write_normals(Vrml_Writer& out, const Vrml_Face& face, const Corners& corners,
                               const double* flat, bool is_flat_needed) {
    std::size_t rows[3];
    bool is_flat = true, is_missing = false;
    for (std::size_t i = 0; i < 3; ++i) {
        rows[i] = smooth_.is_made()
                      ? smooth_.row(corners[i].place)
                      : set_.normals.row(face.number, corners[i].place, corners[i].number);
        is_missing |= rows[i] == Vrml_Attribute::NO_ROW;
        if (rows[i] != Vrml_Attribute::NO_ROW && is_zero(rows[i])) rows[i] = Vrml_Attribute::NO_ROW;
        is_flat &= rows[i] == Vrml_Attribute::NO_ROW;
    }
    bad_normals_ += is_missing && set_.normals.binding != Vrml_Attribute::NONE;
    if (is_flat && !is_flat_needed) return false;
    const double length = std::hypot(flat[0], flat[1], flat[2]);
    out.put(" n");
    for (const std::size_t row : rows) {
        if (row != Vrml_Attribute::NO_ROW) {
            out.put(normals_.text(row));
        } else {
            for (int k = 0; k < 3; ++k) out.put_number(flat[k] / length);
        }
    }
    return true;
}

bool Vrml_Faces::is_zero(std::size_t normal) const {
    if (smooth_.is_made()) return false;
    const double* const n = &set_.normals.values[3 * normal];
    return n[0] == 0 && n[1] == 0 && n[2] == 0;
}

// Nothing, if a corner has no row.
void Vrml_Faces::write_rows(Vrml_Writer& out, std::string_view letter,
                            const Vrml_Attribute& attribute, Vrml_Rows& rows, const Vrml_Face& face,
                            const Corners& corners) {
    if (attribute.binding == Vrml_Attribute::NONE) return;
    std::size_t row[3];
    for (std::size_t i = 0; i < 3; ++i) {
        row[i] = attribute.row(face.number, corners[i].place, corners[i].number);
        if (row[i] != Vrml_Attribute::NO_ROW) continue;
        ++(letter == " c" ? bad_colors_ : bad_texture_points_);
        return;
    }
    out.put(letter);
    out.put(rows.text(row[0]));
    // Colours may stand for all corners at once.
    if (letter == " c" && row[0] == row[1] && row[0] == row[2]) return;
    out.put(rows.text(row[1]));
    out.put(rows.text(row[2]));
}
