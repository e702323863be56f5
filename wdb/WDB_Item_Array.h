// The triangles or lines of a geometry: an array of fixed length, given back at once.
//
//     WDB_Item_Array<WDB_Line> lines(n, "lines");
//
// An Item is plain numbers, and has line_intersection(p, q, tolerance).
#ifndef WDB_WDB_ITEM_ARRAY_H
#define WDB_WDB_ITEM_ARRAY_H

#include <algorithm>
#include <cfloat>
#include <cstddef>

#include "math/Geometry.h"
#include "std/Std_Assert.h"
#include "std/Std_Common.h"
#include "std/Std_GC.h"

template<class Item>
class WDB_Item_Array {
public:
    // `items`: what the Items are called in a report. On failure: a fatal report, if `n` is
    // negative.
    WDB_Item_Array(int n, const char* items)
        : items_(new (GCAtomic) Item[checked_length(n, items)]), count_(n) {}
    // A copy of `n` items.
    WDB_Item_Array(const Item* from, int n, const char* items) : count_(n) {
        items_ = static_cast<Item*>(std_allocate_unfilled(checked_length(n, items) * sizeof(Item)));
        std::copy_n(from, n, items_);
    }
    WDB_Item_Array(const WDB_Item_Array&) = delete;
    WDB_Item_Array& operator=(const WDB_Item_Array&) = delete;
    ~WDB_Item_Array() { std_release(items_); }

    int count() const { return count_; }

    // Requires: 0 <= index < count().
    Item& operator[](int index) { return items_[index]; }
    const Item& operator[](int index) const { return items_[index]; }

    const Item* begin() const { return items_; }
    const Item* end() const { return items_ + count_; }

    // The smallest fraction of all items. On failure: FLT_MAX.
    float line_intersection(const Point& p, const Point& q, float tolerance) const {
        float nearest = FLT_MAX;
        for (int i = 0; i < count_; ++i)
            nearest = std::min(nearest, items_[i].line_intersection(p, q, tolerance));
        return nearest;
    }

private:
    static std::size_t checked_length(int n, const char* items) {
        if (n < 0)
            std_assert(-1, str_format("A list of %d %s cannot be made", n, items), __FILE__,
                       __LINE__);
        return static_cast<std::size_t>(n);
    }

    Item* items_;
    int count_;
};

#endif
