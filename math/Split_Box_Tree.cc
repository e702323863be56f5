// How items are filed: an item stands once in an index, which finds it by place, and once in
// slots_, the order of arrival. The tree of cells is there for the order of walks alone: see
// math/Split_Box_Tree_walks.cc.
//
// What is put waits in slots_ until somebody looks. Then a first lot of items is counted in the
// cells all at once, which comes out as if they had come one by one: a cell divides once more than
// the limit have reached it, in whatever order, as long as none goes. And worlds that are only
// built and saved never need the indices.
#include "math/Split_Box_Tree.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "math/Box_Probes.h"
#include "math/Cell_Contents.h"
#include "std/Std_Assert.h"

// Bounds in which the middle of a cell lies between its sides.
static bool is_sound(const Bbox& bounds) {
    const float most = Box_Cells::sound_limit;
    return bounds.is_ordered() &&
           Bbox(Point(-most, -most, -most), Point(most, most, most)).contains(bounds);
}

BSplit_Box_Tree::BSplit_Box_Tree(int split_into_n, int max_level, int items_limit,
                                 const Bbox& bounds)
    : cells_(split_into_n, max_level, items_limit, bounds), index_{Box_Index(bounds, false),
                                                                   Box_Index(bounds, true)},
      in_cells_(0), by_place_(0), literal_contents_valid_(false) {}

// Below this many, free slots do not matter.
static const std::size_t few_slots = 64;

std::uint32_t BSplit_Box_Tree::kind_of(const Bbox& box) const {
    // Odd boxes, with a NaN or inverted, have no place in an index; and in bounds that are not
    // sound no place can be trusted.
    const Bbox& bounds = get_bbox();
    if (!bounds.is_overlapping(box)) return outside_;
    if (!box.is_ordered() || !is_sound(bounds)) return odd_;
    // Large boxes stand apart: in one index with small ones they would make its nodes large.
    const float large_part = 1.0f / 16;
    const Vector all = bounds.size();
    const float limit = std::max({all.x, all.y, all.z}) * large_part;
    const Vector size = box.size();
    return size.x > limit || size.y > limit || size.z > limit ? large_ : small_;
}

void BSplit_Box_Tree::put(SUniv* item, const Bbox& box) {
    if (!get_bbox().contains(box))
        std_assert(0, "BSplit_box_tree put: element out of bounds", __FILE__, __LINE__);
    const Bbox copy = box; // it may be that of a slot
    // Before the new slot: what moves must not be what is being filed.
    close_up();
    const auto slot = static_cast<std::uint32_t>(slots_.count());
    const std::uint32_t old = slot_of_.exchange(item, slot);
    static_assert(Slot_Table::absent == new_);
    if (old != new_) slots_[old].where |= leaving_;
    slots_.push({copy, item, old, kind_of(copy)});
    unsettle();
    // The first division is to abort for other counts, here and not in a walk.
    const int parts = cells_.get_split_count();
    if (parts != 2 && parts != 8) settle();
}

// What was put since the last look is filed now, all at once: most items are put before anybody
// asks, and a lot is counted in cells and sorted by place at a fraction of what each alone costs.
// Const, since no answer changes by it. Of several threads that look, one files and the others
// wait.
void BSplit_Box_Tree::settle() const {
    if (is_settled_.load(std::memory_order_acquire)) return;
    const std::lock_guard lock(settling_);
    const_cast<BSplit_Box_Tree*>(this)->file_in_cells();
    const_cast<BSplit_Box_Tree*>(this)->file_by_place();
    is_in_cells_.store(true, std::memory_order_release);
    is_settled_.store(true, std::memory_order_release);
}

void BSplit_Box_Tree::settle_order() const {
    if (is_in_cells_.load(std::memory_order_acquire)) return;
    const std::lock_guard lock(settling_);
    const_cast<BSplit_Box_Tree*>(this)->file_in_cells();
    is_in_cells_.store(true, std::memory_order_release);
}

void BSplit_Box_Tree::unsettle() {
    literal_contents_valid_ = false;
    is_in_cells_.store(false, std::memory_order_relaxed);
    is_settled_.store(false, std::memory_order_relaxed);
}

