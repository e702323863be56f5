#include "math/Slot_Table.h"

#include <map>

#include "tests/Test.h"

static SUniv* item_at(std::uintptr_t address) {
    return reinterpret_cast<SUniv*>(address);
}

// Few addresses, so that runs of cells form and are closed; 0 is one of them.
TEST(Slot_Table, as_a_map) {
    Slot_Table table;
    std::map<SUniv*, std::uint32_t> map;
    std::mt19937 random(3);
    for (std::uint32_t i = 0; i < 20000; ++i) {
        SUniv* const item = item_at(random() % 300 * 208);
        if (random() % 2) {
            table.put(item, i);
            map[item] = i;
        } else {
            table.remove(item);
            map.erase(item);
        }
        if (i % 5000 == 4999) {
            table.wipe_out();
            map.clear();
        }
        ASSERT_EQ(table.count(), static_cast<int>(map.size()));
        if (i % 100) continue;
        for (std::uintptr_t k = 0; k < 301; ++k) {
            const auto found = map.find(item_at(k * 208));
            ASSERT_EQ(table.find(item_at(k * 208)),
                      found == map.end() ? Slot_Table::absent : found->second);
        }
    }
}
