// The walks: each collects from the indices what the query may meet, and then tells in which order
// a walk over the cells would meet it.
//
// Why the order is a sort key. The plain tree of cells reports an item at the first leaf, depth
// first, that the item reaches and the walk visits; the leaf lists its items in the order of
// arrival. So the order is that of (first visited leaf, slot). A walk visits a leaf when its cell
// and all above it meet the query; a leaf of fewer than four items it visits if only the cells
// above do.
//
// 1. Without a query the key is `home`, the first leaf that the item reaches. Filing and the
//    division of leaves keep it.
// 2. With a box as the query, item, query and a cell that meet two by two meet in common, since on
//    each axis they are intervals. So on the way down to the first visited leaf one takes the first
//    child that the item and the query reach; or a small leaf before it, if the item reaches that.
//    If the item's low corner lies in the query, that leaf is its home.
// 3. Views, segments, and boxes with a NaN or with min above max keep to no such rule. For these,
//    what was collected falls through the cells like the walk itself, and each visited leaf takes
//    out what reaches it.
#include "math/Split_Box_Tree.h"

#include <algorithm>

#include "math/Box_Probes.h"
#include "math/Box_Queries.h"

// Whether a walk visits this leaf without a look at its cell.
bool BSplit_Box_Tree::is_small(const Box_Cells::Cell& leaf) const {
    const int population = cells_.population(leaf);
    if (population >= 0) return population < small_leaf;
    int n = 0;
    for (std::size_t i = 0; i < odd_slots_.count() && n < small_leaf; ++i)
        n += leaf.box.is_overlapping(slots_[odd_slots_[i]].box);
    for (const Box_Index& index : index_)
        if (n < small_leaf) n += index.count_up_to(small_leaf - n, Box_Probe(leaf.box));
    return n < small_leaf;
}

template<class Probe>
void BSplit_Box_Tree::collect(const Probe& probe, Slot_Set& found) const {
    const auto put = [&](std::uint32_t slot) {
        found.put(slot);
        return false;
    };
    for (const Box_Index& index : index_) index.visit(probe, put);
    collect_odd(found);
}

void BSplit_Box_Tree::collect_odd(Slot_Set& found) const {
    for (std::size_t i = 0; i < odd_slots_.count(); ++i) found.put(odd_slots_[i]);
}

void BSplit_Box_Tree::collect_all(Slot_Set& found) const {
    for (std::uint32_t slot = 0; slot < slots_.count(); ++slot)
        if (slots_[slot].where <= odd_) found.put(slot);
}

// A key and a slot in one word: sorted by the first, then by the second.
static std::uint64_t word_of(Box_Cells::Key key, std::uint32_t slot) {
    return std::uint64_t{key} << 32 | slot;
}

// Sorts by key, byte by byte; words of one key stay in their order, which is that of the slots.
// Answers where the result stands: `words`, or `spare` of the same size.
static std::uint64_t* sort_by_key(std::uint64_t* words, std::uint64_t* spare, std::size_t count) {
    const std::size_t few = 64;
    if (count <= few) {
        for (std::size_t i = 1; i < count; ++i) {
            const std::uint64_t word = words[i];
            std::size_t to = i;
            for (; to > 0 && words[to - 1] > word; --to) words[to] = words[to - 1];
            words[to] = word;
        }
        return words;
    }
    std::uint64_t differing = 0;
    for (std::size_t i = 1; i < count; ++i) differing |= words[i] ^ words[0];
    for (int shift = 32; shift < 64; shift += 8) {
        if ((differing >> shift & 255) == 0) continue;
        std::size_t start[256] = {};
        for (std::size_t i = 0; i < count; ++i) ++start[words[i] >> shift & 255];
        std::size_t sum = 0;
        for (std::size_t& s : start) {
            const std::size_t n = s;
            s = sum;
            sum += n;
        }
        for (std::size_t i = 0; i < count; ++i) spare[start[words[i] >> shift & 255]++] = words[i];
        std::swap(words, spare);
    }
    return words;
}

