#include "images/pix_support.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

#if defined(__x86_64__)
#include <tmmintrin.h>
#endif

#include "images/image_internal.h"
#include "std/Std_Collector.h"
#include "std/Std_Limits.h"

namespace {
// What a thread has open.
class Open_Image {
public:
    // Takes what iopen answered.
    bool start_reading(IMAGE* image);
    void start_writing(IMAGE* image);
    bool close();
    template<int Component>
    int load(unsigned char* pixels, std::ptrdiff_t row_stride);
    bool save(const unsigned char* pixels, int row_stride);
    const IMAGE* get() const { return image_; }

private:
    void make_room_for_rows();
    const char* reason_to_refuse() const;
    bool get_channel(unsigned short* row, unsigned y, unsigned z);
    bool get_channels(unsigned y);
    unsigned char luminance(int x) const;
    int shuffle_rgb_blocks(unsigned char* out, int count) const;
    int put_rgb_blocks(unsigned char* out, int count) const;
    template<int Component, bool Has_Color, bool Has_Alpha>
    void put_pixels(unsigned char* out) const;
    bool put_row(unsigned short* row, unsigned y, unsigned z);
    bool put_channels(const unsigned char* pixels, unsigned y);

    IMAGE* image_ = nullptr;
    // One row of each channel, overwritten by every row that is read or written.
    unsigned short *rbuf_ = nullptr, *gbuf_ = nullptr, *bbuf_ = nullptr, *abuf_ = nullptr;
    unsigned short* rows_ = nullptr; // all four, while the image is open
};
} // namespace

// Not destroyed: images may also be saved when the thread, or the program, ends.
static constinit thread_local Open_Image opened;

void Open_Image::make_room_for_rows() {
    const std::size_t xsize = image_->xsize;
    const std::size_t size = 4 * xsize * sizeof *rows_;
    std::free(rows_); // of an image that is lost
    rows_ = static_cast<unsigned short*>(std::malloc(size));
    if (!rows_) std_out_of_memory(size);
    unsigned short* row = rows_;
    for (unsigned short** buffer : {&rbuf_, &gbuf_, &bbuf_, &abuf_}) {
        *buffer = row;
        row += xsize;
    }
}

void i_printerror(const char* message) {
    std::fputs(message, stderr);
}

static void print_error(char* message) {
    i_printerror(message);
}

// Before memory is asked for: a header of a few bytes can claim any size.
const char* Open_Image::reason_to_refuse() const {
    if (static_cast<long long>(image_->xsize) * image_->ysize > std_limits.image_pixels)
        return "too large";
    return img_has_rows(image_) ? nullptr : "damaged";
}

bool Open_Image::start_reading(IMAGE* image) {
    image_ = image;
    if (!image_) return false;
    const char* const reason = reason_to_refuse();
    if (!reason) {
        make_room_for_rows();
        return true;
    }
    i_errhdlr("pixmap_open_read: image file is %s\n", reason);
    close();
    return false;
}

void Open_Image::start_writing(IMAGE* image) {
    image_ = image;
    if (image_) make_room_for_rows();
}

// The error of a delayed write is seen here at the latest.
bool Open_Image::close() {
    const bool is_complete = iclose(image_) == 0;
    std::free(image_);
    image_ = nullptr;
    std::free(rows_);
    rows_ = nullptr;
    return is_complete;
}

bool pixmap_open_read(const char* name) {
    i_seterror(print_error);
    return opened.start_reading(iopen(name, "r"));
}

bool pixmap_open_read(int descriptor) {
    i_seterror(print_error);
    IMAGE* const image = fiopen(descriptor, "r");
    if (!image) ::close(descriptor);
    return opened.start_reading(image);
}

static bool do_sizes_fit(int xsize, int ysize, int zsize) {
    const auto fits = [](int size) { return size >= 1 && size <= PIXMAP_MAX_SIZE; };
    if (fits(xsize) && fits(ysize) && fits(zsize)) return true;
    i_errhdlr("pixmap_open_write: %d x %d x %d do not fit an image file\n", xsize, ysize, zsize);
    return false;
}

// `open` opens the file for writing.
template<class Open>
static IMAGE* open_new(Open open, int xsize, int ysize, int zsize) {
    i_seterror(print_error);
    if (!do_sizes_fit(xsize, ysize, zsize)) return nullptr;
    return open("w", RLE(1), 3, static_cast<unsigned>(xsize), static_cast<unsigned>(ysize),
                static_cast<unsigned>(zsize));
}

void pixmap_open_write(const char* name, int xsize, int ysize, int zsize) {
    const auto open = [name](auto... how) { return iopen(name, how...); };
    opened.start_writing(open_new(open, xsize, ysize, zsize));
}

void pixmap_open_write(int descriptor, int xsize, int ysize, int zsize) {
    const auto open = [descriptor](auto... how) { return fiopen(descriptor, how...); };
    IMAGE* const image = open_new(open, xsize, ysize, zsize);
    if (!image) ::close(descriptor);
    opened.start_writing(image);
}

bool pixmap_is_open() {
    return opened.get() != nullptr;
}

bool pixmap_close() {
    return opened.close();
}

int pixmap_xsize() {
    return opened.get()->xsize;
}

int pixmap_ysize() {
    return opened.get()->ysize;
}

int pixmap_zsize() {
    return opened.get()->zsize;
}

static unsigned char low_byte(unsigned short value) {
    return static_cast<unsigned char>(value);
}

// What does not come is black; the other rows are none the worse.
bool Open_Image::get_channel(unsigned short* row, unsigned y, unsigned z) {
    return getrow(image_, row, y, z) >= 0;
}

