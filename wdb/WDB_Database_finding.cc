// What is looked for by name, by walks up to the first object that has it; and what walks meet, as
// lists.
#include "wdb/WDB_Camera.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Geometry.h"
#include "wdb/WDB_Light.h"
#include "wdb/WDB_Material.h"
#include "wdb/WDB_Texture.h"

namespace {

using Walk = bool (WDB_Database::*)(SUniv*, WDB_Apply_Callback) const;

// What a search by name sees of each node: up to the first object that has it.
template<class T>
struct Finding {
    const char* name;
    T* (*look)(const WDB_Node* node, const char* name);
    T* found;
};

template<class T>
bool finding_callback(SUniv* user, const WDB_Node* node, const Bbox&) {
    auto* const finding = Conv<Finding<T>*>::from_univ(user);
    finding->found = finding->look(node, finding->name);
    return finding->found != nullptr;
}

template<class T>
T* find(const WDB_Database* world, Walk walk, const char* name,
        T* (*look)(const WDB_Node* node, const char* name)) {
    Finding<T> finding = {name, look, nullptr};
    if (name) (world->*walk)(Conv<Finding<T>*>::to_univ(&finding), finding_callback<T>);
    return finding.found;
}

template<class T>
T* if_named(T* object, const char* name) {
    return object && object->is_named(name) ? object : nullptr;
}

const WDB_Node* look_at_node(const WDB_Node* node, const char* name) {
    return if_named(node, name);
}

const WDB_Material* look_at_material(const WDB_Node* node, const char* name) {
    return if_named(node->get_material(), name);
}

const WDB_Texture* look_at_texture(const WDB_Node* node, const char* name) {
    return if_named(node->get_texture(), name);
}

WDB_Geometry* look_at_geometries(const WDB_Node* node, const char* name) {
    for (int i = 0; i < node->lod_count(); ++i)
        if (WDB_Geometry* const geometry = if_named(node->lod_item(i), name)) return geometry;
    return nullptr;
}

WDB_Node* find_in(const WDB_Database* world, Walk walk, const char* name) {
    return const_cast<WDB_Node*>(find(world, walk, name, look_at_node));
}

} // namespace

WDB_Node* WDB_Database::find_node(const char* name) const {
    return find_in(this, &WDB_Database::apply, name);
}

WDB_Node* WDB_Database::find_shape(const char* name) const {
    return find_in(this, &WDB_Database::apply_to_shapes, name);
}

WDB_Camera* WDB_Database::find_camera(const char* name) const {
    return WDB_Camera::castdown(find_in(this, &WDB_Database::apply_to_cameras, name));
}

WDB_Light* WDB_Database::find_light(const char* name) const {
    return WDB_Light::castdown(find_in(this, &WDB_Database::apply_to_lights, name));
}

const WDB_Material* WDB_Database::find_material(const char* name) const {
    return find(this, &WDB_Database::apply, name, look_at_material);
}

const WDB_Texture* WDB_Database::find_texture(const char* name) const {
    return find(this, &WDB_Database::apply, name, look_at_texture);
}

WDB_Geometry* WDB_Database::find_geometry(const char* name) const {
    return find(this, &WDB_Database::apply, name, look_at_geometries);
}

namespace {
template<class T>
WDB_Database::List<T> listed(const WDB_Database* world, Walk walk) {
    WDB_Database::List<T> list;
    const auto add = [&list](WDB_Node& node, const Bbox&) { list.push_back(T::castdown(&node)); };
    const WDB_Visit visit(add);
    (world->*walk)(visit.user(), visit.callback());
    return list;
}
} // namespace

WDB_Database::List<WDB_Node> WDB_Database::nodes() const {
    return listed<WDB_Node>(this, &WDB_Database::apply_to_nodes);
}

WDB_Database::List<WDB_Light> WDB_Database::lights() const {
    return listed<WDB_Light>(this, &WDB_Database::apply_to_lights);
}

WDB_Database::List<WDB_Camera> WDB_Database::cameras() const {
    return listed<WDB_Camera>(this, &WDB_Database::apply_to_cameras);
}

WDB_Database::List<WDB_Node> WDB_Database::shapes() const {
    return listed<WDB_Node>(this, &WDB_Database::apply_to_shapes);
}
