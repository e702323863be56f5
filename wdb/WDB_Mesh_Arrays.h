// Triangles or lines as a renderer takes them: vertices, each once, and indices to them.
//
//     WDB_Mesh_Arrays* mesh = new WDB_Mesh_Arrays;          // one for each list that is drawn
//     if (mesh->update(*list)) {                            // the list is new or has changed
//         upload(mesh->vertices(), mesh->vertex_count() * sizeof(WDB_Vertex));
//         upload(mesh->indices(), mesh->index_count() * mesh->index_size());
//     }
//
// Corners share a vertex if all that they have is equal bit for bit. Vertices stand in the order in
// which the list comes to them, and indices in the order of the list: three for each triangle, two
// for each line.
#ifndef WDB_WDB_MESH_ARRAYS_H
#define WDB_WDB_MESH_ARRAYS_H

#include <cstddef>
#include <cstdint>

#include "base/Plain_Array.h"
#include "std/Std_Obj.h"
#include "wdb/WDB_Geometry.h"
#include "wdb/WDB_Vertex_Layout.h"

// What vertices may have beside their position, as bits.
enum WDB_Vertex_Contents : unsigned {
    WDB_WITH_NORMALS = 1,
    WDB_WITH_COLORS = 2,
    WDB_WITH_TEXTURES = 4,
    WDB_WITH_ALL = 7,
};

class WDB_Mesh_Arrays : public Std_Obj {
    STD_OBJ_CLASS(WDB_Mesh_Arrays, Std_Obj)

    // Empty. What is not among the contents is 0 in all vertices and parts none: with 0, corners
    // share a vertex if they have one position.
    explicit WDB_Mesh_Arrays(unsigned contents = WDB_WITH_ALL);
    WDB_Mesh_Arrays(const WDB_Mesh_Arrays&) = delete;
    WDB_Mesh_Arrays& operator=(const WDB_Mesh_Arrays&) = delete;

    // Shows the geometry as it is now: packs it, unless it is the one that was packed last and has
    // the stamp that it had then. True if it was packed: the arrays are others. The geometry is not
    // kept. Of a class that is neither WDB_Tri_List nor WDB_Line_List: empty arrays.
    // On failure: a fatal report, for more corners than 32 bits can count.
    // Cost: in proportion to the triangles or lines; next to nothing for one that is packed.
    bool update(const WDB_Geometry& geometry);

    // Lifetime: to the next update that packs; here and below.
    const WDB_Vertex* vertices() const { return vertices_.cells(); }
    std::size_t vertex_count() const { return vertices_.count(); }

    // Of 2 bytes each if that suffices, else of 4. The 2-byte index 0xFFFF is never used, as some
    // renderers begin a new strip there.
    const void* indices() const;
    std::size_t index_count() const { return wide_.count() + narrow_.count(); }
    int index_size() const { return wide_.count() > 0 ? 4 : 2; }
    // Requires: i < index_count().
    std::uint32_t index(std::size_t i) const {
        return wide_.count() > 0 ? wide_[i] : std::uint32_t{narrow_[i]};
    }

    // 3 for triangles, 2 for lines, 0 if nothing was packed yet.
    int corners_of_item() const { return corners_of_item_; }

    // The vertices in the program's own form. False, and nothing is written, if they do not fit
    // into `size` bytes.
    bool copy_vertices(const WDB_Vertex_Layout& layout, void* out, std::size_t size) const;

private:
    class Corner_Index;
    template<class List>
    void pack(const List& list);
    void keep_contents(WDB_Vertex& vertex) const;
    void narrow_indices();

    unsigned contents_;
    int corners_of_item_ = 0;
    bool is_packed_ = false;
    int packed_id_ = 0, packed_stamp_ = 0;
    Plain_Array<WDB_Vertex> vertices_;
    Plain_Array<std::uint32_t> wide_;   // one of these
    Plain_Array<std::uint16_t> narrow_; // two is empty
};

#endif
