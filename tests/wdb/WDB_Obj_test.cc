#include "wdb/WDB_Obj.h"

#include "tests/wdb/support.h"

TEST(WDB_Obj, names_stamps_and_dump) {
    WDB_Tri_List* const list = new WDB_Tri_List(0);
    const char* const before = list->get_name();
    EXPECT_EQ(shown(before, list->get_stamp()), "WDB_Obj 0 ");
    char text[] = "face";
    list->set_name(text);
    text[0] = 'l';
    EXPECT_EQ(shown(before, list->get_name(), list->get_stamp()), "WDB_Obj face 1 ");
    list->set_name("face");
    list->touch();
    EXPECT_EQ(list->get_stamp(), 3);
    const WDB_Obj* const null = nullptr;
    EXPECT_EQ(shown(*list, static_cast<const WDB_Obj*>(list), null),
              "WDB_Tri_List face{\n}\n WDB_Tri_List face{\n}\n Void ");
}
