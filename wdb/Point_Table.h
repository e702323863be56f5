// Positions by number, found as a Hash_Table with pnt_hash and pnt_equal finds its keys, but at a
// cost that does not grow with how many keys share a hash.
//
//     Point_Table positions;
//     const int number = positions.find_or_put(triangle.p0);      // 0, 1, 2 ... as they come
//
// Equality within a tolerance does not carry over: of keys that are not equal to one another,
// several may be equal to a third position. Which of them such a table finds depends on the order
// of its cells, that is, on all keys that came before, and on which was found last. So the same
// cells are kept here; what is compared are only keys near the position, filed by boxes of 2^-21
// units.
// Cost: the same for each position, whatever the table holds, but for keys within 2^-21 of it.
// Memory: collected and free of pointers; the cells never shrink.
#ifndef WDB_POINT_TABLE_H
#define WDB_POINT_TABLE_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "math/Geometry.h"
#include "std/Std_Allocator.h"
#include "wdb/Secret_Hash.h"

class Point_Table {
public:
    static constexpr int none = -1;

    // The number of the key that is found for `p`, or none. A position with an infinite coordinate
    // or a NaN is never found, and takes a cell each time it is put.
    int find(const Point& p);
    // The same, at once where the key `guess` is `p` itself.
    // Requires: find_or_put has entered all keys, so that none is equal to another.
    int find(const Point& p, int guess) { return key(guess).at == p ? found_ = guess : find(p); }
    bool has(const Point& p) const;

    // Enters `p` under the next number, or in place of the key that is found. Keys may become equal
    // by that: when the cells double, one of them stays.
    // On failure: a fatal report, if there are more than 2^29 keys.
    int put(const Point& p);
    // Enters `p` only if no key is found.
    int find_or_put(const Point& p);

    // Numbers given out, also to keys that are gone.
    int numbers() const { return static_cast<int>(keys_.size()); }

    // Removes all and keeps the cells. Numbers begin anew.
    // Cost: the numbers given out.
    void wipe_out();

private:
    // In memory that needs no destructor.
    template<class T>
    using Array = std::vector<T, Std_Basic_Allocator<T, std_allocate_unfilled>>;

    struct Key {
        Point at;
        int cell;
        int next; // of its chain
    };

    static std::size_t index(int i) { return static_cast<std::size_t>(i); }
    Key& key(int number) { return keys_[index(number)]; }
    const Key& key(int number) const { return keys_[index(number)]; }
    int mask() const { return static_cast<int>(cells_.size()) - 1; }
    int home_of(const Point& p) const;
    std::size_t chain_of(std::uint64_t hash) const { return hash & (boxes_.size() - 1); }

    template<class Visit>
    bool any_equal(const Point& p, Visit visit) const;
    int distance(int number) const;
    int search(const Point& p) const;
    int enter(const Point& p);
    int& box_of(const Point& p);
    void file(int number);
    void unfile(int number);
    int free_cell(int home);
    void grow_if_full();
    void place(int number);
    void replace(int old_number, int number);

    Array<Key> keys_;  // by number
    Array<int> cells_; // the number of the key, or none
    Array<int> skip_;  // of a free cell, itself; of a taken one, one that is nearer to a free one
    Array<int> boxes_; // by the hash of a box, the first of a chain
    Position_Hash hash_;
    int count_ = 0;    // taken cells
    int found_ = none; // the last successful find, or the last put
};

#endif
