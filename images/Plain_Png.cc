#include "images/Plain_Png.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "images/PX_Map.h"

namespace {

using Bytes = Std_Plain_Vector<unsigned char>;

// As the format has it: the remainder of a division of polynomials over two elements.
constexpr std::array<std::uint32_t, 256> crc_table() {
    const std::uint32_t polynomial = 0xEDB88320;
    std::array<std::uint32_t, 256> table = {};
    for (std::uint32_t i = 0; i < table.size(); ++i) {
        std::uint32_t c = i;
        for (int bit = 0; bit < 8; ++bit) c = c & 1 ? polynomial ^ (c >> 1) : c >> 1;
        table[i] = c;
    }
    return table;
}

std::uint32_t crc_of(const unsigned char* bytes, std::size_t count) {
    static constexpr std::array<std::uint32_t, 256> table = crc_table();
    std::uint32_t c = 0xFFFFFFFF;
    for (std::size_t i = 0; i < count; ++i) c = table[(c ^ bytes[i]) & 0xFF] ^ (c >> 8);
    return ~c;
}

void put_number(Bytes& to, std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8)
        to.push_back(static_cast<unsigned char>(value >> shift & 0xFF));
}

void put_chunk(Bytes& to, const char (&type)[5], const Bytes& data) {
    put_number(to, static_cast<std::uint32_t>(data.size()));
    const std::size_t start = to.size();
    to.insert(to.end(), type, type + 4);
    to.insert(to.end(), data.begin(), data.end());
    put_number(to, crc_of(to.data() + start, to.size() - start));
}

// From the top, each row behind the filter that changes nothing.
Bytes rows_of(const PX_Map& map) {
    const auto row =
        static_cast<std::size_t>(map.get_width()) * static_cast<std::size_t>(map.get_component());
    Bytes rows;
    rows.reserve((row + 1) * static_cast<std::size_t>(map.get_height()));
    for (int y = map.get_height(); y-- > 0;) {
        rows.push_back(0);
        const unsigned char* const from = map.get_pixels() + static_cast<std::size_t>(y) * row;
        rows.insert(rows.end(), from, from + row);
    }
    return rows;
}

// A stream of deflate whose blocks are stored as they are.
Bytes stored(const Bytes& data) {
    const std::uint32_t modulus = 65521;
    const std::size_t longest = 65535;
    Bytes stream = {0x78, 0x01};
    stream.reserve(data.size() + data.size() / longest * 5 + 16);
    std::uint32_t a = 1, b = 0;
    for (std::size_t at = 0; at < data.size();) {
        const std::size_t count = std::min(longest, data.size() - at);
        const bool is_last = at + count == data.size();
        for (const std::size_t part :
             {std::size_t{is_last}, count, count >> 8, ~count, ~count >> 8})
            stream.push_back(static_cast<unsigned char>(part & 0xFF));
        stream.insert(stream.end(), data.begin() + static_cast<std::ptrdiff_t>(at),
                      data.begin() + static_cast<std::ptrdiff_t>(at + count));
        for (const std::size_t end = at + count; at < end; ++at) {
            a = (a + data[at]) % modulus;
            b = (b + a) % modulus;
        }
    }
    put_number(stream, b << 16 | a);
    return stream;
}

} // namespace

Bytes plain_png(const PX_Map& map) {
    static const unsigned char kinds[] = {0, 4, 2, 6}; // grey, with alpha, colour, with alpha
    const int components = map.get_component();
    if (map.get_width() < 1 || map.get_height() < 1 || components < 1 || components > 4) return {};
    Bytes png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'}, header;
    put_number(header, static_cast<std::uint32_t>(map.get_width()));
    put_number(header, static_cast<std::uint32_t>(map.get_height()));
    const unsigned char bits = 8;
    for (const unsigned char byte : {bits, kinds[components - 1], {}, {}, {}})
        header.push_back(byte);
    put_chunk(png, "IHDR", header);
    put_chunk(png, "IDAT", stored(rows_of(map)));
    put_chunk(png, "IEND", {});
    return png;
}