void BSplit_Box_Tree::file_in_cells() {
    if (in_cells_ == slots_.count()) return;
    const Walk_Scratch scratch(*this);
    std::uint32_t* const list = (*scratch).list.cells();
    file_lot_in_cells(list);
    if (in_cells_ == slots_.count()) return;
    file_by_place(); // the division of a cell asks who is there
    while (in_cells_ < slots_.count()) {
        prefetch_move(in_cells_ + std::size_t{4});
        file(in_cells_++, list);
        ++by_place_;
    }
}

// What was put before the first move, or nothing if it is to come one by one. `list` has room for
// all slots, here and below.
void BSplit_Box_Tree::file_lot_in_cells(std::uint32_t* list) {
    const int parts = cells_.get_split_count();
    if (!cells_.is_untouched() || (parts != 2 && parts != 8)) return;
    std::uint32_t* last = list;
    std::ptrdiff_t large_count = 0;
    std::uint32_t end = in_cells_;
    for (; end < slots_.count() && slots_[end].home == new_; ++end) {
        const std::uint32_t kind = slots_[end].kind();
        if (kind == odd_) return;
        if (kind == large_) ++large_count;
        if (kind <= large_) *last++ = end;
    }
    // Each reaches a thousand cells, or many more.
    if (large_count > (last - list) / 1024) return;
    const auto box_of = [this](std::uint32_t slot) -> const Bbox& { return slots_[slot].box; };
    const auto note_home = [this](const Box_Cells::Cell& cell, const std::uint32_t* s,
                                  const std::uint32_t* s_end) {
        if (!cells_.is_keyed()) return;
        for (; s != s_end; ++s) {
            Slot& slot = slots_[*s];
            if (slot.home == new_) slot.home = cells_.first_leaf(slot.box.min, cell);
        }
    };
    if (!cells_.add_all(list, last, box_of, note_home)) {
        for (const std::uint32_t* s = list; s != last; ++s) slots_[*s].home = new_;
        return;
    }
    in_cells_ = end;
}

void BSplit_Box_Tree::file_by_place() {
    if (by_place_ == in_cells_) return;
    Plain_Array<Box_Index::Item> items;
    for (std::uint32_t kind = small_; kind <= large_; ++kind) {
        items.wipe_out();
        for (std::uint32_t slot = by_place_; slot < in_cells_; ++slot)
            if (slots_[slot].kind() == kind) items.push({slots_[slot].box, slot});
        index_[kind].put_all(items);
    }
    items.wipe_out(0);
    by_place_ = in_cells_;
}

void BSplit_Box_Tree::file(std::uint32_t slot, std::uint32_t* list) {
    if (const std::uint32_t from = slots_[slot].home; from != new_) {
        if (file_move(from, slot, list)) return;
        unfile(from);
    }
    const std::uint32_t where = slots_[slot].kind(); // it may have moved on since
    if (where == outside_) return;
    if (where == odd_) {
        slots_[slot].home = static_cast<std::uint32_t>(odd_slots_.count());
        odd_slots_.push(slot);
    } else {
        index_[where].put(slot, slots_[slot].box);
    }
    const Box_Cells::Key home =
        cells_.add(slots_[slot].box, [&](const Box_Cells::Cell& leaf) { divide(leaf, list); });
    if (where != odd_) slots_[slot].home = home;
}

// What moves lies anywhere in the memory.
void BSplit_Box_Tree::prefetch_move(std::size_t slot) const {
    if (slot >= slots_.count() || slots_[slot].home == new_) return;
    const std::uint32_t from = slots_[slot].home;
    __builtin_prefetch(&slots_[from]);
    const std::uint32_t kind = slots_[slot].kind(); // mostly that of the other
    if (from < by_place_ && kind <= large_) index_[kind].prefetch(from);
}

// False if what was filed must go and come anew.
bool BSplit_Box_Tree::file_move(std::uint32_t from, std::uint32_t slot, std::uint32_t* list) {
    const std::uint32_t kind = slots_[slot].kind();
    if (kind > large_ || slots_[from].kind() != kind) return false;
    index_[kind].move(from, slot, slots_[slot].box);
    slots_[from].where = free_;
    slots_[slot].home = cells_.move(slots_[from].box, slots_[slot].box,
                                    [&](const Box_Cells::Cell& leaf) { divide(leaf, list); });
    return true;
}

