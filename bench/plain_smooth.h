// A triangle list smoothed the plain way: each corner is searched in one table, and each face
// normal is computed for each corner that it meets.
#ifndef BENCH_PLAIN_SMOOTH_H
#define BENCH_PLAIN_SMOOTH_H

#include <vector>

#include "base/Gap_List.h"
#include "base/Hash_Table.h"
#include "wdb/Point_Key.h"
#include "wdb/WDB_Tri_List.h"

class Plain_Smoother {
public:
    void add_triangle(const Point* point, const WDB_Triangle* triangle) {
        if (!table_.find(point)) table_.put(new Triangles, point);
        (*table_.found_item())->insert_last(triangle);
    }
    std::vector<WDB_Triangle> smooth_version(const WDB_Tri_List& list);

private:
    using Triangles = Gap_List<const WDB_Triangle*>;

    static Vector face_of(const WDB_Triangle& t) { return oknormalize(cross(t.p0, t.p1, t.p2)); }
    Vector normal(const Point& vertex, const WDB_Triangle* triangle);

    Hash_Table<const Point*, Triangles*> table_{pnt_hash, pnt_equal};
};

inline Vector Plain_Smoother::normal(const Point& vertex, const WDB_Triangle* triangle) {
    const WDB_Triangle& t = *triangle;
    const Vector face = face_of(t);
    bool is_flat = true;
    for (const Vector* n : {&t.n0, &t.n1, &t.n2}) is_flat &= n->is_epsilon_equal(face, 0.001f);
    if (!is_flat) {
        return pnt_equal(&vertex, &t.p0)   ? t.n0
               : pnt_equal(&vertex, &t.p1) ? t.n1
               : pnt_equal(&vertex, &t.p2) ? t.n2
                                           : face;
    }
    Vector sum = face;
    if (!table_.find(&vertex)) return sum;
    const Triangles& meeting = **table_.found_item();
    for (int i = 0; i < meeting.count(); ++i) {
        const Vector other = face_of(*meeting[i]);
        if (meeting[i] != triangle && 0.49999997f < dot(face, other)) sum += other;
        sum.normalize();
    }
    return sum;
}

inline std::vector<WDB_Triangle> Plain_Smoother::smooth_version(const WDB_Tri_List& list) {
    for (int i = 0; i < list.count(); ++i)
        for (const Point* p : {&list[i].p0, &list[i].p1, &list[i].p2}) add_triangle(p, &list[i]);
    std::vector<WDB_Triangle> smooth;
    for (int i = 0; i < list.count(); ++i) {
        const WDB_Triangle& t = list[i];
        smooth.push_back(t);
        smooth.back().n0 = normal(t.p0, &t);
        smooth.back().n1 = normal(t.p1, &t);
        smooth.back().n2 = normal(t.p2, &t);
    }
    table_.wipe_out();
    return smooth;
}

#endif
