#include "wdb/WDB_Obj.h"

#include "std/Std_Weak.h"
#include "tests/Collected.h"
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

[[gnu::noinline]] static void set_users(WDB_Obj* const (&objects)[100], int* gone,
                                        const void* key) {
    for (WDB_Obj* const object : objects) {
        object->set_user(object, key);
        object->set_user(counted_block(&gone[0]));
        object->set_user(counted_block(&gone[1]), key); // in place of the object
        auto* const dropped = new WDB_Material;
        object->set_user(new (GC) Std_Weak<WDB_Material>(dropped), gone);
    }
}

TEST(WDB_Obj, keeps_what_the_program_gives_it) {
    WDB_Obj* objects[100];
    for (WDB_Obj*& object : objects) object = new WDB_Material;
    static int gone[2];
    static const char key = 0;
    const int stamp = objects[0]->get_stamp();
    set_users(objects, gone, &key);
    collect();
    EXPECT_EQ(shown(gone[0], gone[1], objects[0]->get_stamp() - stamp), "0 0 0 ");
    int weak_count = 0;
    for (WDB_Obj* const object : objects) {
        EXPECT_NE(object->get_user(), object->get_user(&key));
        weak_count +=
            static_cast<Std_Weak<WDB_Material>*>(object->get_user(gone))->get() != nullptr;
        const WDB_Material copy(*static_cast<WDB_Material*>(object));
        EXPECT_EQ(shown(copy.get_user(), copy.get_user(&key)), "0 0 ");
        object->set_user(nullptr, &key);
        EXPECT_EQ(object->get_user(&key), nullptr);
        EXPECT_NE(object->get_user(), nullptr);
    }
    EXPECT_LE(weak_count, 10);
    collect();
    EXPECT_TRUE(gone[0] == 0 && gone[1] >= 90) << shown(gone[0], gone[1]);
}
