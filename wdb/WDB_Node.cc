#include "wdb/WDB_Node.h"

#include <cfloat>
#include <cmath>

#include "wdb/Default_View.h"
#include "wdb/WDB_Camera.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Geometry.h"
#include "wdb/WDB_Listener.h"
#include "wdb/WDB_Material.h"
#include "wdb/WDB_Pick.h"
#include "wdb/WDB_Texture.h"

WDB_Node::WDB_Node(const char* name, const HFrame& transform, const WDB_Geometry* geometry,
                   const WDB_Material* material, const WDB_Texture* texture)
    : world_(nullptr), transform_(transform), material_(material), texture_(texture),
      url_(nullptr) {
    set_name(name);
    // Named in full: a derived class is not there yet to be told.
    WDB_Node::update_after_transform_change();
    if (geometry)
        set_geometry(geometry);
    else
        recompute_bbox();
}

void WDB_Node::set_transform(const HFrame& transform) {
    transform_ = transform;
    update_after_transform_change();
}

void WDB_Node::set_lod_distance(int index, float distance) {
    auto* const distances = new (GCAtomic) float[static_cast<std::size_t>(lod_count())];
    for (int i = 0; i < lod_count(); ++i) distances[i] = i == index ? distance : lod_distance(i);
    lod_distances_ = distances;
    touch();
}

float WDB_Node::lod_distance(int index) const {
    return lod_distances_ ? lod_distances_[index] : FLT_MAX;
}

void WDB_Node::set_geometry(const WDB_Geometry* geometry) {
    if (!geometry) {
        wipe_out_lods();
        return;
    }
    lods_.wipe_out();
    // The only notification: nobody sees the node without a shape in between.
    insert_lod(geometry, 0);
}

void WDB_Node::set_material(const WDB_Material* material) {
    material_ = material;
    update_after_material_change();
}

void WDB_Node::set_texture(const WDB_Texture* texture) {
    texture_ = texture;
    update_after_texture_change();
}

void WDB_Node::set_url(Std_URL* url) {
    url_ = url;
    touch();
    tell_otherwise_changed();
}

namespace {
// A segment in the object space of a node, with its tolerance there.
struct Object_Query {
    Frame to_object;
    Point p, q;
    float tolerance;
};
} // namespace

// `view` answers the way to the viewer. It is asked only of a node that can be hit: a world may
// have to make a camera for it. False if the node cannot be hit.
template<class View>
static bool ask_object(const WDB_Node* node, View view, const Point& p, const Point& q,
                       float near_tolerance, float near_depth, float far_tolerance, float far_depth,
                       Object_Query& query) {
    Matrix4 to_object;
    if (!invert(node->get_transform(), to_object)) return false;
    const float depth = (Point(0, 0, 0) * toFrame(node->get_transform()) * view()).z;
    query.tolerance = std::fabs((depth - near_depth) * (far_tolerance - near_tolerance) /
                                    (far_depth - near_depth) +
                                near_tolerance);
    query.to_object = toFrame(to_object);
    // Ratios along a line are kept: a fraction found there is right here.
    query.p = p * query.to_object;
    query.q = q * query.to_object;
    return true;
}

// A query knows no camera, so depths are those of the default one, whoever asks.
static bool ask_object(const WDB_Node* node, Default_View& view, const Point& p, const Point& q,
                       float near_tolerance, float near_depth, float far_tolerance, float far_depth,
                       Object_Query& query) {
    if (!node->get_geometry() || !view.world()) return false;
    const auto ask = [&view]() -> const Frame& { return view.get(); };
    return ask_object(node, ask, p, q, near_tolerance, near_depth, far_tolerance, far_depth, query);
}

static bool ask_object(const WDB_Node* node, const WDB_Node::View_Query& v, Object_Query& query) {
    const auto ask = [&v]() -> const Frame& { return v.viewing; };
    return ask_object(node, ask, v.p, v.q, v.near_tolerance, v.near_depth, v.far_tolerance,
                      v.far_depth, query);
}

static WDB_Pick pick_of(WDB_Node* node, int level, const Point& p, const Point& q,
                        const Object_Query& query) {
    WDB_Pick pick;
    const WDB_Geometry* const geometry = node->lod_item(level);
    pick.fraction = geometry->line_intersection(query.p, query.q, query.tolerance);
    if (pick.fraction == FLT_MAX) return pick;
    pick.node = node;
    pick.point = interp(p, q, static_cast<float>(1.0 - static_cast<double>(pick.fraction)));
    pick.level = level;
    pick.look_up(geometry, query.p, query.q, query.tolerance, query.to_object);
    return pick;
}