// Reports the first `count` words of scratch.unsorted. True if `fn` stopped the walk.
bool BSplit_Box_Tree::report_in_order(Scratch& scratch, std::size_t count, SUniv* user,
                                      BSplit_Box_Tree_Apply fn) const {
    const std::uint64_t* const words =
        sort_by_key(scratch.unsorted.cells(), scratch.sorted.cells(), count);
    const std::size_t ahead = 8; // slots of a large tree lie far from the processor's cache
    for (std::size_t i = 0; i < count; ++i) {
        if (i + ahead < count)
            __builtin_prefetch(&slots_[static_cast<std::uint32_t>(words[i + ahead])]);
        const Slot& slot = slots_[static_cast<std::uint32_t>(words[i])];
        if (fn(user, slot.item, slot.box)) return true;
    }
    return false;
}

// What was collected, on its way through the cells.
template<class Query>
class BSplit_Box_Tree::Fall {
public:
    Fall(const BSplit_Box_Tree& tree, Scratch& scratch, const Query& query, SUniv* user,
         BSplit_Box_Tree_Apply fn)
        : tree_(tree), scratch_(scratch), query_(query), user_(user), fn_(fn), is_stopped_(false) {}

    bool is_stopped() const { return is_stopped_; }

    // Takes the slots first..last, in order of arrival and all reaching the cell, through it. Those
    // that no leaf took stand at the front afterwards, in the same order; answers their end.
    // With `is_inside` everything in the cell takes part.
    std::uint32_t* through(const Box_Cells::Cell& cell, std::uint32_t* first, std::uint32_t* last,
                           bool is_inside) {
        if (first == last) return first;
        const int c = is_inside ? 1 : query_.classify(cell.box);
        if (tree_.cells_.is_leaf(cell)) {
            // Of a small leaf the items are tested, whatever its cell.
            const bool is_tested =
                !is_inside && (c > 1 || (last - first < small_leaf && tree_.is_small(cell)));
            return c == 0 && !is_tested ? last : report(first, last, !is_tested);
        }
        if (c == 0) return last;
        if (c == 1 && tree_.is_plain()) return report_below(cell, first, last);
        const Cell_Division division = tree_.cells_.division(cell);
        for (int i = 0; i < division.count() && !is_stopped_; ++i) {
            std::uint32_t* const rest = part(division, i, first, last);
            std::uint32_t* const left =
                through(tree_.cells_.child(cell, division, i), first, rest, c == 1);
            last = join(first, left, rest, last);
        }
        return last;
    }

private:
    const Slot& slot(std::uint32_t number) const { return tree_.slots_[number]; }

    std::uint32_t* report(std::uint32_t* first, const std::uint32_t* last, bool is_inside) {
        for (const std::uint32_t* s = first; s != last && !is_stopped_; ++s) {
            if (is_inside || query_.accepts(slot(*s).box))
                is_stopped_ = fn_(user_, slot(*s).item, slot(*s).box);
        }
        return first;
    }

    std::uint32_t* report_below(const Box_Cells::Cell& cell, std::uint32_t* first,
                                const std::uint32_t* last) {
        std::uint64_t* word = scratch_.unsorted.cells();
        for (const std::uint32_t* s = first; s != last; ++s) {
            const Slot& from = slot(*s);
            const Box_Cells::Key key =
                from.home >= cell.key ? from.home : tree_.cells_.first_leaf(from.box.min, cell);
            *word++ = word_of(key, *s);
        }
        is_stopped_ =
            tree_.report_in_order(scratch_, static_cast<std::size_t>(last - first), user_, fn_);
        return first;
    }

    // Moves what reaches the child to the front; answers its end. The order stays on both sides.
    std::uint32_t* part(const Cell_Division& division, int child, std::uint32_t* first,
                        const std::uint32_t* last) {
        std::uint32_t* reaching = first;
        while (reaching != last && division.reaches(slot(*reaching).box, child)) ++reaching;
        std::uint32_t* other = scratch_.moved.cells();
        for (const std::uint32_t* s = reaching; s != last; ++s) {
            const std::uint32_t number = *s;
            const bool reaches = division.reaches(slot(number).box, child);
            *reaching = number;
            *other = number;
            reaching += reaches;
            other += !reaches;
        }
        std::copy(scratch_.moved.cells(), other, reaching);
        return reaching;
    }

