// Goes into a shared object together with the library.
#include "own_class.h"

extern "C" const Std_Obj* plugin_object(int kind) {
    if (kind == 0) return new Poster;
    return new Gap_List<Poster*>;
}

// Enough for some collections.
extern "C" void plugin_works() {
    for (int i = 0; i < 1000; ++i) new (GCAtomic) char[100'000];
}

extern "C" bool plugin_knows(const Std_Obj* poster, const Std_Obj* list) {
    return is_poster(poster) && is_list(list);
}
