#include "wdb/WDB_Database.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

#include "std/Std_Assert.h"
#include "std/Std_Common.h"
#include "wdb/Default_View.h"
#include "wdb/Extent_Signal.h"
#include "wdb/WDB_Camera.h"
#include "wdb/WDB_Geometry.h"
#include "wdb/WDB_Light.h"
#include "wdb/WDB_Listener.h"
#include "wdb/World_Box.h"

namespace {
// A query along a segment, and the nearest node so far.
struct RT_Environment {
    Point start, end;
    float closest;
    float near_tolerance, far_tolerance;
    float near_depth, far_depth;
    WDB_Node* node;
    Default_View view;
};

// A client's callback on its way through the walks of tree and set.
struct Wrapped_Callback {
    SUniv* user;
    WDB_Apply_Callback callback;
};

// A walk of this thread that calls back to the program. Those of other threads need no look: while
// they ask, nobody may change the world anyway.
class Walk {
public:
    enum Kind { OVER_SHAPES, OVER_SETS };

    Walk(const WDB_Database* world, Kind kind) : world_(world), kind_(kind), outer_(innermost_) {
        innermost_ = this;
    }
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;
    ~Walk() { innermost_ = outer_; }

    static bool is_under_way() { return innermost_ != nullptr; }
    static bool is_under_way(const WDB_Database* world, Kind kind) {
        for (const Walk* w = innermost_; w; w = w->outer_)
            if (w->world_ == world && w->kind_ == kind) return true;
        return false;
    }

private:
    const WDB_Database* const world_;
    const Kind kind_;
    const Walk* const outer_;

    static constinit thread_local const Walk* innermost_;
};
constinit thread_local const Walk* Walk::innermost_ = nullptr;
} // namespace

[[gnu::cold, gnu::noinline]] static void refuse_change(const char* who, const WDB_Database* world,
                                                       const char* what) {
    std_assert(-1,
               str_format("%s of world \"%s\" must not change it: %s", who,
                          world->get_printable_name(), what),
               __FILE__, __LINE__);
}

// The listeners of a world, in the order of adding.
struct WDB_Database::Listening {
    Gap_List<WDB_Listener*> listeners;
    bool is_telling = false;

    // The count, if it is not there.
    int index_of(const WDB_Listener* listener) const {
        int i = 0;
        while (i < listeners.count() && listeners[i] != listener) ++i;
        return i;
    }
};

// A node without geometry has no extent, but it has a place.
static bool wrapped_apply_cb(const Wrapped_Callback& env, const WDB_Node* node) {
    if (node->get_geometry()) return env.callback(env.user, node, world_box(node));
    const Point origin = toPoint(node->get_transform()[3]);
    return env.callback(env.user, node, Bbox(origin, origin));
}

static bool apply_to_set(const WDB_Database* world, const Hash_Set<WDB_Node*>& set, SUniv* user,
                         WDB_Apply_Callback callback) {
    const Walk walk(world, Walk::OVER_SETS);
    const Wrapped_Callback env = {user, callback};
    for (Hash_Set_Iter<WDB_Node*> i(set); !i.off(); i.forth())
        if (wrapped_apply_cb(env, *i())) return true;
    return false;
}

namespace {
class Shape_Walk {
public:
    Shape_Walk(const WDB_Database* world, SUniv* user, WDB_Apply_Callback callback)
        : walk_(world, Walk::OVER_SHAPES), wrapped_{user, callback} {}

    SUniv* env() { return Conv<Wrapped_Callback*>::to_univ(&wrapped_); }

private:
    const Walk walk_;
    Wrapped_Callback wrapped_;
};
} // namespace

// The tree's entries are nodes, its box is the one they were filed under.
static bool shape_cb(SUniv* user, SUniv* item, const Bbox& box) {
    const auto* env = Conv<const Wrapped_Callback*>::from_univ(user);
    return env->callback(env->user, Conv<WDB_Node*>::from_univ(item), box);
}

// Cells are halved, down to at most 2^16 of them.
static const int split_count = 2;
static const int max_level = 16;
static const int default_items_limit = 4;
static const int bounded_items_limit = 8;
static constexpr Bbox default_bounds(Point(-10000, -10000, -10000), Point(10000, 10000, 10000));

static Extent_Signal* new_signal() {
    return new (GCAtomic) Extent_Signal;
}

WDB_Database::WDB_Database()
    : editing_(false), shapes_(split_count, max_level, default_items_limit, default_bounds),
      nodes_(nullptr, nullptr), signal_(new_signal()) {
    set_name("Anonymous world");
}

WDB_Database::WDB_Database(const Bbox& bounds)
    : editing_(false), shapes_(split_count, max_level, bounded_items_limit, bounds),
      nodes_(nullptr, nullptr), signal_(new_signal()) {
    set_name("Anonymous world");
}

