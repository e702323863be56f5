// The corners of triangles and the ends of lines, as vertices. Internal.
#ifndef WDB_CORNER_VERTICES_H
#define WDB_CORNER_VERTICES_H

#include <cstddef>
#include <cstdint>

#include "wdb/WDB_Line_List.h"
#include "wdb/WDB_Tri_List.h"
#include "wdb/WDB_Vertex_Layout.h"

// visit(vertex, number) for all corners of a list, in its order.
template<class Visit>
void for_each_corner(const WDB_Tri_List& list, Visit visit) {
    std::size_t number = 0;
    for (const WDB_Triangle& t : list) {
        visit(WDB_Vertex{t.p0, t.n0, t.c0, t.t0}, number++);
        visit(WDB_Vertex{t.p1, t.n1, t.c1, t.t1}, number++);
        visit(WDB_Vertex{t.p2, t.n2, t.c2, t.t2}, number++);
    }
}
template<class Visit>
void for_each_corner(const WDB_Line_List& list, Visit visit) {
    std::size_t number = 0;
    for (const WDB_Line& l : list) {
        visit(WDB_Vertex{l.p0, l.n0, l.c0, l.t0}, number++);
        visit(WDB_Vertex{l.p1, l.n1, l.c1, l.t1}, number++);
    }
}

inline bool has_room(const WDB_Vertex_Layout& layout, std::size_t vertices, std::size_t size) {
    const std::size_t bytes = layout.byte_count(vertices);
    return bytes != SIZE_MAX && bytes <= size;
}

template<class List>
bool copy_corners(const List& list, const WDB_Vertex_Layout& layout, void* out, std::size_t size) {
    if (!has_room(layout, list.vertex_count(), size)) return false;
    for_each_corner(list, [&](const WDB_Vertex& vertex, std::size_t number) {
        layout.write(vertex, number, out);
    });
    return true;
}

#endif
