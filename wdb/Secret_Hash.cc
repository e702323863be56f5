#include "wdb/Secret_Hash.h"

#include <cstring>
#include <unistd.h>

static Hash_Secret drawn_secret() {
    // Stays in force where the system has no random bytes to give.
    Hash_Secret secret = {{0x9E3779B97F4A7C15u, 0xC2B2AE3D27D4EB4Fu}};
    Hash_Secret drawn;
    if (getentropy(&drawn, sizeof drawn) == 0) secret = drawn;
    // Names are multiplied by it: with 0, all hashes would be 0.
    secret.words[1] |= 1;
    return secret;
}

const Hash_Secret& Hash_Secret::get() {
    static const Hash_Secret secret = drawn_secret();
    return secret;
}

unsigned int name_hash(const char* const& name) {
    const Hash_Secret& secret = Hash_Secret::get();
    std::size_t left = std::strlen(name);
    // With the length, as zero bytes fill up the last word.
    std::uint64_t h = secret.words[0] + left;
    std::uint64_t word;
    for (const char* at = name; left > 0; at += sizeof word) {
        const std::size_t part = left < sizeof word ? left : sizeof word;
        word = 0;
        std::memcpy(&word, at, part);
        h = Hash_Secret::folded_product(h ^ word, secret.words[1]);
        left -= part;
    }
    return static_cast<unsigned int>(h ^ h >> 32);
}

bool name_equal(const char* const& a, const char* const& b) {
    return std::strcmp(a, b) == 0;
}
