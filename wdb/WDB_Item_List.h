// What lists of triangles and of lines share: an array of fixed length, given back at once.
//
// An Item is plain numbers with the corners p0, p1 and perhaps p2, and has
// line_intersection(p, q, tolerance).
#ifndef WDB_WDB_ITEM_LIST_H
#define WDB_WDB_ITEM_LIST_H

#include <algorithm>
#include <cfloat>
#include <cstddef>

#include "std/Std_Assert.h"
#include "std/Std_Common.h"
#include "wdb/WDB_Geometry.h"

template<class Item>
class WDB_Item_List : public WDB_Geometry {
public:
    WDB_Item_List(const WDB_Item_List&) = delete;
    WDB_Item_List& operator=(const WDB_Item_List&) = delete;

    // Copies into slot `index` and touches; the box goes stale.
    // Requires: 0 <= index < count().
    void put(const Item& item, int index) {
        items_[index] = item;
        touch();
    }

    // Requires: 0 <= index < count(), and that the slot was put.
    const Item& operator[](int index) const { return items_[index]; }

    // The slots in their order, also for loops:
    //     for (const WDB_Triangle& triangle : *list) draw(triangle);
    // Lifetime: that of the list, which must be kept as well; put writes into the same slots.
    const Item* begin() const { return items_; }
    const Item* end() const { return items_ + count_; }

    // The length given at construction, whether or not the slots were put.
    int count() const { return count_; }

    // Corners of one item, and of all.
    static constexpr int corners_of_item = (requires { &Item::p2; }) ? 3 : 2;
    std::size_t vertex_count() const { return static_cast<std::size_t>(count_) * corners_of_item; }

    // The smallest fraction of all items. Cost: linear in count().
    float detailed_line_intersection(const Point& p, const Point& q,
                                     float tolerance) const override {
        float nearest = FLT_MAX;
        for (const Item& item : *this)
            nearest = std::min(nearest, item.line_intersection(p, q, tolerance));
        return nearest;
    }

    // The box of all corners; of an empty list, the point (0, 0, 0): an inverted box, once
    // transformed, would hold everything.
    void update_bbox() override {
        Bbox box;
        box.clear();
        if (count_ == 0) box.merge(Point(0, 0, 0));
        for (const Item& item : *this) {
            box.merge(item.p0);
            box.merge(item.p1);
            if constexpr (requires { item.p2; }) box.merge(item.p2);
        }
        set_bbox(box);
    }

    // Gives the array back at once.
    virtual ~WDB_Item_List() { std_release(items_); }

protected:
    // `items`: what the Items are called in a report. On failure: a fatal report, if `n` is
    // negative.
    WDB_Item_List(int n, const char* items)
        : items_(new (GCAtomic) Item[checked_length(n, items)]), count_(n) {}
    // With what `fill` writes: it is given an array of `n` items. As if each had been put.
    template<class Fill>
    WDB_Item_List(int n, const char* items, Fill fill)
        : items_(
              static_cast<Item*>(std_allocate_unfilled(checked_length(n, items) * sizeof(Item)))),
          count_(n) {
        fill(items_);
        // Derived data may go by the stamp.
        for (int i = 0; i < n; ++i) touch();
    }

    // Touches if the value changes. Flags move no corner: the box stays as it is.
    void set_flag(bool& flag, bool value) {
        if (value == flag) return;
        flag = value;
        touch_beside_bbox();
    }

private:
    static std::size_t checked_length(int n, const char* items) {
        if (n >= 0) return static_cast<std::size_t>(n);
        std_assert(-1, str_format("A list of %d %s cannot be made", n, items), __FILE__, __LINE__);
        return 0; // never
    }

    Item* items_;
    int count_;
};

#endif
