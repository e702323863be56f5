#include <algorithm>
#include <cstdint>
#include <cstring>

#include "images/image_internal.h"

// Packets: a count word with the top bit set and that many values, or a count word without it and
// one value to repeat. A count of 0 ends the row.
static const int literal_bit = 0x80;
static const int count_mask = 0x7F;

// The format could hold 127, but files have always been written with 126.
static const int longest_packet = 126;

static int packet_length(long left) {
    return left <= longest_packet ? static_cast<int>(left) : longest_packet;
}

// Where the literal values that start at `s` end: at three equal values, or two before the end.
// Two equal values are not worth a packet of their own: it would cost as much as they do, and
// another count behind it. Looks at every second value while neighbours differ.
template<class In>
static const In* literal_end(const In* s, const In* end) {
    if (end - s < 3) return s;
    const In* p = s + 2;
    for (;;) {
        if (p[-1] != *p) {
            if (end - p < 3) break;
            p += 2; // no three that hold both are equal
        } else if (p[-2] != p[-1]) {
            if (end - p < 2) break;
            ++p;
        } else {
            return p - 2;
        }
    }
    return end - 2;
}

// Behind the values from `s` on that are equal to the first: eight bytes at a time.
template<class In>
static const In* run_end(const In* s, const In* end) {
    const std::uint64_t ones = sizeof(In) == 1 ? 0x0101010101010101 : 0x0001000100010001;
    const int lanes = sizeof ones / sizeof(In);
    const In value = *s;
    const std::uint64_t equal = ones * value;
    for (; end - s >= lanes; s += lanes) {
        std::uint64_t word;
        std::memcpy(&word, s, sizeof word);
        if (word != equal) break;
    }
    while (s < end && *s == value) ++s;
    return s;
}

template<class In, class Out>
static int compact(const In* s, Out* rle, int count) {
    const In* const end = s + count;
    Out* out = rle;
    while (s < end) {
        for (const In* const p = literal_end(s, end); s < p;) {
            const int n = packet_length(p - s);
            *out++ = static_cast<Out>(n | literal_bit);
            for (int i = 0; i < n; ++i) out[i] = static_cast<Out>(s[i]);
            out += n;
            s += n;
        }
        // Behind the literal values three are equal, or it is the end: the last one or two go as a
        // run.
        const In value = *s;
        const In* const run = s;
        s = run_end(run, end);
        for (long left = s - run; left > 0;) {
            const int n = packet_length(left);
            *out++ = static_cast<Out>(n);
            *out++ = static_cast<Out>(value);
            left -= n;
        }
    }
    *out++ = 0;
    return static_cast<int>(out - rle);
}

int img_rle_compact(const void* expanded, int ibpp, void* rle, int obpp, int count) {
    using Byte = unsigned char;
    using Short = unsigned short;
    if (ibpp == 1 && obpp == 1)
        return compact(static_cast<const Byte*>(expanded), static_cast<Byte*>(rle), count);
    if (ibpp == 1 && obpp == 2)
        return compact(static_cast<const Byte*>(expanded), static_cast<Short*>(rle), count);
    if (ibpp == 2 && obpp == 1)
        return compact(static_cast<const Short*>(expanded), static_cast<Byte*>(rle), count);
    if (ibpp == 2 && obpp == 2)
        return compact(static_cast<const Short*>(expanded), static_cast<Short*>(rle), count);
    i_errhdlr("rle_compact: bad bpp: %d %d\n", ibpp, obpp);
    return 0;
}

// Packets are short: where there is room for what is done too much, blocks of a fixed length are
// cheaper than an exact end.
static const int block = 16;

template<class In, class Out>
static void put_literal(const In* in, const In* end, Out* out, const Out* out_end, int n) {
    // Near an end exactly n values, elsewhere whole blocks, whose excess the next packet
    // overwrites.
    if (end - in < n + block || out_end - out < n + block) {
        for (int i = 0; i < n; ++i) out[i] = static_cast<Out>(in[i]);
        return;
    }
    for (int i = 0; i < n; i += block)
        for (int j = 0; j < block; ++j) out[i + j] = static_cast<Out>(in[i + j]);
}

template<class Out>
static void put_run(Out value, Out* out, const Out* out_end, int n) {
    if (out_end - out < n + block) {
        std::fill(out, out + n, value);
        return;
    }
    for (int i = 0; i < n; i += block) std::fill(out + i, out + i + block, value);
}

// What fits of a packet that is longer than the room. Apart from the rest, which is faster without
// it.
template<class In, class Out>
[[gnu::cold, gnu::noinline]] static void put_cut_packet(const In* in, const In* end,
                                                        bool is_literal, Out* out, Out* out_end) {
    if (!is_literal && in < end) {
        std::fill(out, out_end, static_cast<Out>(*in));
        return;
    }
    while (in < end && out < out_end) *out++ = static_cast<Out>(*in++);
    std::fill(out, out_end, Out(0));
}

// Stops at the end of the input and of the room, whatever the packets say, and fills up with zeros.
// A row that is too long counts as one value more than there is room for.
template<class In, class Out>
static int expand(const In* in, int count, Out* expanded, int room) {
    const In* const end = in + count;
    Out* out = expanded;
    Out* const out_end = expanded + room;
    while (in < end) {
        const int word = *in++;
        int n = word & count_mask;
        if (n == 0) break;
        // Never past the room, whatever a damaged count says.
        if (n > out_end - out) {
            put_cut_packet(in, end, word & literal_bit, out, out_end);
            return room + 1;
        }
        if (word & literal_bit) {
            // A row that is cut off gives what is there.
            n = static_cast<int>(std::min<long>(n, end - in));
            put_literal(in, end, out, out_end, n);
            in += n;
        } else {
            if (in == end) break;
            put_run(static_cast<Out>(*in++), out, out_end, n);
        }
        out += n;
    }
    const int got = static_cast<int>(out - expanded);
    std::fill(out, out_end, Out(0));
    return got;
}

int img_rle_expand(const void* rle, int ibpp, int count, void* expanded, int obpp, int room) {
    using Byte = unsigned char;
    using Short = unsigned short;
    if (ibpp == 1 && obpp == 1)
        return expand(static_cast<const Byte*>(rle), count, static_cast<Byte*>(expanded), room);
    if (ibpp == 1 && obpp == 2)
        return expand(static_cast<const Byte*>(rle), count, static_cast<Short*>(expanded), room);
    if (ibpp == 2 && obpp == 1)
        return expand(static_cast<const Short*>(rle), count, static_cast<Byte*>(expanded), room);
    if (ibpp == 2 && obpp == 2)
        return expand(static_cast<const Short*>(rle), count, static_cast<Short*>(expanded), room);
    i_errhdlr("rle_expand: bad bpp: %d %d\n", ibpp, obpp);
    return -1;
}
