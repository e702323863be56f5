#include "images/PX_Map_Scale.h"
#include "std/Std_Allocator.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {
// Where the values of a source pixel stand that goes into a target pixel, and by how much it does.
struct Contribution {
    unsigned int source;
    float weight;
};

// The contributions of all target pixels of one row or column, `taps` for each.
struct Contributions {
    std::size_t taps = 1;
    Std_Plain_Vector<Contribution> all;

    const Contribution* begin(int target) const {
        return all.data() + static_cast<std::size_t>(target) * taps;
    }
    const Contribution* end(int target) const { return begin(target) + taps; }
};

// Some values at a time, each of which comes out as if it were alone.
using Four_Floats = float __attribute__((vector_size(16)));
const int vector_values = 4;
} // namespace

// Mirrored at both ends, as often as it takes.
static int mirrored(long long j, int size) {
    while (j < 0 || j >= size) {
        if (j < 0) j = -j;
        if (j >= size) j = (size - j) + size - 1;
        if (size == 1) return 0;
    }
    return static_cast<int>(j);
}

// `lanes` values stand side by side for each source pixel. Filters reach farther than they weigh:
// what weighs nothing adds nothing, and is left out. All targets get as many taps, which spares the
// loops over them a guess; shorter lists end with some that weigh nothing.
static Contributions contributions(int size, int new_size, float (*filter)(float), int filter_width,
                                   int lanes) {
    const float scale = static_cast<float>(new_size) / static_cast<float>(size);
    float w = static_cast<float>(filter_width);
    float fscale = 1.0f;
    if (scale < 1.0f) {
        w = w / scale;
        fscale = static_cast<float>(1.0 / static_cast<double>(scale));
    }
    const auto source_of = [&](long long j) {
        return static_cast<unsigned int>(mirrored(j, size)) * static_cast<unsigned int>(lanes);
    };
    Contributions result;
    Std_Plain_Vector<Contribution> lists;
    Std_Plain_Vector<std::size_t> ends;
    for (int i = 0; i < new_size; ++i) {
        const float centre =
            static_cast<float>(static_cast<double>(i) / static_cast<double>(scale));
        const auto left = static_cast<long long>(std::ceil(static_cast<double>(centre - w)));
        const auto right = static_cast<long long>(std::floor(static_cast<double>(centre + w)));
        const std::size_t start = lists.size();
        for (long long j = left; j <= right; ++j) {
            const double distance = static_cast<double>(centre) - static_cast<double>(j);
            const float weight = filter(static_cast<float>(distance) / fscale) / fscale;
            if (weight != 0) lists.push_back({source_of(j), weight});
        }
        if (lists.size() == start) lists.push_back({source_of(left), 0});
        ends.push_back(lists.size());
        result.taps = std::max(result.taps, lists.size() - start);
    }
    result.all.reserve(ends.size() * result.taps);
    std::size_t n = 0;
    for (const std::size_t end : ends) {
        const std::size_t padding = result.taps - (end - n);
        for (; n < end; ++n) result.all.push_back(lists[n]);
        result.all.insert(result.all.end(), padding, {lists[end - 1].source, 0});
    }
    return result;
}

static unsigned char clamped(float sum) {
    if (!(sum < 255.0f)) return 255;
    return sum < 0.0f ? 0 : static_cast<unsigned char>(sum);
}

#if defined(__SSE2__)
// The same for four sums: a minimum with what is no number is its second operand.
static __m128i clamped_four(const float* sums) {
    const __m128 low = _mm_min_ps(_mm_loadu_ps(sums), _mm_set1_ps(255.0f));
    return _mm_cvttps_epi32(_mm_max_ps(low, _mm_setzero_ps()));
}
#endif

static void to_bytes(const float* sums, std::size_t count, unsigned char* bytes) {
    std::size_t k = 0;
#if defined(__SSE2__)
    for (; k + 16 <= count; k += 16) {
        const __m128i low = _mm_packs_epi32(clamped_four(sums + k), clamped_four(sums + k + 4));
        const __m128i high =
            _mm_packs_epi32(clamped_four(sums + k + 8), clamped_four(sums + k + 12));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes + k), _mm_packus_epi16(low, high));
    }
