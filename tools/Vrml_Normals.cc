#include "tools/Vrml_Normals.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "tools/Vrml_Budget.h"
#include "tools/Vrml_Report.h"

// Each corner at a point looks at all others there, so that points must not have too many.
static const std::size_t most_around = 200;

static void corner_of(const Vrml_Face_Set& set, std::size_t place, double* p) {
    const double* const from = &set.points[3 * static_cast<std::size_t>(set.coord_index[place])];
    std::copy(from, from + 3, p);
}

static double mag(const double* v) {
    return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
}

static float dot(const std::array<float, 3>& a, const std::array<float, 3>& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

void Vrml_Normals::make(const Vrml_Face_Set& set, std::span<const Vrml_Face> faces,
                        std::string_view where) {
    if (!budget_.spend(set.coord_index.size(), where)) return;
    measure_faces(set, faces);
    sort_corners(set, faces);
    rows_.assign(set.coord_index.size(), FLAT);
    // From half a turn on every edge is smooth, also one of exactly opposite faces.
    const auto least_cosine =
        static_cast<float>(set.crease_angle < std::numbers::pi ? std::cos(set.crease_angle) : -2);
    bool is_crowded = false;
    for (std::size_t i = 0; i + 1 < starts_.size(); ++i) {
        const std::span<const std::uint32_t> around(corners_.data() + starts_[i],
                                                    starts_[i + 1] - starts_[i]);
        if (around.size() < 2 || is_flat_around(around)) continue;
        is_crowded |= around.size() > most_around;
        if (around.size() > most_around || !budget_.spend(around.size() / 4, where)) continue;
        smooth_point(around, least_cosine);
    }
    if (is_crowded) report_.skip("smooth normals at points of more than 200 faces", where);
}

// Directions by the sum of all corners (Newell), which bears corners on one line.
void Vrml_Normals::measure_faces(const Vrml_Face_Set& set, std::span<const Vrml_Face> faces) {
    angles_.assign(set.coord_index.size(), 0);
    directions_.assign(faces.size(), Vector{0, 0, 0});
    for (std::size_t f = 0; f < faces.size(); ++f) {
        double sum[3] = {0, 0, 0}, first[3], a[3], b[3], c[3];
        corner_of(set, faces[f].begin, first);
        for (std::size_t i = faces[f].begin; i < faces[f].end; ++i) {
            corner_of(set, i == faces[f].begin ? faces[f].end - 1 : i - 1, a);
            corner_of(set, i, b);
            corner_of(set, i + 1 == faces[f].end ? faces[f].begin : i + 1, c);
            double back[3], on[3];
            for (int k = 0; k < 3; ++k) {
                const int u = (k + 1) % 3, v = (k + 2) % 3;
                sum[k] +=
                    (a[u] - first[u]) * (b[v] - first[v]) - (a[v] - first[v]) * (b[u] - first[u]);
                back[k] = a[k] - b[k];
                on[k] = c[k] - b[k];
            }
            const double cosine =
                (back[0] * on[0] + back[1] * on[1] + back[2] * on[2]) / (mag(back) * mag(on));
            // Corners in one place have no angle, and no say in the normal.
            if (std::isfinite(cosine))
                angles_[i] = std::acos(static_cast<float>(std::clamp(cosine, -1.0, 1.0)));
        }
        const double length = (set.is_clockwise ? -1 : 1) * mag(sum);
        if (length != 0 && std::isfinite(length))
            for (std::size_t k = 0; k < 3; ++k)
                directions_[f][k] = static_cast<float>(sum[k] / length);
    }
}

// By counting how many each point has, where its run begins, and then all to their runs; but a few
// corners among many points are sorted instead.
void Vrml_Normals::sort_corners(const Vrml_Face_Set& set, std::span<const Vrml_Face> faces) {
    const auto point = [&](std::size_t place) {
        return static_cast<std::size_t>(set.coord_index[place]);
    };
    const std::size_t points = set.points.size() / 3, few = 8;
    const bool is_dense = set.coord_index.size() > points / few;
    starts_.assign(is_dense ? points + 1 : 0, 0);
    face_of_.assign(set.coord_index.size(), 0);
    for (std::uint32_t f = 0; f < faces.size(); ++f)
        for (std::uint32_t i = faces[f].begin; i < faces[f].end; ++i) {
            face_of_[i] = f;
            corners_.push_back(i);
            if (is_dense) ++starts_[point(i)];
        }
    if (is_dense) {
        std::uint32_t sum = 0;
        for (std::uint32_t& start : starts_) start = sum += start; // ends, for now
        for (std::size_t f = faces.size(); f-- > 0;)
            for (std::uint32_t i = faces[f].end; i-- > faces[f].begin;)
                corners_[--starts_[point(i)]] = i;
        return;
    }
    std::sort(corners_.begin(), corners_.end(), [&](std::uint32_t a, std::uint32_t b) {
        return point(a) != point(b) ? point(a) < point(b) : a < b;
    });
    for (std::uint32_t i = 0; i <= corners_.size(); ++i)
        if (i == 0 || i == corners_.size() || point(corners_[i - 1]) != point(corners_[i]))
            starts_.push_back(i);
}

bool Vrml_Normals::is_flat_around(std::span<const std::uint32_t> around) const {
    const Vector& first = directions_[face_of_[around[0]]];
    return std::all_of(around.begin(), around.end(), [&](std::uint32_t corner) {
        return directions_[face_of_[corner]] == first;
    });
}

// Corners with the same neighbours get the same row.
void Vrml_Normals::smooth_point(std::span<const std::uint32_t> around, float least_cosine) {
    const std::size_t first_row = values_.size() / 3;
    for (const std::uint32_t corner : around) {
        const Vector& own = directions_[face_of_[corner]];
        double sum[3] = {0, 0, 0};
        bool is_flat = true;
        for (const std::uint32_t other : around) {
            const Vector& d = directions_[face_of_[other]];
            if (d != own && dot(d, own) < least_cosine) continue;
            is_flat &= d == own;
            for (std::size_t k = 0; k < 3; ++k)
                sum[k] += static_cast<double>(angles_[other] * d[k]);
        }
        const double length = mag(sum);
        const double least = 1e-6; // faces back to back leave nothing
        if (is_flat || !(length > least)) continue;
        // Six decimals, as scenes have when they are saved: more would cost time and show nowhere.
        const double million = 1e6;
        for (double& s : sum) s = std::nearbyint(s / length * million) / million;
        std::size_t row = first_row;
        while (3 * row < values_.size() && !std::equal(sum, sum + 3, &values_[3 * row])) ++row;
        if (3 * row == values_.size()) values_.insert(values_.end(), sum, sum + 3);
        rows_[corner] = static_cast<std::uint32_t>(row);
    }
}
