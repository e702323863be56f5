#include "tools/Vrml_Sweep.h"

#include <algorithm>
#include <cmath>

#include "tools/Vrml_Budget.h"
#include "tools/Vrml_Place.h"
#include "tools/Vrml_Report.h"

static void add_quad(std::vector<double>& index, std::size_t a, std::size_t b, std::size_t c,
                     std::size_t d) {
    for (const std::size_t corner : {a, b, c, d}) index.push_back(static_cast<double>(corner));
    index.push_back(-1);
}

// From 0 to 1 along each row, and from row to row.
static void add_texture(Vrml_Sweep& sweep, std::size_t columns, std::size_t rows) {
    for (std::size_t k = 0; k < rows; ++k)
        for (std::size_t i = 0; i < columns; ++i)
            for (const double part : {static_cast<double>(i) / static_cast<double>(columns - 1),
                                      static_cast<double>(k) / static_cast<double>(rows - 1)})
                sweep.texture_points.push_back(part);
}

// Rows along x, each a step further in z. Seen from above, faces run counter-clockwise.
Vrml_Sweep vrml_elevation_grid(Vrml_Scene& scene, Vrml_Ref node, bool is_textured,
                               Vrml_Report& report, Vrml_Budget& budget) {
    Vrml_Sweep sweep;
    const std::span<const double> heights = scene.numbers(node, "height");
    const double x_count = scene.number(node, "xDimension", 0, 0),
                 z_count = scene.number(node, "zDimension", 0, 0);
    // Every point has a height, so that the text bounds the product.
    const auto most = static_cast<double>(heights.size());
    if (!(x_count >= 2 && z_count >= 2 && x_count <= most && z_count <= most &&
          x_count * z_count <= most)) {
        report.skip("ElevationGrid without its heights", node.type());
        return sweep;
    }
    const auto columns = static_cast<std::size_t>(x_count),
               rows = static_cast<std::size_t>(z_count);
    if (!budget.spend(columns * rows, node.type())) return sweep;
    const double x_step = scene.number(node, "xSpacing", 0, 1),
                 z_step = scene.number(node, "zSpacing", 0, 1);
    for (std::size_t k = 0; k < rows; ++k)
        for (std::size_t i = 0; i < columns; ++i) {
            const std::size_t at = k * columns + i;
            for (const double v :
                 {static_cast<double>(i) * x_step, heights[at], static_cast<double>(k) * z_step})
                sweep.points.push_back(v);
            if (i + 1 < columns && k + 1 < rows)
                add_quad(sweep.coord_index, at, at + columns, at + columns + 1, at + 1);
        }
    if (is_textured) {
        add_texture(sweep, columns, rows);
        sweep.texture_index = sweep.coord_index;
    }
    return sweep;
}

namespace {
struct Direction {
    double x = 0, y = 0, z = 0;
};

struct Axes {
    Direction x, y, z;
};
} // namespace

