// Growing array of values that hold no pointers, in memory that the collector does not look into.
//
//     Plain_Array<float> heights;
//     heights.push(3);
//     for (std::size_t i = 0; i < heights.count(); ++i) sum += heights[i];
//
// Elements are moved as bytes. References to elements hold until the array grows. The array owns
// its cells alone and is not copied; wipe_out keeps them for the next use.
#ifndef BASE_PLAIN_ARRAY_H
#define BASE_PLAIN_ARRAY_H

#include <cstddef>
#include <cstring>
#include <type_traits>

#include "std/Std_GC.h"

template<class T>
class Plain_Array {
public:
    Plain_Array() = default;
    Plain_Array(const Plain_Array&) = delete;
    Plain_Array& operator=(const Plain_Array&) = delete;

    std::size_t count() const { return count_; }
    T& operator[](std::size_t index) { return cells_[index]; }
    const T& operator[](std::size_t index) const { return cells_[index]; }
    T* cells() { return cells_; }
    const T* cells() const { return cells_; }

    void push(const T& value) {
        const T copy = value; // growing may move `value` itself
        if (count_ == capacity_) reserve(count_ + 1);
        cells_[count_++] = copy;
    }
    // New elements read as zero bytes.
    void resize(std::size_t count) {
        reserve(count);
        if (count > count_)
            std::memset(static_cast<void*>(cells_ + count_), 0, (count - count_) * sizeof(T));
        count_ = count;
    }
    // Room for `count` elements. Cost: in proportion to them, if repeated calls raise it.
    void reserve(std::size_t count);
    void wipe_out() { count_ = 0; }
    // The same, but gives the cells back if there are more than `most_kept`.
    void wipe_out(std::size_t most_kept) {
        count_ = 0;
        if (capacity_ <= most_kept) return;
        std_release(cells_);
        cells_ = nullptr;
        capacity_ = 0;
    }

private:
    T* cells_ = nullptr;
    std::size_t count_ = 0;
    std::size_t capacity_ = 0;
};

template<class T>
void Plain_Array<T>::reserve(std::size_t count) {
    static_assert(std::is_trivially_copyable_v<T>, "elements are moved as bytes");
    if (count <= capacity_) return;
    const std::size_t least = 8;
    // Half as much again: of large arrays, twice as much is felt.
    std::size_t capacity = capacity_ + capacity_ / 2;
    if (capacity < count) capacity = count;
    if (capacity < least) capacity = least;
    T* const old = cells_;
    // Cells that are never used do not come into memory at all.
    cells_ = static_cast<T*>(std_allocate_unfilled(capacity * sizeof(T)));
    if (count_ > 0) std::memcpy(static_cast<void*>(cells_), old, count_ * sizeof(T));
    std_release(old);
    capacity_ = capacity;
}

#endif
