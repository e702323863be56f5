#include "wdb/Glb_Instances.h"

#include <cmath>
#include <utility>

// Rows, as points are rows: a row is where its axis goes.
static double row_length(const HFrame& place, int row) {
    double sum = 0;
    for (int c = 0; c < 3; ++c)
        sum += static_cast<double>(place[row][c]) * static_cast<double>(place[row][c]);
    return std::sqrt(sum);
}

bool Glb_Instances::is_place(const HFrame& place) {
    for (int row = 0; row < 3; ++row) {
        const auto scale = static_cast<float>(row_length(place, row));
        if (!(scale > 0) || !std::isfinite(scale)) return false;
    }
    return true;
}

void Glb_Instances::expect(int mesh) {
    const auto index = static_cast<std::size_t>(mesh);
    if (index >= groups_.count()) groups_.resize(index + 1);
    ++groups_[index].count;
}

void Glb_Instances::lay_out() {
    int number = 0;
    for (std::size_t i = 0; i < groups_.count(); ++i) {
        if (!has(static_cast<int>(i))) continue;
        groups_[i].first = places_;
        groups_[i].number = number++;
        places_ += groups_[i].count;
    }
    const auto count = static_cast<std::size_t>(places_);
    moves_.resize(3 * count);
    turns_.resize(4 * count);
    scales_.resize(3 * count);
}

bool Glb_Instances::has(int mesh) const {
    return mesh >= 0 && mesh < mesh_count() && group(mesh).count > 1;
}

// The quaternion of a turn, by way of a part that is not small, so that no digits get lost.
static void turn_of(const double (&axis)[3][3], float* turn) {
    double q[4] = {axis[1][2] - axis[2][1], axis[2][0] - axis[0][2], axis[0][1] - axis[1][0],
                   1 + axis[0][0] + axis[1][1] + axis[2][2]};
    int longest = 0;
    for (int i = 1; i < 3; ++i)
        if (axis[i][i] > axis[longest][longest]) longest = i;
    if (axis[0][0] + axis[1][1] + axis[2][2] <= 0) {
        const int i = longest, k = (i + 1) % 3, l = (i + 2) % 3;
        q[3] = axis[k][l] - axis[l][k];
        q[i] = 1 + axis[i][i] - axis[k][k] - axis[l][l];
        q[k] = axis[i][k] + axis[k][i];
        q[l] = axis[i][l] + axis[l][i];
    }
    double sum = 0;
    for (const double part : q) sum += part * part;
    for (int i = 0; i < 4; ++i) turn[i] = static_cast<float>(q[i] / std::sqrt(sum));
}

bool Glb_Instances::begin_node(int mesh) {
    return !std::exchange(groups_[static_cast<std::size_t>(mesh)].has_node, true);
}

bool Glb_Instances::put(int mesh, const HFrame& place) {
    Group& group = groups_[static_cast<std::size_t>(mesh)];
    const auto index =
        static_cast<std::size_t>(group.first) + static_cast<std::size_t>(group.placed++);
    double axis[3][3], scale[3];
    for (int row = 0; row < 3; ++row) {
        scale[row] = row_length(place, row);
        for (int c = 0; c < 3; ++c) axis[row][c] = static_cast<double>(place[row][c]) / scale[row];
    }
    // What is mirrored is so along its first axis.
    const double volume = axis[0][0] * (axis[1][1] * axis[2][2] - axis[1][2] * axis[2][1]) +
                          axis[0][1] * (axis[1][2] * axis[2][0] - axis[1][0] * axis[2][2]) +
                          axis[0][2] * (axis[1][0] * axis[2][1] - axis[1][1] * axis[2][0]);
    if (volume < 0) {
        scale[0] = -scale[0];
        for (double& part : axis[0]) part = -part;
    }
    for (std::size_t c = 0; c < 3; ++c) {
        moves_[3 * index + c] = place[3][static_cast<int>(c)];
        scales_[3 * index + c] = static_cast<float>(scale[c]);
    }
    turn_of(axis, &turns_[4 * index]);
    return group.placed == 1;
}
