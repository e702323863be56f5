// An ear is a corner whose triangle holds no other corner of the polygon; every simple polygon has
// two (Meisters, "Polygons have ears"). Only corners that turn the wrong way can lie inside of an
// ear.
#include "tools/Vrml_Cutter.h"

#include <cmath>

#include "tools/Vrml_Budget.h"
#include "tools/Vrml_Report.h"

static const char crossing[] = "the right area of a face whose sides cross";

const std::vector<Vrml_Cutter::Triangle>&
Vrml_Cutter::cut(std::span<const Point> corners, bool is_known_convex, std::string_view where) {
    triangles_.clear();
    const auto count = static_cast<std::uint32_t>(corners.size());
    if (count <= 3 || is_known_convex || !project(corners)) {
        fan(count);
    } else if (turns_left_only()) {
        fan(count);
        if (!goes_around_once()) report_.skip(crossing, where);
    } else {
        cut_ears(where);
    }
    return triangles_;
}

void Vrml_Cutter::fan(std::uint32_t count) {
    for (std::uint32_t i = 1; i + 1 < count; ++i) triangles_.push_back({0, i, i + 1});
}

// Along the axis that is nearest to the normal. False for a polygon without area.
bool Vrml_Cutter::project(std::span<const Point> corners) {
    const std::size_t count = corners.size();
    double normal[3] = {0, 0, 0}; // twice the areas of the three shadows
    for (std::size_t i = 0, j = count - 1; i < count; j = i++)
        for (std::size_t k = 0; k < 3; ++k) {
            const std::size_t u = (k + 1) % 3, v = (k + 2) % 3;
            // Relative to the first corner, which may lie far from the origin.
            normal[k] += (corners[j][u] - corners[0][u]) * (corners[i][v] - corners[0][v]) -
                         (corners[j][v] - corners[0][v]) * (corners[i][u] - corners[0][u]);
        }
    std::size_t axis = 0;
    for (std::size_t k = 1; k < 3; ++k)
        if (std::fabs(normal[k]) > std::fabs(normal[axis])) axis = k;
    if (!(std::fabs(normal[axis]) > 0)) return false;
    const std::size_t u = (axis + 1) % 3, v = (axis + 2) % 3;
    const double side = normal[axis] > 0 ? 1 : -1;

    plane_.resize(count);
    next_.resize(count);
    previous_.resize(count);
    is_reflex_.resize(count);
    left_ = static_cast<std::uint32_t>(count);
    for (std::uint32_t i = 0; i < left_; ++i) {
        plane_[i] = {corners[i][u] - corners[0][u], side * (corners[i][v] - corners[0][v])};
        next_[i] = i + 1 < left_ ? i + 1 : 0;
        previous_[i] = i > 0 ? i - 1 : left_ - 1;
    }
    for (std::uint32_t i = 0; i < left_; ++i) is_reflex_[i] = turn(i) <= 0 ? 1 : 0;
    return true;
}

static double turn_of(const std::array<double, 2>& a, const std::array<double, 2>& b,
                      const std::array<double, 2>& c) {
    return (b[0] - a[0]) * (c[1] - b[1]) - (b[1] - a[1]) * (c[0] - b[0]);
}

// Above 0 where the ring turns left.
double Vrml_Cutter::turn(std::uint32_t corner) const {
    return turn_of(plane_[previous_[corner]], plane_[corner], plane_[next_[corner]]);
}

bool Vrml_Cutter::turns_left_only() const {
    for (std::uint32_t i = 0; i < left_; ++i)
        if (turn(i) < 0) return false;
    return true;
}

// A star turns left only, too, but changes its way along x more often than an outline that goes
// around once.
bool Vrml_Cutter::goes_around_once() const {
    int changes = 0;
    double last = 0;
    for (std::uint32_t i = 0; i < left_; ++i) {
        const double way = plane_[next_[i]][0] - plane_[i][0];
        if (way == 0) continue;
        changes += last != 0 && (way > 0) != (last > 0);
        last = way;
    }
    return changes <= 2;
}

bool Vrml_Cutter::is_ear(std::uint32_t corner) const {
    if (is_reflex_[corner]) return false;
    const std::uint32_t before = previous_[corner], behind = next_[corner];
    const auto &a = plane_[before], &b = plane_[corner], &c = plane_[behind];
    for (std::uint32_t i = next_[behind]; i != before; i = next_[i]) {
        const auto& p = plane_[i];
        // Holes are joined to the outline by two sides that lie on each other, with equal ends.
        if (!is_reflex_[i] || p == a || p == b || p == c) continue;
        if (turn_of(a, b, p) >= 0 && turn_of(b, c, p) >= 0 && turn_of(c, a, p) >= 0) return false;
    }
    return true;
}

void Vrml_Cutter::cut_off(std::uint32_t corner) {
    const std::uint32_t before = previous_[corner], behind = next_[corner];
    triangles_.push_back({before, corner, behind});
    next_[before] = behind;
    previous_[behind] = before;
    --left_;
    is_reflex_[before] = turn(before) <= 0 ? 1 : 0;
    is_reflex_[behind] = turn(behind) <= 0 ? 1 : 0;
}

void Vrml_Cutter::cut_ears(std::string_view where) {
    // A face of ten thousand corners is cut properly; one of many more must not cost the rest of
    // the file.
    std::size_t work_left = 10'000'000;
    const std::size_t corners_for_work = 16; // one costs far less here than a node elsewhere
    std::uint32_t corner = 0, tried = 0;
    bool is_crossing = false, is_paid = true;
    while (left_ > 3) {
        const std::size_t work = 1 + left_ / corners_for_work;
        is_paid = is_paid && work <= work_left && budget_.spend(work, where);
        work_left -= is_paid ? work : 0;
        // Where nothing but crossing or straight sides is left, straight corners cost no area.
        const bool is_stuck = tried >= left_, is_hopeless = tried >= 2 * left_;
        const bool is_cut =
            !is_paid || is_ear(corner) || is_hopeless || (is_stuck && turn(corner) == 0);
        is_crossing |= is_hopeless;
        const std::uint32_t behind = next_[corner];
        if (is_cut) cut_off(corner);
        corner = is_cut ? next_[behind] : behind; // not the neighbour: that would make slivers
        tried = is_cut ? 0 : tried + 1;
    }
    triangles_.push_back({previous_[corner], corner, next_[corner]});
    if (is_crossing) report_.skip(crossing, where);
    if (!is_paid) report_.skip("the right area of a face of too many corners", where);
}
