// Hash_Table against std::unordered_map, with the keys this library has: addresses
// of collected objects, and texts.
//
// The map stands twice: as a program of this library gets it, where plain new is
// the collector's, and with nodes from malloc.
#include "base/Hash_Table.h"

#include <cstdlib>
#include <memory>
#include <random>
#include <string_view>
#include <unordered_map>

#include "bench/side_by_side.h"
#include "std/Std_Common.h"
#include "std/Std_Compare.h"

template<class T>
struct Malloc_Allocator {
    using value_type = T;
    Malloc_Allocator() = default;
    template<class U>
    Malloc_Allocator(const Malloc_Allocator<U>&) {}
    T* allocate(std::size_t n) { return static_cast<T*>(std::malloc(n * sizeof(T))); }
    void deallocate(T* p, std::size_t) { std::free(p); }
    bool operator==(const Malloc_Allocator&) const { return true; }
};

using Object = const void*;
using Keys = std::vector<Object>;
using Map = std::unordered_map<Object, std::intptr_t>;
using Malloc_Map =
    std::unordered_map<Object, std::intptr_t, std::hash<Object>, std::equal_to<Object>,
                       Malloc_Allocator<std::pair<const Object, std::intptr_t>>>;
using Table = Hash_Table<Object, std::intptr_t>;

// Objects of one size; every second one is a key, the others are looked for in vain.
struct Objects {
    explicit Objects(const benchmark::State& state) {
        const auto n = static_cast<std::size_t>(state.range(0));
        const auto size = static_cast<std::size_t>(state.range(1));
        for (std::size_t i = 0; i < 2 * n; ++i) {
            (i % 2 == 0 ? keys : others).push_back(new (GC) char[size]);
        }
        hits = keys;
        misses = others;
        std::mt19937 random(3);
        std::shuffle(hits.begin(), hits.end(), random);
        std::shuffle(misses.begin(), misses.end(), random);
    }
    Keys keys, others; // in the order of allocation
    Keys hits, misses; // shuffled
};

template<class M>
static void fill_map(M& map, const Keys& keys) {
    std::intptr_t i = 0;
    for (const Object key : keys) map[key] = ++i;
}
static void fill_table(Table& table, const Keys& keys) {
    std::intptr_t i = 0;
    for (const Object key : keys) table.put(++i, key);
}

template<class M>
static std::uint64_t sum_in_map(const M& map, const Keys& keys) {
    std::uint64_t sum = 0;
    for (const Object key : keys) {
        const auto at = map.find(key);
        if (at != map.end()) sum += static_cast<std::uint64_t>(at->second);
    }
    return sum;
}
static std::uint64_t sum_in_table(Table& table, const Keys& keys) {
    std::uint64_t sum = 0;
    for (const Object key : keys) {
        if (table.find(key)) sum += static_cast<std::uint64_t>(*table.found_item());
    }
    return sum;
}

struct Filled {
    Map map;
    Malloc_Map malloc_map;
    Table table;

    explicit Filled(const Keys& keys) {
        fill_map(map, keys);
        fill_map(malloc_map, keys);
        fill_table(table, keys);
    }
};

static void find(benchmark::State& state, const Objects& objects, const Keys& wanted) {
    Filled all(objects.keys);
    side_by_side(state, static_cast<std::int64_t>(wanted.size()),
                 {{"map", [&] { return sum_in_map(all.map, wanted); }},
                  {"malloc map", [&] { return sum_in_map(all.malloc_map, wanted); }}},
                 {"Hash_Table", [&] { return sum_in_table(all.table, wanted); }});
}

static void find_hits(benchmark::State& state) {
    const Objects objects(state);
    find(state, objects, objects.hits);
}
static void find_misses(benchmark::State& state) {
    const Objects objects(state);
    find(state, objects, objects.misses);
}
static void find_in_order(benchmark::State& state) {
    const Objects objects(state);
    find(state, objects, objects.keys);
}