float WDB_Node::line_intersection(const Point& p, const Point& q, float near_tolerance,
                                  float near_depth, float far_tolerance, float far_depth) const {
    Default_View view(get_world());
    return line_intersection(view, p, q, near_tolerance, near_depth, far_tolerance, far_depth);
}

float WDB_Node::line_intersection(Default_View& view, const Point& p, const Point& q,
                                  float near_tolerance, float near_depth, float far_tolerance,
                                  float far_depth) const {
    Object_Query query;
    if (!ask_object(this, view, p, q, near_tolerance, near_depth, far_tolerance, far_depth, query))
        return FLT_MAX;
    return get_geometry()->line_intersection(query.p, query.q, query.tolerance);
}

WDB_Pick WDB_Node::detailed_line_intersection(const Point& p, const Point& q, float near_tolerance,
                                              float near_depth, float far_tolerance,
                                              float far_depth) {
    Object_Query query;
    Default_View view(get_world());
    if (!ask_object(this, view, p, q, near_tolerance, near_depth, far_tolerance, far_depth, query))
        return WDB_Pick();
    return pick_of(this, 0, p, q, query);
}

float WDB_Node::line_intersection(const View_Query& view_query, int level) const {
    Object_Query query;
    if (!ask_object(this, view_query, query)) return FLT_MAX;
    return lods_[level]->line_intersection(query.p, query.q, query.tolerance);
}

WDB_Pick WDB_Node::detailed_line_intersection(const View_Query& view_query, int level) {
    Object_Query query;
    if (!ask_object(this, view_query, query)) return WDB_Pick();
    return pick_of(this, level, view_query.p, view_query.q, query);
}

void WDB_Node::print_contents(std::ostream& os) const {
    WDB_Obj::print_contents(os);
    os << "  Transform " << transform_ << "\n";
    if (material_) os << "  Material " << material_->get_printable_name() << "\n";
    if (texture_) os << "  Texture " << texture_->get_printable_name() << "\n";
    if (lods_.is_empty()) return;
    os << "  Bbox " << bbox_ << "\n";
    os << "  Geometry  [ ";
    for (int i = 0; i < lods_.count(); ++i) os << lods_[i]->get_printable_name() << " ";
    os << "]\n";
}

void WDB_Node::set_world(WDB_Database* world) {
    // put and remove of a world call back here. Each side looks before it acts, which ends the
    // recursion.
    if (world == world_) return;
    if (world_) {
        if (world_->has(this)) world_->remove(this);
        world_ = nullptr;
    }
    world_ = world;
    if (world && !world->has(this)) world->put(this);
    update_after_world_change();
}

void WDB_Node::insert_lod(const WDB_Geometry* geometry, int index) {
    lods_.insert(const_cast<WDB_Geometry*>(geometry), index);
    lod_distances_ = nullptr;
    update_after_geometry_change();
}

void WDB_Node::remove_lod(int index) {
    lods_.remove(index);
    lod_distances_ = nullptr;
    update_after_geometry_change();
}

void WDB_Node::replace_lod(const WDB_Geometry* geometry, int index) {
    lods_[index] = const_cast<WDB_Geometry*>(geometry);
    update_after_geometry_change();
}

void WDB_Node::wipe_out_lods() {
    lods_.wipe_out();
    lod_distances_ = nullptr;
    update_after_geometry_change();
}

void WDB_Node::tell_otherwise_changed() {
    if (world_) world_->note_change(this, &WDB_Listener::otherwise_changed);
}

// The box comes first: the world files the node by it.
void WDB_Node::update_after_geometry_change() {
    touch();
    recompute_bbox();
    if (!world_) return;
    world_->update(this);
    world_->note_change(this, &WDB_Listener::geometry_changed);
}

void WDB_Node::update_after_transform_change() {
    touch();
    if (!world_) return;
    world_->update(this);
    world_->note_change(this, &WDB_Listener::moved);
}

void WDB_Node::update_after_material_change() {
    touch();
    if (world_) world_->note_change(this, &WDB_Listener::material_changed);
}

void WDB_Node::update_after_texture_change() {
    touch();
    if (world_) world_->note_change(this, &WDB_Listener::texture_changed);
}

void WDB_Node::update_after_world_change() {
    touch();
}

void WDB_Node::recompute_bbox() {
    bbox_.clear();
    // A place without a shape: an inverted box, once transformed, would hold everything.
    if (lods_.is_empty()) bbox_.merge(Point(0, 0, 0));
    // All levels: whichever is drawn must lie within.
    for (int i = 0; i < lods_.count(); ++i) bbox_.merge(lods_[i]->get_bbox());
}
