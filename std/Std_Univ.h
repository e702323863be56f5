// One-word values on their way through callbacks that know nothing of their type.
//
//     world.apply(Conv<int>::to_univ(7), [](SUniv* user, ...) {
//         int seven = Conv<int>::from_univ(user); ...
//     });
//
// All conversions keep the bits; values narrower than a pointer fill its low end.
#ifndef STD_STD_UNIV_H
#define STD_STD_UNIV_H

#include <bit>
#include <cstdint>
#include <type_traits>

// Never defined: a SUniv* is carried, not looked into.
struct SUniv;

// Defined for pointers, integers, enumerations, bool and float.
template<class T>
struct Conv {
    static_assert(std::is_pointer_v<T> || std::is_integral_v<T> || std::is_enum_v<T>,
                  "only values of one word travel as a SUniv*");

    static SUniv* to_univ(T value) {
        if constexpr (std::is_pointer_v<T>) {
            return (SUniv*)value;
        } else if constexpr (std::is_same_v<std::remove_cv_t<T>, bool>) {
            return reinterpret_cast<SUniv*>(static_cast<std::uintptr_t>(value));
        } else {
            return reinterpret_cast<SUniv*>(
                static_cast<std::uintptr_t>(static_cast<std::make_unsigned_t<T>>(value)));
        }
    }
    static T from_univ(SUniv* word) {
        if constexpr (std::is_pointer_v<T>) {
            return (T)word;
        } else {
            return static_cast<T>(reinterpret_cast<std::uintptr_t>(word));
        }
    }
};

template<>
struct Conv<float> {
    static SUniv* to_univ(float value) {
        return Conv<std::uint32_t>::to_univ(std::bit_cast<std::uint32_t>(value));
    }
    static float from_univ(SUniv* word) {
        return std::bit_cast<float>(Conv<std::uint32_t>::from_univ(word));
    }
};

// The low 32 bits of a pointer as a number, and back.
inline unsigned int pointer_to_unsigned(const void* p) {
    return static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(p));
}
inline void* unsigned_to_pointer(unsigned int value) {
    return reinterpret_cast<void*>(static_cast<std::uintptr_t>(value));
}

// The bits of a float as a pointer's, and back.
inline float pointer_to_float(const void* p) {
    return std::bit_cast<float>(pointer_to_unsigned(p));
}
inline void* float_to_pointer(const float& value) {
    return unsigned_to_pointer(std::bit_cast<unsigned int>(value));
}

#endif