#endif
    for (; k < count; ++k) bytes[k] = clamped(sums[k]);
}

// Target columns out of source columns. `taps` is their number if it is known, else 0.
// Requires: room for a vector behind the last column on either side.
template<std::size_t taps>
static void add_columns(const float* columns, int lanes, const Contributions& c, int new_width,
                        float* sums) {
    const std::size_t count = taps ? taps : c.taps;
    for (int i = 0; i < new_width; ++i, sums += lanes) {
        const Contribution* const from = c.all.data() + static_cast<std::size_t>(i) * count;
        for (int k = 0; k < lanes; k += vector_values) {
            Four_Floats sum = {}, column;
            for (std::size_t n = 0; n < count; ++n) {
                std::memcpy(&column, columns + k + from[n].source, sizeof column);
                sum += column * from[n].weight;
            }
            std::memcpy(sums + k, &sum, sizeof sum); // the next column overwrites what is too much
        }
    }
}

// Halving by the triangle takes 3 taps and by the bell 5 or 6, enlarging 2 to 4.
static auto adder_of_columns(std::size_t taps) {
    switch (taps) {
    case 2:
        return add_columns<2>;
    case 3:
        return add_columns<3>;
    case 4:
        return add_columns<4>;
    case 5:
        return add_columns<5>;
    case 6:
        return add_columns<6>;
    default:
        return add_columns<0>;
    }
}

// So many rows lie beside each other, pixel by pixel, to fill a vector.
static int rows_of_strip(int height, int component) {
    return std::min(height, std::max(1, vector_values / component));
}

// Some rows of `size` values a pixel go to every `rows`-th pixel of a strip, or come from there.
template<int size>
static void into_strip(const unsigned char* row, std::size_t width, int rows, float* strip) {
    for (std::size_t x = 0; x < width; ++x, row += size, strip += rows * size)
        for (int k = 0; k < size; ++k) strip[k] = static_cast<float>(row[k]);
}
template<int size>
static void out_of_strip(const unsigned char* strip, std::size_t width, int rows,
                         unsigned char* row) {
    for (std::size_t x = 0; x < width; ++x, row += size, strip += rows * size)
        for (int k = 0; k < size; ++k) row[k] = strip[k];
}

namespace {
// The image between the passes, as wide as the target and as high as the source. Its rows are made
// in their order, just before they are wanted, and overwritten when no target row draws on them any
// more: so the second pass finds them in the cache.
class Middle_Image {
public:
    // Requires: `in` and `across`, which is for the lanes of a strip, stay; no row is asked for
    // that lies `in_use` or more behind the last one.
    Middle_Image(const unsigned char* in, int width, int height, int component, int new_width,
                 const Contributions& across, std::size_t in_use)
        : in_(in), width_(static_cast<std::size_t>(width)),
          height_(static_cast<std::size_t>(height)),
          new_width_(static_cast<std::size_t>(new_width)), component_(component), across_(across),
          add_columns_(adder_of_columns(across.taps)),
          strip_rows_(rows_of_strip(height, component)), kept_(in_use + strip_rows_ - 1),
          columns_(width_ * lanes() + vector_values), sums_(new_width_ * lanes() + vector_values),
          strip_(strip_rows_ > 1 ? new_width_ * lanes() : 0), rows_(kept_ * row_bytes()) {}

    const unsigned char* row(std::size_t y) {
        while (made_ <= y) make_strip();
        return slot(y);
    }

private:
    std::size_t lanes() const { return static_cast<std::size_t>(strip_rows_) * component_; }
    std::size_t row_bytes() const { return new_width_ * component_; }
    unsigned char* slot(std::size_t y) { return rows_.data() + y % kept_ * row_bytes(); }
    // The last strip may go past the end.
    const unsigned char* in_row(std::size_t y) const {
        return in_ + std::min(y, height_ - 1) * width_ * component_;
    }
    void add() {
        add_columns_(columns_.data(), static_cast<int>(lanes()), across_,
                     static_cast<int>(new_width_), sums_.data());
    }

