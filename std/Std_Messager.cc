#include "std/Std_Messager.h"

#include <atomic>
#include <cstring>

#include "std/Std_Line.h"

Std_Messager::Std_Messager(int history_count, int line_width)
    : line_width_(line_width > 0 ? line_width : 0),
      history_count_(history_count > 0 ? history_count : 1), next_slot_(0),
      history_(new (GC) char*[static_cast<std::size_t>(history_count_)]) {
    // Of one character more than a line has, so that each line ends.
    for (int i = 0; i < history_count_; ++i)
        history_[i] = new (GCAtomic) char[static_cast<std::size_t>(line_width_) + 1];
}

void Std_Messager::refresh(const char* text) {
    if (text) update_history(text);
    refresh_after_updating_history();
}

void Std_Messager::refresh_after_updating_history() {
    std_write_line("INFO   : ", message_history_item(0));
}

void Std_Messager::update_history(const char* text) {
    const std::size_t length = strnlen(text, static_cast<std::size_t>(line_width_));
    std::memmove(history_[next_slot_], text, length); // the text may be a line of the history
    history_[next_slot_][length] = '\0';
    next_slot_ = (next_slot_ + 1) % history_count_;
}

void Std_Messager::clear_message_history() {
    for (int i = 0; i < history_count_; ++i) update_history("");
}

int Std_Messager::message_history_index(int age) const {
    // 64 bits: next_slot_ - 1 - age leaves the int range for extreme ages.
    const long long slot = (static_cast<long long>(next_slot_) - 1 - age) % history_count_;
    return static_cast<int>((slot + history_count_) % history_count_);
}

// Built at the first use, so that static objects of other files can report.
static Std_Messager* default_messager() {
    static Std_Messager* const messager = new Std_Messager(5, 256);
    return messager;
}

[[maybe_unused]] static Std_Messager* const built_with_the_program = default_messager();

// Null stands for the default one, which static objects may need before it is built.
static std::atomic<Std_Messager*> current_messager = nullptr;

void std_set_current_messager(Std_Messager* messager) {
    current_messager = messager;
}

Std_Messager* std_get_current_messager() {
    Std_Messager* const messager = current_messager;
    return messager ? messager : default_messager();
}

void std_refresh_current_messager() {
    Std_Messager* messager = std_get_current_messager();
    if (messager != default_messager()) messager->refresh(nullptr);
}
