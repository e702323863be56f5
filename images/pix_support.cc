#include "images/pix_support.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>

#if defined(__x86_64__)
#include <tmmintrin.h>
#endif

#include "images/image_internal.h"

static IMAGE* image = nullptr;

// One row of each channel, overwritten by every row that is read or written.
static unsigned short rbuf[PIXMAP_MAX_XSIZE], gbuf[PIXMAP_MAX_XSIZE], bbuf[PIXMAP_MAX_XSIZE],
    abuf[PIXMAP_MAX_XSIZE];

void i_printerror(const char* message) {
    std::fputs(message, stderr);
}

static void print_error(char* message) {
    i_printerror(message);
}

static const char* reason_to_refuse() {
    if (image->xsize > PIXMAP_MAX_XSIZE) return "too wide";
    if (!img_is_sound(image)) return "damaged";
    return nullptr;
}

bool pixmap_open_read(const char* name) {
    i_seterror(print_error);
    image = iopen(name, "r");
    if (!image) return false;
    const char* const reason = reason_to_refuse();
    if (!reason) return true;
    i_errhdlr("pixmap_open_read: image file is %s\n", reason);
    pixmap_close();
    return false;
}

void pixmap_open_write(const char* name, int xsize, int ysize, int zsize) {
    i_seterror(print_error);
    image = nullptr;
    const int largest = 65535;
    if (xsize < 1 || xsize > PIXMAP_MAX_XSIZE || ysize < 1 || ysize > largest || zsize < 1 ||
        zsize > largest) {
        i_errhdlr("pixmap_open_write: %d x %d x %d do not fit an image file\n", xsize, ysize,
                  zsize);
        return;
    }
    image = iopen(name, "w", RLE(1), 3, static_cast<unsigned>(xsize), static_cast<unsigned>(ysize),
                  static_cast<unsigned>(zsize));
}

bool pixmap_is_open() {
    return image != nullptr;
}

bool pixmap_close() {
    const bool is_complete = iclose(image) == 0;
    image = nullptr;
    return is_complete;
}

int pixmap_xsize() {
    return image->xsize;
}

int pixmap_ysize() {
    return image->ysize;
}

int pixmap_zsize() {
    return image->zsize;
}

static unsigned char low(unsigned short value) {
    return static_cast<unsigned char>(value);
}

// Row y of the channels that a file of this many has. Grey files leave only rbuf set.
static bool get_channels(unsigned y) {
    switch (image->zsize) {
    case 2:
        return getrow(image, rbuf, y, 0) >= 0 && getrow(image, abuf, y, 1) >= 0;
    case 3:
        return getrow(image, rbuf, y, 0) >= 0 && getrow(image, gbuf, y, 1) >= 0 &&
               getrow(image, bbuf, y, 2) >= 0;
    case 0:
    case 1:
        return getrow(image, rbuf, y, 0) >= 0;
    default:
        return getrow(image, rbuf, y, 0) >= 0 && getrow(image, gbuf, y, 1) >= 0 &&
               getrow(image, bbuf, y, 2) >= 0 && getrow(image, abuf, y, 3) >= 0;
    }
}

static unsigned char luminance(int x) {
    return static_cast<unsigned char>((rbuf[x] * 79 + gbuf[x] * 156 + bbuf[x] * 21) >> 8);
}

#if defined(__x86_64__)
// Where each byte of three blocks of pixels comes from, of one channel; 128 is nowhere.
struct Shuffles {
    alignas(16) unsigned char from[3][16];
};
static constexpr Shuffles shuffles_of(int channel) {
    Shuffles shuffles{};
    for (int i = 0; i < 48; ++i)
        shuffles.from[i / 16][i % 16] =
            i % 3 == channel ? static_cast<unsigned char>(i / 3) : static_cast<unsigned char>(128);
    return shuffles;
}
static constexpr Shuffles rgb_shuffles[3] = {shuffles_of(0), shuffles_of(1), shuffles_of(2)};

// Sixteen pixels at a time.
[[gnu::target("ssse3")]] static int shuffle_rgb_blocks(unsigned char* out, int count) {
    const __m128i low_bytes = _mm_set1_epi16(0x00FF);
    const unsigned short* const channels[3] = {rbuf, gbuf, bbuf};
    int x = 0;
    for (; x + 16 <= count; x += 16, out += 48) {
        __m128i blocks[3] = {};
        for (int c = 0; c < 3; ++c) {
            const auto* const from = reinterpret_cast<const __m128i*>(channels[c] + x);
            const __m128i values =
                _mm_packus_epi16(_mm_and_si128(_mm_loadu_si128(from), low_bytes),
                                 _mm_and_si128(_mm_loadu_si128(from + 1), low_bytes));
            for (int i = 0; i < 3; ++i) {
                const auto* const shuffle =
                    reinterpret_cast<const __m128i*>(rgb_shuffles[c].from[i]);
                blocks[i] =
                    _mm_or_si128(blocks[i], _mm_shuffle_epi8(values, _mm_load_si128(shuffle)));
            }
        }
        for (int i = 0; i < 3; ++i)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out) + i, blocks[i]);
    }
    return x;
}
#endif

