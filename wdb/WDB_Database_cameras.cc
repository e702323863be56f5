// The cameras of a world, and the default one among them.
#include <bit>

#include "wdb/Extent_Signal.h"
#include "wdb/Standard_Camera.h"
#include "wdb/WDB_Camera.h"
#include "wdb/WDB_Database.h"

namespace {
// What default_camera looks for, and what it found.
struct Named_Search_Environment {
    const char* name;
    WDB_Node* node;
    bool is_only;
};
} // namespace

void WDB_Database::list_camera(WDB_Camera* camera) {
    const int before = cameras_.count();
    cameras_.put(camera);
    if (cameras_.count() != before) {
        camera->begin_listing(signal_);
        forget_default_camera(camera);
    } else if (!is_only_default_camera_) {
        signal_->knows_names = false; // the put may have ordered the set anew
    }
}

void WDB_Database::drop_camera(WDB_Camera* camera) {
    cameras_.remove(camera);
    forget_default_camera(camera);
    camera->end_listing(signal_);
}

static bool visible_shape_cb(SUniv* count, SUniv*, const Bbox&) {
    ++*Conv<int*>::from_univ(count);
    return false;
}

int WDB_Database::visible_shape_count(const Matrix4& m) const {
    int count = 0;
    shapes_.apply(Conv<int*>::to_univ(&count), m, visible_shape_cb);
    return count;
}

static constexpr float default_fov = 0.61086524f; // 35 degrees
static_assert(std::bit_cast<unsigned int>(default_fov) == 0x3F1C61AA);

// Stops at the second node of the name.
static bool named_search_callback(SUniv* user, const WDB_Node* node, const Bbox&) {
    auto* const env = Conv<Named_Search_Environment*>::from_univ(user);
    if (!node->is_named(env->name)) return false;
    // A second one only tells that the order of the set, and so the addresses, chose the first.
    env->is_only = !env->node;
    if (env->is_only) env->node = const_cast<WDB_Node*>(node);
    return !env->is_only;
}

static const char default_camera_name[] = "default_camera";

// Every candidate of a pick asks, also those of several threads. What was found stays right until a
// listed camera is given a name, or the listed ones change: see forget_default_camera.
// False if there is none.
bool WDB_Database::find_default_camera() {
    if (!signal_->knows_names) {
        Named_Search_Environment env = {default_camera_name, nullptr, false};
        apply_to_cameras(Conv<Named_Search_Environment*>::to_univ(&env), named_search_callback);
        default_camera_ = WDB_Camera::castdown(env.node);
        is_only_default_camera_ = env.is_only;
        signal_->knows_names = true;
    }
    return default_camera_ != nullptr;
}

// A camera comes or goes.
void WDB_Database::forget_default_camera(const WDB_Node* node) {
    // Where one camera alone has the name, others of other names do not matter. Where several have
    // it, any change of the set may bring another one to the front.
    if (is_only_default_camera_ && node != default_camera_ && !node->is_named(default_camera_name))
        return;
    signal_->knows_names = false;
    default_camera_ = nullptr; // one that has gone is kept alive no longer
}

// Planes that hold the whole world from wherever lookat places the camera.
void WDB_Database::show_all(WDB_Camera* camera) {
    // lookat stands some two and a half diagonals in front of the box at most, so that five reach
    // behind its far side. The limits keep the planes apart where the world is a point.
    const float diagonals = 5.0f, smallest_far = 10.0f;
    const float depth_ratio = 10000.0f, smallest_near = 0.001f;
    float far_plane = mag(get_bbox().size()) * diagonals;
    if (far_plane < smallest_far) far_plane = smallest_far;
    float near_plane = far_plane / depth_ratio;
    if (near_plane < smallest_near) near_plane = smallest_near;
    camera->set_projection(Matrix4::perspective(default_fov, near_plane, far_plane));
    camera->lookat(*this, true);
}

// Requires: a camera.
void WDB_Database::copy_first_camera(WDB_Camera* camera) const {
    // Its geometry and material stay behind: only the view is wanted.
    const WDB_Camera* const first = WDB_Camera::castdown(*cameras_.get_one_item());
    camera->set_projection(first->get_projection());
    camera->set_transform(first->get_transform());
    camera->set_ipd(first->get_ipd());
}

// A saved view may belong to another world: taken blindly, it could show nothing.
bool WDB_Database::shows_enough(const Matrix4& projection, const HFrame& frame) const {
    const double least_coverage = 0.1;
    Matrix4 viewing;
    if (!invert(frame, viewing)) return false;
    const Matrix4 m = viewing * projection;
    // Both are asked: the box of the world may fill a picture in which no shape is.
    return visible_shape_count(m) > 0 &&
           static_cast<double>(get_bbox().coverage(m)) > least_coverage;
}

WDB_Camera* WDB_Database::default_camera() {
    return default_camera_with([this](WDB_Camera* camera) { show_all(camera); });
}

WDB_Camera* WDB_Database::default_camera(const Matrix4& projection, const HFrame& frame) {
    return default_camera_with([&](WDB_Camera* camera) {
        if (!shows_enough(projection, frame)) return show_all(camera);
        camera->set_projection(projection);
        camera->set_transform(frame);
    });
}

// Every call counts as an edit, whether or not it adds the camera.
template<class Aim>
WDB_Camera* WDB_Database::default_camera_with(Aim aim) {
    if (!signal_->knows_names || !default_camera_) {
        const std::lock_guard lock(searching_);
        if (!find_default_camera()) return add_default_camera(aim);
    }
    count_edits(1);
    return default_camera_;
}

template<class Aim>
WDB_Camera* WDB_Database::add_default_camera(Aim aim) {
    const bool was_editing = editing_;
    if (!was_editing) begin_editing();
    WDB_Camera* const camera = new_standard_camera(default_camera_name);
    // A scene that brings cameras was made to be seen through them.
    if (cameras_.count() > 0) {
        copy_first_camera(camera);
    } else {
        aim(camera);
    }
    put(camera);
    if (!was_editing) end_editing();
    return camera;
}

void WDB_Database::prepare_queries() {
    default_camera();
    shapes_.check_pending_nodes();
}