    void make_strip() {
        if (strip_rows_ > 1)
            component_ == 1 ? make_rows<1>() : make_rows<2>();
        else
            make_row();
        made_ += strip_rows_;
    }
    void make_row() {
        const unsigned char* const in = in_row(made_);
        for (std::size_t k = 0; k < width_ * component_; ++k) columns_[k] = in[k];
        add();
        to_bytes(sums_.data(), row_bytes(), slot(made_));
    }
    template<int size>
    void make_rows() {
        for (int r = 0; r < strip_rows_; ++r)
            into_strip<size>(in_row(made_ + r), width_, strip_rows_, columns_.data() + r * size);
        add();
        to_bytes(sums_.data(), strip_.size(), strip_.data());
        for (int r = 0; r < strip_rows_; ++r)
            out_of_strip<size>(strip_.data() + r * size, new_width_, strip_rows_, slot(made_ + r));
    }

    const unsigned char* const in_;
    const std::size_t width_, height_, new_width_;
    const int component_;
    const Contributions& across_;
    void (*const add_columns_)(const float*, int, const Contributions&, int, float*);
    const int strip_rows_;
    const std::size_t kept_; // so many rows at a time
    std::size_t made_ = 0;   // the rows before this one have been there
    Std_Plain_Vector<float> columns_, sums_;
    Std_Plain_Vector<unsigned char> strip_, rows_;
};
} // namespace

// How many rows are needed at a time: from the first one that this target or a later one draws on,
// to the last one of this target and those before.
static std::size_t rows_in_use(const Contributions& c, int targets) {
    Std_Plain_Vector<unsigned int> first(static_cast<std::size_t>(targets) + 1, UINT_MAX);
    for (int i = targets - 1; i >= 0; --i) {
        unsigned int lowest = first[static_cast<std::size_t>(i) + 1];
        for (const Contribution* p = c.begin(i); p != c.end(i); ++p)
            lowest = std::min(lowest, p->source);
        first[static_cast<std::size_t>(i)] = lowest;
    }
    unsigned int last = 0;
    std::size_t most = 0;
    for (int i = 0; i < targets; ++i) {
        for (const Contribution* p = c.begin(i); p != c.end(i); ++p)
            last = std::max(last, p->source);
        most = std::max(most, std::size_t{last} - first[static_cast<std::size_t>(i)] + 1);
    }
    return most;
}

// sums[k] = the weighted sum of values k of the rows that target i draws on, added in their order.
// The inner loop runs over neighbours, so each sum is formed as if alone, and many at a time.
static void add_rows(Middle_Image& middle, const Contributions& c, int i,
                     Std_Plain_Vector<float>& sums) {
    for (const Contribution* p = c.begin(i); p != c.end(i); ++p) middle.row(p->source);
    std::fill(sums.begin(), sums.end(), 0.0f);
    for (const Contribution* p = c.begin(i); p != c.end(i); ++p) {
        const unsigned char* const row = middle.row(p->source);
        for (std::size_t k = 0; k < sums.size(); ++k)
            sums[k] += static_cast<float>(row[k]) * p->weight;
    }
}

void px_map_scale(const unsigned char* in, int width, int height, int component, unsigned char* out,
                  int new_width, int new_height, float (*filter)(float), int filter_width) {
    const int lanes = rows_of_strip(height, component) * component;
    const Contributions across = contributions(width, new_width, filter, filter_width, lanes);
    const Contributions down = contributions(height, new_height, filter, filter_width, 1);
    Middle_Image middle(in, width, height, component, new_width, across,
                        rows_in_use(down, new_height));
    Std_Plain_Vector<float> sums(static_cast<std::size_t>(new_width) * component);
    for (int i = 0; i < new_height; ++i, out += sums.size()) {
        add_rows(middle, down, i, sums);
        to_bytes(sums.data(), sums.size(), out);
    }
}