static Direction operator-(const Direction& a, const Direction& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
static double dot(const Direction& a, const Direction& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
static Direction cross(const Direction& a, const Direction& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
static Direction operator*(const Direction& v, const Vrml_Place& p) {
    return {v.x * p.m[0][0] + v.y * p.m[1][0] + v.z * p.m[2][0],
            v.x * p.m[0][1] + v.y * p.m[1][1] + v.z * p.m[2][1],
            v.x * p.m[0][2] + v.y * p.m[1][2] + v.z * p.m[2][2]};
}

// False, and the vector stays, if it has hardly any length.
static bool normalize(Direction* v, double least) {
    const double length = std::sqrt(dot(*v, *v));
    if (!(length > least) || !std::isfinite(length)) return false;
    *v = {v->x / length, v->y / length, v->z / length};
    return true;
}

static std::vector<Direction> vectors_of(std::span<const double> numbers) {
    std::vector<Direction> vectors(numbers.size() / 3);
    for (std::size_t i = 0; i < vectors.size(); ++i)
        vectors[i] = {numbers[3 * i], numbers[3 * i + 1], numbers[3 * i + 2]};
    return vectors;
}

static bool is_same(const Direction& a, const Direction& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

// What turns the y axis to `y`; its z axis serves where the spine is straight.
static Direction z_axis_of_straight(const Direction& y) {
    const Direction up = {0, 1, 0};
    const Direction axis = cross(up, y);
    const double angle = std::atan2(std::sqrt(dot(axis, axis)), y.y);
    return Direction{0, 0, 1} * Vrml_Place::rotation(axis.x, axis.y, axis.z, angle);
}

// At each point of the spine: y along it, z across its bend, so that the cross-section lies in the
// bisecting plane. Where there is no bend, z is that of the point before.
static std::vector<Axes> axes_along(const std::vector<Direction>& spine, bool is_closed) {
    const std::size_t count = spine.size(), last = count - 1;
    const double least = 1e-9;
    std::vector<Axes> axes(count);
    std::vector<char> has_y(count), has_z(count);
    for (std::size_t i = 0; i < count; ++i) {
        const bool is_end = i == 0 || i == last;
        const Direction& before = is_end && is_closed ? spine[last - 1] : spine[i > 0 ? i - 1 : 0];
        const Direction& behind = is_end && is_closed ? spine[1] : spine[i < last ? i + 1 : last];
        Direction to = behind - spine[i], from = before - spine[i];
        axes[i].y = behind - before;
        has_y[i] = normalize(&axes[i].y, 0) ? 1 : 0;
        axes[i].z = normalize(&to, 0) && normalize(&from, 0) ? cross(to, from) : Direction();
        has_z[i] = normalize(&axes[i].z, least) ? 1 : 0;
    }
    const auto first_of = [](const std::vector<char>& has) {
        return static_cast<std::size_t>(std::find(has.begin(), has.end(), 1) - has.begin());
    };
    const std::size_t first_y = first_of(has_y), first_z = first_of(has_z);
    Direction y = first_y < count ? axes[first_y].y : Direction{0, 1, 0};
    Direction z = first_z < count ? axes[first_z].z : z_axis_of_straight(y);
    for (std::size_t i = 0; i < count; ++i) {
        Axes& a = axes[i];
        if (has_y[i]) y = a.y;
        if (has_z[i]) {
            // Two bends in opposite directions would turn the cross-section over between them.
            if (dot(a.z, z) < 0) a.z = {-a.z.x, -a.z.y, -a.z.z};
            z = a.z;
        }
        a.y = y;
        a.z = z;
        a.x = cross(y, z);
    }
    return axes;
}

// The cross-section as it lies at one point of the spine.
static void add_section(std::span<const double> section, std::span<const double> scales,
                        std::span<const double> turns, std::size_t i, const Direction& origin,
                        const Axes& a, Vrml_Sweep& sweep) {
    // One value may stand for all points of the spine.
    const auto row = [i](std::span<const double> values, std::size_t width) {
        return values.size() < width ? nullptr
                                     : &values[std::min(i, values.size() / width - 1) * width];
    };
    const double* const scale = row(scales, 2);
    const double* const turn = row(turns, 4);
    const Vrml_Place place =
        turn ? Vrml_Place::rotation(turn[0], turn[1], turn[2], turn[3]) : Vrml_Place();
    for (std::size_t k = 0; k + 1 < section.size(); k += 2) {
        const Direction flat = {section[k] * (scale ? scale[0] : 1), 0,
                                section[k + 1] * (scale ? scale[1] : 1)};
        const Direction v = flat * place;
        for (const double number : {origin.x + v.x * a.x.x + v.y * a.y.x + v.z * a.z.x,
                                    origin.y + v.x * a.x.y + v.y * a.y.y + v.z * a.z.y,
                                    origin.z + v.x * a.x.z + v.y * a.y.z + v.z * a.z.z})
            sweep.points.push_back(number);
    }
}

// Behind the points of the sides come those of the caps, which see the cross-section as it is, its
// longer side from 0 to 1.
static void add_extrusion_texture(Vrml_Sweep& sweep, std::span<const double> section,
                                  std::size_t sections) {
    const std::size_t corners = section.size() / 2, side_points = corners * sections;
    add_texture(sweep, corners, sections);
    for (std::size_t i = 0; i + 1 < sections; ++i)
        for (std::size_t k = 0; k + 1 < corners; ++k) {
            const std::size_t at = i * corners + k;
            add_quad(sweep.texture_index, at, at + 1, at + 1 + corners, at + corners);
        }
    double low[2] = {section[0], section[1]}, high[2] = {section[0], section[1]};
    for (std::size_t k = 0; k < 2 * corners; ++k) {
        low[k % 2] = std::min(low[k % 2], section[k]);
        high[k % 2] = std::max(high[k % 2], section[k]);
    }
    const double size = std::max(high[0] - low[0], high[1] - low[1]);
    for (std::size_t k = 0; k < 2 * corners; ++k)
        sweep.texture_points.push_back(size > 0 ? (section[k] - low[k % 2]) / size : 0);
    for (std::size_t at = sweep.texture_index.size(); at < sweep.coord_index.size(); ++at) {
        const double point = sweep.coord_index[at];
        sweep.texture_index.push_back(
            point < 0
                ? -1
                : static_cast<double>(side_points + static_cast<std::size_t>(point) % corners));
    }
}

namespace {
// What is swept along what. A closed spine has no ends to cover; a closed cross-section has no
// edges, and its last point is the first.
struct Extrusion {
    std::vector<double> section; // two numbers for each corner
    std::vector<Direction> spine;
    bool is_ring = false, is_tube = false;
    bool is_joined = false; // the ends of a ring meet in one row of points

    std::size_t corners() const { return section.size() / 2; }
    std::size_t corner(std::size_t row, std::size_t k) const {
        return (is_joined && row + 1 == spine.size() ? 0 : row) * corners() +
               (is_tube && k + 1 == corners() ? 0 : k);
    }
};
} // namespace

static Extrusion read_extrusion(Vrml_Scene& scene, Vrml_Ref node) {
    const std::span<const double> section = scene.numbers(node, "crossSection");
    Extrusion e;
    e.section.assign(section.begin(), section.end());
    if (!scene.find(node, "crossSection")) e.section = {1, 1, 1, -1, -1, -1, -1, 1, 1, 1};
    e.spine = vectors_of(scene.numbers(node, "spine"));
    if (!scene.find(node, "spine")) e.spine = {{0, 0, 0}, {0, 1, 0}};
    return e;
}

// Null if it can be swept within the budget.
static const char* reason_to_skip(const Extrusion& e, Vrml_Ref node, Vrml_Budget& budget) {
    if (e.corners() < 2 || e.spine.size() < 2)
        return "Extrusion without a spine or a cross-section";
    const std::size_t most = 4'000'000; // points; two short lists make a long product
    if (e.corners() > most / e.spine.size() ||
        !budget.spend(4 * e.corners() * e.spine.size(), node.type()))
        return "Extrusion that is too large";
    return nullptr;
}

static void add_points(Vrml_Scene& scene, Vrml_Ref node, Extrusion& e, Vrml_Sweep& sweep) {
    const std::size_t last = 2 * e.corners() - 2; // an odd number may follow
    e.is_ring = is_same(e.spine.front(), e.spine.back()) && e.spine.size() > 2;
    e.is_tube =
        e.section[0] == e.section[last] && e.section[1] == e.section[last + 1] && e.corners() > 2;
    const std::vector<Axes> axes = axes_along(e.spine, e.is_ring);
    const std::span<const double> scales = scene.numbers(node, "scale"),
                                  turns = scene.numbers(node, "orientation");
    for (std::size_t i = 0; i < e.spine.size(); ++i)
        add_section(e.section, scales, turns, i, e.spine[i], axes[i], sweep);
    // Ends that meet are one, so that they are smooth. Those of a ring do not, if it is twisted.
    const auto row = static_cast<std::ptrdiff_t>(3 * e.corners());
    e.is_joined = e.is_ring && std::equal(sweep.points.begin(), sweep.points.begin() + row,
                                          sweep.points.end() - row);
}

static void add_walls(const Extrusion& e, Vrml_Sweep& sweep) {
    for (std::size_t i = 0; i + 1 < e.spine.size(); ++i)
        for (std::size_t k = 0; k + 1 < e.corners(); ++k)
            add_quad(sweep.coord_index, e.corner(i, k), e.corner(i, k + 1), e.corner(i + 1, k + 1),
                     e.corner(i + 1, k));
}

static void add_caps(Vrml_Scene& scene, Vrml_Ref node, const Extrusion& e, Vrml_Sweep& sweep) {
    if (e.is_ring) return;
    const std::size_t around = e.is_tube ? e.corners() - 1 : e.corners();
    const auto add = [&](std::size_t point) {
        sweep.coord_index.push_back(static_cast<double>(point));
    };
    if (!scene.has_word(node, "beginCap", "FALSE")) {
        // The other way around than at the end: both caps look outwards.
        for (std::size_t k = around; k-- > 0;) add(k);
        sweep.coord_index.push_back(-1);
    }
    if (!scene.has_word(node, "endCap", "FALSE")) {
        for (std::size_t k = 0; k < around; ++k) add(e.corner(e.spine.size() - 1, k));
        sweep.coord_index.push_back(-1);
    }
}

Vrml_Sweep vrml_extrusion(Vrml_Scene& scene, Vrml_Ref node, bool is_textured, Vrml_Report& report,
                          Vrml_Budget& budget) {
    Vrml_Sweep sweep;
    Extrusion extrusion = read_extrusion(scene, node);
    if (const char* const reason = reason_to_skip(extrusion, node, budget)) {
        report.skip(reason, node.type());
        return sweep;
    }
    add_points(scene, node, extrusion, sweep);
    add_walls(extrusion, sweep);
    add_caps(scene, node, extrusion, sweep);
    if (is_textured) add_extrusion_texture(sweep, extrusion.section, extrusion.spine.size());
    return sweep;
}
