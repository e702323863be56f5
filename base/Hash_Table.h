// Map from one-word keys to one-word items: pointers, integers, bool, float.
//
//     Hash_Table<const char*, WDB_Node*> nodes(charptr_hash, charptr_equal);
//     nodes.put(node, "Sphere");                       // the item comes first
//     if (nodes.find("Sphere")) use(*nodes.found_item());
//     for (Hash_Table_Key_Iter<const char*, WDB_Node*> it(nodes); !it.off(); it.forth())
//         puts(*it());
//
// The order of a walk is part of what a table promises: it is that of the cells
// under linear probing. A key lies in the first cell, from hash mod m on, that
// was free when it came; m is a power of two from 8 on and doubles before a put,
// also of a key that is there, when one key more would fill more than half. Then
// all keys move over in cell order.
// Removal closes the run behind the hole and leaves no marks. With keys that are
// addresses the order depends on addresses.
//
// Keys that are equal must hash alike, and a key keeps its hash while it is in
// the table. Then all operations on one key cost the same whatever the table
// holds and however its hashes cluster, except that remove moves a part of the
// run behind the key, and that keys of one and the same 32-bit hash are compared
// one after the other.
//
// Memory: cells are collected and scanned, so a table keeps its keys and items
// alive; no memory until the first put, and size never shrinks.
#ifndef BASE_HASH_TABLE_H
#define BASE_HASH_TABLE_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <type_traits>

#include "base/Hash_Index.h"
#include "std/Std_Assert.h"
#include "std/Std_Obj.h"
#include "std/Std_Univ.h"

// A cell. Free ones are zero, but zero may also be a key: the table knows which cells are taken,
// and so a pair of words needs no third word beside it.
template<class K, class V>
struct HT_Pair {
    K key;
    V item;
};

template<class K, class V>
class Hash_Table : public Std_Obj {
    STD_OBJ_CLASS_NAMED(Hash_Table, Std_Obj, "STD_TCLASS_2(Hash_Table,TKEY,TITEM)")

    using Hash = unsigned int (*)(const K&);
    using Key_Equal = bool (*)(const K&, const K&);
    using Item_Equal = bool (*)(const V&, const V&);

    // Null takes the default.
    explicit Hash_Table(Hash hash = nullptr, Key_Equal key_equal = nullptr,
                        Item_Equal item_equal = nullptr);

    // A copy has cells of its own, filled in the order of the other's cells: where
    // keys collide or sizes differ, its order may be another.
    Hash_Table(const Hash_Table& other);
    Hash_Table& operator=(const Hash_Table& other);

    // Enters `key`, or overwrites an equal key and its item. The arguments may
    // lie in this table.
    void put(const V& item, const K& key);

    // True if `key` is in the table; found_item is then its item. On failure
    // found_item stays as it was.
    bool find(const K& key);

    // The item of the last successful find or the last put.
    // Lifetime: to the next put, remove or wipe_out.
    V* found_item() const { return &found_pair_->item; }

    bool has(const K& key) const { return count_ != 0 && cell_of(key) >= 0; }

    // Does nothing if `key` is not in the table.
    // Cost: up to 64 cells, or the run behind the key where hashes cluster.
    void remove(const K& key);

    int count() const { return count_; }

    // Removes all and keeps the cells.
    // Cost: the number of cells.
    void wipe_out();

    // Null takes the default. Requires: an empty table.
    void set_hash(Hash hash) { hash_ = hash ? hash : &default_hash; }
    void set_key_equal(Key_Equal equal) { key_equal_ = equal ? equal : &default_key_equal; }
    // Kept for users; the table itself does not compare items.
    void set_item_equal(Item_Equal equal) { item_equal_ = equal ? equal : &default_item_equal; }

    // The word shifted right by 2, which suits addresses. A text hashes by its
    // address: give charptr_hash and charptr_equal where its letters count.
    static unsigned int default_hash(const K& key);
    // Equality of the words.
    static bool default_key_equal(const K& a, const K& b) { return word(a) == word(b); }
    static bool default_item_equal(const V& a, const V& b) { return word(a) == word(b); }

private:
    template<class, class>
    friend class Hash_Table_Key_Iter;
    template<class>
    friend class Hash_Set;
    template<class A, class B>
    friend std::ostream& operator<<(std::ostream& out, const Hash_Table<A, B>& table);

    using Pair = HT_Pair<K, V>;
    static constexpr int first_size_ = 9;

