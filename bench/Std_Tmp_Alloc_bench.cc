// Blocks from a pool against blocks of the collector, and what a pool that exists costs delete.
#include "std/Std_Tmp_Alloc.h"

#include "bench/side_by_side.h"

static const int count = 10000;

template<class Allocate>
static std::uint64_t allocate_all(std::vector<void*>& blocks, Allocate allocate) {
    for (int i = 0; i < count; ++i) blocks.push_back(allocate());
    return blocks.size();
}

static void allocate(benchmark::State& state) {
    const auto size = static_cast<std::size_t>(state.range(0));
    STD_TMP_ALLOC_POOL_T* const pool = std_tmp_alloc_new_pool(count * (size + 8));
    std::vector<void*> blocks;
    blocks.reserve(count);
    const auto forget = [&] { blocks.clear(); };
    side_by_side(
        state, count,
        {{"collected",
          [&] { return allocate_all(blocks, [=] { return ::operator new(size, GC); }); }, forget},
         {"new and delete",
          [&] {
              allocate_all(blocks, [=] { return ::operator new(size, GC); });
              for (void* const block : blocks) std_release(block);
              return std::uint64_t{count};
          },
          forget}},
        {"pool and reset",
         [&] {
             allocate_all(blocks, [=] { return std_tmp_alloc(pool, size); });
             std_tmp_reset_pool(pool);
             return std::uint64_t{count};
         },
         forget});
    std_tmp_free_pool(pool);
}
BENCHMARK(allocate)->ArgName("bytes")->Arg(16)->Arg(64)->Arg(240)->UseManualTime()->MinTime(0.1);

// Collected blocks of 64 bytes, made before the pools and after.
static void delete_beside_pools(benchmark::State& state) {
    std::vector<STD_TMP_ALLOC_POOL_T*> pools;
    std::vector<void*> blocks;
    blocks.reserve(count);
    const auto prepare = [&](bool has_pools) {
        return [&, has_pools] {
            for (STD_TMP_ALLOC_POOL_T* const pool : pools) std_tmp_free_pool(pool);
            pools.clear();
            blocks.clear();
            allocate_all(blocks, [] { return ::operator new(64, GC); });
            for (int i = 0; has_pools && i < state.range(0); ++i)
                pools.push_back(std_tmp_alloc_new_pool(64 * 1024));
        };
    };
    const auto delete_all = [&] {
        for (void* const block : blocks) std_release(block);
        return std::uint64_t{count};
    };
    side_by_side(state, count, {{"no pools", delete_all, prepare(false)}},
                 {"with pools", delete_all, prepare(true)});
    for (STD_TMP_ALLOC_POOL_T* const pool : pools) std_tmp_free_pool(pool);
}
BENCHMARK(delete_beside_pools)
    ->ArgName("pools")
    ->Arg(1)
    ->Arg(10)
    ->Arg(100)
    ->UseManualTime()
    ->MinTime(0.1);
