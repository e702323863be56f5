#include "wdb/WDB_Camera.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <mutex>

#include "math/Bbox.h"
#include "wdb/Box_Fit.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Lod_View.h"
#include "wdb/World_Box.h"

WDB_Camera::WDB_Camera(const char* name, const HFrame& transform, const Matrix4& projection,
                       const WDB_Geometry* geometry, const WDB_Material* material)
    : WDB_Node("Anonymous_node", HFrame::identity(), nullptr, nullptr, nullptr),
      projection_(projection), viewing_(HFrame::identity()), render_projection_valid_(false),
      viewing_x_render_projection_valid_(false), ipd_(0), last_picked_point_(0, 0, 0) {
    set_name(name);
    store_transform(transform);
    // Named in full: a derived class is not there yet to be told.
    WDB_Camera::update_after_transform_change();
    store_material(material);
    if (geometry) set_geometry(geometry);
}

void WDB_Camera::set_projection(const Matrix4& m) {
    projection_ = m;
    update_after_projection_change();
}

// The opening angle is that of the height, so a wider picture changes the x scale alone.
static Matrix4 with_aspect(Matrix4 projection, float aspect) {
    projection[0][0] /= aspect;
    return projection;
}

Matrix4 WDB_Camera::get_projection(float aspect) const {
    return with_aspect(projection_, aspect);
}

void WDB_Camera::set_ipd(float ipd) {
    ipd_ = ipd;
    update_after_ipd_change();
}

Matrix4 WDB_Camera::get_render_projection(float aspect) {
    return with_aspect(get_render_projection(), aspect);
}

// Not cached, so that a change of the eye distance leaves the caches as they are.
Matrix4 WDB_Camera::eye_projection(float aspect, float ipd) {
    const float offset = static_cast<float>(static_cast<double>(ipd) / 2.0);
    return Matrix4::stereo_perspective(get_render_projection(), aspect, offset);
}

Matrix4 WDB_Camera::get_left_render_projection(float aspect) {
    return eye_projection(aspect, -ipd_);
}

Matrix4 WDB_Camera::get_right_render_projection(float aspect) {
    return eye_projection(aspect, ipd_);
}

Matrix4 WDB_Camera::get_viewing_x_render_projection(float aspect) {
    Matrix4 product = get_viewing_x_render_projection();
    // x comes from column 0 alone, so that the one cached product serves all aspects.
    for (int i = 0; i < 4; ++i) product[i][0] /= aspect;
    return product;
}

bool WDB_Camera::is_visible(const WDB_Node* node) {
    // The geometry of a camera shows others where it stands; it is not in its own picture.
    if (!node || node == this || !node->get_geometry()) return false;
    return node->get_bbox().is_visible(node->get_transform() * get_viewing_x_render_projection());
}

float WDB_Camera::coverage(const WDB_Node* node) {
    if (!node || node == this || !node->get_geometry()) return 0;
    return node->get_bbox().coverage(node->get_transform() * get_viewing_x_render_projection());
}

float compute_twist(const HFrame& h) {
    Vector up(h[1][0], h[1][1], 0);
    up.normalize();
    // The z of a cross product with (0, 1, 0). The zero keeps a NaN, and the sign of a zero.
    const float side = up.x - up.y * 0;
    // Rounding may leave a unit vector a little too long.
    const float cosine = std::clamp(up.y, -1.0f, 1.0f);
    return static_cast<float>(
        std::copysign(static_cast<double>(acosf(cosine)), static_cast<double>(side)));
}

float WDB_Camera::twist(bool keep_twist) const {
    return keep_twist ? compute_twist(viewing_) : 0;
}

void WDB_Camera::place(const Frame& world_to_viewer) {
    // No failure to look at: what lookat makes is a rotation and a translation.
    Matrix4 transform = toMatrix4(world_to_viewer);
    invert(transform, transform);
    store_transform(transform);
    update_after_transform_change();
}

void WDB_Camera::lookat(const WDB_Node& node, bool keep_twist) {
    place(Frame::lookat(world_box(&node), twist(keep_twist)));
}

void WDB_Camera::lookat(const WDB_Database& world, bool keep_twist) {
    place(Frame::lookat(world.get_bbox(), twist(keep_twist)));
}

void WDB_Camera::pointat(const Bbox& box, bool keep_twist) {
    const Point eye = toPoint(get_transform()[3]);
    place(Frame::lookat(eye, box.center(), twist(keep_twist)));
}

void WDB_Camera::pointat(const WDB_Node& node, bool keep_twist) {
    pointat(world_box(&node), keep_twist);
}

void WDB_Camera::pointat(const WDB_Database& world, bool keep_twist) {
    pointat(world.get_bbox(), keep_twist);
}

