// What a walk over a world calls: anything that takes a WDB_Node& and a const Bbox&, its box in
// world space. If it answers bool, true stops the walk.
//
//     int count = 0;
//     world.for_each_shape([&](WDB_Node& node, const Bbox&) { count += node.get_stamp() > 7; });
//
// Only passed on, like a reference: what is called must live as long as the walk.
#ifndef WDB_WDB_VISIT_H
#define WDB_WDB_VISIT_H

#include <concepts>
#include <type_traits>

#include "math/Bbox.h"
#include "std/Std_Univ.h"

class WDB_Node;

class WDB_Visit {
public:
    template<class Call>
    requires std::invocable<Call&, WDB_Node&, const Bbox&> WDB_Visit(Call&& call)
        : user_(Conv<std::remove_cvref_t<Call>*>::to_univ(
              const_cast<std::remove_cvref_t<Call>*>(&call))),
          callback_(answer<std::remove_reference_t<Call>>) {}

    SUniv* user() const { return user_; }
    bool (*callback() const)(SUniv*, const WDB_Node*, const Bbox&) { return callback_; }

private:
    // Worlds hold what may be changed; their walks show it as const for those who only look.
    template<class Call>
    static bool answer(SUniv* user, const WDB_Node* node, const Bbox& box) {
        Call& call = *Conv<std::remove_const_t<Call>*>::from_univ(user);
        auto& shown = const_cast<WDB_Node&>(*node);
        if constexpr (std::same_as<decltype(call(shown, box)), bool>) {
            return call(shown, box);
        } else {
            call(shown, box);
            return false;
        }
    }

    SUniv* user_;
    bool (*callback_)(SUniv* user, const WDB_Node* node, const Bbox& box);
};

#endif
