#include "wdb/WDB_Light.h"

#include "wdb/WDB_Material.h"

// Without a constructor at run time: static objects may ask for it.
constinit Color WDB_Light::default_color(0, 0, 0);

WDB_Light::WDB_Light(const char* name, const HFrame& transform, float angle,
                     const WDB_Geometry* geometry, const WDB_Material* material)
    : WDB_Node("Anonymous_node", HFrame::identity(), nullptr, nullptr, nullptr), on_(true),
      angle_(angle) {
    set_name(name);
    store_transform(transform);
    // Named in full: a derived class is not there yet to be told.
    WDB_Node::update_after_transform_change();
    store_material(material);
    if (geometry) set_geometry(geometry);
}

void WDB_Light::set_angle(float angle) {
    angle_ = angle;
    touch();
    tell_otherwise_changed();
}

const Color& WDB_Light::get_color() const {
    // What a material emits is what a light sends out; its other colours tell how it reflects.
    return get_material() ? get_material()->get_emission() : default_color;
}
