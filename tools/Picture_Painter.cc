#include "tools/Picture_Painter.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

static constexpr Color background(0.11f, 0.13f, 0.17f);

Picture_Painter::Picture_Painter(const WDB_Database& world, WDB_Camera& camera, int width,
                                 int height)
    : width_(width), height_(height), camera_(&camera),
      view_(camera.get_viewing_x_render_projection(aspect())),
      eye_(toPoint(camera.get_transform()[3])), levels_(camera, width, height),
      lighting_(world, eye_), canvas_(width, height, background) {
    world.apply_to_shapes(Conv<Picture_Painter*>::to_univ(this), &camera, aspect(), collect);
    sort();
}

bool Picture_Painter::collect(SUniv* user, const WDB_Node* node, const Bbox&) {
    Conv<Picture_Painter*>::from_univ(user)->put(*node);
    return false;
}

// The rectangle around a node, in samples.
struct Picture_Painter::Extent {
    double left, right, bottom, top;
    double distance; // of the middle of its box
};

Picture_Painter::Extent Picture_Painter::extent_of(const WDB_Node& node) const {
    const double columns = width_ * picture_samples, rows = height_ * picture_samples;
    const Picture_Projection to_clip(node.get_transform(), view_);
    const Bbox& box = node.get_bbox();
    Extent extent = {columns, 0, rows, 0, to_clip(box.center()).w};
    // No order would come of a NaN.
    if (!std::isfinite(extent.distance)) extent.distance = 0;
    for (int i = 0; i < 8; ++i) {
        const Picture_Clip_Point p =
            to_clip(Point(box[i & 1].x, box[(i >> 1) & 1].y, box[i >> 2].z));
        const double x = (p.x / p.w + 1) / 2 * columns, y = (p.y / p.w + 1) / 2 * rows;
        if (!(p.w > 0) || !std::isfinite(x + y))
            return {0, columns, 0, rows, extent.distance}; // behind the eye in part
        extent.left = std::min(extent.left, x);
        extent.right = std::max(extent.right, x);
        extent.bottom = std::min(extent.bottom, y);
        extent.top = std::max(extent.top, y);
    }
    return extent;
}

// Half a line's width beyond its ends, and a share of a sample for rounding.
static double margin_of(const WDB_Geometry* level) {
    return WDB_Line_List::is_instance(level) ? picture_samples : 0.02;
}

const Picture_Texture* Picture_Painter::texture_of(const WDB_Node& node) {
    const WDB_Texture* const texture = node.get_texture();
    if (!texture) return nullptr;
    if (!textures_.find(texture)) textures_.put(new Picture_Texture(texture->get_image()), texture);
    return *textures_.found_item();
}

void Picture_Painter::put(const WDB_Node& node) {
    if (&node == camera_) return;
    const int level_number = levels_.level_of(node);
    if (level_number < 0) return;
    const WDB_Geometry* const level = node.lod_item(level_number);
    const Extent extent = extent_of(node);
    const double margin = margin_of(level);
    // Samples have their middles at halves. What lies between them is not seen.
    const double columns = width_ * picture_samples, rows = height_ * picture_samples;
    const double left = std::ceil(std::max(extent.left - margin, 0.0) - 0.5);
    const double right = std::floor(std::min(extent.right + margin, columns) - 0.5);
    const double bottom = std::ceil(std::max(extent.bottom - margin, 0.0) - 0.5);
    const double top = std::floor(std::min(extent.top + margin, rows) - 0.5);
    if (left > right || bottom > top) return;
    const Picture_Look look(node, *level, texture_of(node), lighting_, eye_);
    shapes_.push_back({&node, level, extent.distance, static_cast<int>(bottom),
                       static_cast<int>(top), look.is_opaque()});
}

void Picture_Painter::sort() {
    // Shapes at the same distance stay in the order of the tree, which is always the same.
    std::stable_sort(shapes_.begin(), shapes_.end(), [](const Shape& a, const Shape& b) {
        if (a.is_opaque != b.is_opaque) return a.is_opaque;
        return a.is_opaque ? a.distance < b.distance : a.distance > b.distance;
    });
}

PX_Map* Picture_Painter::paint(void (*progress)(double fraction)) {
    auto* const map = new PX_Map(width_, height_, 3);
    for (int row = 0; row < height_; row += canvas_.rows_in_band()) {
        progress(static_cast<double>(row) / height_);
        canvas_.begin_band(row);
        for (const Shape& shape : shapes_)
            if (shape.bottom <= canvas_.last_sample_row() &&
                shape.top >= canvas_.first_sample_row())
                draw(shape);
        canvas_.end_band(map);
    }
    progress(1);
    return map;
}

