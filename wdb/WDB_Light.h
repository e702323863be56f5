// A node that shines: on or off, with an angle; its colour is its material's emission.
//
//     WDB_Light* lamp = new WDB_Light("Lamp", HFrame(Frame::translation(0, 9, 0)),
//                                     deg_to_rad(30), nullptr, warm);
//     world.put(lamp);                          // filed as a node, and among the lights
//
// A light has no texture; it may have a geometry like any node.
#ifndef WDB_WDB_LIGHT_H
#define WDB_WDB_LIGHT_H

#include "math/Color.h"
#include "wdb/WDB_Node.h"

class WDB_Light : public WDB_Node {
    STD_OBJ_CLASS(WDB_Light, WDB_Node)

    // Black: the colour of a light without material.
    static Color default_color;

    // On, outside any world. Geometry and material may be null.
    // Stamp 5 with a geometry, 4 without.
    WDB_Light(const char* name, const HFrame& transform, float angle, const WDB_Geometry* geometry,
              const WDB_Material* material);

    // In radians. The library keeps and saves it and gives it no further meaning. Touches.
    void set_angle(float angle);
    float get_angle() const { return angle_; }

    // Neither touches nor notifies.
    void set_on(bool on) { on_ = on; }
    bool is_on() const { return on_; }

    // Lifetime: that of the material.
    const Color& get_color() const;

private:
    bool on_;
    float angle_;
};

#endif