void BSplit_Box_Tree::divide(const Box_Cells::Cell& leaf, std::uint32_t* list) {
    std::uint32_t* last = list;
    const auto take = [&](std::uint32_t slot) {
        *last++ = slot;
        return false;
    };
    for (const Box_Index& index : index_) index.visit(Box_Probe(leaf.box), take);
    for (std::size_t i = 0; i < odd_slots_.count(); ++i)
        if (leaf.box.is_overlapping(slots_[odd_slots_[i]].box)) take(odd_slots_[i]);
    cells_.divide(leaf, list, last,
                  [this](std::uint32_t slot) -> const Bbox& { return slots_[slot].box; });
    if (!cells_.is_keyed()) return;
    // An item is reported in the first leaf that it reaches. Where that leaf was the divided one,
    // it is now one of its children.
    for (const std::uint32_t* s = list; s != last; ++s) {
        Slot& slot = slots_[*s];
        if (slot.kind() != odd_ && slot.home == leaf.key)
            slot.home = cells_.first_leaf(slot.box.min, leaf);
    }
}

void BSplit_Box_Tree::take_out(std::uint32_t slot) {
    settle();
    unfile(slot);
    literal_contents_valid_ = false;
}

void BSplit_Box_Tree::unfile(std::uint32_t slot) {
    Slot& from = slots_[slot];
    const std::uint32_t where = from.kind();
    if (where == odd_) {
        // The last takes the place that becomes free.
        const std::uint32_t last = odd_slots_[odd_slots_.count() - 1];
        odd_slots_[from.home] = last;
        slots_[last].home = from.home;
        odd_slots_.resize(odd_slots_.count() - 1);
    } else if (where != outside_) {
        index_[where].remove(slot);
    }
    if (where != outside_) cells_.remove(from.box);
    from.where = free_;
}

void BSplit_Box_Tree::remove(SUniv* item) {
    const std::uint32_t slot = slot_of_.find(item);
    if (slot == Slot_Table::absent) return;
    take_out(slot);
    slot_of_.remove(item);
    close_up();
}

// Moves the slots that are taken to the front, once they are less than half.
void BSplit_Box_Tree::close_up() {
    if (slots_.count() < 2 * static_cast<std::size_t>(count()) + few_slots) return;
    settle();
    std::uint32_t to = 0;
    for (std::uint32_t from = 0; from < slots_.count(); ++from) {
        Slot& slot = slots_[from];
        if (slot.where == free_) continue;
        if (slot.where <= large_) index_[slot.where].rename(from, to);
        if (slot.where == odd_) odd_slots_[slot.home] = to;
        slot_of_.put(slot.item, to);
        slots_[to++] = slot;
    }
    slots_.resize(to);
    in_cells_ = by_place_ = to;
}

void BSplit_Box_Tree::wipe_out() {
    unsettle();
    slot_of_.wipe_out();
    slots_.wipe_out();
    in_cells_ = by_place_ = 0;
    odd_slots_.wipe_out();
    for (Box_Index& index : index_) index.wipe_out();
    cells_.wipe_out();
}

void BSplit_Box_Tree::set_bounds(const Bbox& bounds) {
    unsettle();
    in_cells_ = by_place_ = 0;
    odd_slots_.wipe_out();
    for (Box_Index& index : index_) index.wipe_out(bounds);
    cells_.wipe_out(bounds);
    // All slots are as put leaves them.
    std::uint32_t to = 0;
    for (std::uint32_t from = 0; from < slots_.count(); ++from) {
        const Slot slot = slots_[from];
        if (slot.where > outside_) continue; // free, or leaving
        slot_of_.put(slot.item, to);
        slots_[to++] = {slot.box, slot.item, new_, kind_of(slot.box)};
    }
    slots_.resize(to);
}

int BSplit_Box_Tree::reaching_count() const {
    return index_[small_].count() + index_[large_].count() + static_cast<int>(odd_slots_.count());
}

// A walk must not allocate, and each slot may be found: so there is room for all of them, half as
// many again to come.
void BSplit_Box_Tree::reserve_scratch(Scratch& scratch) const {
    const std::size_t count = slots_.count();
    if (count <= scratch.room) return;
    scratch.room = count + count / 2 + few_slots;
    scratch.found.reserve(scratch.room);
    scratch.list.reserve(scratch.room);
    scratch.moved.reserve(scratch.room);
    scratch.sorted.reserve(scratch.room);
    scratch.unsorted.reserve(scratch.room);
}

