// Items of a list while nobody knows yet how many there will be.
//
//     Item_Pile<WDB_Line> pile;
//     while (more()) pile.push(line);
//     new WDB_Line_List(pile.count(), [&](WDB_Line* to) { pile.pour(to); });
//
// In blocks of malloc that are never copied, and go back one by one while the list fills: ten
// million lines never take much more than they do in their list. A growing array would take three
// times that, and the collector keeps what it had. Internal.
#ifndef WDB_ITEM_PILE_H
#define WDB_ITEM_PILE_H

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "std/Std_Collector.h"

template<class Item>
class Item_Pile {
public:
    Item_Pile() = default;
    Item_Pile(const Item_Pile&) = delete;
    Item_Pile& operator=(const Item_Pile&) = delete;
    ~Item_Pile() {
        while (first_) drop_first();
    }

    // On failure: lack of memory is a fatal report.
    void push(const Item& item) {
        if (!last_ || last_->taken == last_->room) add_block();
        last_->items()[last_->taken++] = item;
        ++count_;
    }

    // Negative, which lists report, where there are more than they can hold.
    int count() const { return static_cast<int>(std::min<std::size_t>(count_, UINT_MAX)); }

    // Writes all in their order, and is empty then.
    void pour(Item* to) {
        for (; first_; drop_first()) {
            std::memcpy(static_cast<void*>(to), first_->items(), first_->taken * sizeof(Item));
            to += first_->taken;
        }
        last_ = nullptr;
        count_ = 0;
    }

private:
    static_assert(std::is_trivially_copyable_v<Item> && alignof(Item) <= alignof(std::size_t));

    struct Block {
        Block* next;
        std::size_t room, taken;
        Item* items() { return reinterpret_cast<Item*>(this + 1); }
    };

    // Blocks double up to a size that malloc takes from the system, and gives back, by itself.
    void add_block() {
        const std::size_t least = 32, most = (std::size_t(48) << 20) / sizeof(Item);
        const std::size_t room = last_ ? std::min(2 * last_->room, most) : least;
        const std::size_t size = sizeof(Block) + room * sizeof(Item);
        void* const memory = std::malloc(size);
        if (!memory) std_out_of_memory(size);
        auto* const block = new (memory) Block{nullptr, room, 0};
        (last_ ? last_->next : first_) = block;
        last_ = block;
    }

    void drop_first() {
        Block* const next = first_->next;
        std::free(first_);
        first_ = next;
    }

    Block *first_ = nullptr, *last_ = nullptr;
    std::size_t count_ = 0;
};

#endif
