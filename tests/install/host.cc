// Opens plugin.so. Where both stand on the shared library, classes are the same on both sides.
#include <cstdio>
#include <dlfcn.h>
#include <thread>

#ifdef HOST_HAS_LIBRARY
#include "own_class.h"
#else
class Std_Obj;
static bool is_poster(const Std_Obj*) {
    return true;
}
static bool is_list(const Std_Obj*) {
    return true;
}
#endif

int main(int, char** others) {
    while (*++others) dlopen(*others, RTLD_NOW);
    // By a thread that does not live as long as the plugin.
    void* plugin = nullptr;
    std::thread([&plugin] { plugin = dlopen("./plugin.so", RTLD_NOW); }).join();
    if (!plugin) return std::puts("no plugin");
    if (!reinterpret_cast<bool (*)()>(dlsym(plugin, "plugin_works"))()) return std::puts("fails");
    const auto make = reinterpret_cast<const Std_Obj* (*)(int)>(dlsym(plugin, "plugin_object"));
    const auto knows =
        reinterpret_cast<bool (*)(const Std_Obj*, const Std_Obj*)>(dlsym(plugin, "plugin_knows"));
    bool is_known = is_poster(make(0)) && is_list(make(1)) && knows(make(0), make(1));
#ifdef HOST_HAS_LIBRARY
    is_known = is_known && knows(new Poster, new Gap_List<Poster*>);
#endif
    std::puts(is_known ? "known across the border" : "not known");
}
