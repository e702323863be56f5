// Where a viewer must stand for its picture to hold a box and little else. Internal.
#ifndef WDB_BOX_FIT_H
#define WDB_BOX_FIT_H

#include "math/Bbox.h"
#include "math/Matrix4.h"

struct Box_Fit {
    // `projection` is for the aspect of the picture, `viewing` leads from the world to the viewer.
    // The eye comes no nearer to the box than `closest`, nor than a thousandth of its diagonal.
    Box_Fit(const Matrix4& projection, const Frame& viewing, const Bbox& box, double closest);

    // All that follows means nothing if this is false.
    bool is_possible = false;
    // From the middle of the box, in the viewer's axes.
    double eye[3] = {0, 0, 0};
    // By what the scales of a parallel projection are multiplied: of the picture, and of depth.
    double scale = 1, depth_scale = 1;

private:
    void fit_perspective(const Matrix4& projection, double closest);
    void fit_parallel(const Matrix4& projection);

    double corner_[8][3]; // likewise
};

#endif
