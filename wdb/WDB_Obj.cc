#include "wdb/WDB_Obj.h"

#include "std/Std_Common.h"

WDB_Obj::WDB_Obj() : name_(str_new(WDB_Obj::get_static_class_name())), stamp_(0) {}

void WDB_Obj::set_name(const char* text) {
    name_ = str_new(text);
    touch();
}

void WDB_Obj::touch() {
    // Wraps in place of overflowing; only equality with a remembered stamp matters.
    stamp_ = static_cast<int>(static_cast<unsigned int>(stamp_) + 1u);
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
