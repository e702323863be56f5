#include "wdb/Point_Table.h"

#include <bit>
#include <climits>
#include <cmath>
#include <numeric>

#include "math/Finite.h"
#include "std/Std_Assert.h"
#include "wdb/Point_Key.h"
#include "wdb/Secret_Hash.h"

namespace {

// The boxes, along one axis, of what lies within `tolerance` boxes of a coordinate: one or two.
struct Boxes {
    Boxes(float coordinate, double tolerance) {
        // Coordinates of few digits lie in the middle of their boxes.
        const double boxes_per_unit = 1 << 21, above_zero = (1 << 23) + .5;
        if (std::fabs(coordinate) <= 2) {
            const double at = coordinate * boxes_per_unit + above_zero;
            first = static_cast<std::uint32_t>(at - tolerance);
            last = static_cast<std::uint32_t>(at + tolerance);
        } else { // where nothing else is equal
            first = last = std::bit_cast<std::uint32_t>(coordinate);
        }
    }
    std::uint32_t first, last;
};

// The 2^-23 of pnt_equal, and a little for its rounding.
constexpr double equal_within = 0.2501;

// True as soon as `visit` is, of the hashes of all boxes.
template<class Visit>
bool any_box(const Boxes (&boxes)[3], const Position_Hash& hash, Visit visit) {
    for (std::uint32_t x = boxes[0].first; x <= boxes[0].last; ++x)
        for (std::uint32_t y = boxes[1].first; y <= boxes[1].last; ++y)
            for (std::uint32_t z = boxes[2].first; z <= boxes[2].last; ++z)
                if (visit(hash.hash(x, y, z))) return true;
    return false;
}

} // namespace

int Point_Table::home_of(const Point& p) const {
    return static_cast<int>(pnt_hash(&p)) & mask();
}

// The head of its chain.
int& Point_Table::box_of(const Point& p) {
    const auto at = [&p](int axis) { return Boxes(p[axis], 0).first; };
    return boxes_[chain_of(hash_.hash(at(0), at(1), at(2)))];
}

// True as soon as `visit` is, of the keys that are equal to `p`; some come by twice.
template<class Visit>
bool Point_Table::any_equal(const Point& p, Visit visit) const {
    if (count_ == 0 || !is_finite(p)) return false;
    const Boxes boxes[] = {Boxes(p.x, equal_within), Boxes(p.y, equal_within),
                           Boxes(p.z, equal_within)};
    return any_box(boxes, hash_, [&](std::uint64_t hash) {
        for (int number = boxes_[chain_of(hash)]; number != none; number = key(number).next)
            if (pnt_equal(&key(number).at, &p) && visit(number)) return true;
        return false;
    });
}

bool Point_Table::has(const Point& p) const {
    return any_equal(p, [](int) { return true; });
}

// Cells from home on. Keys that are equal have one home.
int Point_Table::distance(int number) const {
    return (key(number).cell - home_of(key(number).at)) & mask();
}

// The key in the home cell, else that found last, else the first from the home cell on.
int Point_Table::search(const Point& p) const {
    int nearest = none;
    bool is_found_again = false;
    any_equal(p, [&](int number) {
        if (nearest == none || distance(number) < distance(nearest)) nearest = number;
        is_found_again |= number == found_;
        return false;
    });
    return is_found_again && nearest != found_ && distance(nearest) != 0 ? found_ : nearest;
}

int Point_Table::find(const Point& p) {
    const int number = search(p);
    if (number != none) found_ = number;
    return number;
}

int Point_Table::put(const Point& p) {
    grow_if_full();
    found_ = search(p);
    if (found_ == none) return enter(p);
    // A near position may lie in another box.
    unfile(found_);
    key(found_).at = p;
    file(found_);
    return found_;
}

int Point_Table::find_or_put(const Point& p) {
    if (find(p) != none) return found_;
    grow_if_full();
    return enter(p);
}

int Point_Table::enter(const Point& p) {
    found_ = numbers();
    keys_.push_back({p, none, none});
    place(found_);
    return found_;
}

// What equals nothing is not filed: all of one kind would share a chain.
void Point_Table::file(int number) {
    if (!is_finite(key(number).at)) return;
    int& first = box_of(key(number).at);
    key(number).next = first;
    first = number;
}

void Point_Table::unfile(int number) {
    int* link = &box_of(key(number).at);
    while (*link != number) link = &key(*link).next;
    *link = key(number).next;
}

// The first at or after `home`; later searches skip what this one has passed.
int Point_Table::free_cell(int home) {
    int cell = home;
    while (skip_[index(cell)] != cell) {
        int& skip = skip_[index(cell)];
        cell = skip = skip_[index(skip)];
    }
    return cell;
}

void Point_Table::place(int number) {
    const int cell = free_cell(home_of(key(number).at));
    cells_[index(cell)] = number;
    // The next may be taken, too; free_cell shortens such ways as it goes along them.
    skip_[index(cell)] = (cell + 1) & mask();
    key(number).cell = cell;
    file(number);
    ++count_;
}

// In the same cell.
void Point_Table::replace(int old_number, int number) {
    unfile(old_number);
    key(number).cell = key(old_number).cell;
    cells_[index(key(number).cell)] = number;
    file(number);
}

// Keys move over in the order of the cells; one may come to be equal to one that moved before.
void Point_Table::grow_if_full() {
    if (cells_.size() + 1 >= 2 * index(count_ + 1)) return;
    if (cells_.size() > INT_MAX / 2)
        std_assert(-1, "More positions than cells can be counted", __FILE__, __LINE__);
    const Array<int> old = cells_;
    cells_.assign(old.empty() ? 8 : 2 * old.size(), none);
    skip_.resize(cells_.size());
    std::iota(skip_.begin(), skip_.end(), 0);
    boxes_.assign(cells_.size(), none);
    count_ = 0;
    found_ = none;
    for (const int number : old) {
        if (number == none) continue;
        // As a table does with keys that are equal: the later one takes the cell of the earlier.
        const int equal = search(key(number).at);
        if (equal == none)
            place(number);
        else
            replace(equal, number);
        found_ = number;
    }
}

void Point_Table::wipe_out() {
    if (cells_.empty()) return;
    // Keys that are gone name cells in which others are, or were before the cells doubled.
    for (const Key& k : keys_) {
        cells_[index(k.cell)] = none;
        skip_[index(k.cell)] = k.cell;
        box_of(k.at) = none;
    }
    keys_.clear();
    count_ = 0;
    found_ = none;
}
