#include "std/Std_Obj.h"

#include "tests/Test.h"

namespace {
class Shape : public Std_Obj {
    STD_OBJ_CLASS(Shape, Std_Obj)
};
class Disc : public Shape {
    STD_OBJ_CLASS(Disc, Shape)
};
template<class T>
class Box_Of : public Std_Obj {
    STD_OBJ_CLASS_NAMED(Box_Of, Std_Obj, "Box_Of<T>")
    T content;
};
} // namespace

TEST(Std_Obj, class_identity) {
    Shape shape;
    Disc disc;
    Std_Obj* const as_obj = &disc;
    EXPECT_STREQ(as_obj->get_dynamic_class_name(), "Disc");
    EXPECT_EQ(shown(Shape::is_instance(as_obj), Shape::is_direct_instance(as_obj),
                    Shape::is_direct_instance(&shape), Disc::is_instance(&shape),
                    Std_Obj::is_instance(nullptr)),
              "1 0 1 0 0 ");
    EXPECT_TRUE(!Disc::castdown(&shape) && !Disc::castdown(nullptr));
    EXPECT_TRUE(Disc::castdown(as_obj) == &disc && Shape::const_castdown(as_obj) == &disc);
    EXPECT_TRUE(Disc::has_superclass(Std_Obj::get_static_class_id()));
    EXPECT_FALSE(Shape::has_superclass(Disc::get_static_class_id()));
    EXPECT_STREQ(Box_Of<int>::get_static_class_name(), Box_Of<float>::get_static_class_name());
    EXPECT_NE(Box_Of<int>::get_static_class_id(), Box_Of<float>::get_static_class_id());
}

TEST(Std_Obj, instance_ids_only_grow_and_copies_get_their_own) {
    Shape a, b(a);
    const int id = a.get_instance_id() + 1;
    const int& newest = Std_Obj::instance_counter;
    EXPECT_EQ(shown(b.get_instance_id(), newest), shown(id, id));
    b = a;
    EXPECT_EQ(shown(b.get_instance_id(), b.get_hash()), shown(id, id * 3));
}
