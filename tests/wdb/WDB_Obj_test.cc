#include "wdb/WDB_Obj.h"

#include <bit>

#include "images/PX_Map.h"
#include "tests/wdb/support.h"
#include "wdb/WDB_Material.h"
#include "wdb/WDB_Node.h"
#include "wdb/WDB_Texture.h"

TEST(WDB_Obj, names_and_stamps) {
    WDB_Tri_List* const list = new WDB_Tri_List(0);
    EXPECT_STREQ(list->get_name(), "WDB_Obj");
    EXPECT_EQ(list->get_stamp(), 0);
    const char* const before = list->get_name();
    char text[] = "face";
    list->set_name(text);
    text[0] = 'l';
    EXPECT_STREQ(list->get_name(), "face");
    EXPECT_STREQ(before, "WDB_Obj");
    list->set_name("face");
    EXPECT_EQ(list->get_stamp(), 2);
    list->touch();
    EXPECT_EQ(list->get_stamp(), 3);
}

TEST(WDB_Obj, dump) {
    WDB_Tri_List* const list = new WDB_Tri_List(0);
    EXPECT_EQ(printed(*list), "WDB_Tri_List WDB_Obj{\n}\n");
    EXPECT_EQ(printed(static_cast<const WDB_Obj*>(list)), "WDB_Tri_List WDB_Obj{\n}\n");
    EXPECT_EQ(printed(static_cast<const WDB_Obj*>(nullptr)), "Void");
}

TEST(WDB_Material, values_and_stamps) {
    WDB_Material* const standard = new WDB_Material;
    EXPECT_EQ(standard->get_stamp(), 6);
    EXPECT_EQ(bits_of(standard->get_diffuse().b).words[0], 0x3F4CCCCDu);
    standard->set_diffuse(standard->get_diffuse());
    EXPECT_EQ(standard->get_stamp(), 7);
    Color a(1, 0, 0), d(2, -1, 0), e(0, 0, 3), s(0, 4, 0);
    WDB_Material* const given = new WDB_Material(a, d, e, s, 0.25f, 0.5f);
    EXPECT_EQ(given->get_stamp(), 6);
    EXPECT_EQ(printed(*given), "WDB_Material WDB_Obj{\n"
                               "  Ambient  : Color(1,0,0)\n\n  Diffuse  : Color(2,-1,0)\n\n"
                               "  Emission : Color(0,0,3)\n\n  Specular : Color(0,4,0)\n\n"
                               "  Shininess: 0.25\n  Alpha    : 0.5\n}\n");
}

// Pure is what alone is lit, and all where nothing is. Bits: ambient, diffuse, emission, specular.
TEST(WDB_Material, purity) {
    for (int lit = 0; lit < 16; ++lit) {
        const auto color = [&](int bit) { return Color(0, 0, lit & bit ? 1e-30f : 0); };
        Color a = color(1), d = color(2), e = color(4), s = color(8);
        const WDB_Material m(a, d, e, s, 0, 1);
        EXPECT_EQ(m.is_pure_ambient() + 2 * m.is_pure_diffuse() + 4 * m.is_pure_emission() +
                      8 * m.is_pure_specular(),
                  lit == 0                             ? 15
                  : std::has_single_bit(unsigned(lit)) ? lit
                                                       : 0);
    }
}

TEST(WDB_Texture, aligns_and_prints) {
    const struct {
        int width, height, component;
        const char* image;
    } rows[] = {{100, 100, 3, "image (128 x 128 x 3)\n"}, {64, 256, 1, "image (64 x 256 x 1)\n"}};
    for (const auto& r : rows) {
        auto* const map = new PX_Map(r.width, r.height, r.component);
        auto* const texture = new WDB_Texture(map);
        EXPECT_EQ(texture->get_image(), map);
        EXPECT_EQ(texture->get_stamp(), 0);
        EXPECT_EQ(printed(*texture), std::string("WDB_Texture WDB_Obj{\n") + r.image + "}\n");
        texture->set_name("checker");
        const WDB_Node node("n", HFrame::identity(), list_in({0, 0, 0}, {1, 1, 1}), nullptr,
                            texture);
        EXPECT_NE(printed(node).find("}\n\n  Texture checker\n  Bbox "), std::string::npos);
    }
}
