#include "images/pix_support.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

#if defined(__x86_64__)
#include <tmmintrin.h>
#endif

#include "images/image_internal.h"
#include "std/Std_GC.h"
#include "std/Std_Limits.h"

static IMAGE* the_image = nullptr;

// One row of each channel, overwritten by every row that is read or written; as long as the widest
// image so far.
static unsigned short *rbuf, *gbuf, *bbuf, *abuf;
static int buffer_size = 0;

static void make_room_for_rows() {
    if (the_image->xsize <= buffer_size) return;
    buffer_size = the_image->xsize;
    for (unsigned short** buffer : {&rbuf, &gbuf, &bbuf, &abuf})
        *buffer = new (GCAtomic) unsigned short[static_cast<unsigned>(buffer_size)];
}

void i_printerror(const char* message) {
    std::fputs(message, stderr);
}

static void print_error(char* message) {
    i_printerror(message);
}

// Before memory is asked for: a header of a few bytes can claim any size.
static const char* reason_to_refuse() {
    if (static_cast<long long>(the_image->xsize) * the_image->ysize > std_limits.image_pixels)
        return "too large";
    return img_has_rows(the_image) ? nullptr : "damaged";
}

static bool start_reading() {
    if (!the_image) return false;
    const char* const reason = reason_to_refuse();
    if (!reason) {
        make_room_for_rows();
        return true;
    }
    i_errhdlr("pixmap_open_read: image file is %s\n", reason);
    pixmap_close();
    return false;
}

bool pixmap_open_read(const char* name) {
    i_seterror(print_error);
    the_image = iopen(name, "r");
    return start_reading();
}

bool pixmap_open_read(int descriptor) {
    i_seterror(print_error);
    the_image = fiopen(descriptor, "r");
    if (!the_image) ::close(descriptor);
    return start_reading();
}

static bool do_sizes_fit(int xsize, int ysize, int zsize) {
    const auto fits = [](int size) { return size >= 1 && size <= PIXMAP_MAX_SIZE; };
    if (fits(xsize) && fits(ysize) && fits(zsize)) return true;
    i_errhdlr("pixmap_open_write: %d x %d x %d do not fit an image file\n", xsize, ysize, zsize);
    return false;
}

void pixmap_open_write(const char* name, int xsize, int ysize, int zsize) {
    i_seterror(print_error);
    the_image = nullptr;
    if (!do_sizes_fit(xsize, ysize, zsize)) return;
    the_image = iopen(name, "w", RLE(1), 3, static_cast<unsigned>(xsize),
                      static_cast<unsigned>(ysize), static_cast<unsigned>(zsize));
    if (the_image) make_room_for_rows();
}

void pixmap_open_write(int descriptor, int xsize, int ysize, int zsize) {
    i_seterror(print_error);
    the_image = nullptr;
    if (do_sizes_fit(xsize, ysize, zsize))
        the_image = fiopen(descriptor, "w", RLE(1), 3, static_cast<unsigned>(xsize),
                           static_cast<unsigned>(ysize), static_cast<unsigned>(zsize));
    if (the_image)
        make_room_for_rows();
    else
        ::close(descriptor);
}

bool pixmap_is_open() {
    return the_image != nullptr;
}

// The error of a delayed write is seen here at the latest.
bool pixmap_close() {
    const bool is_complete = iclose(the_image) == 0;
    std::free(the_image);
    the_image = nullptr;
    return is_complete;
}

int pixmap_xsize() {
    return the_image->xsize;
}

int pixmap_ysize() {
    return the_image->ysize;
}

int pixmap_zsize() {
    return the_image->zsize;
}

static unsigned char low_byte(unsigned short value) {
    return static_cast<unsigned char>(value);
}

// What does not come is black; the other rows are none the worse.
static bool get_channel(unsigned short* row, unsigned y, unsigned z) {
    return getrow(the_image, row, y, z) >= 0;
}

// Row y of the channels that a file of this many has. Grey files leave only rbuf set. False if one
// of them could not be read.
static bool get_channels(unsigned y) {
    bool are_read = get_channel(rbuf, y, 0);
    switch (the_image->zsize) {
    case 0:
    case 1:
        return are_read;
    case 2:
        return get_channel(abuf, y, 1) && are_read;
    case 3:
        break;
    default:
        are_read = get_channel(abuf, y, 3) && are_read;
    }
    are_read = get_channel(gbuf, y, 1) && are_read;
    return get_channel(bbuf, y, 2) && are_read;
}

