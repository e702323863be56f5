#include "wdb/Corner_Groups.h"

#include <algorithm>
#include <array>
#include <bit>
#include <climits>
#include <cmath>
#include <cstring>

#include "std/Std_Assert.h"
#include "wdb/Point_Key.h"
#include "wdb/Secret_Hash.h"

Corner_Groups::Corner_Groups(const WDB_Tri_List& list) {
    if (list.count() >= INT_MAX / 3)
        std_assert(-1, "Too many triangles in one list", __FILE__, __LINE__);
    Std_Plain_Vector<Position> positions = number_positions(list);
    group_of_position_.resize(positions.size());
    split(positions, 0, 0, 0);
    // Until here the numbers of positions.
    for (int& group : group_of_) {
        if (group != none) group = group_of_position_[index(group)];
    }
    list_corners();
}

// Corners that are the same bits get one number. Open addressing in a table that is at most half
// full.
Std_Plain_Vector<Corner_Groups::Position>
Corner_Groups::number_positions(const WDB_Tri_List& list) {
    const int corner_count = 3 * list.count();
    group_of_.assign(index(corner_count), none);
    Std_Plain_Vector<Position> positions;
    Std_Plain_Vector<int> slots(std::bit_ceil(2 * index(corner_count) + 1), none);
    const std::size_t mask = slots.size() - 1;
    const Position_Hash hash;
    for (int corner = 0; corner < corner_count; ++corner) {
        const Point& p = corner_point(list, corner);
        if (!std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z)) continue;
        // The sum makes one zero of the two.
        const Position here = {{p.x + 0.0f, p.y + 0.0f, p.z + 0.0f},
                               static_cast<int>(positions.size())};
        const auto [x, y, z] = std::bit_cast<std::array<std::uint32_t, 3>>(here.at);
        std::size_t slot = hash.hash(x, y, z) & mask;
        while (slots[slot] != none &&
               std::memcmp(positions[index(slots[slot])].at, here.at, sizeof here.at) != 0)
            slot = (slot + 1) & mask;
        if (slots[slot] == none) {
            slots[slot] = here.number;
            positions.push_back(here);
        }
        group_of_[index(corner)] = slots[slot];
    }
    return positions;
}

// Between two neighbours in the order of one axis that are not close on it, no corner before is
// equal to one behind. So runs are split along one axis after the other, until all of a run are
// equal or no axis splits it.
void Corner_Groups::split(std::span<Position> run, int axis, int unsplit, int depth) {
    const int axes = 3;
    // Deeper than any mesh that is not made for it.
    const int most_depth = 12;
    if (run.empty()) return;
    bool are_equal = true;
    for (int i = 0; i < axes && are_equal; ++i) {
        const auto on_axis = [i](const Position& p) { return p.at[i]; };
        const auto [least, most] = std::ranges::minmax(run, {}, on_axis);
        are_equal = is_close(least.at[i], most.at[i]);
    }
    if (are_equal || unsplit == axes || depth == most_depth) {
        add_group(run, !are_equal);
        return;
    }
    std::ranges::sort(run, {}, [axis](const Position& p) { return p.at[axis]; });
    std::size_t start = 0;
    for (std::size_t i = 1; i <= run.size(); ++i) {
        if (i < run.size() && is_close(run[i - 1].at[axis], run[i].at[axis])) continue;
        // Once an axis has split a run, the other two may split its parts again.
        const bool is_whole = i - start == run.size();
        split(run.subspan(start, i - start), (axis + 1) % axes, is_whole ? unsplit + 1 : 0,
              depth + 1);
        start = i;
    }
}

void Corner_Groups::add_group(std::span<const Position> run, bool is_tangled) {
    for (const Position& position : run) group_of_position_[index(position.number)] = count();
    is_tangled_.push_back(is_tangled);
    has_tangled_ |= is_tangled;
}

// Counts, then fills each group from its end.
void Corner_Groups::list_corners() {
    starts_.assign(is_tangled_.size() + 1, 0);
    int all = 0;
    for (const int group : group_of_) {
        if (group != none) ++starts_[index(group)];
    }
    for (int& start : starts_) start = all += start;
    corners_.resize(index(all));
    for (int corner = static_cast<int>(group_of_.size()) - 1; corner >= 0; --corner) {
        const int group = group_of(corner);
        if (group != none) corners_[index(--starts_[index(group)])] = corner;
    }
}