    template<class T>
    static std::uintptr_t word(const T& value) {
        return reinterpret_cast<std::uintptr_t>(Conv<T>::to_univ(value));
    }

    int modulus() const { return size_ - 1; }
    int next(int cell) const { return (cell + 1) & (modulus() - 1); }
    int home(unsigned int hash) const {
        return static_cast<int>(hash & static_cast<unsigned int>(modulus() - 1));
    }
    unsigned int hash_of(const K& key) const {
        return hash_ == &default_hash ? default_hash(key) : hash_(key);
    }
    auto hash_in() const {
        return [this](int cell) { return hash_of(pairs_[cell].key); };
    }
    bool has_default_equal() const { return key_equal_ == &default_key_equal; }
    bool is_equal(const K& a, const K& b) const {
        return has_default_equal() ? default_key_equal(a, b) : key_equal_(a, b);
    }

    // Of a table without an index.
    bool is_taken(int cell) const { return few_taken_ >> cell & 1; }
    bool is_found_again(const K& key) const;
    int index_of(const K& key, unsigned int hash) const;
    int cell_of(const K& key) const { return cell_of(key, hash_of(key)); }
    int cell_of(const K& key, unsigned int hash) const;
    [[gnu::noinline]] int cell_of_other(const K& key, unsigned int hash) const;
    int cell_to_put(const K& key);
    int new_cell(unsigned int hash);
    int next_taken(int from) const;

    void fill(int cell, const Pair& pair);
    void clear_found();
    template<class Is_Taken, class Will_Move>
    int close_run(int hole, int reach, Is_Taken is_taken, Will_Move will_move);
    void clear(int cell) { std::memset(static_cast<void*>(pairs_ + cell), 0, sizeof(Pair)); }
    [[gnu::noinline]] void double_size();
    void make_cells(int size);

    Pair* pairs_ = nullptr;
    int size_ = 0; // 0, or m + 1: the last cell stays free for ever
    Pair* found_pair_ = nullptr;
    int found_index_ = 0;
    int count_ = 0;
    Hash hash_;
    Key_Equal key_equal_;
    Item_Equal item_equal_;
    // Small tables, where runs are short, do without an index: a bit for each taken cell.
    std::uint64_t few_taken_ = 0;
    Hash_Index index_;
};

// Stands on one key after the other, in the order of the cells.
// Requires: no change of the table while walking.
template<class K, class V>
class Hash_Table_Key_Iter {
public:
    explicit Hash_Table_Key_Iter(const Hash_Table<K, V>& table)
        : table_(&table), index_(table.next_taken(0)) {}

    bool off() const { return index_ < 0 || index_ > table_->size_ - 1; }
    void forth() { index_ = table_->next_taken(index_ + 1); }

    // Requires: !off().
    const K* operator()() const { return &table_->pairs_[index_].key; }

private:
    const Hash_Table<K, V>* table_;
    int index_;
};

// "( < key, item> < key, item> )", in the order of the cells.
template<class K, class V>
std::ostream& operator<<(std::ostream& out, const Hash_Table<K, V>& table) {
    out << "( ";
    for (int i = table.next_taken(0); i < table.size_; i = table.next_taken(i + 1)) {
        out << "< " << table.pairs_[i].key << ", " << table.pairs_[i].item << "> ";
    }
    return out << ")";
}

template<class K, class V>
Hash_Table<K, V>::Hash_Table(Hash hash, Key_Equal key_equal, Item_Equal item_equal) {
    set_hash(hash);
    set_key_equal(key_equal);
    set_item_equal(item_equal);
}

template<class K, class V>
Hash_Table<K, V>::Hash_Table(const Hash_Table& other) : Std_Obj(other) {
    *this = other;
}

template<class K, class V>
Hash_Table<K, V>& Hash_Table<K, V>::operator=(const Hash_Table& other) {
    if (pairs_ && pairs_ == other.pairs_) return *this;
    wipe_out();
    hash_ = other.hash_;
    key_equal_ = other.key_equal_;
    item_equal_ = other.item_equal_;
    for (int i = other.next_taken(0); i < other.size_; i = other.next_taken(i + 1)) {
        put(other.pairs_[i].item, other.pairs_[i].key);
    }
    return *this;
}

template<class K, class V>
unsigned int Hash_Table<K, V>::default_hash(const K& key) {
    return static_cast<unsigned int>(word(key) >> 2);
}