bool WDB_Camera::fit(const Bbox& box, float aspect) {
    Matrix4 viewing;
    if (!(aspect > 0) || !invert(get_transform(), viewing)) return false;
    // In a world the near plane follows.
    const bool is_free = get_world() && !box.size().iszero();
    const float closest = is_free ? 0 : projection_.near_from_std_perspective();
    const Box_Fit fit(get_render_projection(aspect), toFrame(viewing), box,
                      static_cast<double>(closest));
    HFrame transform = get_transform();
    const Point middle = box.center();
    for (int j = 0; j < 3; ++j) {
        double at = static_cast<double>(middle[j]);
        for (int i = 0; i < 3; ++i) at += fit.eye[i] * static_cast<double>(transform[i][j]);
        transform[3][j] = static_cast<float>(at);
    }
    if (!fit.is_possible || !std::isfinite((transform[3].x + transform[3].y) + transform[3].z))
        return false;
    if (projection_.is_affine()) {
        const float scale = static_cast<float>(fit.scale);
        const float depth_scale = static_cast<float>(fit.depth_scale);
        projection_[0].x *= scale;
        projection_[1].y *= scale;
        projection_[2].z *= depth_scale;
        projection_[3].z *= depth_scale;
        update_after_projection_change();
    }
    set_transform(transform);
    return true;
}

static Point unprojected(float x, float y, float z, const Matrix4& inverse_projection) {
    return toPoint(normalize(Homogeneous(Vector4(x, y, z, 1) * inverse_projection)));
}

// Through a position of the picture: the segment from the near to the far plane, in world space,
// and the tolerance on both planes, in camera space.
struct WDB_Camera::Pick_Line {
    Point p, q;
    float near_tolerance, near_depth, far_tolerance, far_depth;
};

WDB_Camera::Pick_Line WDB_Camera::pick_line(float x, float y, float aspect, float tolerance,
                                            bool stereo) {
    const Matrix4 projection =
        stereo ? get_right_render_projection(aspect) : get_render_projection(aspect);
    const Matrix4 to_world = inverse(viewing_ * projection);
    const Matrix4 to_camera = inverse(projection);
    // The same length of the picture is more space the farther it lies: with both planes known,
    // shapes in between find theirs on the straight line.
    const Point a = unprojected(tolerance, 0, -1, to_camera);
    const Point b = unprojected(tolerance, 0, 1, to_camera);
    return {unprojected(x, y, -1, to_world),
            unprojected(x, y, 1, to_world),
            std::fabs(a.x),
            a.z,
            std::fabs(b.x),
            b.z};
}

void WDB_Camera::get_segment(float x, float y, float aspect, Point* near_end, Point* far_end) {
    const Pick_Line line = pick_line(x, y, aspect, 0, false);
    *near_end = line.p;
    *far_end = line.q;
}

bool WDB_Camera::project(const Point& point, float aspect, Point* position) {
    const Homogeneous h = Homogeneous(point) * get_viewing_x_render_projection(aspect);
    if (!(h.w > 0)) return false;
    *position = toPoint(normalize(h));
    return true;
}

WDB_Node* WDB_Camera::closest_object_on(const Pick_Line& line) {
    WDB_Node* const node = get_world()->closest_object_on_line(
        line.p, line.q, line.near_tolerance, line.near_depth, line.far_tolerance, line.far_depth);
    // A miss must not leave the place of the hit before.
    if (!node) last_picked_point_ = Point(0, 0, 0);
    return node;
}

WDB_Node* WDB_Camera::pick_at_x_y(float x, float y, float aspect, float tolerance, bool stereo) {
    if (!get_world()) return nullptr;
    const Pick_Line line = pick_line(x, y, aspect, tolerance, stereo);
    WDB_Node* const node = closest_object_on(line);
    if (!node) return nullptr;
    // Asked once more: the walk tells the node alone.
    const float t = node->line_intersection(line.p, line.q, line.near_tolerance, line.near_depth,
                                            line.far_tolerance, line.far_depth);
    // interp takes the weight of its first point.
    last_picked_point_ = interp(line.p, line.q, static_cast<float>(1.0 - static_cast<double>(t)));
    return node;
}

WDB_Pick WDB_Camera::detailed_pick_at_x_y(float x, float y, float aspect, float tolerance,
                                          bool stereo) {
    if (!get_world()) return WDB_Pick();
    const Pick_Line line = pick_line(x, y, aspect, tolerance, stereo);
    WDB_Node* const node = closest_object_on(line);
    if (!node) return WDB_Pick();
    const WDB_Pick pick = node->detailed_line_intersection(
        line.p, line.q, line.near_tolerance, line.near_depth, line.far_tolerance, line.far_depth);
    last_picked_point_ = pick.point;
    return pick;
}

