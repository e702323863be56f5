// The number of each of many items, by address.
//
//     Slot_Table slot_of;
//     slot_of.put(item, 7);
//     const std::uint32_t slot = slot_of.find(item);    // 7; Slot_Table::absent for others
//
// Open addressing, at most half full, without marks for what was removed: two words for a cell, a
// third less than a Hash_Table takes, which promises an order. Items stay alive while they are
// held.
#ifndef MATH_SLOT_TABLE_H
#define MATH_SLOT_TABLE_H

#include <cstddef>
#include <cstdint>

#include "std/Std_GC.h"
#include "std/Std_Univ.h"

class Slot_Table {
public:
    static constexpr std::uint32_t absent = UINT32_MAX;

    Slot_Table() = default;
    Slot_Table(const Slot_Table&) = delete;
    Slot_Table& operator=(const Slot_Table&) = delete;

    int count() const { return count_; }
    bool has(const SUniv* item) const { return find(item) != absent; }
    std::uint32_t find(const SUniv* item) const;
    // Has the processor fetch what the next operation on the item looks at.
    void prefetch(const SUniv* item) const {
        if (size_ > 0) __builtin_prefetch(&cells_[home(item)]);
    }
    // Enters the item, which may be null, or gives it another number. Requires: slot is not absent.
    void put(SUniv* item, std::uint32_t slot);
    // The same; answers the number that it had, or absent.
    std::uint32_t exchange(SUniv* item, std::uint32_t slot);
    // Does nothing if the item is not there.
    void remove(const SUniv* item);
    // Removes all and keeps the cells.
    void wipe_out();

private:
    struct Cell {
        SUniv* item;
        std::uint32_t slot_and_1; // 0 where the cell is free

        bool is_free() const { return slot_and_1 == 0; }
    };

    std::size_t home(const SUniv* item) const;
    std::size_t next(std::size_t cell) const { return (cell + 1) & (size_ - 1); }
    std::size_t cell_of(const SUniv* item) const;
    void double_size();

    Cell* cells_ = nullptr;
    std::size_t size_ = 0; // 0, or a power of two
    int count_ = 0;
};

#endif
