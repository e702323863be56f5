// Where information reports go: a short ring of recent lines, and a place to
// show them.
//
//     class Status_Line : public Std_Messager {
//         STD_OBJ_CLASS(Status_Line, Std_Messager)
//         Status_Line() : Std_Messager(5, 80) {}
//         void refresh_after_updating_history() override { show(message_history_item(0)); }
//     };
//     std_set_current_messager(new Status_Line);
//
// The default messager keeps 5 lines of 256 characters and writes each as
// "INFO   : ..." to the standard error stream.
#ifndef STD_STD_MESSAGER_H
#define STD_STD_MESSAGER_H

#include "std/Std_Obj.h"

class Std_Messager : public Std_Obj {
    STD_OBJ_CLASS(Std_Messager, Std_Obj)

    // Room for `history_count` lines (at least one) of `line_width` characters.
    Std_Messager(int history_count, int line_width);

    // Takes `text` into the history and shows it; null only shows again.
    virtual void refresh(const char* text);

    // Shows the newest line. Replace it to show lines elsewhere.
    virtual void refresh_after_updating_history();

    // Takes `text`, cut to the line width, as the newest line.
    virtual void update_history(const char* text);

    void clear_message_history();
    int message_history_count() const { return history_count_; }

    // Slot and text of the line of that age; 0 is the newest. Ages wrap.
    int message_history_index(int age) const;
    const char* message_history_item(int age) const { return history_[message_history_index(age)]; }

private:
    int line_width_;
    int history_count_;
    int next_slot_;
    char** history_;
};

// Null means the default messager. The messager must stay reachable as long as
// it is in use; this keeps it so.
void std_set_current_messager(Std_Messager* messager);
Std_Messager* std_get_current_messager();

// Asks a messager other than the default to show its lines again.
void std_refresh_current_messager();

#endif
