// WDB_Mesh_Arrays::update of a list that has changed against the plain way: std::unordered_map from
// the 12 floats of a corner to its number, with room for all corners reserved. Face normals let few
// corners share; with contents:0 positions alone are packed, and three corners in four share one.
#include "wdb/WDB_Mesh_Arrays.h"

#include <bit>
#include <cstring>
#include <string_view>
#include <unordered_map>

#include "bench/meshes.h"
#include "bench/side_by_side.h"

static std::uint64_t add(std::uint64_t sum, std::size_t index) {
    return std::rotl(sum, 5) ^ index;
}

namespace {
struct Hash {
    std::size_t operator()(const WDB_Vertex& v) const {
        return std::hash<std::string_view>()({reinterpret_cast<const char*>(&v), sizeof v});
    }
};
struct Equal {
    bool operator()(const WDB_Vertex& a, const WDB_Vertex& b) const {
        return std::memcmp(&a, &b, sizeof a) == 0;
    }
};
} // namespace

static std::uint64_t plain_way(const WDB_Tri_List& list, unsigned contents) {
    std::unordered_map<WDB_Vertex, std::uint32_t, Hash, Equal> numbers;
    numbers.reserve(list.vertex_count());
    std::vector<WDB_Vertex> vertices;
    std::vector<std::uint32_t> indices;
    const auto put = [&](WDB_Vertex v) {
        if (contents == 0) v = {v.position, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}};
        const auto [at, is_new] = numbers.try_emplace(v, vertices.size());
        if (is_new) vertices.push_back(v);
        indices.push_back(at->second);
    };
    for (const WDB_Triangle& t : list) {
        put({t.p0, t.n0, t.c0, t.t0});
        put({t.p1, t.n1, t.c1, t.t1});
        put({t.p2, t.n2, t.c2, t.t2});
    }
    std::uint64_t sum = vertices.size();
    for (const std::uint32_t index : indices) sum = add(sum, index);
    return sum;
}

static std::uint64_t our_way(WDB_Mesh_Arrays& mesh, WDB_Tri_List& list) {
    list.touch();
    mesh.update(list);
    std::uint64_t sum = mesh.vertex_count();
    for (std::size_t i = 0; i < mesh.index_count(); ++i) sum = add(sum, mesh.index(i));
    return sum;
}

static void update(benchmark::State& state) {
    const auto contents = static_cast<unsigned>(state.range(1));
    WDB_Tri_List* const list =
        mesh_of_pieces(static_cast<int>(state.range(0)), 256, state.range(2) != 0);
    WDB_Mesh_Arrays mesh(contents);
    side_by_side(state, list->count(), {{"map", [&] { return plain_way(*list, contents); }}},
                 {"ours", [&] { return our_way(mesh, *list); }});
    state.counters["vertices"] = static_cast<double>(mesh.vertex_count());
}
BENCHMARK(update)
    ->ArgNames({"triangles", "contents", "shuffled"})
    ->ArgsProduct({{3000, 300000}, {WDB_WITH_ALL, 0}, {0, 1}})
    ->UseManualTime()
    ->MinTime(0.05);
