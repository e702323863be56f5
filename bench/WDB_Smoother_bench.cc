// WDB_Smoother::smooth_version against a plain way with the same arithmetic: positions in one list
// for each value of pnt_hash, searched one by one. A row counts only if all normals are the same
// bits. One cell of 16 units is one such list.
#include "wdb/WDB_Smoother.h"

#include "bench/meshes.h"
#include "bench/side_by_side.h"
#include "wdb/Point_Key.h"

namespace {

struct Plain_Smoother {
    struct Position {
        const Point* point;
        std::vector<const WDB_Triangle*> meeting;
    };
    std::vector<std::vector<Position>> cells = std::vector<std::vector<Position>>(4096);

    Position* find(const Point* point) {
        for (Position& position : cells[pnt_hash(point)])
            if (pnt_equal(position.point, point)) return &position;
        return nullptr;
    }
    void add(const Point* point, const WDB_Triangle* triangle) {
        if (!find(point)) cells[pnt_hash(point)].push_back({point, {}});
        find(point)->meeting.push_back(triangle);
    }
    Vector normal(const Point& vertex, const WDB_Triangle* triangle) {
        const auto face_of = [](const WDB_Triangle& t) {
            return oknormalize(cross(t.p0, t.p1, t.p2));
        };
        const Vector face = face_of(*triangle);
        Vector sum = face;
        for (const WDB_Triangle* const other : find(&vertex)->meeting) {
            const Vector normal = face_of(*other);
            if (other != triangle && 0.49999997f < dot(face, normal)) sum += normal;
            sum.normalize();
        }
        return sum;
    }
};

} // namespace

static std::uint64_t add(std::uint64_t sum, const Vector& v) {
    for (int axis = 0; axis < 3; ++axis) sum = sum * 31 + std::bit_cast<std::uint32_t>(v[axis]);
    return sum;
}

static std::uint64_t plain_way(const WDB_Tri_List& list) {
    Plain_Smoother smoother;
    for (int i = 0; i < list.count(); ++i)
        for (const Point* p : {&list[i].p0, &list[i].p1, &list[i].p2}) smoother.add(p, &list[i]);
    WDB_Tri_List smooth(list.count());
    for (int i = 0; i < list.count(); ++i) {
        WDB_Triangle t = list[i];
        t.n0 = smoother.normal(t.p0, &list[i]);
        t.n1 = smoother.normal(t.p1, &list[i]);
        t.n2 = smoother.normal(t.p2, &list[i]);
        smooth.put(t, i);
    }
    std::uint64_t sum = 0;
    for (int i = 0; i < list.count(); ++i)
        sum = add(add(add(sum, smooth[i].n0), smooth[i].n1), smooth[i].n2);
    return sum;
}

static std::uint64_t our_way(const WDB_Tri_List& list) {
    WDB_Smoother smoother;
    const WDB_Tri_List& smooth = *smoother.smooth_version(&list);
    std::uint64_t sum = 0;
    for (int i = 0; i < list.count(); ++i)
        sum = add(add(add(sum, smooth[i].n0), smooth[i].n1), smooth[i].n2);
    return sum;
}

static void smooth_version(benchmark::State& state) {
    const WDB_Tri_List* const list = mesh_of_pieces(
        static_cast<int>(state.range(0)), static_cast<float>(state.range(1)), state.range(2) != 0);
    side_by_side(state, list->count(), {{"plain", [&] { return plain_way(*list); }}},
                 {"ours", [&] { return our_way(*list); }});
}
BENCHMARK(smooth_version)
    ->ArgNames({"triangles", "units", "shuffled"})
    ->ArgsProduct({{1000, 4000, 16000}, {15, 256}, {0, 1}})
    ->UseManualTime()
    ->MinTime(0.05);
