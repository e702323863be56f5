// Several floats side by side: four where the processor has them, or else one. The same operations
// on the same values give the same bits either way.
//
//     for (int i = 0; i < 16; i += Quad::width)
//         bits |= is_less(Quad(low + i), Quad(3.0f)).bits() << i;
//
// is_less and | work on truth values, of which 0.0f stands for false. lesser and greater answer
// their second operand if one is a NaN.
#ifndef MATH_QUAD_H
#define MATH_QUAD_H

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#if defined(__SSE2__)
struct Quad {
    static constexpr int width = 4;

    Quad(__m128 x) : v(x) {}
    Quad(float x) : v(_mm_set1_ps(x)) {}
    explicit Quad(const float* x) : v(_mm_loadu_ps(x)) {}
    void store(float* to) const { _mm_storeu_ps(to, v); }
    unsigned int bits() const { return static_cast<unsigned int>(_mm_movemask_ps(v)); }

    friend Quad operator+(Quad a, Quad b) { return _mm_add_ps(a.v, b.v); }
    friend Quad operator-(Quad a, Quad b) { return _mm_sub_ps(a.v, b.v); }
    friend Quad operator*(Quad a, Quad b) { return _mm_mul_ps(a.v, b.v); }
    friend Quad is_less(Quad a, Quad b) { return _mm_cmplt_ps(a.v, b.v); }
    friend Quad operator|(Quad a, Quad b) { return _mm_or_ps(a.v, b.v); }
    friend Quad lesser(Quad a, Quad b) { return _mm_min_ps(a.v, b.v); }
    friend Quad greater(Quad a, Quad b) { return _mm_max_ps(a.v, b.v); }

    __m128 v;
};
#else
struct Quad {
    static constexpr int width = 1;

    Quad(float x) : v(x) {}
    explicit Quad(const float* x) : v(*x) {}
    void store(float* to) const { *to = v; }
    unsigned int bits() const { return v != 0; }

    friend Quad operator+(Quad a, Quad b) { return a.v + b.v; }
    friend Quad operator-(Quad a, Quad b) { return a.v - b.v; }
    friend Quad operator*(Quad a, Quad b) { return a.v * b.v; }
    friend Quad is_less(Quad a, Quad b) { return a.v < b.v ? 1.0f : 0.0f; }
    friend Quad operator|(Quad a, Quad b) { return a.v != 0 || b.v != 0 ? 1.0f : 0.0f; }
    friend Quad lesser(Quad a, Quad b) { return a.v < b.v ? a.v : b.v; }
    friend Quad greater(Quad a, Quad b) { return a.v > b.v ? a.v : b.v; }

    float v;
};
#endif

#endif
