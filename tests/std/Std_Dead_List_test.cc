#include "std/Std_Dead_List.h"

#include <thread>

#include "tests/Collected.h"

namespace {
class Thing final : public Std_Obj {
    STD_OBJ_CLASS(Thing, Std_Obj)
    Thing* other = nullptr;
};
} // namespace

static const std::uint64_t many = 1000;

// Things in rings, each of which is added twice: the odd payloads are those of what is kept.
[[gnu::noinline]] static void make(Std_Dead_List& dead, std::vector<Thing*>& kept) {
    for (std::uint64_t i = 0; i < many; ++i) {
        Thing* const thing = new Thing;
        (thing->other = new Thing)->other = thing;
        if (i % 2) kept.push_back(thing);
        dead.add(thing, i);
        dead.add(thing, i + many);
    }
}

static std::set<std::uint64_t> taken_from(Std_Dead_List& dead) {
    std::set<std::uint64_t> taken;
    std::uint64_t payload;
    while (dead.take(&payload)) EXPECT_TRUE(taken.insert(payload).second) << payload;
    return taken;
}

TEST(Std_Dead_List, gives_each_payload_once) {
    Std_Dead_List dead;
    std::vector<Thing*> kept;
    dead.add(nullptr, 7);
    std::thread([&] { make(dead, kept); }).join();
    EXPECT_EQ(dead.count(), static_cast<int>(2 * many));
    collect();
    const auto first = taken_from(dead);
    EXPECT_GE(first.size(), many * 9 / 10); // of as many; a stray word may keep some
    for (const std::uint64_t payload : first) EXPECT_EQ(payload % 2, 0u);
    EXPECT_EQ(dead.count(), static_cast<int>(2 * many - first.size()));
    // What is deleted, and what is dropped later.
    for (std::size_t i = 0; i < kept.size() / 2; ++i) delete kept[i];
    std::vector<Thing*>().swap(kept);
    EXPECT_TRUE(taken_from(dead).empty()) << "before a collection";
    collect();
    const auto second = taken_from(dead);
    EXPECT_GE(second.size(), many * 9 / 10);
    for (const std::uint64_t payload : second) EXPECT_FALSE(first.contains(payload));
}
