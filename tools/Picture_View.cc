#include "tools/Picture_View.h"

#include <algorithm>
#include <cmath>

#include "wdb/WDB_Node.h"

const Vector Picture_View::usual_direction(0.35f, 0.45f, 1);

static bool is_finite(const Point& p) {
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

Picture_View::Picture_View(WDB_Database& world) : world_(world) {
    world.for_each_shape([this](const WDB_Node& node, const Bbox&) {
        const Frame place = toFrame(node.get_transform());
        const Bbox box = node.get_bbox();
        for (int i = 0; i < 8; ++i) {
            const Point corner(box[i & 1].x, box[i >> 1 & 1].y, box[i >> 2].z);
            if (is_finite(corner * place)) corners_.push_back(corner * place);
        }
    });
}

namespace {
// How far all reaches to both sides of a picture's axis, for an eye that looks along `back` and
// sees `slope` to each side at a distance of 1: from `depth` along `back`, or beyond, it can see
// all.
struct Reach {
    double depth;
    double low_side = HUGE_VAL, high_side = -HUGE_VAL; // without regard to depth

    Reach(const std::vector<Point>& points, const Vector& axis, const Vector& back, double slope) {
        double low = HUGE_VAL, high = -HUGE_VAL;
        for (const Point& p : points) {
            const double along = static_cast<double>(dot(toVector(p), axis));
            const double lean = slope * static_cast<double>(dot(toVector(p), back));
            low = std::min(low, along - lean);
            high = std::max(high, along + lean);
            low_side = std::min(low_side, along);
            high_side = std::max(high_side, along);
        }
        depth = (high - low) / 2 / slope;
    }

    // From farther off there is room to spare: where all is seen in the middle of the axis.
    double middle(const std::vector<Point>& points, const Vector& axis, const Vector& back,
                  double from) const {
        const int steps = 24; // halves until a millionth of a pixel is left
        double low_end = low_side, high_end = high_side;
        for (int i = 0; i < steps; ++i) {
            const double at = (low_end + high_end) / 2;
            double low = HUGE_VAL, high = -HUGE_VAL;
            for (const Point& p : points) {
                const double seen = (static_cast<double>(dot(toVector(p), axis)) - at) /
                                    (from - static_cast<double>(dot(toVector(p), back)));
                low = std::min(low, seen);
                high = std::max(high, seen);
            }
            (low + high > 0 ? low_end : high_end) = at;
        }
        return (low_end + high_end) / 2;
    }
};
} // namespace

WDB_Camera* Picture_View::camera(const Vector& direction, float aspect) const {
    const float angle = deg_to_rad(35);
    const double border = 0.95; // the part of the picture inside it
    const Vector back = oknormalize(direction);
    const bool is_upright = std::fabs(back.y) < 0.999f;
    const Vector right = oknormalize(cross(is_upright ? Vector(0, 1, 0) : Vector(0, 0, -1), back));
    const Vector up = cross(back, right);

    const double slope = border * std::tan(static_cast<double>(angle) / 2);
    const Reach across(corners_, right, back, slope * static_cast<double>(aspect));
    const Reach upwards(corners_, up, back, slope);
    double nearest = -HUGE_VAL, farthest = HUGE_VAL;
    for (const Point& p : corners_) {
        const double along = static_cast<double>(dot(toVector(p), back));
        nearest = std::max(nearest, along);
        farthest = std::min(farthest, along);
    }
    // What is no larger than a point is seen from somewhere, too.
    const double extent = mag(world_.get_bbox().size());
    const double least = nearest + std::max(extent * 0.01, 1e-3);
    const double depth = std::max({across.depth, upwards.depth, least});

    const auto at = [](double d) { return static_cast<float>(d); };
    const Vector eye = right * at(across.middle(corners_, right, back, depth)) +
                       up * at(upwards.middle(corners_, up, back, depth)) + back * at(depth);
    const HFrame frame(Frame(right, up, back, toPoint(eye)));
    const double near_plane = 0.5 * (depth - nearest), far_plane = 1.5 * (depth - farthest);
    auto* const camera = new WDB_Camera("whole_world", frame,
                                        Matrix4::perspective(angle, at(near_plane), at(far_plane)),
                                        nullptr, nullptr);
    world_.put(camera);
    return camera;
}