WDB_Database::WDB_Database(WDB_Following) : WDB_Database() {
    is_following_ = true;
}

void WDB_Database::begin_editing() {
    editing_ = true;
    touch();
}

void WDB_Database::add_listener(WDB_Listener* listener) {
    if (!listener) return;
    if (!is_heard()) listening_ = new (std_gc) Listening;
    Gap_List<WDB_Listener*>& listeners = listening_->listeners;
    if (listening_->index_of(listener) == listeners.count()) listeners.insert_last(listener);
}

void WDB_Database::remove_listener(WDB_Listener* listener) {
    if (!is_heard()) return;
    Gap_List<WDB_Listener*>& listeners = listening_->listeners;
    const int index = listening_->index_of(listener);
    if (index < listeners.count()) listeners.remove(index);
    if (listeners.is_empty()) listening_ = nullptr;
}

// Before a change. True if listeners are to be told of it; those who are being told must not make
// one: those behind them would hear of it first.
bool WDB_Database::is_heard() const {
    if (!listening_) [[likely]]
        return false;
    if (listening_->is_telling)
        refuse_change("A listener", this, "it is being told of another change");
    return true;
}

// Ends also if a listener throws.
class WDB_Database::Telling {
public:
    explicit Telling(Listening& listening) : listening_(listening) { listening.is_telling = true; }
    Telling(const Telling&) = delete;
    Telling& operator=(const Telling&) = delete;
    ~Telling() { listening_.is_telling = false; }

private:
    Listening& listening_;
};

// The last listener may have gone meanwhile.
void WDB_Database::tell(WDB_Node* node, Told told) {
    if (!is_heard()) return;
    const Telling telling(*listening_);
    const Gap_List<WDB_Listener*>& listeners = listening_->listeners;
    for (int i = 0; i < listeners.count(); ++i) (listeners[i]->*told)(*this, *node);
}

// One that was wiped out still names this world.
void WDB_Database::tell_if_held(WDB_Node* node, Told told) {
    if (has(node)) tell(node, told);
}

bool WDB_Database::has(const WDB_Node* node) const {
    // The containers hold what may be changed; to look a key up changes nothing.
    WDB_Node* const key = const_cast<WDB_Node*>(node);
    return nodes_.has(key) || shapes_.has(key);
}

Bbox WDB_Database::get_bbox() const {
    // Views and planes are fitted to this box, so an empty world needs one too.
    return shape_count() < 1 ? shapes_.get_bbox() : shapes_.get_contents_bbox();
}

bool WDB_Database::apply(SUniv* user, WDB_Apply_Callback callback) const {
    return apply_to_nodes(user, callback) || apply_to_shapes(user, callback);
}

bool WDB_Database::apply_to_nodes(SUniv* user, WDB_Apply_Callback callback) const {
    return apply_to_set(this, nodes_, user, callback);
}

bool WDB_Database::apply_to_lights(SUniv* user, WDB_Apply_Callback callback) const {
    return apply_to_set(this, lights_, user, callback);
}

bool WDB_Database::apply_to_cameras(SUniv* user, WDB_Apply_Callback callback) const {
    return apply_to_set(this, cameras_, user, callback);
}

bool WDB_Database::apply_to_shapes(SUniv* user, WDB_Apply_Callback callback) const {
    Shape_Walk walk(this, user, callback);
    return shapes_.apply(walk.env(), shape_cb);
}

bool WDB_Database::apply_to_shapes(SUniv* user, const Bbox& box,
                                   WDB_Apply_Callback callback) const {
    Shape_Walk walk(this, user, callback);
    return shapes_.apply(walk.env(), box, shape_cb);
}

bool WDB_Database::apply_to_shapes(SUniv* user, const Matrix4& m,
                                   WDB_Apply_Callback callback) const {
    Shape_Walk walk(this, user, callback);
    return shapes_.apply(walk.env(), m, shape_cb);
}

bool WDB_Database::apply_to_shapes(SUniv* user, const Matrix4& m1, const Matrix4& m2,
                                   WDB_Apply_Callback callback) const {
    Shape_Walk walk(this, user, callback);
    return shapes_.apply(walk.env(), m1, m2, shape_cb);
}

bool WDB_Database::apply_to_shapes(SUniv* user, const Point& p, const Point& q,
                                   WDB_Apply_Callback callback) const {
    Shape_Walk walk(this, user, callback);
    return shapes_.apply(walk.env(), p, q, shape_cb);
}

bool WDB_Database::apply_to_shapes_unordered(SUniv* user, const Bbox& box,
                                             WDB_Apply_Callback callback) const {
    Shape_Walk walk(this, user, callback);
    return shapes_.apply_unordered(walk.env(), box, shape_cb);
}

