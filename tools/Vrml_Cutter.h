// Cuts polygons in space into triangles.
//
//     Vrml_Cutter cutter(report, budget);
//     for (auto [a, b, c] : cutter.cut(corners, is_convex, where)) ...
#ifndef TOOLS_VRML_CUTTER_H
#define TOOLS_VRML_CUTTER_H

#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

class Vrml_Budget;
class Vrml_Report;

class Vrml_Cutter {
public:
    using Point = std::array<double, 3>;
    using Triangle = std::array<std::uint32_t, 3>; // numbers of corners, in their order around

    Vrml_Cutter(Vrml_Report& report, Vrml_Budget& budget) : report_(report), budget_(budget) {}

    // A convex polygon is fanned around its first corner. Any other loses one ear after the other,
    // seen along its normal: the triangles have its area, if its sides do not cross. Triangles may
    // be without area where corners lie on one line. Lifetime: to the next call. Cost: corners
    // squared, for other than convex ones.
    const std::vector<Triangle>& cut(std::span<const Point> corners, bool is_convex,
                                     std::string_view where);

private:
    void fan(std::uint32_t count);
    bool project(std::span<const Point> corners);
    double turn(std::uint32_t corner) const;
    bool turns_left_only() const;
    bool goes_around_once() const;
    bool is_ear(std::uint32_t corner) const;
    void cut_off(std::uint32_t corner);
    void cut_ears(std::string_view where);

    Vrml_Report& report_;
    Vrml_Budget& budget_;
    std::vector<Triangle> triangles_;
    // Of the polygon that is left: a ring of its corners in the plane, counter-clockwise.
    std::vector<std::array<double, 2>> plane_;
    std::vector<std::uint32_t> next_, previous_;
    std::vector<char> is_reflex_; // or straight
    std::uint32_t left_ = 0;
};

#endif
