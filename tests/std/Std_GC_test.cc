#include "std/Std_GC.h"

#include <memory>

#include "std/Std_Collector.h"
#include "std/Std_Heap_Ahead.h"
#include "std/Std_Messager.h"
#include "std/Std_Obj.h"
#include "tests/Collected.h"

namespace {
class Shape : public Std_Obj {
    STD_OBJ_CLASS(Shape, Std_Obj)
    int sides = 0;
};

// Built before the library's own static objects: this file comes first.
struct Early {
    Shape* shape = new Shape;
    int* numbers = new (GCAtomic) int[100];
    bool is_shape = Shape::is_instance(shape);
    bool is_silent = *std_get_current_messager()->message_history_item(0) == '\0';
} early;
} // namespace

TEST(Std_GC, stands_while_static_objects_are_built) {
    EXPECT_TRUE(early.is_shape);
    EXPECT_GT(early.shape->get_instance_id(), 0);
    EXPECT_EQ(std_get_placement(early.numbers), GC);
    EXPECT_TRUE(early.is_silent);
}

// In a call of its own: for the language a new block has no values, and compilers warn.
[[gnu::noinline]] static std::ptrdiff_t count_zeros(const char* block, std::ptrdiff_t size) {
    return std::count(block, block + size, '\0');
}

TEST(Std_GC, every_kind_reads_as_zero_also_after_use) {
    for (STD_TMP_ALLOC_POOL_T* kind : {GC, NoGC, GCAtomic, NoGCAtomic}) {
        for (int round = 0; round < 200; ++round) {
            char* block = new (kind) char[1000];
            ASSERT_EQ(count_zeros(block, 1000), 1000);
            std::fill(block, block + 1000, '\x55');
            std_release(block);
        }
    }
}

TEST(Std_GC, placement_is_told_for_any_address) {
    static Shape fixed;
    auto in_std_memory = std::make_unique<int[]>(10);
    EXPECT_EQ(std_get_placement(&fixed), nullptr);
    EXPECT_EQ(std_get_subobject_placement(&fixed), GC);
    EXPECT_EQ(std_get_placement(&in_std_memory[5]), GC);
    Std_GC::operator delete(nullptr);
}

// So large that a block which is given back is none at once.
namespace {
struct Page {
    ~Page() {}
    char bytes[10000];
};
struct alignas(256) Aligned_Page : Page {};
} // namespace

// In a call of its own: compilers warn of what they see here.
[[gnu::noinline]] static void expect_to_go_back(void* block, void (*give_back)(void*)) {
    EXPECT_EQ(std_get_placement(block), GC);
    void* const volatile address = block;
    give_back(block);
    EXPECT_EQ(std_get_placement(address), nullptr);
}

TEST(Std_GC, plain_and_over_aligned_blocks_come_from_the_collector_and_go_back) {
    constexpr std::size_t size = 10000;
    constexpr auto page = std::align_val_t(256);
    const auto check = expect_to_go_back;
    for (int i = 0; i < 9; ++i) {
        void* const aligned = ::operator new(size, page);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(aligned) % 256, 0u);
        check(aligned, [](void* p) { ::operator delete(p, page); });
        check(::operator new[](size, page), [](void* p) { ::operator delete[](p, page); });
        check(::operator new(size), [](void* p) { ::operator delete(p); });
        check(::operator new[](size), [](void* p) { ::operator delete[](p); });
        // With the size, where compilers pass it.
        check(new Page, [](void* p) { delete static_cast<Page*>(p); });
        check(new Page[1], [](void* p) { delete[] static_cast<Page*>(p); });
        check(new Aligned_Page, [](void* p) { delete static_cast<Aligned_Page*>(p); });
        check(new Aligned_Page[1], [](void* p) { delete[] static_cast<Aligned_Page*>(p); });
        check(Std_GC::operator new(size, GCAtomic), [](void* p) { Std_GC::operator delete(p); });
        check(Std_GC::operator new[](size), [](void* p) { Std_GC::operator delete[](p); });
    }
}

TEST(Std_GC, cleanup_runs_for_collected_kinds_and_plain_new_keeps_its_targets) {
    static int cleaned;
    std::vector<Shape*> kept;
    for (int i = 0; i < 1000; ++i) {
        new (
            GC, [](void*, void* count) { ++*static_cast<int*>(count); }, &cleaned) char[64];
        kept.push_back(new Shape);
        kept.back()->sides = i;
    }
    collect();
    // A few may be kept alive by stale words on the stack.
    EXPECT_GT(cleaned, 900);
    for (int i = 0; i < 100000; ++i) new Shape;
    for (int i = 0; i < 1000; ++i) ASSERT_EQ(kept[static_cast<std::size_t>(i)]->sides, i);
}

TEST(Std_GC_death, memory_that_is_not_to_be_had_is_a_fatal_report) {
    EXPECT_FATAL(new (GCAtomic) char[std::size_t(1) << 46],
                 "FATAL  : Out of memory: 70368744177664 bytes are not to be had in line [0-9]+ of "
                 "file std/Std_GC.cc");
}

TEST(Std_GC, nothrow_new_is_the_collectors_and_may_answer_null) {
    std::unique_ptr<char[]> block(new (std::nothrow) char[100]());
    EXPECT_EQ(std_get_placement(block.get()), GC);
    EXPECT_EQ(new (std::nothrow) char[std::size_t(1) << 46], nullptr);
    EXPECT_EQ(::operator new(std::size_t(1) << 46, std::align_val_t(256), std::nothrow), nullptr);
}

#ifndef NOLT_PLAIN_HEAP
TEST(Std_GC, a_step_collects_after_what_it_took_itself) {
    const std::size_t megabyte = std::size_t(1) << 20;
    const auto collects = [](std::size_t growth, std::size_t taken) {
        Std_Heap_Ahead ahead;
        const Std_Heap_Watch watch;
        const std::uint64_t before = Std_Collector::collection_count();
        std_expect(growth); // as another thread may
        std_release(new (GCAtomic) char[taken]);
        ahead.step(); // touches what is free, and keeps none
        watch.collect_if_grown();
        return Std_Collector::collection_count() != before;
    };
    EXPECT_FALSE(collects(16 * megabyte, 1000));
    EXPECT_TRUE(collects(32 * megabyte, 2 * megabyte));
}
#endif