bool WDB_Database::apply_to_shapes_unordered(SUniv* user, const Matrix4& m,
                                             WDB_Apply_Callback callback) const {
    Shape_Walk walk(this, user, callback);
    return shapes_.apply_unordered(walk.env(), m, shape_cb);
}

bool WDB_Database::apply_to_shapes_unordered(SUniv* user, const Point& p, const Point& q,
                                             WDB_Apply_Callback callback) const {
    Shape_Walk walk(this, user, callback);
    return shapes_.apply_unordered(walk.env(), p, q, shape_cb);
}

bool WDB_Database::apply_to_shapes_unordered(SUniv* user, WDB_Camera* camera, float aspect,
                                             WDB_Apply_Callback callback) const {
    return apply_to_shapes_unordered(user, camera->get_viewing_x_render_projection(aspect),
                                     callback);
}

bool WDB_Database::apply_to_shapes_outside(SUniv* user, WDB_Apply_Callback callback) const {
    Shape_Walk walk(this, user, callback);
    return shapes_.apply_to_outside(walk.env(), shape_cb);
}

bool WDB_Database::apply_to_shapes(SUniv* user, WDB_Camera* camera, float aspect,
                                   WDB_Apply_Callback callback) const {
    return apply_to_shapes(user, camera->get_viewing_x_render_projection(aspect), callback);
}

// Never stops the walk: the order of the boxes says nothing about the order of the hits.
static bool rt_callback(SUniv* user, SUniv* item, const Bbox&) {
    auto* const env = Conv<RT_Environment*>::from_univ(user);
    WDB_Node* const node = Conv<WDB_Node*>::from_univ(item);
    // A node that was wiped out of another world and filed here still asks that one.
    const float t =
        node->get_world() == env->view.world()
            ? node->line_intersection(env->view, env->start, env->end, env->near_tolerance,
                                      env->near_depth, env->far_tolerance, env->far_depth)
            : node->line_intersection(env->start, env->end, env->near_tolerance, env->near_depth,
                                      env->far_tolerance, env->far_depth);
    if (t < env->closest) {
        env->closest = t;
        env->node = node;
    }
    return false;
}

WDB_Node* WDB_Database::closest_object_on_line(const Point& p, const Point& q, float near_tolerance,
                                               float near_depth, float far_tolerance,
                                               float far_depth) const {
    RT_Environment env = {p,
                          q,
                          FLT_MAX,
                          near_tolerance,
                          far_tolerance,
                          near_depth,
                          far_depth,
                          nullptr,
                          Default_View(const_cast<WDB_Database*>(this))};
    shapes_.apply(Conv<RT_Environment*>::to_univ(&env), p, q, rt_callback);
    return env.node;
}

static bool print_callback(SUniv* user, const WDB_Node* node, const Bbox& box) {
    std::ostream& os = *Conv<std::ostream*>::from_univ(user);
    os << static_cast<const WDB_Obj*>(node) << "Global bbox of previous node " << box;
    return false;
}

static SUniv* print_section(std::ostream& os, const char* title) {
    const char* const rule = "//--------------------------------------------\n";
    os << rule << "//" << title << "\n" << rule;
    return Conv<std::ostream*>::to_univ(&os);
}

void WDB_Database::print_contents(std::ostream& os) const {
    WDB_Obj::print_contents(os);
    // The sections overlap: a camera with a geometry stands among the shapes as well.
    apply_to_cameras(print_section(os, "CAMERAS"), print_callback);
    apply_to_lights(print_section(os, "LIGHTS"), print_callback);
    apply_to_shapes(print_section(os, "SHAPES"), print_callback);
    apply_to_nodes(print_section(os, "NODES"), print_callback);
}

void WDB_Database::invalidate_render_projections() {
    ++signal_->raised;
}

void WDB_Database::list_by_class(WDB_Node* node) {
    if (WDB_Camera* const camera = WDB_Camera::castdown(node))
        list_camera(camera);
    else if (WDB_Light::is_instance(node))
        lights_.put(node);
}

// Where a side is passed, another world of the old size stands there at least.
static Bbox grown(Bbox bounds, const Bbox& box) {
    const Vector size = bounds.size();
    for (int axis = 0; axis < 3; ++axis) {
        float &low = bounds.min[axis], &high = bounds.max[axis];
        if (box.min[axis] < low) low = std::min(box.min[axis], low - size[axis]);
        if (box.max[axis] > high) high = std::max(box.max[axis], high + size[axis]);
    }
    return bounds;
}

static bool is_finite(const Bbox& box) {
    return std::isfinite(mag2(box.max - box.min)) && std::isfinite(mag2(toVector(box.min)));
}

