#include "base/Hash_Set.h"

#include "tests/Test.h"

using Key = unsigned int;

TEST(Hash_Set, walks_its_members_in_cell_order) {
    for (const int n : {0, 1, 4, 5, 8, 9, 1000}) {
        Hash_Set<Key> set([](const Key& k) { return k; });
        for (int i = n; i > 0; --i) set.put(static_cast<Key>(i));
        int seen = 0;
        Hash_Set_Iter<Key> it(set);
        for (; !it.off(); it.forth()) EXPECT_EQ(*it(), static_cast<Key>(++seen));
        EXPECT_EQ(seen, n);
        EXPECT_EQ(set.count(), n);
        for (Key least = 1; set.count() > 0; ++least) {
            EXPECT_EQ(*set.get_one_item(), least);
            set.remove(least);
            EXPECT_FALSE(set.has(least));
        }
    }
}
