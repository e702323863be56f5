#include "wdb/WDB_Lod_View.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "wdb/WDB_Camera.h"
#include "wdb/WDB_Line_List.h"
#include "wdb/WDB_Tri_List.h"

static constexpr double items_per_pixel = 8;

WDB_Lod_View::WDB_Lod_View(WDB_Camera& camera, int width, int height)
    : WDB_Lod_View(camera.get_viewing_x_render_projection(static_cast<float>(width) /
                                                          static_cast<float>(height)),
                   toPoint(camera.get_transform()[3]), width, height) {}

WDB_Lod_View::WDB_Lod_View(const Matrix4& world_to_clip, const Point& eye, int width, int height)
    : world_to_clip_(world_to_clip), eye_(eye), width_(width), height_(height) {}

namespace {
// In double: a scene may hold any float, and no product of three of them leaves the range.
class Wide_Matrix {
public:
    Wide_Matrix(const Matrix4& a, const Matrix4& b) {
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 4; ++j) {
                m_[i][j] = 0;
                for (int k = 0; k < 4; ++k)
                    m_[i][j] += static_cast<double>(a[i][k]) * static_cast<double>(b[k][j]);
            }
    }
    double component(const Point& p, int j) const {
        return ((static_cast<double>(p.x) * m_[0][j] + static_cast<double>(p.y) * m_[1][j]) +
                static_cast<double>(p.z) * m_[2][j]) +
               m_[3][j];
    }

private:
    double m_[4][4];
};
} // namespace

double WDB_Lod_View::edge_of(const WDB_Node& node) const {
    const double infinity = std::numeric_limits<double>::infinity();
    const Wide_Matrix to_clip(node.get_transform(), world_to_clip_);
    const Bbox& box = node.get_bbox();
    double left = width_, right = 0, bottom = height_, top = 0;
    for (int i = 0; i < 8; ++i) {
        const Point corner(box[i & 1].x, box[(i >> 1) & 1].y, box[i >> 2].z);
        const double w = to_clip.component(corner, 3);
        const double x = (to_clip.component(corner, 0) / w + 1) / 2 * width_;
        const double y = (to_clip.component(corner, 1) / w + 1) / 2 * height_;
        if (!(w > 0) || !std::isfinite(x + y)) return infinity;
        left = std::min(left, x);
        right = std::max(right, x);
        bottom = std::min(bottom, y);
        top = std::max(top, y);
    }
    return std::sqrt(std::max(right - left, 0.0) * std::max(top - bottom, 0.0));
}

float WDB_Lod_View::distance_of(const WDB_Node& node) const {
    return dist(node.get_bbox().center() * toFrame(node.get_transform()), eye_);
}

static int item_count(const WDB_Geometry* level) {
    if (const auto* triangles = WDB_Tri_List::const_castdown(level)) return triangles->count();
    if (const auto* lines = WDB_Line_List::const_castdown(level)) return lines->count();
    return 0;
}

// -1 for none.
static int level_at(const WDB_Node& node, float distance) {
    for (int i = 0; i < node.lod_count(); ++i)
        // In this form a NaN takes the first.
        if (!(distance > node.lod_distance(i))) return i;
    return -1;
}

int WDB_Lod_View::level_of(const WDB_Node& node) const {
    if (node.has_lod_distances()) return level_at(node, distance_of(node));
    if (node.lod_count() < 2) return node.lod_count() - 1;
    const double least = items_per_pixel * edge_of(node);
    for (int i = node.lod_count() - 1; i > 0; --i)
        if (item_count(node.lod_item(i)) >= least) return i;
    return 0;
}
