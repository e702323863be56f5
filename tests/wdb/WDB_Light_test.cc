#include "wdb/WDB_Light.h"

#include "tests/wdb/support.h"

TEST(WDB_Light, state) {
    auto* const light = new WDB_Light("lamp", HFrame::identity(), .5f, nullptr, nullptr);
    light->set_on(false);
    EXPECT_FALSE(light->is_on());
    EXPECT_EQ(light->get_stamp(), 4) << "switching is no change";
    light->set_angle(.5f);
    EXPECT_EQ(light->get_stamp(), 5);
    EXPECT_TRUE(light->get_color() == Color(0, 0, 0));
    auto* const glow = new WDB_Material;
    light->set_material(glow);
    EXPECT_EQ(&light->get_color(), &glow->get_emission());
    const WDB_Light shaped("s", HFrame::identity(), 0, list_in({0, 0, 0}, {1, 1, 1}), glow);
    EXPECT_EQ(shaped.get_stamp(), 5);
    EXPECT_EQ(&shaped.get_color(), &glow->get_emission());
    EXPECT_FALSE(WDB_Camera::is_instance(&shaped));
}
