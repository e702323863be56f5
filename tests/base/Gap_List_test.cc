#include "base/Gap_List.h"

#include "tests/Test.h"

struct Record {
    int id;
    char name[9];
};

static std::vector<int> ids(const Gap_List<Record>& list) {
    std::vector<int> out;
    for (int i = 0; i < list.count(); ++i) out.push_back(list[i].id);
    return out;
}

static Record record(int id) {
    return {id, "12345678"};
}

// A list and a vector, driven by the same steps at places that wander.
TEST(Gap_List, reads_as_a_vector_after_each_step) {
    const std::tuple<const char*, int, int> rows[] = {{"one place, growing", 0, 0},
                                                      {"near places", 2, 4},
                                                      {"anywhere", INT_MAX / 2, 4},
                                                      {"mostly removals", 3, 6}};
    for (const auto& [row, spread, removals] : rows) {
        SCOPED_TRACE(row);
        std::mt19937 random(7);
        Gap_List<Record> list;
        std::vector<int> twin;
        int place = 0;
        for (int step = 0; step < 1500; ++step) {
            const int n = static_cast<int>(twin.size());
            const int to = place + static_cast<int>(random() % (2u * spread + 1)) - spread;
            place = n == 0 ? 0 : std::clamp(to, 0, n);
            if (n > 0 && static_cast<int>(random() % 10) < removals) {
                place = std::min(place, n - 1);
                list.remove(place);
                twin.erase(twin.begin() + place);
            } else {
                list.insert(record(step), place);
                twin.insert(twin.begin() + place, step);
            }
            ASSERT_EQ(ids(list), twin) << "step " << step;
            ASSERT_EQ(list.is_empty(), twin.empty());
        }
    }
}

// 5 and 10 cells: growth moves the element that the argument refers to.
TEST(Gap_List, takes_its_own_elements_as_arguments) {
    for (const int place : {0, 3, 5}) {
        Gap_List<Record> list;
        for (int i = 0; i < 5; ++i) list.insert_last(record(i));
        list.insert(list[4], place);
        EXPECT_EQ(list[place].id, 4) << "full, at " << place;
        list.insert(list[0], 2); // now with room, across the gap
        EXPECT_EQ(list[2].id, list[0].id) << "with room, at " << place;
        EXPECT_EQ(list.count(), 7);
    }
}

TEST(Gap_List, can_be_used_again_after_wipe_out) {
    Gap_List<Record> list;
    list.wipe_out();
    EXPECT_TRUE(list.is_empty());
    for (int i = 1; i < 8; ++i) list.insert_last(record(i));
    const Record* const first = &list[0];
    list.wipe_out();
    EXPECT_TRUE(list.is_empty());
    EXPECT_EQ(first->id, 0) << "nothing is kept alive";
    list.insert_last(record(9));
    EXPECT_EQ(ids(list), std::vector<int>{9});
    EXPECT_EQ(&list[0], first) << "the cells should stay";
    // Copies have cells of their own.
    for (int i = 0; i < 5; ++i) list.insert(record(i), 0);
    Gap_List<Record> copy(list), assigned;
    assigned.insert_last(record(8));
    assigned = list;
    list.remove(0);
    assigned = *&assigned;
    const std::vector<int> should{4, 3, 2, 1, 0, 9};
    EXPECT_TRUE(ids(copy) == should && ids(assigned) == should);
}