// The low bytes of the colours of the first pixels of a row, if the processor can do many at a time.
// Returns how many.
static int put_rgb_blocks([[maybe_unused]] unsigned char* out, [[maybe_unused]] int count) {
#if defined(__x86_64__)
    static const bool can_shuffle = __builtin_cpu_supports("ssse3");
    if (can_shuffle) return shuffle_rgb_blocks(out, count);
#endif
    return 0;
}

// One loop for each pair of file and pixels: the choices are made outside of it. With `Has_Color`
// false, grey stands in for the colours; with `Has_Alpha` false, 255 for the alpha.
template<int Component, bool Has_Color, bool Has_Alpha>
static void put_pixels(unsigned char* out) {
    const int xsize = image->xsize;
    int x = 0;
    if constexpr (Component == 3 && Has_Color) x = put_rgb_blocks(out, xsize);
    for (out += x * Component; x < xsize; ++x, out += Component) {
        if constexpr (Component <= 2) {
            out[0] = Has_Color ? luminance(x) : low(rbuf[x]);
        } else {
            out[0] = low(rbuf[x]);
            out[1] = low(Has_Color ? gbuf[x] : rbuf[x]);
            out[2] = low(Has_Color ? bbuf[x] : rbuf[x]);
        }
        if constexpr (Component % 2 == 0) out[Component - 1] = Has_Alpha ? low(abuf[x]) : 255;
    }
}

template<int Component>
static bool load_image(unsigned char* pixels, std::ptrdiff_t row_stride) {
    const bool has_color = image->zsize >= 3;
    const bool has_alpha = image->zsize == 2 || image->zsize >= 4;
    for (unsigned y = 0; y < image->ysize; ++y, pixels += row_stride) {
        if (!get_channels(y)) return false;
        if (has_color) {
            has_alpha ? put_pixels<Component, true, true>(pixels)
                      : put_pixels<Component, true, false>(pixels);
        } else {
            has_alpha ? put_pixels<Component, false, true>(pixels)
                      : put_pixels<Component, false, false>(pixels);
        }
    }
    return true;
}

static bool load_image_as_bw(unsigned char* pixels, int row_stride) {
    return load_image<1>(pixels, row_stride);
}

static bool load_image_as_bwa(unsigned char* pixels, int row_stride) {
    return load_image<2>(pixels, row_stride);
}

static bool load_image_as_rgb(unsigned char* pixels, int row_stride) {
    return load_image<3>(pixels, row_stride);
}

static bool load_image_as_rgba(unsigned char* pixels, int row_stride) {
    return load_image<4>(pixels, row_stride);
}

bool pixmap_load(unsigned char* pixels, int component, int row_stride) {
    switch (component) {
    case 1:
        return load_image_as_bw(pixels, row_stride);
    case 2:
        return load_image_as_bwa(pixels, row_stride);
    case 3:
        return load_image_as_rgb(pixels, row_stride);
    case 4:
        return load_image_as_rgba(pixels, row_stride);
    default:
        return true;
    }
}

// Spreads the pixels of a row to the first zsize of the given channels.
template<int Zsize>
static void get_pixels(const unsigned char* in, unsigned short* const (&channels)[Zsize]) {
    const int xsize = image->xsize;
    for (int x = 0; x < xsize; ++x, in += Zsize)
        for (int c = 0; c < Zsize; ++c) channels[c][x] = in[c];
}

static bool put_row(unsigned short* row, unsigned y, unsigned z) {
    return putrow(image, row, y, z) >= 0;
}

// The order of the channels is that of the rows in the file.
static bool put_channels(const unsigned char* pixels, unsigned y) {
    switch (image->zsize) {
    case 1:
        get_pixels<1>(pixels, {rbuf});
        return put_row(rbuf, y, 0);
    case 2:
        get_pixels<2>(pixels, {rbuf, abuf});
        return put_row(rbuf, y, 0) && put_row(abuf, y, 1);
    case 3:
        get_pixels<3>(pixels, {rbuf, gbuf, bbuf});
        return put_row(bbuf, y, 2) && put_row(gbuf, y, 1) && put_row(rbuf, y, 0);
    case 4:
        get_pixels<4>(pixels, {rbuf, gbuf, bbuf, abuf});
        return put_row(bbuf, y, 2) && put_row(gbuf, y, 1) && put_row(rbuf, y, 0) &&
               put_row(abuf, y, 3);
    default:
        return true;
    }
}

bool pixmap_save(const unsigned char* pixels, int row_stride) {
    if (!image) {
        std::fputs("can't open image in write mode\n", stderr);
        std::exit(0);
    }
    img_hold_writes(image);
    bool are_put = true;
    for (unsigned y = 0; are_put && y < image->ysize; ++y, pixels += row_stride)
        are_put = put_channels(pixels, y);
    return img_release_writes(image) && are_put;
}
