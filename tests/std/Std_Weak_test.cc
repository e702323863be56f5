#include "std/Std_Weak.h"

#include <atomic>
#include <thread>

#include "std/Std_Obj.h"
#include "std/Std_Root.h"
#include "tests/Collected.h"

namespace {
struct Before { // so that the object does not begin where its block does
    virtual ~Before() = default;
    long room[3] = {};
};
class Thing : public Before, public Std_Obj {
    STD_OBJ_CLASS(Thing, Std_Obj)
    Thing* other = nullptr;
};
constexpr int many = 1000; // of which a stray word may keep some
enum Fate { KEPT, DROPPED, IN_RINGS, DELETED, DELETED_AND_USED_AGAIN };
} // namespace

[[gnu::noinline]] static void make(Fate fate, Std_Weak<Thing>* weak, Thing** kept) {
    for (int i = 0; i < many; ++i) {
        Thing* const thing = new Thing;
        weak[i] = thing;
        if (fate == KEPT) kept[i] = thing;
        if (fate == IN_RINGS) (thing->other = new Thing)->other = thing;
        if (fate >= DELETED) delete thing;
    }
}

TEST(Std_Weak, tells_what_is_gone) {
    const struct {
        const char* row;
        Fate fate;
        int least, most; // that are still there
    } rows[] = {
        {"kept", KEPT, many, many},
        {"dropped", DROPPED, 0, many / 10},
        {"in rings", IN_RINGS, 0, many / 10},
        {"deleted", DELETED, 0, 0},
        {"deleted and used again", DELETED_AND_USED_AGAIN, 0, 0},
    };
    for (const auto& r : rows) {
        auto* const weak = new Std_Weak<Thing>[many];
        auto** const kept = new Thing*[many];
        make(r.fate, weak, kept);
        const std::vector<Std_Weak<Thing>> copies(weak, weak + many);
        std::vector<Thing*> next;
        if (r.fate == DELETED_AND_USED_AGAIN)
            for (int i = 0; i < 2 * many; ++i) next.push_back(new Thing);
        if (r.fate != DELETED) collect();
        int alive = 0;
        for (int i = 0; i < many; ++i) {
            alive += weak[i].get() != nullptr;
            EXPECT_EQ(copies[static_cast<std::size_t>(i)].get(), weak[i].get());
            if (r.fate == KEPT) {
                EXPECT_EQ(weak[i].get(), kept[i]);
            }
        }
        EXPECT_TRUE(alive >= r.least && alive <= r.most) << r.row << ": " << alive;
        delete[] weak;
        delete[] kept;
    }
    EXPECT_EQ(Std_Weak<Thing>().get(), nullptr);
}

// Where the collector does not look.
TEST(Std_Weak, can_be_rooted) {
    Thing* const thing = new Thing;
    auto* const root = new (std::malloc(sizeof(Std_Root<Std_Weak<Thing>>)))
        Std_Root<Std_Weak<Thing>>(new (GC) Std_Weak<Thing>(thing));
    collect();
    for (int i = 0; i < many; ++i) new (GCAtomic) char[24];
    EXPECT_EQ((*root)->get(), thing);
    root->~Std_Root();
    std::free(root);
}

// What a thread has got is whole as long as it uses it, however others allocate and collect.
TEST(Std_Weak, is_asked_by_threads) {
    auto* const shared = new Std_Weak<Thing>[many];
    make(DROPPED, shared, nullptr);
    std::atomic<bool> is_over = false;
    std::vector<std::thread> threads;
    for (int t = 0; t < 2; ++t)
        threads.emplace_back([&] {
            while (!is_over)
                for (int i = 0; i < many; ++i)
                    if (Thing* const thing = shared[i].get()) {
                        new Thing; // would take the memory of what was dropped
                        if (thing->get_dynamic_class_id() != Thing::get_static_class_id() ||
                            thing->room[2] != 0)
                            std::abort();
                    }
        });
    for (int i = 0; i < 20; ++i) GC_gcollect();
    is_over = true;
    for (std::thread& t : threads) t.join();
}
