// Goes into a shared object, together with the library or linked to it.
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <nolt/nolt.h>

#include "own_class.h"

// Takes memory before anything of the library has run; the C++ library gives it back.
static auto early = std::make_unique<std::ofstream>("/dev/null");

extern "C" const Std_Obj* plugin_object(int kind) {
    if (kind == 0) return new Poster;
    return new Gap_List<Poster*>;
}

extern "C" bool plugin_knows(const Std_Obj* poster, const Std_Obj* list) {
    return is_poster(poster) && is_list(list);
}

namespace {
class Number : public Std_Obj {
    STD_OBJ_CLASS(Number, Std_Obj)
    explicit Number(int number) : value(number) {}
    int value;
};

struct Kept {
    std::vector<Number*, std_allocator<Number*>> pointers;
    std::vector<int, std_atomic_allocator<int>> values;
    Std_Root<Number> last;
    std::string text = std::string(100'000, 'x');
};

// By plain new, which may be anybody's.
Kept* new_kept(int count) {
    auto* const kept = new Kept;
    for (int i = 0; i < count; ++i) {
        kept->last = new Number(i);
        kept->pointers.push_back(kept->last);
        kept->values.push_back(i);
    }
    return kept;
}

bool is_whole(const Kept& kept) {
    for (std::size_t i = 0; i < kept.values.size(); ++i)
        if (kept.pointers[i]->value != static_cast<int>(i) || kept.values[i] != static_cast<int>(i))
            return false;
    return kept.last->value == kept.values.back();
}

// All that the library gives back, whatever plain delete is.
bool saves_and_loads() {
    auto* const texture = new WDB_Texture(new PX_Map(5, 3, 3));
    texture->get_image()->texture_align();
    texture->set_name("plugin_texture");
    auto* const list = new WDB_Tri_List(1);
    list->begin_editing();
    list->put(WDB_Triangle(Point(0, 0, 0), Point(1, 0, 0), Point(0, 1, 0)), 0);
    list->end_editing();
    WDB_Database world;
    world.put(new WDB_Node("shape", HFrame::identity(), list, nullptr, texture));
    Std_String name = "plugin";
    name += ".3d";
    if (wdb_save(world, name) != 0) return false;
    WDB_Database* const again = wdb_load(name, nullptr);
    return again && again->find_node("shape");
}
} // namespace

extern "C" bool plugin_works() {
    Kept* const kept = new_kept(2000);
    bool works = saves_and_loads();
    for (int i = 0; i < 1000; ++i) new (GCAtomic) char[100'000]; // enough for some collections
    for (int i = 0; i < 100'000; ++i) new Number(-1);
    works = works && is_whole(*kept);
    delete kept;
    delete[] new Std_String[3];
    early.reset();
    return works;
}
