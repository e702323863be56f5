#include "wdb/WDB_Obj.h"

#include <cstring>

#include "std/Std_Common.h"

// The text stays for ever, and most objects are given a name of their own at once.
WDB_Obj::WDB_Obj() : name_(WDB_Obj::get_static_class_name()), stamp_(0) {}

WDB_Obj::WDB_Obj(const WDB_Obj& other)
    : Std_Obj(other), name_(other.name_), stamp_(other.get_stamp()) {}

WDB_Obj& WDB_Obj::operator=(const WDB_Obj& other) {
    Std_Obj::operator=(other);
    name_ = other.name_;
    stamp_ = other.get_stamp();
    update_after_naming();
    return *this;
}

void WDB_Obj::set_name(const char* text) {
    name_ = str_new(text);
    update_after_naming();
    touch();
}

bool WDB_Obj::is_named(const char* text) const {
    return name_ && std::strcmp(name_, text) == 0;
}

void WDB_Obj::touch() {
    // Wraps in place of overflowing; only equality with a remembered stamp matters.
    const int next = static_cast<int>(static_cast<unsigned int>(get_stamp()) + 1u);
    stamp_.store(next, std::memory_order_relaxed);
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
