#include "math/Slot_Table.h"

#include <cstring>

// Addresses lie at even distances: all their bits must count, and go to the upper half of a
// product.
std::size_t Slot_Table::home(const SUniv* item) const {
    const std::uint64_t golden_ratio = 0x9E3779B97F4A7C15u;
    const std::uint64_t product = reinterpret_cast<std::uintptr_t>(item) * golden_ratio;
    return static_cast<std::size_t>(product >> 32) & (size_ - 1);
}

// Where the item is or should be put. Requires: cells.
std::size_t Slot_Table::cell_of(const SUniv* item) const {
    std::size_t cell = home(item);
    while (!cells_[cell].is_free() && cells_[cell].item != item) cell = next(cell);
    return cell;
}

std::uint32_t Slot_Table::find(const SUniv* item) const {
    if (count_ == 0) return absent;
    const Cell& cell = cells_[cell_of(item)];
    return cell.is_free() ? absent : cell.slot_and_1 - 1;
}

void Slot_Table::put(SUniv* item, std::uint32_t slot) {
    exchange(item, slot);
}

std::uint32_t Slot_Table::exchange(SUniv* item, std::uint32_t slot) {
    if (2 * (static_cast<std::size_t>(count_) + 1) > size_) double_size();
    Cell& cell = cells_[cell_of(item)];
    const std::uint32_t old = cell.is_free() ? absent : cell.slot_and_1 - 1;
    if (cell.is_free()) ++count_;
    cell = {item, slot + 1};
    return old;
}

// Closes the hole with what could not have its home for the items before it, and so on.
void Slot_Table::remove(const SUniv* item) {
    if (count_ == 0) return;
    std::size_t hole = cell_of(item);
    if (cells_[hole].is_free()) return;
    --count_;
    for (std::size_t cell = next(hole); !cells_[cell].is_free(); cell = next(cell)) {
        const std::size_t from_home = (cell - home(cells_[cell].item)) & (size_ - 1);
        if (from_home < ((cell - hole) & (size_ - 1))) continue;
        cells_[hole] = cells_[cell];
        hole = cell;
    }
    cells_[hole] = {nullptr, 0};
}

void Slot_Table::wipe_out() {
    if (size_ > 0) std::memset(static_cast<void*>(cells_), 0, size_ * sizeof(Cell));
    count_ = 0;
}

void Slot_Table::double_size() {
    const std::size_t first_size = 8, old_size = size_;
    Cell* const old = cells_;
    size_ = old_size > 0 ? 2 * old_size : first_size;
    cells_ = new (GC) Cell[size_]; // reads as zero
    for (std::size_t i = 0; i < old_size; ++i)
        if (!old[i].is_free()) cells_[cell_of(old[i].item)] = old[i];
    std_release(old);
}
