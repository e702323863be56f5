#include "wdb/WDB_Texture.h"

#include "tests/wdb/support.h"

TEST(WDB_Texture, aligns_and_prints) {
    const std::tuple<int, int, int, const char*> rows[] = {{100, 100, 3, "image (128 x 128 x 3)\n"},
                                                           {64, 256, 1, "image (64 x 256 x 1)\n"}};
    for (const auto& [width, height, component, image] : rows) {
        auto* const map = new PX_Map(width, height, component);
        auto* const texture = new WDB_Texture(map);
        EXPECT_EQ(texture->get_image(), map);
        EXPECT_EQ(texture->get_stamp(), 0);
        EXPECT_EQ(printed(*texture), std::string("WDB_Texture WDB_Obj{\n") + image + "}\n");
        texture->set_name("checker");
        const WDB_Node node("n", HFrame::identity(), list_in({0, 0, 0}, {1, 1, 1}), nullptr,
                            texture);
        EXPECT_NE(printed(node).find("}\n\n  Texture checker\n  Bbox "), std::string::npos);
    }
}
