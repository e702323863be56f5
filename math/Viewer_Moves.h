// What a mouse or keys make of the frame of a viewer.
//
//     Frame f = toFrame(camera->get_transform());
//     f = orbit_viewer(f, centre, 0.01f * mouse_dx, 0.01f * mouse_dy);  // round what is looked at
//     f = fly_viewer(f, speed * seconds, 0, 0);                         // straight on
//     f = turn_viewer(f, deg_to_rad(90), 0);                            // a quarter to the left
//     camera->set_transform(HFrame(f));
//
// A viewer's frame takes its space to the world: its rows are right, up and back, so it looks along
// -f[2], and its origin is where it stands. Answers have rows of length 1 at right angles, whatever
// rounding did before: a million small moves are as good as one. Angles are radians, of any size.
//
// Above is where `up` points, of any length but 0: with 0, the viewer's own up at the start. The
// horizon keeps its slope, and who turns up or down stops when looking straight up or down, which
// is a place like any other.
// On failure, for a frame whose rows make no directions or for what is not finite: the frame
// itself.
#ifndef MATH_VIEWER_MOVES_H
#define MATH_VIEWER_MOVES_H

#include "math/Geometry.h"

// Round `centre`, which keeps its place in the picture and its distance: by `right` towards the
// viewer's right, by `over` towards above. A viewer at the centre turns there.
Frame orbit_viewer(const Frame& viewer, const Point& centre, float right, float over,
                   const Vector& up = Vector(0, 1, 0));

// Along its own axes, in units of the world.
Frame fly_viewer(const Frame& viewer, float forward, float right, float above);

// Where it stands.
Frame turn_viewer(const Frame& viewer, float left, float upwards,
                  const Vector& up = Vector(0, 1, 0));

#endif
