// A host program has threads that the library did not start.
#include <csignal>
#include <gc.h>
#include <pthread.h>
#include <thread>

#include "base/Gap_List.h"
#include "base/Hash_Table.h"
#include "std/Std_Assert.h"
#include "std/Std_Common.h"
#include "std/Std_String.h"
#include "std/Std_Tmp_Alloc.h"
#include "tests/Test.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Node.h"
#include "wdb/WDB_Tri_List.h"

// What nothing else points to.
static thread_local Gap_List<int>* only_here = nullptr;

static void fill_only_here() {
    only_here = new Gap_List<int>;
    for (int i = 0; i < 100; ++i) only_here->insert_last(i);
}

static int wrong_only_here() {
    int wrong = 0;
    for (int i = 0; i < 100; ++i) wrong += (*only_here)[i] != i;
    return wrong;
}

// At the very end of a thread, when its thread_locals are gone.
static pthread_key_t late_key;

static void allocate_late(void* text) {
    delete static_cast<std::string*>(text);
    for (int i = 0; i < 100; ++i)
        std::vector<std::string>(10, "a text that needs memory of its own");
}

// The number of entries that did not keep what was put into them.
static int grow_and_shrink(int seed) {
    pthread_setspecific(late_key, new std::string("a text that is longer than a short one"));
    fill_only_here();
    STD_TMP_ALLOC_POOL_T* const pool = std_tmp_alloc_new_pool(256);
    Gap_List<Std_String*> list;
    Hash_Table<int, Std_String*> table;
    std::vector<std::string> plain;
    int wrong = 0;
    for (int round = 0; round < 400; ++round) {
        const char* const text = str_format("text %d of thread %d", round, seed);
        auto* const kept = new Std_String(text);
        list.insert_last(kept);
        table.put(kept, round);
        plain.emplace_back(text);
        wrong += std_tmp_get_pool(std_tmp_alloc(pool, 40)) != pool;
        if (round % 150 != 149) continue;
        for (int i = 0; i < list.count(); ++i) wrong += plain[std::size_t(i)] != list[i]->chars();
        list.wipe_out();
        plain.clear();
        std_assert(0, text, __FILE__, __LINE__);
    }
    for (int round = 0; round < 400; ++round) {
        const char* const text = str_format("text %d of thread %d", round, seed);
        wrong += !table.find(round) || std::string((*table.found_item())->chars()) != text;
    }
    std_tmp_free_pool(pool);
    return wrong + wrong_only_here();
}

static void build_world() {
    WDB_Database world;
    for (int i = 0; i < 200; ++i) {
        auto* const list = new WDB_Tri_List(1);
        list->begin_editing();
        list->put(WDB_Triangle(Point(0, 0, 0), Point(1, 0, 0), Point(0, 1, float(i))), 0);
        list->end_editing();
        world.put(new WDB_Node("node", HFrame(Frame::translation(float(i), 0, 0)), list, nullptr,
                               nullptr));
        if (i % 50 == 0) GC_gcollect();
    }
    EXPECT_EQ(world.shape_count(), 200);
}

TEST(Threads, AllocateWhileTheMainThreadBuildsAWorld) {
    testing::internal::CaptureStderr();
    ASSERT_EQ(pthread_key_create(&late_key, allocate_late), 0);
    fill_only_here();
    for (int run = 0; run < 100; ++run) {
        int wrong[4] = {};
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([i, &wrong] {
                // As sound and window libraries do in theirs.
                sigset_t all;
                sigfillset(&all);
                pthread_sigmask(SIG_SETMASK, &all, nullptr);
                wrong[i] = grow_and_shrink(i);
            });
        }
        build_world();
        for (std::thread& thread : threads) thread.join();
        for (int i = 0; i < 4; ++i) EXPECT_EQ(wrong[i], 0);
    }
    EXPECT_EQ(wrong_only_here(), 0);
    pthread_key_delete(late_key);
    EXPECT_TRUE(holds(testing::internal::GetCapturedStderr(), "INFO   : text 299 of thread 3"));
}
