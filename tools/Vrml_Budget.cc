#include "tools/Vrml_Budget.h"

#include "tools/Vrml_Report.h"

// The first time is told, and the last: all that asks later gets nothing, so that the conversion
// ends soon with what it has.
bool Vrml_Budget::spend(std::size_t work, std::string_view where) {
    if (is_spent_) return false;
    if (work <= work_left_) {
        work_left_ -= work;
        return true;
    }
    is_spent_ = true;
    report_.fail("too much work, skipping the rest", where);
    return false;
}

bool Vrml_Budget::take(std::size_t* left, const char* reason, std::string_view where) {
    if (is_spent_) return false;
    if (*left > 0) {
        --*left;
        return true;
    }
    is_spent_ = true;
    report_.fail(reason, where);
    return false;
}

bool Vrml_Budget::take_object(std::string_view where) {
    return take(&objects_left_, "too many nodes and fields, skipping the rest", where);
}
bool Vrml_Budget::take_instance(std::string_view where) {
    return take(&instances_left_, "too many instances of prototypes, skipping the rest", where);
}
bool Vrml_Budget::take_shape(std::string_view where) {
    return take(&shapes_left_, "too many shapes, skipping the rest", where);
}
bool Vrml_Budget::take_triangle(std::string_view where) {
    return take(&triangles_left_, "too many triangles, skipping the rest", where);
}

// A file that does not fit is left out alone; a smaller one may still fit.
bool Vrml_Budget::take_bytes(std::size_t bytes) {
    if (bytes > bytes_left_) return false;
    bytes_left_ -= bytes;
    return true;
}