    // first..left and rest..last become one, in order of arrival; answers its end.
    std::uint32_t* join(std::uint32_t* first, std::uint32_t* left, std::uint32_t* rest,
                        std::uint32_t* last) {
        if (first == left) return std::copy(rest, last, first);
        if (rest == last) return left;
        std::uint32_t* const moved = scratch_.moved.cells();
        std::uint32_t* const moved_end = std::copy(first, left, moved);
        // Not std::merge: the result may reach into what is left of the second list.
        const std::uint32_t* from = moved;
        while (from != moved_end && rest != last) *first++ = *from < *rest ? *from++ : *rest++;
        first = std::copy(from, static_cast<const std::uint32_t*>(moved_end), first);
        return std::copy(rest, last, first);
    }

    const BSplit_Box_Tree& tree_;
    Scratch& scratch_;
    const Query& query_;
    SUniv* const user_;
    const BSplit_Box_Tree_Apply fn_;
    bool is_stopped_;
};

// collect(found) collects what the query may take.
template<class Query, class Collect>
bool BSplit_Box_Tree::walk(SUniv* user, const Query& query, BSplit_Box_Tree_Apply fn,
                           Collect collect) const {
    settle();
    if (reaching_count() == 0) return false;
    const Walk_Scratch scratch(*this);
    collect((*scratch).found);
    std::uint32_t* const first = (*scratch).list.cells();
    std::uint32_t* const last = (*scratch).found.drain(first);
    Fall<Query> fall(*this, *scratch, query, user, fn);
    fall.through(cells_.root(), first, last, false);
    return fall.is_stopped();
}

bool BSplit_Box_Tree::walk_all(SUniv* user, BSplit_Box_Tree_Apply fn) const {
    const Walk_Scratch scratch(*this);
    std::uint64_t* word = (*scratch).unsorted.cells();
    for (std::uint32_t slot = 0; slot < slots_.count(); ++slot)
        if (slots_[slot].where <= large_) *word++ = word_of(slots_[slot].home, slot);
    return report_in_order(*scratch, static_cast<std::size_t>(word - (*scratch).unsorted.cells()),
                           user, fn);
}

bool BSplit_Box_Tree::apply(SUniv* user, BSplit_Box_Tree_Apply fn) const {
    if (slots_.count() == 0) return false;
    settle_order();
    if (is_plain()) return walk_all(user, fn);
    return walk(user, Everything(), fn, [this](Slot_Set& found) { collect_all(found); });
}

bool BSplit_Box_Tree::apply_to_outside(SUniv* user, BSplit_Box_Tree_Apply fn) const {
    for (std::size_t slot = 0; slot < slots_.count(); ++slot)
        if (slots_[slot].where == outside_ && fn(user, slots_[slot].item, slots_[slot].box))
            return true;
    return false;
}

// The first leaf that a walk by a box visits, for items that meet the box but do not begin in it.
class BSplit_Box_Tree::Query_Path {
public:
    Query_Path(const BSplit_Box_Tree& tree, const Bbox& query) : tree_(tree), query_(query) {}

    // Most ways down have long beginnings in common with that of the query's low corner, which is
    // found once. One that begins before the query on every axis, as large boxes mostly do, leaves
    // it for a small leaf at the side only; others where they begin above the middle of a cell,
    // too.
    Box_Cells::Key key_of(const Bbox& box) {
        if (step_count_ < 0) find_steps();
        const Exit* exit = exits_;
        const Exit* const exits_end = exits_ + exit_count_;
        if (begins_before(box)) {
            while (exit != exits_end && !takes(*exit, box)) ++exit;
            return exit != exits_end ? exit->leaf.key : end_;
        }
        for (int i = 0; i < step_count_; ++i) {
            const Step& step = steps_[i];
            for (; exit != exits_ + step.exits_end; ++exit)
                if (takes(*exit, box)) return exit->leaf.key;
            if (!step.division.reaches(box, step.taken)) return key_of(box, step.cell);
        }
        return end_;
    }

private:
    struct Step {
        Box_Cells::Cell cell;
        Cell_Division division;
        int taken; // the first child that the query reaches
        int exits_end;
    };
    // A small leaf before that child.
    struct Exit {
        Cell_Division division;
        int child;
        Box_Cells::Cell leaf;
        mutable enum { unknown, small, large } size;
    };

