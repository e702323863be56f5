#include "std/Std_Tmp_Alloc.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <gc.h>
#include <gtest/gtest.h>
#include <vector>

#include "std/Std_GC_Cleanup.h"
#include "std/Std_Test.h"

using Pool = STD_TMP_ALLOC_POOL_T;

static std::size_t current_size(const Pool* pool) {
    return static_cast<std::size_t>(pool->current_block->end - pool->current_block->start);
}

TEST(Std_Tmp_Alloc, which_block_the_memory_comes_from) {
    const struct {
        const char* row;
        std::size_t first;
        std::vector<std::size_t> sizes;
        std::size_t block, used; // of the block that is current in the end
    } rows[] = {
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
    for (const auto& r : rows) {
        SCOPED_TRACE(r.row);
        Pool* const pool = std_tmp_alloc_new_pool(r.first);
        for (const std::size_t size : r.sizes) {
            char* const memory = static_cast<char*>(std_tmp_alloc(pool, size));
            ASSERT_EQ(memory == nullptr, size == 0);
            ASSERT_EQ(std::count(memory, memory + size, '\0'), static_cast<long>(size));
            std::fill_n(memory, size, 'x');
        }
        EXPECT_EQ(current_size(pool), r.block);
        EXPECT_EQ(pool->current_block->cursor - pool->current_block->start,
                  static_cast<long>(r.used));
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

static void count_as_gone(void*, void* counter) {
    ++*static_cast<int*>(counter);
}

static void collect() {
    GC_gcollect();
    GC_invoke_finalizers();
}

// Fills the pool with pointers to blocks that nothing else points to. `gap` bytes stand before
// each pointer.
[[gnu::noinline]] static void point_to_blocks(Pool* pool, int count, std::size_t gap, int* gone) {
    for (int i = 0; i < count; ++i) {
        if (gap != 0) new (pool) char[gap];
        char* const at = static_cast<char*>(std_tmp_alloc(pool, sizeof(void*)));
        void* const target = ::operator new(48, GC, count_as_gone, gone);
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
    const auto dies = ::testing::ExitedWithCode(1);
    const char* const report = "FATAL  : Out of memory in line [0-9]+ of file std/Std_Tmp_Alloc.cc";
    Pool* const pool = std_tmp_alloc_new_pool(0);
    EXPECT_EXIT(std_tmp_alloc_new_pool(std::size_t(1) << 46), dies, report);
    for (const std::size_t size :
         {std::size_t(1) << 46, SIZE_MAX, SIZE_MAX - 3, SIZE_MAX - 4, SIZE_MAX / 2, SIZE_MAX / 4})
        EXPECT_EXIT(std_tmp_alloc(pool, size), dies, report) << size;
    std_tmp_free_pool(pool);
}

namespace {
struct Far {
    virtual ~Far() {}
    long room[3] = {};
};
struct Nothing {};
template<class First>
class Cleaned : public First, public Std_GC_Cleanup {
public:
    Cleaned(int enable, int* gone) : Std_GC_Cleanup(enable), gone_(gone) {}
    ~Cleaned() override { ++*gone_; }

private:
    int* gone_;
};
} // namespace

template<class T>
[[gnu::noinline]] static void make(int enable, bool is_deleted, Pool* placement, int* gone) {
    for (int i = 0; i < 1000; ++i) {
        T* const object = new (placement) T(enable, gone);
        if (is_deleted) delete object;
    }
}

TEST(Std_GC_Cleanup, destructors_run_once_at_most) {
    Pool* const pool = std_tmp_alloc_new_pool(1000);
    const struct {
        const char* row;
        int enable;
        bool is_deleted;
        Pool* placement;
        int least, most;
    } rows[] = {
        {"dropped", 1, false, GC, 900, 1000},    {"dropped, not enabled", 0, false, GC, 0, 0},
        {"deleted", 1, true, GC, 1000, 1000},    {"deleted, not enabled", 0, true, GC, 1000, 1000},
        {"not collected", 1, false, NoGC, 0, 0}, {"in a pool", 1, false, pool, 0, 0},
    };
    static int gone[2][std::size(rows)];
    for (std::size_t kind = 0; kind < 2; ++kind) {
        for (std::size_t i = 0; i < std::size(rows); ++i) {
            const auto& r = rows[i];
            const auto make_them = kind == 0 ? make<Cleaned<Nothing>> : make<Cleaned<Far>>;
            make_them(r.enable, r.is_deleted, r.placement, &gone[kind][i]);
            collect();
            EXPECT_GE(gone[kind][i], r.least) << r.row;
        }
    }
    std_tmp_free_pool(pool);
    // Blocks that are used again must have lost their finalisers.
    for (int i = 0; i < 100000; ++i) std::memset(new (GC) char[sizeof(Cleaned<Far>)], 7, 40);
    collect();
    for (const auto& counts : gone) {
        for (std::size_t i = 0; i < std::size(rows); ++i) EXPECT_LE(counts[i], rows[i].most);
    }
    int on_the_stack = 0;
    { Cleaned<Far> object(1, &on_the_stack); }
    EXPECT_EQ(on_the_stack, 1);
}

TEST(Std_Test, report) {
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    char equal[] = "1 2";
    Std_Test tests;
    tests.start("Box");
    tests.test("center", equal, "1 2");
    tests.test("size", "3", "4");
    tests.unchecked_test("print", "3", "4");
    tests.start("Point");
    tests.test("sum", "1", "1");
    tests.finish();
    std::fflush(stdout);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), R"(
Testing Box:

   Box Test 1 (center)  succeeded.
   Should = 1 2
   Does   = 1 2

   Box Test 2 (size)  FAILED!
   Should = 4
   Does   = 3

   Box Test 3 (print) unckecked.
   Should = 4
   Does   = 3

   Box failed 1 of 3 checkable tests.

Testing Point:

   Point Test 1 (sum)  succeeded.
   Should = 1
   Does   = 1

   Point passed all checkable tests.
)");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), R"(## Box Test 2 (size) FAILED!
## Box failed 1 of 3 checkable tests.
## Point passed all checkable tests.
)");
}
