// Which corners of a triangle list meet, in the sense of pnt_equal.
//
//     const Corner_Groups groups(list);
//     const int g = groups.group_of(3 * triangle + 1);       // of p1
//     for (const int corner : groups.corners_of(g)) meet(corner / 3);
//
// Corners of different groups are never equal. In most groups all corners are equal to one another;
// but equality within a tolerance does not carry over, so a group may be a chain or cloud in which
// some are and some are not: it is called tangled. That needs coordinates below 2 that differ in
// their last bits only.
// Corner k of triangle i is number 3 * i + k. Lists with three corners or more for each int are
// refused by a fatal report.
// Cost: in proportion to the corners, times the logarithm of their number.
#ifndef WDB_CORNER_GROUPS_H
#define WDB_CORNER_GROUPS_H

#include <cstdint>
#include <span>

#include "math/Geometry.h"
#include "std/Std_Allocator.h"
#include "wdb/WDB_Tri_List.h"

class Corner_Groups {
public:
    // A corner with an infinite coordinate or a NaN: it equals none, not even itself.
    static constexpr int none = -1;

    explicit Corner_Groups(const WDB_Tri_List& list);

    // From 0 up to count().
    int group_of(int corner) const { return group_of_[index(corner)]; }
    int count() const { return static_cast<int>(is_tangled_.size()); }

    bool is_tangled(int group) const { return is_tangled_[index(group)] != 0; }
    bool has_tangled() const { return has_tangled_; }

    // Ascending.
    std::span<const int> corners_of(int group) const {
        const int* const all = corners_.data();
        return {all + starts_[index(group)], all + starts_[index(group) + 1]};
    }

private:
    // A value that some corners have.
    struct Position {
        float at[3];
        int number;
    };

    static std::size_t index(int i) { return static_cast<std::size_t>(i); }
    Std_Plain_Vector<Position> number_positions(const WDB_Tri_List& list);
    void split(std::span<Position> run, int axis, int unsplit, int depth);
    void add_group(std::span<const Position> run, bool is_tangled);
    void list_corners();

    Std_Plain_Vector<int> group_of_; // at first, the number of the position of each corner
    Std_Plain_Vector<int> group_of_position_;
    Std_Plain_Vector<std::uint8_t> is_tangled_;
    bool has_tangled_ = false;
    Std_Plain_Vector<int> corners_; // group by group
    Std_Plain_Vector<int> starts_;  // of each group, and the end
};

// p0, p1 or p2.
inline const Point& corner_point(const WDB_Tri_List& list, int corner) {
    const WDB_Triangle& triangle = list[corner / 3];
    return corner % 3 == 0 ? triangle.p0 : corner % 3 == 1 ? triangle.p1 : triangle.p2;
}

#endif