    bool begins_before(const Bbox& box) const {
        for (int axis = 0; axis < 3; ++axis)
            if (box.min[axis] > query_.min[axis] && box.min[axis] > tree_.get_bbox().min[axis])
                return false;
        return true;
    }
    bool takes(const Exit& exit, const Bbox& box) const {
        if (!exit.division.reaches(box, exit.child)) return false;
        if (exit.size == Exit::unknown)
            exit.size = tree_.is_small(exit.leaf) ? Exit::small : Exit::large;
        return exit.size == Exit::small;
    }

    // The way down from `cell` on, by itself.
    Box_Cells::Key key_of(const Bbox& box, Box_Cells::Cell cell) const {
        const Box_Cells& cells = tree_.cells_;
        while (!cells.is_leaf(cell)) {
            const Cell_Division division = cells.division(cell);
            for (int i = 0; i < division.count(); ++i) {
                if (!division.reaches(box, i)) continue;
                const Box_Cells::Cell child = cells.child(cell, division, i);
                if (division.reaches(query_, i) ||
                    (cells.is_leaf(child) && tree_.is_small(child))) {
                    cell = child;
                    break;
                }
            }
        }
        return cell.key;
    }

    void find_steps() {
        const Box_Cells& cells = tree_.cells_;
        Box_Cells::Cell cell = cells.root();
        step_count_ = exit_count_ = 0;
        while (!cells.is_leaf(cell)) {
            const Cell_Division division = cells.division(cell);
            int i = 0;
            for (; !division.reaches(query_, i); ++i) {
                const Box_Cells::Cell child = cells.child(cell, division, i);
                if (cells.is_leaf(child) && cells.population(child) < small_leaf)
                    exits_[exit_count_++] = {division, i, child, Exit::unknown};
            }
            steps_[step_count_++] = {cell, division, i, exit_count_};
            cell = cells.child(cell, division, i);
        }
        end_ = cell.key;
    }

    const BSplit_Box_Tree& tree_;
    const Bbox& query_;
    Step steps_[Box_Cells::most_keyed_levels];
    Exit exits_[Box_Cells::most_keyed_siblings];
    int step_count_ = -1; // not looked for yet
    int exit_count_ = 0;
    Box_Cells::Key end_ = 0;
};

bool BSplit_Box_Tree::apply(SUniv* user, const Bbox& query, BSplit_Box_Tree_Apply fn) const {
    settle();
    if (reaching_count() == 0) return false;
    if (!query.is_ordered())
        return walk(user, In_Box{query}, fn, [this](Slot_Set& found) { collect_all(found); });
    const Box_Cells::Cell root = cells_.root();
    if (!cells_.is_leaf(root) || !is_small(root)) {
        const int c = root.box.classification_with_respect_to(query);
        if (c == 0) return false;
        if (c == 1) return apply(user, fn);
    }
    if (!is_plain())
        return walk(user, In_Box{query}, fn,
                    [&](Slot_Set& found) { collect(Box_Probe(query), found); });
    const Walk_Scratch scratch(*this);
    collect(Box_Probe(query), (*scratch).found);
    std::uint32_t* const first = (*scratch).list.cells();
    std::uint32_t* const last = (*scratch).found.drain(first);
    std::uint64_t* word = (*scratch).unsorted.cells();
    Query_Path path(*this, query);
    const auto begins_inside = [&](const Point& low) {
        for (int axis = 0; axis < 3; ++axis)
            if (low[axis] < query.min[axis] && root.box.min[axis] < query.min[axis]) return false;
        return true;
    };
    for (const std::uint32_t* s = first; s != last; ++s) {
        const Slot& slot = slots_[*s];
        *word++ = word_of(begins_inside(slot.box.min) ? slot.home : path.key_of(slot.box), *s);
    }
    return report_in_order(*scratch, static_cast<std::size_t>(last - first), user, fn);
}

