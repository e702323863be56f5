// Picture of a node: a named holder of a pixel map. Shared between nodes by pointer.
//
//     node->set_texture(new WDB_Texture(new PX_Map("roof.rgb", 0)));
#ifndef WDB_WDB_TEXTURE_H
#define WDB_WDB_TEXTURE_H

#include <ostream>

#include "wdb/WDB_Obj.h"

class PX_Map;

class WDB_Texture : public WDB_Obj {
    STD_OBJ_CLASS(WDB_Texture, WDB_Obj)

    // Holds `image` itself and aligns it in place: its sizes become powers of two. Stamp 0.
    // Requires: image is not null.
    explicit WDB_Texture(PX_Map* image);

    // Always the same map. Its change count tells of another picture in it; the stamp does not.
    PX_Map* get_image() const { return image_; }

    void print_contents(std::ostream& os) const override;

private:
    PX_Map* image_;
};

#endif
