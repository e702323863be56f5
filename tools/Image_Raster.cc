#include "tools/Image_Raster.h"

#include <algorithm>
#include <array>

// Of literal values, the longest that a count can tell.
static const std::size_t longest_packet = 127;

bool Image_Raster::resize(unsigned width, unsigned height, unsigned components,
                          long long most_pixels) {
    const unsigned most = 65535;
    if (width == 0 || height == 0 || width > most || height > most) return false;
    if (static_cast<long long>(width) * height > most_pixels) return false;
    width_ = width;
    height_ = height;
    components_ = components;
    bytes_.assign(row_size() * height, 0);
    has_come_.assign(height, 0);
    return true;
}

unsigned Image_Raster::missing_rows() const {
    return static_cast<unsigned>(std::count(has_come_.begin(), has_come_.end(), 0));
}

void Image_Raster::turn(int orientation) {
    if (orientation < 2 || orientation > 8) return;
    // Its first row is a side of what is stored; rows and columns that run backwards.
    const bool is_on_side = orientation >= 5;
    const bool mirrors_x = orientation == 2 || orientation == 3 || orientation >= 7;
    const bool mirrors_y =
        orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
    const Image_Raster from = *this;
    if (is_on_side) {
        std::swap(width_, height_);
        has_come_.assign(height_, 1);
    }
    for (unsigned y = 0; y < height_; ++y)
        for (unsigned x = 0; x < width_; ++x) {
            unsigned u = is_on_side ? y : x, v = is_on_side ? x : y;
            if (mirrors_x) u = from.width_ - 1 - u;
            if (mirrors_y) v = from.height_ - 1 - v;
            const auto* const pixel = from.bytes_.data() + v * from.row_size() + u * components_;
            std::copy(pixel, pixel + components_, row(y) + x * components_);
            if (!is_on_side) has_come_[y] = from.has_come_[v];
        }
}

// Packets of literal values, each behind its count, and a zero. Nothing is won by looking for runs:
// the file is read once.
std::size_t Image_Raster::encoded_size() const {
    return width_ + (width_ + longest_packet - 1) / longest_packet + 1;
}

static void put(unsigned char*& to, std::size_t value, int bytes) {
    const int bits = 8;
    for (int i = bytes - 1; i >= 0; --i)
        *to++ = static_cast<unsigned char>(value >> (bits * i) & 0xFF);
}

static bool write_all(std::FILE* out, const unsigned char* bytes, std::size_t count) {
    return std::fwrite(bytes, 1, count, out) == count;
}

static const std::size_t header_size = 512;

bool Image_Raster::write_header(std::FILE* out) const {
    const unsigned magic = 474, run_length_encoded = 1, one_byte = 1, dimensions = 3, most = 255;
    std::array<unsigned char, header_size> header = {};
    unsigned char* to = header.data();
    put(to, magic, 2);
    put(to, run_length_encoded, 1);
    put(to, one_byte, 1);
    for (const unsigned size : {dimensions, width_, height_, components_}) put(to, size, 2);
    put(to, 0, 4);
    put(to, most, 4);
    return write_all(out, header.data(), header.size());
}

// Where each row stands and how long it is, from the bottom row of the first component on.
bool Image_Raster::write_tables(std::FILE* out) const {
    const std::size_t rows = std::size_t{height_} * components_, entry = 4;
    std::vector<unsigned char> tables(2 * entry * rows);
    unsigned char *starts = tables.data(), *sizes = starts + entry * rows;
    std::size_t at = header_size + tables.size();
    for (std::size_t i = 0; i < rows; ++i) {
        const std::size_t size = has_come_[height_ - 1 - i % height_] ? encoded_size() : 0;
        put(starts, at, entry);
        put(sizes, size, entry);
        at += size;
    }
    return write_all(out, tables.data(), tables.size());
}

bool Image_Raster::write_row(std::FILE* out, unsigned y, unsigned component) const {
    const unsigned literal = 0x80;
    std::vector<unsigned char> packets(encoded_size());
    unsigned char* to = packets.data();
    const unsigned char* from = bytes_.data() + y * row_size() + component;
    for (std::size_t left = width_; left > 0;) {
        const std::size_t count = std::min(left, longest_packet);
        *to++ = static_cast<unsigned char>(literal | count);
        for (std::size_t i = 0; i < count; ++i, from += components_) *to++ = *from;
        left -= count;
    }
    return write_all(out, packets.data(), packets.size());
}

bool Image_Raster::write_sgi(std::FILE* out) const {
    if (!write_header(out) || !write_tables(out)) return false;
    for (unsigned component = 0; component < components_; ++component)
        for (unsigned y = height_; y-- > 0;)
            if (has_come_[y] && !write_row(out, y, component)) return false;
    return std::fflush(out) == 0;
}
