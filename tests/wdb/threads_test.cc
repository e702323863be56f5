// A host program has threads that the library did not start.
#include <csignal>
#include <gc.h>
#include <pthread.h>
#include <thread>

#include "base/Gap_List.h"
#include "base/Hash_Table.h"
#include "images/PX_Map.h"
#include "std/Std_Assert.h"
#include "std/Std_Common.h"
#include "std/Std_String.h"
#include "std/Std_Tmp_Alloc.h"
#include "tests/Scratch_Folder.h"
#include "tests/Test.h"
#include "tests/wdb/support.h"
#include "wdb/WDB_Camera.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Load_Report.h"
#include "wdb/wdb_load.h"
#include "wdb/wdb_save.h"

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

// Calls work(0), work(1) ... each in a thread of its own.
template<class Work>
static void at_once(int count, Work work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) threads.emplace_back([i, work] { work(i); });
    for (std::thread& thread : threads) thread.join();
}

static bool append_name(SUniv* user, const WDB_Node* node, const Bbox&) {
    *Conv<std::string*>::from_univ(user) += node->get_printable_name() + std::string(" ");
    return false;
}

// What walks and picks find in a world of 10 by 10 squares.
static std::string seen_in(WDB_Database& world) {
    std::string names;
    SUniv* const user = Conv<std::string*>::to_univ(&names);
    world.apply_to_shapes(user, append_name);
    world.apply_to_shapes(user, Bbox(Point(2, 2, -9), Point(5, 7, 9)), append_name);
    for (int i = 0; i < 10; ++i) {
        const Point p(float(i) + .1f, float(i * i % 10) + .1f, 9);
        const WDB_Node* const hit =
            world.closest_object_on_line(p, p - Vector(0, 0, 99), 0, 1, 0, 2);
        names += hit ? hit->get_name() : "none ";
    }
    WDB_Camera* const camera = world.default_camera();
    return names + printed(camera->get_viewing_x_render_projection()) +
           shown(world.visible_shape_count(camera->get_viewing_x_render_projection()));
}

class Threads_With_Files : public Scratch_Folder_Test {};

TEST_F(Threads_With_Files, load_save_and_look_each_at_its_own) {
    const Report_Catcher catcher;
    const auto work = [](int i) {
        const std::string name = str_format("t%d", i);
        WDB_Load_Report report;
        WDB_Database* const world = wdb_load((name + "/scene").c_str(), nullptr, report);
        const int status = wdb_save(*world, (name + "/saved").c_str());
        const PX_Map copy((name + ".rgb").c_str(), 0);
        const auto* const pixels = reinterpret_cast<const char*>(copy.get_pixels());
        return seen_in(*world) + file(name + "/saved") + std::string(pixels, 64 * 32 * 3) +
               shown("", report.errors, status, copy.get_width());
    };
    std::string should[4];
    for (int i = 0; i < 4; ++i) {
        const std::string name = str_format("t%d", i);
        std::filesystem::create_directory(name);
        PX_Map map(64, 32, 3);
        for (int k = 0; k < 64 * 32 * 3; ++k)
            map.get_pixels()[k] = static_cast<unsigned char>(k * k / (i + 1));
        map.save((name + "/image.rgb").c_str());
        std::string scene = "Texture " + name + " {\nimage \"image.rgb\"\n}\n" +
                            "Import file {\nfile \"part.gz\"\n}\n";
        for (int k = 0; k < 100; ++k)
            scene += str_format("Node n%d {\nframe t %d %d %d\ntexture %s\ngeometry g\n}\n", k,
                                k % 10, k / 10, -k * i, name.c_str());
        put_file(name + "/scene", scene);
        put_file(name + "/part", "TriangleList g {\ntriangle p 0 0 0 1 0 0 0 1 0\n}\n");
        ASSERT_EQ(run("gzip " + name + "/part"), 0);
        work(i); // which leaves an image
        should[i] = work(i);
        ASSERT_TRUE(should[i].ends_with(" 0 0 64 "));
    }
    at_once(4, [&](int i) {
        for (int round = 0; round < 20; ++round) EXPECT_TRUE(work(i) == should[i]) << i;
    });
}

TEST(Threads, ask_one_world) {
    const auto new_world = [] {
        auto* const world = new WDB_Database;
        const WDB_Tri_List* const square = list_in(Point(0, 0, 0), Point(1, 1, 0));
        for (int i = 0; i < 100; ++i)
            world->put(node_with(square, Frame::translation(float(i % 10), float(i / 10), 0),
                                 str_format("n%d ", i)));
        return world;
    };
    const std::string should = seen_in(*new_world());
    for (int round = 0; round < 50; ++round) {
        WDB_Database& world = *new_world();
        if (round % 2)
            world.prepare_queries();
        else
            world.default_camera();
        const int stamp = world.get_stamp();
        at_once(4, [&](int) { EXPECT_EQ(seen_in(world), should); });
        EXPECT_EQ((world.get_stamp() - stamp) % 4, 0) << "an edit went uncounted";
    }
}
