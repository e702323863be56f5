#include "wdb/WDB_Obj.h"

#include <cstring>

#include "std/Std_Common.h"

// The text stays for ever, and most objects are given a name of their own at once.
WDB_Obj::WDB_Obj() : stamp_(0), name_(WDB_Obj::get_static_class_name()) {}

WDB_Obj::WDB_Obj(const WDB_Obj& other)
    : Std_Obj(other), stamp_(other.get_stamp()), name_(other.name_) {}

WDB_Obj& WDB_Obj::operator=(const WDB_Obj& other) {
    Std_Obj::operator=(other);
    name_ = other.name_;
    stamp_ = other.get_stamp();
    update_after_naming();
    return *this;
}

void WDB_Obj::set_name(const char* text) {
    name_ = str_new(text);
    touch();
    update_after_naming();
}

bool WDB_Obj::is_named(const char* text) const {
    return name_ && std::strcmp(name_, text) == 0;
}

void WDB_Obj::touch() {
    // Wraps in place of overflowing; only equality with a remembered stamp matters.
    const int next = static_cast<int>(static_cast<unsigned int>(get_stamp()) + 1u);
    stamp_.store(next, std::memory_order_relaxed);
}

// In a chain: an object has a value or two.
struct WDB_Obj::User_Value {
    const void* key;
    void* value;
    User_Value* next;
};

void WDB_Obj::set_user(void* value, const void* key) {
    User_Value** at = &user_;
    while (*at && (*at)->key != key) at = &(*at)->next;
    if (!value) {
        if (*at) *at = (*at)->next;
    } else if (*at) {
        (*at)->value = value;
    } else {
        *at = new (std_gc) User_Value{key, value, nullptr};
    }
}

void* WDB_Obj::get_user(const void* key) const {
    for (const User_Value* v = user_; v; v = v->next)
        if (v->key == key) return v->value;
    return nullptr;
}

void WDB_Obj::print(std::ostream& os) const {
    print_header(os);
    print_contents(os);
    print_footer(os);
}

void WDB_Obj::print_header(std::ostream& os) const {
    os << get_dynamic_class_name() << " " << get_printable_name() << "{\n";
}

void WDB_Obj::print_contents(std::ostream&) const {}

void WDB_Obj::print_footer(std::ostream& os) const {
    os << "}\n";
}

std::ostream& operator<<(std::ostream& os, const WDB_Obj& obj) {
    obj.print(os);
    return os;
}

std::ostream& operator<<(std::ostream& os, const WDB_Obj* obj) {
    if (!obj) return os << "Void";
    return os << *obj;
}