template<class K, class V>
void Hash_Table<K, V>::put(const V& item, const K& key) {
    const Pair pair = {key, item}; // growing frees the cells in which these may lie
    if (size_ < 2 * (count_ + 1)) double_size();
    fill(cell_to_put(pair.key), pair);
}

template<class K, class V>
bool Hash_Table<K, V>::find(const K& key) {
    const int cell = count_ != 0 ? cell_of(key) : Hash_Index::absent;
    if (cell < 0) return false;
    found_index_ = cell;
    found_pair_ = pairs_ + cell;
    return true;
}

// Only an equality that is none, such as one with a tolerance, can tell whether
// the pair found last is tried before the rest of the run; it is, so that a
// key met again means the same pair again.
template<class K, class V>
bool Hash_Table<K, V>::is_found_again(const K& key) const {
    return found_pair_ && is_equal(found_pair_->key, key);
}

// The cell where the key is or should be put. Requires: cells, without an index.
template<class K, class V>
int Hash_Table<K, V>::index_of(const K& key, unsigned int hash) const {
    int cell = home(hash);
    if (!is_taken(cell) || is_equal(pairs_[cell].key, key)) return cell;
    if (is_found_again(key)) return found_index_;
    do cell = next(cell);
    while (is_taken(cell) && !is_equal(pairs_[cell].key, key));
    return cell;
}

// Requires: cells.
template<class K, class V>
[[gnu::always_inline]] inline int Hash_Table<K, V>::cell_of(const K& key, unsigned int hash) const {
    if (!index_.is_used() || !has_default_equal()) return cell_of_other(key, hash);
    const std::uintptr_t wanted = word(key);
    return index_.find(hash, [&](int i) { return word(pairs_[i].key) == wanted; });
}

template<class K, class V>
int Hash_Table<K, V>::cell_of_other(const K& key, unsigned int hash) const {
    if (!index_.is_used()) {
        const int cell = index_of(key, hash);
        return is_taken(cell) ? cell : Hash_Index::absent;
    }
    if (is_found_again(key)) {
        const int first = home(hash);
        if (!index_.is_taken(first)) return Hash_Index::absent;
        return key_equal_(pairs_[first].key, key) ? first : found_index_;
    }
    return index_.find(hash, [&](int i) { return key_equal_(pairs_[i].key, key); });
}

// Counts without a look at the cell, which is far from any cache.
template<class K, class V>
inline int Hash_Table<K, V>::new_cell(unsigned int hash) {
    ++count_;
    return index_.take(hash);
}

// Where to fill in the key, which is counted if it is new. Requires: cells.
template<class K, class V>
inline int Hash_Table<K, V>::cell_to_put(const K& key) {
    const unsigned int hash = hash_of(key);
    if (!index_.is_used()) {
        const int cell = index_of(key, hash);
        count_ += !is_taken(cell);
        few_taken_ |= std::uint64_t{1} << cell;
        return cell;
    }
    const int cell = cell_of(key, hash);
    return cell >= 0 ? cell : new_cell(hash);
}

// The first taken cell from `from` on; the size if there is none.
template<class K, class V>
inline int Hash_Table<K, V>::next_taken(int from) const {
    if (!index_.is_used()) {
        const std::uint64_t rest = from < size_ ? few_taken_ >> from << from : 0;
        return rest != 0 ? std::countr_zero(rest) : size_;
    }
    const int cell = index_.next_taken(from);
    return cell < size_ - 1 ? cell : size_;
}

template<class K, class V>
inline void Hash_Table<K, V>::fill(int cell, const Pair& pair) {
    found_index_ = cell;
    found_pair_ = pairs_ + cell;
    *found_pair_ = pair;
}

template<class K, class V>
void Hash_Table<K, V>::clear_found() {
    found_pair_ = nullptr;
    found_index_ = 0;
}

