#include "wdb/WDB_Obj.h"

#include <cstring>

#include "std/Std_Common.h"

std::uint64_t WDB_Obj::default_camera_namings_ = 0;

// The text stays for ever, and most objects are given a name of their own at once.
WDB_Obj::WDB_Obj() : name_(WDB_Obj::get_static_class_name()), stamp_(0) {}

WDB_Obj& WDB_Obj::operator=(const WDB_Obj& other) {
    Std_Obj::operator=(other);
    name_ = other.name_;
    // Whether the name is watched belongs to the place of an object and does not change.
    stamp_ = other.stamp_;
    if (is_name_watched_) count_naming();
    return *this;
}

void WDB_Obj::set_name(const char* text) {
    name_ = str_new(text);
    if (is_name_watched_) count_naming();
    touch();
}

// Never counted down: whoever remembers the number only asks whether it has moved.
void WDB_Obj::count_naming() const {
    if (name_ && std::strcmp(name_, default_camera_name) == 0) ++default_camera_namings_;
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