void Picture_Painter::draw(const Shape& shape) {
    const Picture_Look look(*shape.node, *shape.level, texture_of(*shape.node), lighting_, eye_);
    const Picture_Projection to_clip(shape.node->get_transform(), view_);
    if (const auto* triangles = WDB_Tri_List::const_castdown(shape.level))
        draw_triangles(*triangles, look, to_clip);
    if (const auto* lines = WDB_Line_List::const_castdown(shape.level))
        for (const WDB_Line& line : *lines) draw_line(line, look, to_clip);
}

void Picture_Painter::draw_triangles(const WDB_Tri_List& list, const Picture_Look& look,
                                     const Picture_Projection& to_clip) {
    if (look.is_opaque()) {
        for (const WDB_Triangle& triangle : list) draw_triangle(triangle, look, to_clip);
        return;
    }
    // The far side of a glass is seen through the near one.
    std::vector<std::pair<double, const WDB_Triangle*>> order;
    for (const WDB_Triangle& t : list) {
        const double distance = (to_clip(t.p0).w + to_clip(t.p1).w) + to_clip(t.p2).w;
        if (std::isfinite(distance)) order.emplace_back(distance, &t);
    }
    std::stable_sort(order.begin(), order.end(),
                     [](const auto& a, const auto& b) { return a.first > b.first; });
    for (const auto& [distance, triangle] : order) draw_triangle(*triangle, look, to_clip);
}

void Picture_Painter::draw_triangle(const WDB_Triangle& triangle, const Picture_Look& look,
                                    const Picture_Projection& to_clip) {
    Picture_Polygon polygon;
    polygon.add(to_clip(triangle.p0), 0);
    polygon.add(to_clip(triangle.p1), 1);
    polygon.add(to_clip(triangle.p2), 2);
    if (polygon.clip()) draw(polygon, triangle, look);
}

namespace {
// The part of a line that is left, as a strip on the screen that is one pixel wide.
class Strip {
public:
    // Of a picture of that many pixels.
    Strip(const Picture_Polygon& line, int width, int height)
        : half_width_(width / 2.0), half_height_(height / 2.0) {
        // A cut line has its new end twice.
        const Picture_Corner *from = &line[0], *to = &line[0];
        for (int i = 1; i < line.count(); ++i) {
            if (line[i].share[0] > from->share[0]) from = &line[i];
            if (line[i].share[1] > to->share[1]) to = &line[i];
        }
        const double dx = (to->at.x / to->at.w - from->at.x / from->at.w) * half_width_;
        const double dy = (to->at.y / to->at.w - from->at.y / from->at.w) * half_height_;
        const double length = std::hypot(dx, dy);
        // Half a pixel along the line; a line that is seen as a point becomes a square.
        const double x = length > 0 ? dx / length / 2 : 0.5, y = length > 0 ? dy / length / 2 : 0;
        add(*from, -x - y, -y + x);
        add(*from, -x + y, -y - x);
        add(*to, x + y, y - x);
        add(*to, x - y, y + x);
    }
    const Picture_Polygon& polygon() const { return polygon_; }

private:
    void add(Picture_Corner corner, double dx, double dy) {
        // So much nearer than a surface that it lies on, of its distance.
        const double lift = 1 - 1e-4;
        Picture_Clip_Point& p = corner.at;
        p = {(p.x + dx / half_width_ * p.w) * lift, (p.y + dy / half_height_ * p.w) * lift,
             p.z * lift, p.w * lift};
        polygon_.add(corner);
    }

    double half_width_, half_height_;
    Picture_Polygon polygon_;
};
} // namespace

void Picture_Painter::draw_line(const WDB_Line& line, const Picture_Look& look,
                                const Picture_Projection& to_clip) {
    Picture_Polygon polygon;
    polygon.add(to_clip(line.p0), 0);
    polygon.add(to_clip(line.p1), 1);
    if (!polygon.clip()) return;
    // A triangle without area, whose third corner has no share.
    const WDB_Triangle flat(line.p0, line.p1, line.p1, line.n0, line.n1, line.n1, line.c0, line.c1,
                            line.c1, line.t0, line.t1, line.t1);
    draw(Strip(polygon, width_, height_).polygon(), flat, look);
}

void Picture_Painter::draw(const Picture_Polygon& polygon, const WDB_Triangle& triangle,
                           const Picture_Look& look) {
    // Most triangles turn out to be hidden, or too small for a sample.
    std::optional<Picture_Facet> facet;
    canvas_.draw(polygon, look.is_opaque(), [&](const Picture_Sample& sample) {
        if (!facet) facet.emplace(triangle, look);
        return facet->at(sample);
    });
}
