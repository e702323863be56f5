#include "wdb/WDB_Texture.h"

#include "tests/wdb/support.h"

TEST(WDB_Texture, aligns_and_prints) {
    auto* const map = new PX_Map(100, 60, 3);
    auto* const texture = new WDB_Texture(map);
    EXPECT_EQ(texture->get_image(), map);
    EXPECT_EQ(texture->get_stamp(), 0);
    EXPECT_EQ(printed(*texture), "WDB_Texture WDB_Obj{\nimage (128 x 64 x 3)\n}\n");
    texture->set_name("checker");
    const WDB_Node node("n", HFrame::identity(), list_in({0, 0, 0}, {1, 1, 1}), nullptr, texture);
    EXPECT_TRUE(holds(printed(node), "}\n\n  Texture checker\n  Bbox "));
}