template<class K, class V>
void Hash_Table<K, V>::remove(const K& key) {
    if (count_ == 0) return;
    const unsigned int hash = hash_of(key);
    const int cell = cell_of(key, hash);
    if (cell < 0) return;
    --count_;
    clear_found();
    const int all = modulus() - 1;
    const Hash_Index::Tags tags = index_.tags();
    const auto has_tag = [tags](int i) { return tags.is_taken(i); };
    if (!index_.is_used()) {
        const int free = close_run(
            cell, all, [this](int i) { return is_taken(i); }, [](unsigned int, int, int) {});
        clear(free);
        few_taken_ &= ~(std::uint64_t{1} << free);
    } else if (!index_.has_far()) {
        const int free = close_run(cell, index_.reach(), has_tag,
                                   [tags](unsigned int, int from, int to) { tags.move(from, to); });
        clear(free);
        index_.free_cell(free);
    } else {
        bool were_known = index_.forget(hash, cell, hash_in());
        const int free =
            close_run(cell, index_.reach(), has_tag, [&](unsigned int moved, int from, int to) {
                were_known &= index_.move(moved, from, to, hash_in());
            });
        clear(free);
        index_.free_cell(free);
        // Keys that broke the rules and changed their hash may be lost; but an entry
        // must never name a free cell.
        if (!were_known) index_.enter_all(hash_in());
    }
}

// Fills the hole with the next key of the run that may lie there, and so on
// until the hole is at the end of the run, which is the result. No key lies
// farther than `reach` from home. will_move(hash, from, to) is called before
// each move.
template<class K, class V>
template<class Is_Taken, class Will_Move>
int Hash_Table<K, V>::close_run(int hole, int reach, Is_Taken is_taken, Will_Move will_move) {
    Pair* const pairs = pairs_;
    const auto mask = static_cast<unsigned int>(modulus() - 1);
    const Hash given_hash = hash_;
    const bool is_default = given_hash == &default_hash;
    auto cell = static_cast<unsigned int>(hole);
    for (unsigned int from_hole = 1; from_hole <= static_cast<unsigned int>(reach); ++from_hole) {
        cell = (cell + 1) & mask;
        if (!is_taken(static_cast<int>(cell))) break;
        const K& key = pairs[cell].key;
        const unsigned int hash = is_default ? default_hash(key) : given_hash(key);
        if (((cell - hash) & mask) < from_hole) continue;
        will_move(hash, static_cast<int>(cell), hole);
        pairs[hole] = pairs[cell];
        hole = static_cast<int>(cell);
        from_hole = 0;
    }
    return hole;
}

template<class K, class V>
void Hash_Table<K, V>::wipe_out() {
    if (size_ == 0) return;
    std::memset(static_cast<void*>(pairs_), 0, static_cast<std::size_t>(size_) * sizeof(Pair));
    if (index_.is_used()) index_.clear();
    few_taken_ = 0;
    count_ = 0;
    clear_found();
}

template<class K, class V>
void Hash_Table<K, V>::make_cells(int size) {
    static_assert(std::is_trivially_copyable_v<Pair>, "keys and items are words");
    pairs_ = static_cast<Pair*>(
        ::operator new[](static_cast<std::size_t>(size) * sizeof(Pair), std_gc)); // reads as zero
    size_ = size;
    few_taken_ = 0;
    if (modulus() >= Hash_Index::least_modulus) index_.make(modulus());
    count_ = 0;
    clear_found();
}

template<class K, class V>
void Hash_Table<K, V>::double_size() {
    if (size_ == 0) {
        make_cells(first_size_);
        return;
    }
    if (modulus() > Hash_Index::greatest_modulus / 2) {
        std_assert(-1, "Hash_Table: more keys than cells can be counted", __FILE__, __LINE__);
    }
    const int old_count = count_;
    Pair* const old_pairs = pairs_;
    std::uint64_t few = few_taken_;
    Hash_Index old_index = index_;
    make_cells(2 * modulus() + 1);
    if (!old_index.is_used()) {
        for (; few != 0; few &= few - 1) {
            const Pair& pair = old_pairs[std::countr_zero(few)];
            fill(cell_to_put(pair.key), pair);
        }
    } else if (has_default_equal()) {
        // Keys that are equal as words have become one long ago: nobody asks.
        Pair* const pairs = pairs_;
        const Hash hash = hash_;
        const auto move = [=](int from, int to) { pairs[to] = old_pairs[from]; };
        if (hash == &default_hash)
            index_.take_all(
                old_index, [=](int i) { return default_hash(old_pairs[i].key); }, move);
        else
            index_.take_all(
                old_index, [=](int i) { return hash(old_pairs[i].key); }, move);
        count_ = old_count;
    } else {
        // Others, such as those within a tolerance, may become equal only now.
        old_index.each_taken([&](int i) { fill(cell_to_put(old_pairs[i].key), old_pairs[i]); });
    }
    std_release(old_pairs);
    if (old_index.is_used()) old_index.release();
}

#endif