// Weights of red, green and blue in 256ths; their sum is 256, so white stays white.
static unsigned char luminance(int x) {
    return static_cast<unsigned char>((rbuf[x] * 79 + gbuf[x] * 156 + bbuf[x] * 21) >> 8);
}

#if defined(__x86_64__)
namespace {
// Where each byte of three blocks of pixels comes from, of one channel; 128 is nowhere.
struct Shuffles {
    alignas(16) unsigned char from[3][16];
};
} // namespace
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

// The low bytes of the colours of the first pixels of a row, if the processor can do many at a
// time. Returns how many.
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
    const int xsize = the_image->xsize;
    int x = 0;
    if constexpr (Component == 3 && Has_Color) x = put_rgb_blocks(out, xsize);
    for (out += x * Component; x < xsize; ++x, out += Component) {
        if constexpr (Component <= 2) {
            out[0] = Has_Color ? luminance(x) : low_byte(rbuf[x]);
        } else {
            out[0] = low_byte(rbuf[x]);
            out[1] = low_byte(Has_Color ? gbuf[x] : rbuf[x]);
            out[2] = low_byte(Has_Color ? bbuf[x] : rbuf[x]);
        }
        if constexpr (Component % 2 == 0) out[Component - 1] = Has_Alpha ? low_byte(abuf[x]) : 255;
    }
}

template<int Component>
static int load_image(unsigned char* pixels, std::ptrdiff_t row_stride) {
    // Two channels are grey and alpha, three the colours, four both; more are not looked at.
    const bool has_color = the_image->zsize >= 3;
    const bool has_alpha = the_image->zsize == 2 || the_image->zsize >= 4;
    int bad_rows = 0;
    for (unsigned y = 0; y < the_image->ysize; ++y, pixels += row_stride) {
        bad_rows += !get_channels(y);
        if (has_color) {
            has_alpha ? put_pixels<Component, true, true>(pixels)
                      : put_pixels<Component, true, false>(pixels);
        } else {
            has_alpha ? put_pixels<Component, false, true>(pixels)
                      : put_pixels<Component, false, false>(pixels);
        }
    }
    return bad_rows;
}

static void say_nothing(char*) {}

int pixmap_load(unsigned char* pixels, int component, int row_stride) {
    i_seterror(say_nothing); // one word about all bad rows is enough, and the caller's
    int bad_rows = 0;
    if (component == 1) bad_rows = load_image<1>(pixels, row_stride);
    if (component == 2) bad_rows = load_image<2>(pixels, row_stride);
    if (component == 3) bad_rows = load_image<3>(pixels, row_stride);
    if (component == 4) bad_rows = load_image<4>(pixels, row_stride);
    i_seterror(print_error);
    return bad_rows;
}

// Spreads the pixels of a row to the first zsize of the given channels.
template<int Zsize>
static void get_pixels(const unsigned char* in, unsigned short* const (&channels)[Zsize]) {
    const int xsize = the_image->xsize;
    for (int x = 0; x < xsize; ++x, in += Zsize)
        for (int c = 0; c < Zsize; ++c) channels[c][x] = in[c];
}

static bool put_row(unsigned short* row, unsigned y, unsigned z) {
    return putrow(the_image, row, y, z) >= 0;
}

// The order of the channels is that of the rows in the file.
static bool put_channels(const unsigned char* pixels, unsigned y) {
    switch (the_image->zsize) {
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
    if (!the_image) {
        std::fputs("can't open image in write mode\n", stderr);
        std::exit(0);
    }
    // Rows of an encoded image are short: they are gathered, and written in large pieces.
    img_hold_writes(the_image);
    // After a failure there is nothing to save: the file is given up by the caller.
    bool are_put = true;
    for (unsigned y = 0; are_put && y < the_image->ysize; ++y, pixels += row_stride)
        are_put = put_channels(pixels, y);
    return img_release_writes(the_image) && are_put;
}