WDB_Pick WDB_Camera::detailed_pick_at_x_y(float x, float y, float aspect, float tolerance,
                                          bool stereo, const WDB_Lod_View& levels) {
    if (!get_world()) return WDB_Pick();
    const Pick_Line line = pick_line(x, y, aspect, tolerance, stereo);
    const WDB_Node::View_Query query = {toFrame(viewing_),   line.p,          line.q,
                                        line.near_tolerance, line.near_depth, line.far_tolerance,
                                        line.far_depth};
    WDB_Node* closest = nullptr;
    int closest_level = 0;
    float closest_fraction = FLT_MAX;
    get_world()->for_each_shape(line.p, line.q, [&](WDB_Node& node, const Bbox&) {
        const int level = &node == this ? -1 : levels.level_of(node);
        const float t = level < 0 ? FLT_MAX : node.line_intersection(query, level);
        if (!(t < closest_fraction)) return;
        closest = &node;
        closest_level = level;
        closest_fraction = t;
    });
    const WDB_Pick pick =
        closest ? closest->detailed_line_intersection(query, closest_level) : WDB_Pick();
    last_picked_point_ = pick.point;
    return pick;
}

void WDB_Camera::invalidate_render_projection() {
    render_projection_valid_ = false;
    viewing_x_render_projection_valid_ = false;
}

void WDB_Camera::begin_listing(Extent_Signal* signal) {
    extent_.begin(signal);
}

void WDB_Camera::drop_stale_projection() {
    if (!extent_.is_raised()) return;
    invalidate_render_projection();
    extent_.take();
}

void WDB_Camera::print_contents(std::ostream& os) const {
    WDB_Node::print_contents(os);
    if (projection_.is_std_perspective()) {
        const double fov = static_cast<double>(projection_.fov_from_std_perspective());
        // Not the nearest double: a last digit of the text may hang on it.
        const double nearly_pi = 3.14159265358979;
        os << "  Fov : " << static_cast<float>(fov / nearly_pi * 180.0) << "\n";
        os << "  Near: " << projection_.near_from_std_perspective() << "\n";
        os << "  Far : " << projection_.far_from_std_perspective() << "\n";
        os << "  IPD : " << ipd_;
    } else {
        os << "  Projection: " << projection_;
    }
    os << "\n";
}

void WDB_Camera::update_after_transform_change() {
    // Before the world is told, which may ask this camera for its view.
    invert(get_transform(), viewing_);
    invalidate_render_projection();
    WDB_Node::update_after_transform_change();
}

void WDB_Camera::update_after_world_change() {
    WDB_Node::update_after_world_change();
    invalidate_render_projection();
}

Matrix4 WDB_Camera::fitted_projection() const {
    const float closest_plane = 0.0001f;
    const float largest_depth_ratio = 10020.0f;
    const Bbox box = get_world()->get_bbox().transformed_by(viewing_);
    // The nearest corner has the largest z.
    float far_plane = -box.min.z > 0 ? -box.min.z : 0;
    // Depths have few digits: with a nearer plane they would not tell far surfaces apart.
    float near_plane = far_plane / largest_depth_ratio;
    if (near_plane < -box.max.z) near_plane = -box.max.z;
    // In this form a NaN takes the limit, too.
    if (!(near_plane > closest_plane)) near_plane = closest_plane;
    if (!(near_plane + closest_plane < far_plane)) far_plane = near_plane + closest_plane;
    // To spare at both ends: what lies on a plane must not be cut off by rounding.
    near_plane = static_cast<float>(static_cast<double>(near_plane) * 0.95);
    far_plane = static_cast<float>(static_cast<double>(far_plane) * 1.05);
    return Matrix4::perspective(projection_.fov_from_std_perspective(), near_plane, far_plane);
}

// Of whatever camera, for the short time that it takes: a mutex in each would make it no value any
// more. Recursive, since one cache asks for the other, by way of what a program may have
// overridden.
static std::recursive_mutex& filling_of_caches() {
    static std::recursive_mutex filling;
    return filling;
}

const Matrix4& WDB_Camera::get_render_projection() {
    if (is_valid(render_projection_valid_)) return render_projection_;
    const std::lock_guard lock(filling_of_caches());
    drop_stale_projection();
    if (!render_projection_valid_) {
        const bool fits = get_world() && projection_.is_std_perspective();
        render_projection_ = fits ? fitted_projection() : projection_;
        viewing_x_render_projection_valid_ = false;
        render_projection_valid_ = true;
    }
    return render_projection_;
}

const Matrix4& WDB_Camera::get_viewing_x_render_projection() {
    if (is_valid(viewing_x_render_projection_valid_)) return viewing_x_render_projection_;
    const std::lock_guard lock(filling_of_caches());
    drop_stale_projection();
    if (!viewing_x_render_projection_valid_) {
        viewing_x_render_projection_ = viewing_ * get_render_projection();
        // An override may have changed the world; what it answered counts as up to date.
        drop_stale_projection();
        viewing_x_render_projection_valid_ = true;
    }
    return viewing_x_render_projection_;
}

void WDB_Camera::update_after_projection_change() {
    invalidate_render_projection();
    touch();
    tell_otherwise_changed();
}

void WDB_Camera::update_after_ipd_change() {
    touch();
    tell_otherwise_changed();
}