void WDB_Database::file_shape(WDB_Node* node) {
    const Bbox box = world_box(node);
    if (is_following_ && !get_bounds().contains(box) && is_finite(box))
        shapes_.set_bounds(grown(get_bounds(), box));
    shapes_.put(node, box);
}

// `node`, which comes, goes or moves, must not do so under a walk over what holds it.
void WDB_Database::check_walks(WDB_Node* node) const {
    const bool is_shape = node->get_geometry() || shapes_.has(node);
    const bool is_in_sets = !node->get_geometry() || nodes_.has(node) ||
                            WDB_Camera::is_instance(node) || WDB_Light::is_instance(node);
    if ((is_shape && Walk::is_under_way(this, Walk::OVER_SHAPES)) ||
        (is_in_sets && Walk::is_under_way(this, Walk::OVER_SETS)))
        refuse_change("The callback of a walk", this,
                      str_format("node \"%s\"", node->get_printable_name()));
}

void WDB_Database::put(WDB_Node* node) {
    if (!node) return;
    if (Walk::is_under_way()) [[unlikely]]
        check_walks(node);
    const bool was_held = is_heard() && has(node);
    if (node->get_geometry()) {
        for (int i = 0; i < node->lod_count(); ++i) node->lod_item(i)->tell_if_unfinished();
        file_shape(node);
        invalidate_render_projections();
    } else {
        nodes_.put(node);
    }
    list_by_class(node);
    // The node calls back here unless it finds itself held.
    node->set_world(this);
    note_change(node, was_held ? &WDB_Listener::moved : &WDB_Listener::put);
}

// The geometry may have come or gone since the node was filed, which moves it from one container to
// the other.
void WDB_Database::update(WDB_Node* node) {
    if (!node) return;
    const bool is_new = is_heard() && !has(node);
    ++changes_;
    if (Walk::is_under_way()) [[unlikely]] {
        // To put it again into the sets that it stays in might order them anew under the walk.
        if (Walk::is_under_way(this, Walk::OVER_SETS) && !node->get_geometry() &&
            nodes_.has(node)) {
            invalidate_render_projections();
            return;
        }
        check_walks(node);
    }
    if (node->get_geometry()) {
        nodes_.remove(node);
        file_shape(node);
    } else {
        nodes_.put(node);
        shapes_.remove(node);
    }
    list_by_class(node);
    invalidate_render_projections();
    if (is_new) tell(node, &WDB_Listener::put);
}

// Most of the cost of a move is waiting for memory, which is fetched here while others are moved:
// first the node, and when that has come, the place where the tree keeps its number.
void WDB_Database::set_transforms(WDB_Node* const* nodes, const HFrame* transforms, int count) {
    const int ahead = 8, cache_line = 64;
    for (int i = 0; i < count; ++i) {
        if (i + ahead < count && nodes[i + ahead]) {
            const char* const next = reinterpret_cast<const char*>(nodes[i + ahead]);
            for (std::size_t at = 0; at < sizeof(WDB_Node); at += cache_line)
                __builtin_prefetch(next + at);
            shapes_.prefetch(nodes[i + ahead]);
        }
        if (nodes[i]) nodes[i]->set_transform(transforms[i]);
    }
}

void WDB_Database::remove(WDB_Node* node) {
    if (!has(node)) return;
    if (Walk::is_under_way()) [[unlikely]]
        check_walks(node);
    const bool is_told = is_heard();
    ++changes_;
    nodes_.remove(node);
    shapes_.remove(node);
    if (WDB_Camera* const camera = WDB_Camera::castdown(node)) drop_camera(camera);
    lights_.remove(node);
    // The node must find that it is not held any more.
    node->set_world(nullptr);
    if (is_told) tell(node, &WDB_Listener::removed);
}

void WDB_Database::wipe_out() {
    if (Walk::is_under_way(this, Walk::OVER_SHAPES) || Walk::is_under_way(this, Walk::OVER_SETS))
        refuse_change("The callback of a walk", this, "it is wiped out");
    Gap_List<WDB_Node*> gone; // to be told
    if (is_heard()) {
        const auto add = [&gone](WDB_Node& node, const Bbox&) { gone.insert_last(&node); };
        for_each_node(add);
        for_each_shape(add);
        const WDB_Visit outside(add);
        apply_to_shapes_outside(outside.user(), outside.callback());
    }
    ++changes_;
    nodes_.wipe_out();
    shapes_.wipe_out();
    cameras_.wipe_out();
    lights_.wipe_out();
    default_camera_ = nullptr;
    // The cameras that were listed watch the old one.
    signal_->is_over = true;
    signal_ = new_signal();
    for (int i = 0; i < gone.count(); ++i) tell(gone[i], &WDB_Listener::removed);
}