// By a number that each thread has been given.
std::atomic<BSplit_Box_Tree::Scratch*>& BSplit_Box_Tree::idle_scratch() const {
    static std::atomic<unsigned int> threads = 0;
    static thread_local constinit unsigned int number = 0;
    if (number == 0) number = ++threads;
    return idle_scratch_[number % std::size(idle_scratch_)].chain;
}

// The whole chain is taken at once, so that nobody else sees its first while it goes, and what is
// behind that is given back.
BSplit_Box_Tree::Scratch* BSplit_Box_Tree::take_scratch() const {
    Scratch* const scratch = idle_scratch().exchange(nullptr, std::memory_order_acquire);
    if (!scratch) return new (std_get_subobject_placement(this)) Scratch;
    if (scratch->next) give_back(std::exchange(scratch->next, nullptr));
    return scratch;
}

void BSplit_Box_Tree::give_back(Scratch* chain) const {
    std::atomic<Scratch*>& idle = idle_scratch();
    Scratch* nothing = nullptr;
    while (!idle.compare_exchange_weak(nothing, chain, std::memory_order_release,
                                       std::memory_order_relaxed)) {
        nothing = nullptr;
        Scratch* others = idle.exchange(nullptr, std::memory_order_acquire);
        while (others) {
            Scratch* const next = std::exchange(others->next, chain);
            chain = std::exchange(others, next);
        }
    }
}

Bbox BSplit_Box_Tree::literal_contents() const {
    const std::lock_guard lock(settling_);
    if (literal_contents_valid_) return literal_contents_;
    // With odd boxes the order in which cells merge them decides, so the cells are gone through as
    // they stand.
    Gap_List<const Bbox*> boxes;
    for (std::uint32_t slot = 0; slot < slots_.count(); ++slot)
        if (slots_[slot].where <= odd_) boxes.insert_last(&slots_[slot].box);
    literal_contents_ = Cell_Contents(cells_, boxes).get_bbox();
    literal_contents_valid_ = true;
    return literal_contents_;
}

// A side of the contents that lies at 0 is 0 or -0, as the leaf of the last child has it that holds
// such a side: its cell, if that begins there, or else its item that came last.
// `side` is 0 for min and 1 for max.
float BSplit_Box_Tree::zero_of_contents(int side, int axis) const {
    const auto touching_zero = [&](const Bbox& cell) {
        Bbox part = cell;
        float& inner = part[1 - side][axis];
        inner = side == 0 ? std::min(inner, 0.0f) : std::max(inner, 0.0f);
        return Box_Probe(part);
    };
    const auto holds_zero = [&](const Bbox& cell) {
        if (side == 0 ? cell.min[axis] > 0 : cell.max[axis] < 0) return false;
        const Box_Probe probe = touching_zero(cell);
        return index_[small_].count_up_to(1, probe) + index_[large_].count_up_to(1, probe) > 0;
    };
    Box_Cells::Cell cell = cells_.root();
    while (!cells_.is_leaf(cell)) {
        const Cell_Division division = cells_.division(cell);
        int i = division.count() - 1;
        while (i > 0 && !holds_zero(division.child(cell.box, i))) --i;
        cell = cells_.child(cell, division, i);
    }
    if (cell.box[side][axis] == 0) return cell.box[side][axis];
    std::uint32_t last = 0;
    const auto note_last = [&](std::uint32_t slot) {
        last = std::max(last, slot);
        return false;
    };
    for (const Box_Index& index : index_) index.visit(touching_zero(cell.box), note_last);
    return slots_[last].box[side][axis];
}

Bbox BSplit_Box_Tree::get_contents_bbox() const {
    settle();
    Bbox contents;
    contents.clear();
    if (odd_slots_.count() > 0) return literal_contents();
    if (reaching_count() == 0) return contents;
    // Merging is the same in any order but for the sign of a zero, which zero_of_contents finds
    // out.
    for (const Box_Index& index : index_)
        if (index.count() > 0) contents.merge(index.get_bbox());
    contents.intersect(get_bbox());
    for (int side = 0; side < 2; ++side)
        for (int axis = 0; axis < 3; ++axis)
            if (contents[side][axis] == 0) contents[side][axis] = zero_of_contents(side, axis);
    return contents;
}
