// Root of everything that lives in a world: a name, a change stamp, a text dump.
//
//     WDB_Tri_List* face = new WDB_Tri_List(12);
//     face->set_name("face");          // stamp + 1
//     std::cout << *face;              // "WDB_Tri_List face{\n}\n"
//
// A name that is set is the object's own copy, collected and pointer-free; a replaced name stays
// readable for those who still hold it. The stamp is a version, not a clock: it grows by one per
// change and is never reset, so derived data remembers the stamp for which it is valid. World
// objects are collected. Nobody frees them, and any number of owners may share one.
#ifndef WDB_WDB_OBJ_H
#define WDB_WDB_OBJ_H

#include <atomic>
#include <ostream>

#include "std/Std_Obj.h"

class WDB_Obj : public Std_Obj {
    STD_OBJ_CLASS(WDB_Obj, Std_Obj)

    // Named "WDB_Obj" whatever the derived class; stamp 0.
    WDB_Obj();
    WDB_Obj(const WDB_Obj& other);
    // Takes over name and stamp, as a copy does.
    WDB_Obj& operator=(const WDB_Obj& other);

    // Copies `text` and touches, also when the object bears that name already. Null takes the name
    // away: reports and dumps then say "(null)", and the writer goes by the class.
    void set_name(const char* text);

    // Lifetime: the stored text itself; a later set_name leaves it as it is.
    const char* get_name() const { return name_; }
    // False for an object without a name.
    bool is_named(const char* text) const;
    // "(null)" for an object without a name.
    const char* get_printable_name() const { return name_ ? name_ : "(null)"; }

    int get_stamp() const { return stamp_.load(std::memory_order_relaxed); }
    void touch();

    // What the program keeps with the object, whatever that is: one value for each key. A key is
    // any address of the program's own, as that of a static variable, so that its parts do not
    // meet; null is one as well. The object keeps the value alive, if the value is collected, and
    // takes no other notice: nothing is touched, copied or saved. Null takes the value away.
    // For a value that is not to be kept alive: set_user(new (GC) Std_Weak<T>(value), key).
    // Cost: 32 bytes for each value that was set, and a look at those of the object.
    void set_user(void* value, const void* key = nullptr);
    // Null for none.
    void* get_user(const void* key = nullptr) const;

    // The dump: header, contents, footer, each through the virtual table. A derived class overrides
    // print_contents, calls its base's form first and adds its lines.
    virtual void print(std::ostream& os) const;
    virtual void print_header(std::ostream& os) const;
    virtual void print_contents(std::ostream& os) const;
    virtual void print_footer(std::ostream& os) const;

protected:
    // The same as touch, where other threads may do it at once.
    void touch_shared(int times) { stamp_.fetch_add(times, std::memory_order_relaxed); }

    // The object has been given a name, or another one's.
    virtual void update_after_naming() {}

private:
    struct User_Value;

    std::atomic<int> stamp_; // first, where the base leaves room for it
    const char* name_;
    User_Value* user_ = nullptr;
};

std::ostream& operator<<(std::ostream& os, const WDB_Obj& obj);

// As above; "Void", without a line feed, for a null pointer.
std::ostream& operator<<(std::ostream& os, const WDB_Obj* obj);

#endif
