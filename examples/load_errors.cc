// Loads a scene with faults: gathers the reports instead of showing them, and counts what is lost.
#include <cstdio>
#include <string>
#include <vector>

#include "std/Std_Messager.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Load_Report.h"
#include "wdb/wdb_load.h"

static const char faulty[] = R"(trianglelist leaf {
  triangle p 0 0 0  1 0 0  0 1 0
}
node tree {
  geometry leaf
  colour 0 1 0
}
node tree {
}
node bush {
  geometry trunk
}
)";

// Keeps all lines but those on progress.
class Error_List : public Std_Messager {
    STD_OBJ_CLASS(Error_List, Std_Messager)
    Error_List() : Std_Messager(1, 400) {}
    void update_history(const char* text) override { // once for each report
        const std::string line = text;
        if (line.find("Error") != std::string::npos || line.rfind("Ignoring", 0) == 0)
            lines.push_back(line);
    }
    std::vector<std::string> lines;
};

int main() {
    std::FILE* file = std::fopen("faulty.3d", "w");
    if (!file || std::fputs(faulty, file) < 0 || std::fclose(file) != 0) return 1;

    auto* errors = new Error_List;
    std_set_current_messager(errors);
    WDB_Load_Report report;
    const WDB_Database* world = wdb_load("faulty.3d", nullptr, report);
    std_set_current_messager(nullptr);
    for (const std::string& line : errors->lines) std::printf("%s\n", line.c_str());
    if (!world) return 1;
    std::printf("%d errors, %d warnings; %d shape and %d other nodes are there\n", report.errors,
                report.warnings, world->shape_count(), world->node_count());
}
