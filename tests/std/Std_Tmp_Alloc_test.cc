#include "std/Std_Tmp_Alloc.h"

#include "std/Std_Obj.h"
#include "tests/Collected.h"

using Pool = STD_TMP_ALLOC_POOL_T;

static std::size_t current_size(const Pool* pool) {
    return static_cast<std::size_t>(pool->current_block->end - pool->current_block->start);
}

TEST(Std_Tmp_Alloc, which_block_the_memory_comes_from) {
    const std::tuple<const char*, std::size_t, std::vector<std::size_t>, std::size_t, std::size_t>
        rows[] = {
            {"at least 256", 10, {}, 256, 0},
            {"steps of 4", 300, {1, 4, 5}, 300, 16},
            {"nothing for nothing", 256, {0}, 256, 0},
            {"the last byte stays", 256, {256}, 512, 256},
            {"up to the last unit", 256, {252}, 256, 252},
            {"the last unit stays as well", 256, {252, 1}, 256, 4},
            {"an odd end leaves room", 257, {256}, 257, 256},
            {"as large as the first", 4096, {4000, 200}, 4096, 200},
            {"twice what is asked", 4096, {4000, 3000}, 6000, 3000},
        };
    for (const auto& [row, first, sizes, block, used] : rows) {
        SCOPED_TRACE(row);
        Pool* const pool = std_tmp_alloc_new_pool(first);
        for (const std::size_t size : sizes) {
            char* const memory = static_cast<char*>(std_tmp_alloc(pool, size));
            ASSERT_EQ(memory == nullptr, size == 0);
            ASSERT_EQ(std::count(memory, memory + size, '\0'), static_cast<long>(size));
            std::fill_n(memory, size, 'x');
        }
        EXPECT_EQ(current_size(pool), block);
        EXPECT_EQ(pool->current_block->cursor - pool->current_block->start,
                  static_cast<long>(used));
        std_tmp_free_pool(pool);
    }
}

TEST(Std_Tmp_Alloc, a_reset_pool_begins_anew_and_puts_blocks_in_between) {
    Pool* const pool = std_tmp_alloc_new_pool(1000);
    std::vector<char*> before;
    const std::size_t sizes[] = {600, 601, 900, 3, 2000, 40};
    for (int round = 0; round < 3; ++round) {
        for (std::size_t i = 0; i < std::size(sizes); ++i) {
            char* const memory = new (pool) char[sizes[i]];
            if (round == 0) before.push_back(memory);
            ASSERT_EQ(memory, before[i]) << round << ' ' << i;
            ASSERT_EQ(std::count(memory, memory + sizes[i], '\0'), static_cast<long>(sizes[i]));
            std::memset(memory, 'x', sizes[i]);
            EXPECT_EQ(std_tmp_get_pool(memory + sizes[i] - 1), pool);
        }
        std_tmp_reset_pool(pool);
    }
    new (pool) char[500];
    EXPECT_NE(new (pool) char[1300], before[1]) << "the second block has 1208 bytes";
    EXPECT_EQ(current_size(pool), 2600u);
    EXPECT_EQ(new (pool) char[1200], pool->current_block->start + 1300);
    EXPECT_EQ(new (pool) char[1200], before[1]) << "it comes after the one in between";
    std_tmp_free_pool(pool);
}

namespace {
class Part : public Std_Obj {
    STD_OBJ_CLASS(Part, Std_Obj)
    virtual ~Part() {}
    void* kept = nullptr;
};
} // namespace

TEST(Std_Tmp_Alloc, pools_as_placements) {
    std::vector<Pool*> pools;
    for (int i = 0; i < 3; ++i) pools.push_back(std_tmp_alloc_new_pool(100));
    for (const unsigned i : {1u, 2u, 0u}) { // first from the middle of the list
        Pool* const pool = pools[i];
        Part* const part = new (pool) Part;
        EXPECT_EQ(std_get_placement(part), pool);
        EXPECT_EQ(std_get_subobject_placement(&part->kept), pool);
        const void* const inside = &part->kept;
        delete part;
        EXPECT_GT(static_cast<void*>(new (pool) Part), inside) << "deleted and used again";
        Part* const collected = new Part;
        EXPECT_EQ(std_get_placement(collected), GC);
        EXPECT_EQ(std_get_subobject_placement(&pools), GC);
        delete collected;
        std_tmp_free_pool(pool);
        EXPECT_EQ(std_tmp_get_pool(inside), nullptr);
    }
    EXPECT_EQ(std_tmp_get_pool(nullptr), nullptr);
    EXPECT_EQ(Pool::active_pools, nullptr);
}

// Fills the pool with pointers to blocks that nothing else points to. `gap` bytes stand before
// each pointer.
[[gnu::noinline]] static void point_to_blocks(Pool* pool, int count, std::size_t gap, int* gone) {
    for (int i = 0; i < count; ++i) {
        if (gap != 0) new (pool) char[gap];
        char* const at = static_cast<char*>(std_tmp_alloc(pool, sizeof(void*)));
        void* const target = counted_block(gone);
        std::memcpy(at, &target, sizeof target);
    }
}

TEST(Std_Tmp_Alloc, a_pointer_in_a_pool_keeps_its_target) {
    const int count = 1000;
    // Stale words on the stack may keep a few, so each round has a counter of its own.
    static int gone[4][2];
    for (int i = 0; i < 4; ++i) {
        const std::size_t gap = 4 * static_cast<std::size_t>(i);
        for (const bool is_freed : {false, true}) {
            Pool* const pool = std_tmp_alloc_new_pool(3000);
            point_to_blocks(pool, count, gap, &gone[i][is_freed]);
            collect();
            EXPECT_EQ(gone[i][is_freed], 0) << gap;
            is_freed ? std_tmp_free_pool(pool) : std_tmp_reset_pool(pool);
            collect();
            EXPECT_GT(gone[i][is_freed], count - 20) << gap << is_freed;
            if (!is_freed) std_tmp_free_pool(pool);
        }
    }
}

TEST(Std_Tmp_Alloc_death, memory_that_is_not_to_be_had) {
    const char* const report = "FATAL  : Out of memory in line [0-9]+ of file std/Std_Tmp_Alloc.cc";
    Pool* const pool = std_tmp_alloc_new_pool(0);
    EXPECT_FATAL(std_tmp_alloc_new_pool(std::size_t(1) << 46), report);
    for (const std::size_t size :
         {std::size_t(1) << 46, SIZE_MAX, SIZE_MAX - 3, SIZE_MAX - 4, SIZE_MAX / 2, SIZE_MAX / 4})
        EXPECT_FATAL(std_tmp_alloc(pool, size), report) << size;
    std_tmp_free_pool(pool);
}