// A probe for each index: the slack grows with what it is to meet, and that of an infinite box,
// which is among the large ones, would let all small ones pass.
View_Probe BSplit_Box_Tree::probe_for(const Matrix4& m, const Box_Index& index) const {
    Bbox reach = get_bbox();
    if (index.count() > 0) reach.merge(index.get_bbox());
    return View_Probe(m, reach);
}

void BSplit_Box_Tree::collect_visible(const Matrix4& m, Slot_Set& found) const {
    const auto put = [&](std::uint32_t slot) {
        found.put(slot);
        return false;
    };
    for (const Box_Index& index : index_) index.visit(probe_for(m, index), put);
    collect_odd(found);
}

bool BSplit_Box_Tree::apply(SUniv* user, const Matrix4& m, BSplit_Box_Tree_Apply fn) const {
    return walk(user, In_View{m}, fn, [&](Slot_Set& found) { collect_visible(m, found); });
}

bool BSplit_Box_Tree::apply(SUniv* user, const Matrix4& m1, const Matrix4& m2,
                            BSplit_Box_Tree_Apply fn) const {
    return walk(user, In_Either_View{m1, m2}, fn, [&](Slot_Set& found) {
        collect_visible(m1, found);
        collect_visible(m2, found);
    });
}

bool BSplit_Box_Tree::apply(SUniv* user, const Point& p, const Point& q,
                            BSplit_Box_Tree_Apply fn) const {
    const Segment_Probe probe(p, q);
    return walk(user, On_Segment{p, q}, fn, [&](Slot_Set& found) {
        if (probe.is_usable())
            collect(probe, found);
        else
            collect_all(found);
    });
}

// With probe(index) for each index. The odd boxes, and with Is_Rough those that a probe lets pass,
// have a test of their own.
template<bool Is_Rough, class Query, class Probe>
bool BSplit_Box_Tree::visit(SUniv* user, const Query& query, BSplit_Box_Tree_Apply fn,
                            Probe probe) const {
    for (std::size_t i = 0; i < odd_slots_.count(); ++i) {
        const Slot& slot = slots_[odd_slots_[i]];
        if (query.accepts(slot.box) && fn(user, slot.item, slot.box)) return true;
    }
    const auto take = [&](std::uint32_t number) {
        const Slot& slot = slots_[number];
        return (!Is_Rough || query.accepts(slot.box)) && fn(user, slot.item, slot.box);
    };
    return index_[small_].visit(probe(index_[small_]), take) ||
           index_[large_].visit(probe(index_[large_]), take);
}

// Where no probe is of use.
template<class Query>
bool BSplit_Box_Tree::visit_each(SUniv* user, const Query& query, BSplit_Box_Tree_Apply fn) const {
    for (std::size_t i = 0; i < slots_.count(); ++i) {
        const Slot& slot = slots_[i];
        if (slot.where <= odd_ && query.accepts(slot.box) && fn(user, slot.item, slot.box))
            return true;
    }
    return false;
}

bool BSplit_Box_Tree::apply_unordered(SUniv* user, const Bbox& query,
                                      BSplit_Box_Tree_Apply fn) const {
    settle();
    const In_Box in_box{query};
    if (!query.is_ordered()) return visit_each(user, in_box, fn);
    return visit<false>(user, in_box, fn, [&](const Box_Index&) { return Box_Probe(query); });
}

bool BSplit_Box_Tree::apply_unordered(SUniv* user, const Matrix4& m,
                                      BSplit_Box_Tree_Apply fn) const {
    settle();
    const auto probe = [&](const Box_Index& index) { return probe_for(m, index); };
    // Of an odd box nobody can tell.
    return visit<false>(user, Everything(), fn, probe);
}

bool BSplit_Box_Tree::apply_unordered(SUniv* user, const Point& p, const Point& q,
                                      BSplit_Box_Tree_Apply fn) const {
    settle();
    const Segment_Probe probe(p, q);
    const On_Segment on_segment{p, q};
    if (!probe.is_usable()) return visit_each(user, on_segment, fn);
    return visit<true>(user, on_segment, fn, [&](const Box_Index&) { return probe; });
}
