// Meshes of many pieces, for programs that time what goes through all their corners.
#ifndef BENCH_MESHES_H
#define BENCH_MESHES_H

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "wdb/WDB_Tri_List.h"

// About `triangles` triangles, with face normals: bumpy sheets of 5 x 5 squares, 50 triangles each
// piece, in a grid of pieces that fills a cube of `edge` units from (0.1, 0.1, 0.1) on. Up to 15
// units that is one cell of pnt_hash, from 256 on all cells. The order is that of a model that was
// saved piece by piece, or none at all.
// The first `nudged` corners with an x from 1 to 2 are moved by up to two last bits, so that of
// those that met some are equal and some are not.
inline WDB_Tri_List* mesh_of_pieces(int triangles, float edge, bool is_shuffled, int nudged = 0) {
    const int squares = 5, piece_count = triangles / (2 * squares * squares);
    const int per_edge = static_cast<int>(std::ceil(std::cbrt(static_cast<double>(piece_count))));
    const float step = edge / static_cast<float>(per_edge);
    std::vector<WDB_Triangle> all;
    for (int piece = 0; piece < piece_count; ++piece) {
        const auto corner = [&](int i, int k) {
            const float unit = step * 0.9f / squares;
            const auto at = [&](int of_piece, float inside) {
                return 0.1f + static_cast<float>(of_piece % per_edge) * step + inside;
            };
            return Point(at(piece, static_cast<float>(i) * unit),
                         at(piece / per_edge, static_cast<float>(k) * unit),
                         at(piece / per_edge / per_edge, static_cast<float>(i * k % 3) * unit));
        };
        for (int i = 0; i < squares; ++i) {
            for (int k = 0; k < squares; ++k) {
                all.emplace_back(corner(i, k), corner(i + 1, k), corner(i, k + 1));
                all.emplace_back(corner(i + 1, k), corner(i + 1, k + 1), corner(i, k + 1));
            }
        }
    }
    for (WDB_Triangle& t : all) {
        for (Point* p : {&t.p0, &t.p1, &t.p2}) {
            if (p->x < 1 || p->x >= 1.9f || nudged == 0) continue;
            for (int i = nudged-- % 3; i > 0; --i) p->x = std::nextafter(p->x, 2.0f);
        }
    }
    if (is_shuffled) std::shuffle(all.begin(), all.end(), std::mt19937(7));
    auto* const list = new WDB_Tri_List(static_cast<int>(all.size()));
    for (int i = 0; i < list->count(); ++i) list->put(all[static_cast<std::size_t>(i)], i);
    list->end_editing();
    return list;
}

#endif
