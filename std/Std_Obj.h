// Root of the object family: a name, an identifier and a checked downcast for
// every class, without the language's run-time types.
//
//     class Shape : public Std_Obj { STD_OBJ_CLASS(Shape, Std_Obj) ... };
//     class Disc  : public Shape   { STD_OBJ_CLASS(Disc, Shape) ... };
//
//     Std_Obj* o = new Disc;
//     o->get_dynamic_class_name()              // "Disc"
//     Shape::is_instance(o)                    // true
//     Shape::is_direct_instance(o)             // false
//     Disc::has_superclass(Shape::get_static_class_id())   // true
//     Disc::castdown(o)                        // the Disc; null for any other class
//
// is_instance, is_direct_instance and the castdowns answer false or null for a
// null pointer. Class identifiers are addresses of functions, so no build may
// fold identical functions.
#ifndef STD_STD_OBJ_H
#define STD_STD_OBJ_H

#include "std/Std_GC.h"

// Stands first in the body of class X with the direct base BASE; what follows
// it is public. NAME is what get_static_class_name answers: templates give one
// literal for all instantiations, while each instantiation has its own id.
#define STD_OBJ_CLASS_NAMED(X, BASE, NAME)                                                         \
public:                                                                                            \
    STD_OBJ_STATICS(X, NAME)                                                                       \
    static bool has_superclass(unsigned long id) {                                                 \
        return id == X::get_static_class_id() || BASE::has_superclass(id);                         \
    }                                                                                              \
    const void* get_this_ptr() const override {                                                    \
        return this;                                                                               \
    }                                                                                              \
    void* get_this_ptr() override {                                                                \
        return this;                                                                               \
    }                                                                                              \
    const char* get_dynamic_class_name() const override {                                          \
        return X::get_static_class_name();                                                         \
    }                                                                                              \
    unsigned long get_dynamic_class_id() const override {                                          \
        return X::get_static_class_id();                                                           \
    }                                                                                              \
    Std_Conformance get_class_conformance_function() const override {                              \
        return &X::has_superclass;                                                                 \
    }

#define STD_OBJ_CLASS(X, BASE) STD_OBJ_CLASS_NAMED(X, BASE, #X)

// The members that the root shares with all other classes.
#define STD_OBJ_STATICS(X, NAME)                                                                   \
    static const char* get_static_class_name() {                                                   \
        return NAME;                                                                               \
    }                                                                                              \
    static unsigned long get_static_class_id() {                                                   \
        return reinterpret_cast<unsigned long>(&X::get_static_class_id);                           \
    }                                                                                              \
    static bool is_direct_instance(const Std_Obj* object) {                                        \
        return object && object->get_dynamic_class_id() == X::get_static_class_id();               \
    }                                                                                              \
    static bool is_instance(const Std_Obj* object) {                                               \
        return object && object->get_class_conformance_function()(X::get_static_class_id());       \
    }                                                                                              \
    static const X* const_castdown(const Std_Obj* object) {                                        \
        return is_instance(object) ? static_cast<const X*>(object->get_this_ptr()) : nullptr;      \
    }                                                                                              \
    static X* castdown(Std_Obj* object) {                                                          \
        return is_instance(object) ? static_cast<X*>(object->get_this_ptr()) : nullptr;            \
    }

// Tells whether a class is, or derives from, the class of the given id.
using Std_Conformance = bool (*)(unsigned long id);

class Std_Obj : public virtual Std_GC {
public:
    // Objects built so far, copies included; the newest bears this id. Other threads may be
    // building: who minds reads it by std::atomic_ref.
    static int instance_counter;

    Std_Obj() : instance_id_(next_instance_id()) {}

    // A copy is an object of its own; an assignment leaves the identity alone.
    Std_Obj(const Std_Obj&) : Std_GC(), instance_id_(next_instance_id()) {}
    Std_Obj& operator=(const Std_Obj&) { return *this; }

    // `this` of the complete object.
    virtual const void* get_this_ptr() const { return this; }
    virtual void* get_this_ptr() { return this; }
    virtual const char* get_dynamic_class_name() const { return get_static_class_name(); }
    virtual unsigned long get_dynamic_class_id() const { return get_static_class_id(); }
    virtual Std_Conformance get_class_conformance_function() const { return &has_superclass; }

    STD_OBJ_STATICS(Std_Obj, "Std_Obj")
    static bool has_superclass(unsigned long id) { return id == get_static_class_id(); }

    // 1 for the first object of the process; never changes, never used again.
    int get_instance_id() const { return instance_id_; }

    // Hash of the identity, the same for the life of the object.
    unsigned int get_hash() const;

    // Hash and equality for tables whose keys are objects.
    static unsigned int instance_hash(Std_Obj* const& object) { return object->get_hash(); }
    static bool instance_same(Std_Obj* const& a, Std_Obj* const& b) { return a == b; }

private:
    friend class Std_Weak_Cell;
    static int next_instance_id();

    int instance_id_;
};

#endif