// Row y of the channels that a file of this many has. Grey files leave only rbuf_ set. False if one
// of them could not be read.
bool Open_Image::get_channels(unsigned y) {
    bool are_read = get_channel(rbuf_, y, 0);
    switch (image_->zsize) {
    case 0:
    case 1:
        return are_read;
    case 2:
        return get_channel(abuf_, y, 1) && are_read;
    case 3:
        break;
    default:
        are_read = get_channel(abuf_, y, 3) && are_read;
    }
    are_read = get_channel(gbuf_, y, 1) && are_read;
    return get_channel(bbuf_, y, 2) && are_read;
}

// Weights of red, green and blue in 256ths; their sum is 256, so white stays white.
unsigned char Open_Image::luminance(int x) const {
    return static_cast<unsigned char>((rbuf_[x] * 79 + gbuf_[x] * 156 + bbuf_[x] * 21) >> 8);
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
[[gnu::target("ssse3")]] int Open_Image::shuffle_rgb_blocks(unsigned char* out, int count) const {
    const __m128i low_bytes = _mm_set1_epi16(0x00FF);
    const unsigned short* const channels[3] = {rbuf_, gbuf_, bbuf_};
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
int Open_Image::put_rgb_blocks([[maybe_unused]] unsigned char* out,
                               [[maybe_unused]] int count) const {
#if defined(__x86_64__)
    static const bool can_shuffle = __builtin_cpu_supports("ssse3");
    if (can_shuffle) return shuffle_rgb_blocks(out, count);
#endif
    return 0;
}

// One loop for each pair of file and pixels: the choices are made outside of it. With `Has_Color`
// false, grey stands in for the colours; with `Has_Alpha` false, 255 for the alpha.
template<int Component, bool Has_Color, bool Has_Alpha>
void Open_Image::put_pixels(unsigned char* out) const {
    const int xsize = image_->xsize;
    int x = 0;
    if constexpr (Component == 3 && Has_Color) x = put_rgb_blocks(out, xsize);
    for (out += x * Component; x < xsize; ++x, out += Component) {
        if constexpr (Component <= 2) {
            out[0] = Has_Color ? luminance(x) : low_byte(rbuf_[x]);
        } else {
            out[0] = low_byte(rbuf_[x]);
            out[1] = low_byte(Has_Color ? gbuf_[x] : rbuf_[x]);
            out[2] = low_byte(Has_Color ? bbuf_[x] : rbuf_[x]);
        }
        if constexpr (Component % 2 == 0) out[Component - 1] = Has_Alpha ? low_byte(abuf_[x]) : 255;
    }
}

template<int Component>
int Open_Image::load(unsigned char* pixels, std::ptrdiff_t row_stride) {
    // Two channels are grey and alpha, three the colours, four both; more are not looked at.
    const bool has_color = image_->zsize >= 3;
    const bool has_alpha = image_->zsize == 2 || image_->zsize >= 4;
    int bad_rows = 0;
    for (unsigned y = 0; y < image_->ysize; ++y, pixels += row_stride) {
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
    if (component == 1) bad_rows = opened.load<1>(pixels, row_stride);
    if (component == 2) bad_rows = opened.load<2>(pixels, row_stride);
    if (component == 3) bad_rows = opened.load<3>(pixels, row_stride);
    if (component == 4) bad_rows = opened.load<4>(pixels, row_stride);
    i_seterror(print_error);
    return bad_rows;
}

// Spreads the pixels of a row to the first zsize of the given channels.
template<int Zsize>
static void get_pixels(const unsigned char* in, int xsize,
                       unsigned short* const (&channels)[Zsize]) {
    for (int x = 0; x < xsize; ++x, in += Zsize)
        for (int c = 0; c < Zsize; ++c) channels[c][x] = in[c];
}

bool Open_Image::put_row(unsigned short* row, unsigned y, unsigned z) {
    return putrow(image_, row, y, z) >= 0;
}

// The order of the channels is that of the rows in the file.
bool Open_Image::put_channels(const unsigned char* pixels, unsigned y) {
    switch (image_->zsize) {
    case 1:
        get_pixels<1>(pixels, image_->xsize, {rbuf_});
        return put_row(rbuf_, y, 0);
    case 2:
        get_pixels<2>(pixels, image_->xsize, {rbuf_, abuf_});
        return put_row(rbuf_, y, 0) && put_row(abuf_, y, 1);
    case 3:
        get_pixels<3>(pixels, image_->xsize, {rbuf_, gbuf_, bbuf_});
        return put_row(bbuf_, y, 2) && put_row(gbuf_, y, 1) && put_row(rbuf_, y, 0);
    case 4:
        get_pixels<4>(pixels, image_->xsize, {rbuf_, gbuf_, bbuf_, abuf_});
        return put_row(bbuf_, y, 2) && put_row(gbuf_, y, 1) && put_row(rbuf_, y, 0) &&
               put_row(abuf_, y, 3);
    default:
        return true;
    }
}

bool Open_Image::save(const unsigned char* pixels, int row_stride) {
    // Rows of an encoded image are short: they are gathered, and written in large pieces.
    img_hold_writes(image_);
    // After a failure there is nothing to save: the file is given up by the caller.
    bool are_put = true;
    for (unsigned y = 0; are_put && y < image_->ysize; ++y, pixels += row_stride)
        are_put = put_channels(pixels, y);
    return img_release_writes(image_) && are_put;
}

bool pixmap_save(const unsigned char* pixels, int row_stride) {
    if (opened.get()) return opened.save(pixels, row_stride);
    std::fputs("can't open image in write mode\n", stderr);
    std::exit(0);
}