template<class M>
static Side map_side(const char* name, const Keys& keys) {
    auto map = std::make_shared<M>();
    return {name,
            [map, &keys] {
                fill_map(*map, keys);
                return static_cast<std::uint64_t>(map->size());
            },
            [map] { *map = M(); }};
}

// From empty, all growth included.
static void insert_into_empty(benchmark::State& state, const Keys& keys) {
    Table* table = nullptr;
    const auto fill = [&] {
        fill_table(*table, keys);
        return static_cast<std::uint64_t>(table->count());
    };
    side_by_side(state, static_cast<std::int64_t>(keys.size()),
                 {map_side<Map>("map", keys), map_side<Malloc_Map>("malloc map", keys)},
                 {"Hash_Table", fill, [&] { table = new Table; }});
}
static void insert_in_order(benchmark::State& state) {
    const Objects objects(state);
    insert_into_empty(state, objects.keys);
}
static void insert_shuffled(benchmark::State& state) {
    const Objects objects(state);
    insert_into_empty(state, objects.hits);
}

// Takes out every fourth key and puts it back.
static void remove_and_put(benchmark::State& state) {
    const Objects objects(state);
    const Keys some(objects.hits.begin(),
                    objects.hits.begin() + static_cast<std::ptrdiff_t>(objects.hits.size() / 4));
    Filled all(objects.keys);
    const auto in_map = [&some](auto& m) {
        for (const Object key : some) m.erase(key);
        fill_map(m, some);
        return static_cast<std::uint64_t>(m.size());
    };
    const auto in_table = [&] {
        for (const Object key : some) all.table.remove(key);
        fill_table(all.table, some);
        return static_cast<std::uint64_t>(all.table.count());
    };
    side_by_side(state, static_cast<std::int64_t>(some.size()),
                 {{"map", [&] { return in_map(all.map); }},
                  {"malloc map", [&] { return in_map(all.malloc_map); }}},
                 {"Hash_Table", in_table});
}

#define EACH_SIZE                                                                                  \
    ArgNames({"n", "bytes"})                                                                       \
        ->ArgsProduct({{1000, 10000, 100000, 1000000}, {48, 64, 240}})                             \
        ->UseManualTime()                                                                          \
        ->MinTime(0.2)
BENCHMARK(find_hits)->EACH_SIZE;
BENCHMARK(find_misses)->EACH_SIZE;
BENCHMARK(find_in_order)->EACH_SIZE;
BENCHMARK(insert_in_order)->EACH_SIZE;
BENCHMARK(insert_shuffled)->EACH_SIZE;
BENCHMARK(remove_and_put)->EACH_SIZE;

// Numbered names share the low bits of their hash, which choose the home cell.
static void texts(benchmark::State& state) {
    std::vector<const char*> names;
    for (int i = 0; i < state.range(0); ++i) names.push_back(str_new(str_format("Sphere_%d", i)));
    std::vector<const char*> wanted = names;
    std::shuffle(wanted.begin(), wanted.end(), std::mt19937(3));
    std::unordered_map<std::string_view, int> map;
    const auto in_map = [&] {
        std::uint64_t sum = 0;
        for (const char* name : names) map[name] = static_cast<int>(sum++);
        for (const char* name : wanted) sum += static_cast<std::uint64_t>(map.find(name)->second);
        return sum;
    };
    Hash_Table<const char*, int>* table = nullptr;
    const auto in_table = [&] {
        std::uint64_t sum = 0;
        for (const char* name : names) table->put(static_cast<int>(sum++), name);
        for (const char* name : wanted) {
            table->find(name);
            sum += static_cast<std::uint64_t>(*table->found_item());
        }
        return sum;
    };
    side_by_side(state, state.range(0), {{"map", in_map, [&] { map = decltype(map)(); }}},
                 {"Hash_Table", in_table,
                  [&] { table = new Hash_Table<const char*, int>(charptr_hash, charptr_equal); }});
}
BENCHMARK(texts)->Arg(10000)->Arg(100000)->Arg(1000000)->UseManualTime();
