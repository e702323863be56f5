// Shows on the standard error stream what goes wrong in a load, and leaves out how far it has come.
//
//     std_set_current_messager(new Load_Messager);
#ifndef TOOLS_LOAD_MESSAGER_H
#define TOOLS_LOAD_MESSAGER_H

#include <string_view>

#include "std/Std_Line.h"
#include "std/Std_Messager.h"

class Load_Messager : public Std_Messager {
    STD_OBJ_CLASS(Load_Messager, Std_Messager)

    Load_Messager() : Std_Messager(1, 0) {}

    // Null asks for the last line once more.
    void refresh(const char* text) override {
        const std::string_view line(text ? text : "");
        const bool is_progress = line.ends_with(" loaded so far...") || line == "End of parsing" ||
                                 line.starts_with("Loaded scene with ");
        if (text && !is_progress) std_write_line("INFO   : ", text);
    }
};

#endif
