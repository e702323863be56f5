#include "math/Box_Index.h"

#include <set>

#include "math/Box_Probes.h"
#include "tests/Test.h"

// Counts the nodes that it is shown.
struct Counting_Probe {
    unsigned int meets(const Box_Lanes& lanes) const {
        ++looks;
        return Box_Probe(query).meets(lanes);
    }
    unsigned int holds(const Box_Lanes& lanes) const { return Box_Probe(query).holds(lanes); }
    Bbox query;
    int& looks;
};

// Boxes come alone or together, move, go and get other numbers. What is found is what a loop finds,
// and few nodes are looked into for it: the bounds are what a good tree takes, and 2 in a hundred.
TEST(Box_Index, finds_boxes_in_few_nodes) {
    const Bbox bounds(Point(0, 0, 0), Point(100, 100, 100));
    const struct {
        bool clips, is_packed;
        int most_looks;
    } rows[] = {{false, false, 2388}, {true, false, 4753}, {false, true, 2202}, {true, true, 6316}};
    for (const auto& [clips, is_packed, most_looks] : rows) {
        std::mt19937 random(4);
        const auto within = [&](float high) {
            return static_cast<float>(random() % 4096) / 4096 * high;
        };
        const auto box = [&](float size) {
            const Point low(within(100), within(100), within(100));
            return Bbox(low, low + Vector(within(size), within(size), within(size)));
        };
        Box_Index index(bounds, clips);
        std::vector<Bbox> boxes(4000);
        std::set<std::uint32_t> held;
        for (std::uint32_t i = 0; i < 4000; ++i) {
            boxes[i] = box(clips && i % 50 == 0 ? 1e30f : 4);
            index.put(i, boxes[i]);
            held.insert(i);
            const std::uint32_t other = *held.lower_bound(random() % (i + 1));
            if (i % 3 == 2) index.remove(other), held.erase(other);
        }
        if (is_packed) {
            Plain_Array<Box_Index::Item> items;
            for (const std::uint32_t i : held) items.push({boxes[i], i});
            index.wipe_out();
            index.put_all(items);
            for (std::uint32_t i = 4000; i < 6000; ++i) {
                const std::uint32_t old = *held.lower_bound(random() % held.size());
                const Vector step(within(2), within(2), within(2));
                boxes.push_back(i % 8 == 0 ? box(4)
                                           : Bbox(boxes[old].min + step, boxes[old].max + step));
                index.move(old, i, boxes[i]);
                held.erase(old), held.insert(i);
            }
        }
        int looks = 0;
        for (int round = 0; round < 300; ++round) {
            const Counting_Probe probe{box(20), looks};
            std::set<std::uint32_t> found, should;
            EXPECT_FALSE(index.visit(probe, [&](std::uint32_t number) {
                EXPECT_TRUE(found.insert(number).second);
                return false;
            }));
            for (const std::uint32_t i : held)
                if (boxes[i].is_overlapping(probe.query)) should.insert(i);
            ASSERT_EQ(found, should);
        }
        EXPECT_LT(looks, most_looks) << clips;
    }
}
