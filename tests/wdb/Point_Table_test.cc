#include "wdb/Point_Table.h"

#include "tests/Test.h"

TEST(Point_Table, numbers_stay_with_their_places) {
    Point_Table table;
    const float places[] = {0, 1, 1e-7f, 2, 1};
    const int numbers[] = {0, 1, 0, 2, 1};
    for (int i = 0; i < 5; ++i) EXPECT_EQ(table.put(Point(places[i], 0, 0)), numbers[i]) << i;
}
