#include <typeinfo>

#include <nolt/base/Gap_List.h>
#include <nolt/wdb/WDB_Material.h>

// A class of the program's own, which derives from one of the library.
class Poster : public WDB_Material {
    STD_OBJ_CLASS(Poster, WDB_Material)
};

inline bool is_poster(const Std_Obj* object) {
    return Poster::is_direct_instance(object) && WDB_Obj::is_instance(object) &&
           !Gap_List<Poster*>::is_instance(object) && typeid(*object) == typeid(Poster) &&
           dynamic_cast<const WDB_Obj*>(object);
}

inline bool is_list(const Std_Obj* object) {
    return Gap_List<Poster*>::is_direct_instance(object) && !WDB_Obj::is_instance(object) &&
           !Gap_List<WDB_Material*>::is_instance(object);
}
