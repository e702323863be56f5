#include "wdb/WDB_Material.h"

#include <bit>

#include "tests/wdb/support.h"

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
