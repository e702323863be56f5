// wdb_topology_split of one mesh of many pieces against the same steps with a test of every
// triangle that is left, each time through. A row counts only if both find the same parts, the same
// triangles in them in the same order, and report the same growth.
#include "wdb/wdb_topology_split.h"

#include <climits>

#include "bench/meshes.h"
#include "bench/plain_split.h"
#include "bench/side_by_side.h"
#include "std/Std_Messager.h"
#include "wdb/WDB_Database.h"

namespace {

// Adds up reports, and the nodes that are put, part by part.
class Reports_Sum : public Std_Messager {
    STD_OBJ_CLASS(Reports_Sum, Std_Messager)
    Reports_Sum() : Std_Messager(1, 1) {}
    void refresh(const char* text) override {
        if (std::string_view(text).find("onnected component") != std::string_view::npos)
            sum = sum * 31 + std::hash<std::string_view>()(text);
    }
    std::uint64_t sum = 0;
};

class Split_World : public WDB_Database {
    STD_OBJ_CLASS(Split_World, WDB_Database)
    explicit Split_World(const WDB_Tri_List* list) {
        WDB_Database::put(new WDB_Node("n", HFrame::identity(), list, nullptr, nullptr));
    }
    void put(WDB_Node* node) override { parts.push_back(node); }
    std::vector<WDB_Node*> parts;
};

} // namespace

// Of where the triangles of a part begin.
static std::uint64_t add(std::uint64_t sum, const WDB_Triangle& triangle) {
    for (int axis = 0; axis < 3; ++axis)
        sum = sum * 31 + std::bit_cast<std::uint32_t>(triangle.p0[axis]);
    return sum;
}

static std::uint64_t sum_of_reports(const std::string& reports) {
    Reports_Sum sum;
    std::size_t at = 0;
    for (std::size_t end; (end = reports.find("\nTOPO", at)) != std::string::npos; at = end + 1)
        sum.refresh(reports.substr(at, end - at).c_str());
    return sum.sum;
}

static void split_both_ways(benchmark::State& state, const WDB_Tri_List* list) {
    const auto plain_way = [&] {
        const Plain_Split split(*list);
        std::uint64_t sum = sum_of_reports(split.reports);
        for (const auto& part : split.parts)
            for (const WDB_Triangle* const triangle : part) sum = add(sum, *triangle);
        return sum;
    };
    Split_World* world = nullptr;
    Reports_Sum* reports = nullptr;
    const auto our_way = [&] {
        std_set_current_messager(reports);
        wdb_topology_split(*world);
        std_set_current_messager(nullptr);
        std::uint64_t sum = reports->sum;
        for (const WDB_Node* const node : world->parts) {
            const auto& part = *WDB_Tri_List::const_castdown(node->get_geometry());
            for (int i = 0; i < part.count(); ++i) sum = add(sum, part[i]);
        }
        return sum;
    };
    side_by_side(state, list->count(), {{"plain", plain_way}}, {"ours", our_way, [&] {
                                                                    world = new Split_World(list);
                                                                    reports = new Reports_Sum;
                                                                }});
    state.counters["parts"] = static_cast<double>(world->parts.size());
}

// "nudged" corners differ in their last bits, so that equality does not carry over.
static void topology_split(benchmark::State& state) {
    split_both_ways(state, mesh_of_pieces(static_cast<int>(state.range(0)),
                                          static_cast<float>(state.range(1)), state.range(2) != 0,
                                          static_cast<int>(state.range(3))));
}
BENCHMARK(topology_split)
    ->ArgNames({"triangles", "units", "shuffled", "nudged"})
    ->ArgsProduct({{1000, 4000, 16000}, {15, 256}, {0, 1}, {0}})
    ->ArgsProduct({{1000, 4000, 16000}, {15}, {0}, {20, INT_MAX}})
    ->UseManualTime()
    ->MinTime(0.05);

// Pieces of one triangle each, all of which meet at one corner.
static WDB_Tri_List* pieces_at_one_corner(int count) {
    auto* const list = new WDB_Tri_List(count);
    for (int i = 0; i < count; ++i) {
        const float x = 100 + static_cast<float>(i % 1000), y = static_cast<float>(i / 1000);
        list->put(WDB_Triangle({0, 0, 0}, {x, y, 0}, {x, y, 1}), i);
    }
    list->end_editing();
    return list;
}

static void topology_split_at_one_corner(benchmark::State& state) {
    split_both_ways(state, pieces_at_one_corner(static_cast<int>(state.range(0))));
}
BENCHMARK(topology_split_at_one_corner)->Arg(500)->Arg(4000)->UseManualTime()->MinTime(0.05);

// Without the plain way, which would take minutes.
static void topology_split_large(benchmark::State& state) {
    const WDB_Tri_List* const list = mesh_of_pieces(static_cast<int>(state.range(0)), 15, true,
                                                    static_cast<int>(state.range(1)));
    std_set_current_messager(new Reports_Sum);
    for (auto _ : state) {
        state.PauseTiming();
        Split_World world(list);
        state.ResumeTiming();
        wdb_topology_split(world);
    }
    std_set_current_messager(nullptr);
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * list->count());
}
BENCHMARK(topology_split_large)
    ->ArgNames({"triangles", "nudged"})
    ->ArgsProduct({{40000, 320000}, {0, 20, INT_MAX}})
    ->Unit(benchmark::kMillisecond);
