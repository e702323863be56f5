// A texture that is looked up at texture points.
//
//     Picture_Texture texture(node->get_texture()->get_image());
//     const Picture_Paint paint = texture.at(0.5, 0.25, 2);
//
// Texture point (0, 0) is the lower left corner of the picture, (1, 1) the upper right one; it
// repeats beyond. Between pixels it is mixed of the four around. A pyramid of halved pictures
// stands beside the first: where many pixels fall on one sample, their mean is taken from there at
// the same cost.
#ifndef TOOLS_PICTURE_TEXTURE_H
#define TOOLS_PICTURE_TEXTURE_H

#include "base/Gap_List.h"
#include "images/PX_Map.h"
#include "std/Std_GC.h"
#include "tools/Picture_Canvas.h"

class Picture_Texture : public Std_GC {
public:
    // Requires: sizes that are powers of two, as a WDB_Texture has them; 1 to 4 components.
    explicit Picture_Texture(PX_Map* image);

    bool is_opaque() const;

    // A step from one sample to the next is `step` of the picture's pixels long. Any number will do
    // for each argument.
    // With `repeats` false, as for coordinates from 0 to 1 alone, the edges are mixed with nothing:
    // what stands at the opposite one does not show there.
    Picture_Paint at(double u, double v, double step, bool repeats = true) const;

    int get_width() const { return levels_[0]->get_width(); }
    int get_height() const { return levels_[0]->get_height(); }

private:
    Gap_List<PX_Map*> levels_;
};

#endif
