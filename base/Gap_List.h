// Sequence of values with one movable gap: runs of insertions or removals near
// one place move next to nothing.
//
//     Gap_List<WDB_Node*> nodes;            // no memory until the first insertion
//     nodes.insert_last(node);
//     nodes.insert(other, 0);
//     for (int i = 0; i < nodes.count(); ++i) nodes[i]->...
//     nodes.remove(nodes.count() - 1);
//
// Elements are plain values (pointers, numbers, records) that are moved as bytes.
// References to elements hold until the next insertion or removal. The cells are
// collected and scanned; capacity goes 0, 5, 10, 20 ... and never shrinks.
//
// Cells, with 5 elements, capacity 10 and the gap at 2:
//
//     [ 0 ][ 1 ][   ][   ][   ][   ][   ][ 2 ][ 3 ][ 4 ]
//                 ^ gap_position_, gap_size_ 5
#ifndef BASE_GAP_LIST_H
#define BASE_GAP_LIST_H

#include <climits>
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "std/Std_Assert.h"
#include "std/Std_Obj.h"

template<class T>
class Gap_List : public Std_Obj {
    STD_OBJ_CLASS_NAMED(Gap_List, Std_Obj, "Gap_List<T>")

    using Compare = bool (*)(const T&, const T&);

    // Null takes default_is_data_equal.
    explicit Gap_List(Compare compare = nullptr) { set_compare(compare); }

    // A copy has cells of its own.
    Gap_List(const Gap_List& other) : Std_Obj(other), compare_(other.compare_) {
        append_all(other);
    }
    Gap_List& operator=(const Gap_List& other);

    int count() const { return capacity_ - gap_size_; }
    bool is_empty() const { return count() == 0; }

    // Requires: 0 <= index < count().
    T& operator[](int index) { return data_[cell_of(index)]; }
    const T& operator[](int index) const { return data_[cell_of(index)]; }

    // `item`, which may be an element of this list, becomes element `index`.
    // Requires: 0 <= index <= count().
    // Cost: the distance to the place of the last insertion or removal.
    void insert(const T& item, int index);
    void insert_last(const T& item);

    // Requires: 0 <= index < count().
    // Cost: as insert.
    void remove(int index);

    // Removes all and keeps the cells.
    void wipe_out();

    // The list keeps the function for its users; null means the default.
    void set_compare(Compare compare) { compare_ = compare ? compare : &default_is_data_equal; }

    // == on T, so identity for pointers; records without == compare as bytes.
    static bool default_is_data_equal(const T& a, const T& b);

private:
    static constexpr int first_capacity_ = 5;

    int cell_of(int index) const { return index < gap_position_ ? index : index + gap_size_; }
    void append_all(const Gap_List& other);
    void move_gap(int position);
    [[gnu::noinline]] void double_size();

    T* data_ = nullptr;
    int capacity_ = 0;
    int gap_position_ = 0;
    int gap_size_ = 0;
    Compare compare_;
};

template<class T>
Gap_List<T>& Gap_List<T>::operator=(const Gap_List& other) {
    if (this == &other) return *this;
    wipe_out();
    compare_ = other.compare_;
    append_all(other);
    return *this;
}

template<class T>
void Gap_List<T>::append_all(const Gap_List& other) {
    for (int i = 0; i < other.count(); ++i) insert_last(other[i]);
}

template<class T>
inline void Gap_List<T>::insert(const T& item, int index) {
    const T value = item; // growing, or moving the gap, may move `item` itself
    if (gap_size_ == 0) double_size();
    if (gap_position_ != index) move_gap(index);
    data_[index] = value;
    ++gap_position_;
    --gap_size_;
}

template<class T>
inline void Gap_List<T>::insert_last(const T& item) {
    const int index = count();
    if (gap_size_ == 0 || gap_position_ != index) {
        insert(item, index);
        return;
    }
    data_[index] = item;
    ++gap_position_;
    --gap_size_;
}

template<class T>
inline void Gap_List<T>::remove(int index) {
    if (gap_position_ != index) move_gap(index);
    ++gap_size_;
    std::memset(static_cast<void*>(data_ + gap_position_), 0, sizeof(T));
}

template<class T>
void Gap_List<T>::wipe_out() {
    if (capacity_ == 0) return;
    std::memset(static_cast<void*>(data_), 0, static_cast<std::size_t>(capacity_) * sizeof(T));
    gap_position_ = 0;
    gap_size_ = capacity_;
}

template<class T>
bool Gap_List<T>::default_is_data_equal(const T& a, const T& b) {
    if constexpr (requires { a == b; }) {
        return a == b;
    } else {
        return std::memcmp(&a, &b, sizeof(T)) == 0;
    }
}

template<class T>
void Gap_List<T>::move_gap(int position) {
    T* const gap = data_ + gap_position_;
    if (gap_position_ < position) {
        const auto n = static_cast<std::size_t>(position - gap_position_);
        std::memmove(static_cast<void*>(gap), gap + gap_size_, n * sizeof(T));
    } else {
        const auto n = static_cast<std::size_t>(gap_position_ - position);
        T* const target = data_ + position;
        std::memmove(static_cast<void*>(target + gap_size_), target, n * sizeof(T));
    }
    gap_position_ = position;
}

// Only called when the gap is used up, so the cells are the elements in order.
template<class T>
void Gap_List<T>::double_size() {
    static_assert(std::is_trivially_copyable_v<T>, "elements are moved as bytes");
    if (capacity_ > INT_MAX / 2) {
        std_assert(-1, "Gap_List: more elements than an int can count", __FILE__, __LINE__);
    }
    const int added = capacity_ == 0 ? first_capacity_ : capacity_;
    T* const old = data_;
    data_ = new (std_gc) T[static_cast<std::size_t>(capacity_) + static_cast<std::size_t>(added)];
    if (old) {
        std::memcpy(static_cast<void*>(data_), old,
                    static_cast<std::size_t>(capacity_) * sizeof(T));
        std_release(old);
    }
    gap_position_ = capacity_;
    gap_size_ = added;
    capacity_ += added;
}

#endif
