// Hash and equality of names, and hash of positions, for tables whose order nobody sees.
//
//     Hash_Table<const char*, WDB_Node*> nodes(name_hash, name_equal);
//     const std::size_t chain = Position_Hash().hash(x, y, z) & (chains - 1);
//
// Names and positions come from files that anybody may have written, and a table compares the keys
// of one hash one after the other. So all bits count alike, and a secret of the process goes in:
// which keys share a hash differs from run to run.
#ifndef WDB_SECRET_HASH_H
#define WDB_SECRET_HASH_H

#include <cstdint>

// Drawn at the first use: static objects may load scenes.
struct Hash_Secret {
    static const Hash_Secret& get();
    // Both halves of the product: each bit of either factor reaches the result.
    static std::uint64_t folded_product(std::uint64_t a, std::uint64_t b) {
        __extension__ typedef unsigned __int128 Product;
        const Product product = static_cast<Product>(a) * b;
        return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
    }
    std::uint64_t words[2];
};

unsigned int name_hash(const char* const& name);
bool name_equal(const char* const& a, const char* const& b);

// Of the bits of three coordinates, or of anything that stands for them.
class Position_Hash {
public:
    std::uint64_t hash(std::uint32_t x, std::uint32_t y, std::uint32_t z) const {
        const std::uint64_t xy = x | std::uint64_t{y} << 32;
        return Hash_Secret::folded_product(xy ^ secret_.words[0], z ^ secret_.words[1]);
    }

private:
    Hash_Secret secret_ = Hash_Secret::get();
};

#endif
