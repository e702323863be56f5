// load_scene FILE: how wdb_load reads it; see bench/load_report.h.
#include "bench/load_report.h"
#include "std/Std_Messager.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Tri_List.h"
#include "wdb/wdb_load.h"

class Silent : public Std_Messager {
    STD_OBJ_CLASS(Silent, Std_Messager)
    Silent() : Std_Messager(1, 1) {}
    void refresh(const char*) override {}
};

static bool count(SUniv* user, const WDB_Node* node, const Bbox&) {
    *Conv<long long*>::from_univ(user) +=
        WDB_Tri_List::const_castdown(node->get_geometry())->count();
    return false;
}

int main(int, char** argv) {
    std_set_current_messager(new Silent);
    return report_load([argv] {
        long long triangles = 0;
        if (const WDB_Database* const world = wdb_load(argv[1], nullptr))
            world->apply_to_shapes(Conv<long long*>::to_univ(&triangles), count);
        return triangles;
    });
}
