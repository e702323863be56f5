#include "wdb/WDB_Texture.h"

#include "images/PX_Map.h"

// Renderers want sizes that are powers of two. Done here, once for all nodes that share it.
WDB_Texture::WDB_Texture(PX_Map* image) : image_(image) {
    image_->texture_align();
}

void WDB_Texture::print_contents(std::ostream& os) const {
    WDB_Obj::print_contents(os);
    os << "image (" << image_->get_width() << " x " << image_->get_height() << " x "
       << image_->get_component() << ")\n";
}
