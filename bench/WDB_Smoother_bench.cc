// WDB_Smoother::smooth_version against the plain way with the same arithmetic: one table of
// positions, in which each cell of 16 units has one hash. A row counts only if all normals are the
// same bits. "nudged" corners differ in their last bits, so that equality does not carry over.
#include "wdb/WDB_Smoother.h"

#include <climits>

#include "bench/meshes.h"
#include "bench/plain_smooth.h"
#include "bench/side_by_side.h"

static std::uint64_t add(std::uint64_t sum, const Vector& v) {
    for (int axis = 0; axis < 3; ++axis) sum = sum * 31 + std::bit_cast<std::uint32_t>(v[axis]);
    return sum;
}

static std::uint64_t plain_way(const WDB_Tri_List& list) {
    Plain_Smoother smoother;
    std::uint64_t sum = 0;
    for (const WDB_Triangle& t : smoother.smooth_version(list))
        sum = add(add(add(sum, t.n0), t.n1), t.n2);
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
    const WDB_Tri_List* const list =
        mesh_of_pieces(static_cast<int>(state.range(0)), static_cast<float>(state.range(1)),
                       state.range(2) != 0, static_cast<int>(state.range(3)));
    side_by_side(state, list->count(), {{"plain", [&] { return plain_way(*list); }}},
                 {"ours", [&] { return our_way(*list); }});
}
BENCHMARK(smooth_version)
    ->ArgNames({"triangles", "units", "shuffled", "nudged"})
    ->ArgsProduct({{1000, 4000, 16000}, {15, 256}, {0, 1}, {0}})
    ->ArgsProduct({{1000, 4000, 16000}, {15}, {0}, {20, INT_MAX}})
    ->UseManualTime()
    ->MinTime(0.05);

// Without the plain way, which would take minutes.
static void smooth_version_large(benchmark::State& state) {
    const WDB_Tri_List* const list = mesh_of_pieces(static_cast<int>(state.range(0)), 15, false,
                                                    static_cast<int>(state.range(1)));
    for (auto _ : state) benchmark::DoNotOptimize(WDB_Smoother().smooth_version(list));
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * list->count());
}
BENCHMARK(smooth_version_large)
    ->ArgNames({"triangles", "nudged"})
    ->ArgsProduct({{40000, 320000}, {0, 20, INT_MAX}})
    ->Unit(benchmark::kMillisecond);
