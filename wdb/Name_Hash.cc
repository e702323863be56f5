#include "wdb/Name_Hash.h"

#include <cstdint>
#include <cstring>
#include <unistd.h>

namespace {
struct Secret {
    // Stays in force where the system has no random bytes to give.
    std::uint64_t words[2] = {0x9E3779B97F4A7C15u, 0xC2B2AE3D27D4EB4Fu};
    Secret() {
        std::uint64_t drawn[2];
        if (getentropy(drawn, sizeof drawn) == 0) std::memcpy(words, drawn, sizeof words);
        words[1] |= 1;
    }
};
} // namespace

// Both halves of the product: each bit of either factor reaches the result.
static std::uint64_t folded_product(std::uint64_t a, std::uint64_t b) {
    __extension__ typedef unsigned __int128 Product;
    const Product product = static_cast<Product>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

unsigned int name_hash(const char* const& name) {
    // Drawn at the first use: static objects of other files may load scenes.
    static const Secret secret;
    std::size_t left = std::strlen(name);
    std::uint64_t h = secret.words[0] + left;
    std::uint64_t word;
    for (const char* at = name; left > 0; at += sizeof word) {
        const std::size_t part = left < sizeof word ? left : sizeof word;
        word = 0;
        std::memcpy(&word, at, part);
        h = folded_product(h ^ word, secret.words[1]);
        left -= part;
    }
    return static_cast<unsigned int>(h ^ h >> 32);
}

bool name_equal(const char* const& a, const char* const& b) {
    return std::strcmp(a, b) == 0;
}
