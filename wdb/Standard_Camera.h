// The camera that others are made from. Internal.
#ifndef WDB_STANDARD_CAMERA_H
#define WDB_STANDARD_CAMERA_H

#include "wdb/WDB_Camera.h"

// At the origin, with an opening angle of an eighth turn between the planes 2 and 20000; not in a
// world.
inline WDB_Camera* new_standard_camera(const char* name) {
    const float eighth_turn = 0.7853982f, near_plane = 2.0f, far_plane = 20000.0f;
    return new WDB_Camera(name, HFrame::identity(),
                          Matrix4::perspective(eighth_turn, near_plane, far_plane), nullptr,
                          nullptr);
}

#endif
