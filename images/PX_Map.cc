#include "images/PX_Map.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "images/Foreign_Image.h"
#include "images/PX_Map_Scale.h"
#include "images/pix_support.h"
#include "std/Std_Assert.h"
#include "std/Std_Common.h"
#include "std/Std_Descriptor.h"
#include "std/Std_Load_Budget.h"
#include "std/Std_Output_File.h"
#include "std/Std_URL.h"

// -1 for a size that is negative or does not fit an int.
static long long byte_count(int width, int height, int component) {
    if (width < 0 || height < 0 || component < 0) return -1;
    const long long pixels = static_cast<long long>(width) * height;
    if (pixels > INT_MAX || pixels * component > INT_MAX) return -1;
    return pixels * component;
}

// The bytes of such an image; a fatal report if there cannot be one.
static std::size_t require_pixels(int width, int height, int component) {
    const long long count = byte_count(width, height, component);
    if (count >= 0) return static_cast<std::size_t>(count);
    std_assert(-1, str_format("An image of %d x %d x %d cannot be made", width, height, component),
               __FILE__, __LINE__);
    return 0; // never
}

static unsigned char* new_pixels(int width, int height, int component) {
    return new (GCAtomic) unsigned char[require_pixels(width, height, component)];
}

PX_Map::PX_Map(int width, int height, int component)
    : width_(width), height_(height), component_(component),
      pixels_(new_pixels(width, height, component)) {}

PX_Map::PX_Map(const PX_Map& other)
    : Std_Obj(other), width_(other.width_), height_(other.height_), component_(other.component_),
      pixels_(new_pixels(width_, height_, component_)), source_(other.source_),
      is_complete_(other.is_complete_) {
    std::memcpy(pixels_, other.pixels_, static_cast<std::size_t>(at(0, height_)));
}

PX_Map& PX_Map::operator=(const PX_Map& other) {
    if (this == &other) return *this;
    // The copy first: if it cannot be made, this map is not left half changed.
    const PX_Map copy(other);
    width_ = copy.width_;
    height_ = copy.height_;
    component_ = copy.component_;
    pixels_ = copy.pixels_;
    source_ = copy.source_;
    is_complete_ = copy.is_complete_;
    touch();
    return *this;
}

PX_Map::PX_Map(Std_URL* url, int component) : PX_Map(0, 0, 0) {
    load(url, component);
}

PX_Map::PX_Map(const char* url, int component) : PX_Map(0, 0, 0) {
    Std_URL* const document = new Std_URL(url);
    load(document, component);
    delete document;
}

void PX_Map::load_error(const char* message, int component) {
    const int dummy_size = 4;
    // A picture that shows at a glance that something is missing, but lets the scene go on.
    const unsigned char grey = 0x80;
    std::fprintf(stderr, "PX_Map: LOAD ERROR - %s\nPX_Map: CREATING DUMMY IMAGE\n", message);
    width_ = height_ = dummy_size;
    component_ = component < 1 || byte_count(dummy_size, dummy_size, component) < 0 ? 1 : component;
    pixels_ = new_pixels(width_, height_, component_);
    is_complete_ = false;
    std::memset(pixels_, grey, static_cast<std::size_t>(width_) * height_ * component_);
}

static bool copy_document(Std_URL* from, int to) {
    char block[8192]; // on stacks of threads, which may be small
    while (const std::size_t got = from->read(block, sizeof block))
        if (!std_store(to, block, got)) return false;
    return true;
}

// The rows of an image file are read in any order, so the document, which may be a pipe, is stored
// first.
void PX_Map::load(Std_URL* url, int component) {
    source_ = str_new(url->get_url_string());
    is_complete_ = true;
    touch();
    url->open();
    if (!url->is_open()) {
        load_error("Unable to get url", component);
        return;
    }
    int store = std_open_nameless();
    const char* error = nullptr;
    if (store < 0) {
        error = "Unable to open local tmpfile";
    } else if (!copy_document(url, store)) {
        error = "Problem writing to tmpfile";
        ::close(store);
    }
    // Closing may report that the document was not whole; the rows that came are tried all the
    // same.
    url->close();
    bool is_converted = true;
    if (!error && is_foreign_image(store)) {
        store = converted_image(store, source_, &is_converted);
        if (store < 0) error = "Unable to convert image";
    }
    if (!error) error = load_file(store, component);
    if (error) load_error(error, component);
    if (!url->is_whole() || !is_converted) is_complete_ = false;
}

// Null, or what went wrong; the map is then as it was. Rows that cannot be read are black.
const char* PX_Map::load_file(int descriptor, int component) {
    const char* const error = "Image not found";
    const int most_channels = 4;
    if (!pixmap_open_read(descriptor)) return error;
    const int width = pixmap_xsize(), height = pixmap_ysize();
    // More channels than four have no meaning here; a caller who asks for none gets what the file
    // has.
    if (component == 0) component = std::min(pixmap_zsize(), most_channels);
    if (byte_count(width, height, component) < 0) {
        pixmap_close();
        return error;
    }
    width_ = width;
    height_ = height;
    component_ = component;
    pixels_ = new_pixels(width, height, component);
    const int bad_rows = pixmap_load(pixels_, component, width * component);
    pixmap_close();
    is_complete_ = bad_rows == 0;
    if (!is_complete_)
        std_assert(0,
                   str_format("PX_Map: %d of %d rows are damaged in %s", bad_rows, height, source_),
                   __FILE__, __LINE__);
    return nullptr;
}

static bool refuse_save(const char* file_name, int error) {
    std_assert(2,
               str_format("Unable to save image %s%s%s", file_name, error ? ": " : "",
                          error ? std::strerror(error) : ""),
               __FILE__, __LINE__);
    return false;
}

bool PX_Map::save(const char* file_name) {
    Std_Output_File file;
    if (!save(file_name, file)) return false;
    Std_Output_File* const files[] = {&file};
    return Std_Output_File::commit_all(files, 1) || refuse_save(file_name, errno);
}

bool PX_Map::save(const char* file_name, Std_Output_File& file) {
    const int most_channels = 4;
    errno = 0; // what has no reason of the system's own says so before
    if (component_ < 1 || component_ > most_channels ||
        !file.open(file_name, Std_Output_File::REPLACE_LINKS))
        return refuse_save(file_name, errno);
    // Above the standard ones: errors of the image are not to land in it.
    const int copy = fcntl(file.descriptor(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    pixmap_open_write(copy, width_, height_, component_);
    bool is_written = pixmap_is_open();
    if (is_written) {
        // The first thing that fails gives the reason, but all is closed.
        is_written = pixmap_save(pixels_, width_ * component_);
        const int error = errno;
        if (pixmap_close() || !is_written) {
            errno = error;
        } else {
            is_written = false;
        }
    }
    if (is_written && file.prepare()) return true;
    const int error = errno;
    file.discard();
    return refuse_save(file_name, error);
}

void PX_Map::get_row_in(unsigned char* out, int y) const {
    std::memcpy(out, pixels_ + at(0, y), static_cast<std::size_t>(width_) * component_);
}

void PX_Map::get_column_in(unsigned char* out, int x) const {
    for (int y = 0; y < height_; ++y, out += component_)
        std::memcpy(out, pixels_ + at(x, y), static_cast<std::size_t>(component_));
}

// The filters. Which steps run in double precision decides the last bit of a pixel.

static float box_filter(float t) {
    return t > -0.5f && t <= 0.5f ? 1.0f : 0.0f;
}

// The difference in double precision, so that a distance just below 1 keeps a weight.
static float triangle_filter(float t) {
    const float distance = std::fabs(t);
    return distance < 1.0f ? static_cast<float>(1.0 - static_cast<double>(distance)) : 0.0f;
}

static float bell_filter(float t) {
    if (t < -1.5f) return 0.0f;
    if (t < -0.5f) {
        const double d = static_cast<double>(t) + 1.5;
        return static_cast<float>(0.5 * d * d);
    }
    if (t < 0.5f) return static_cast<float>(0.75 - static_cast<double>(t * t));
    if (t < 1.5f) {
        const double d = static_cast<double>(t) - 1.5;
        return static_cast<float>(d * 0.5 * d);
    }
    return 0.0f;
}

static float bspline_filter(float t) {
    const float distance = std::fabs(t);
    const float square = distance * distance;
    const double tt = static_cast<double>(square);
    if (distance < 1.0f)
        return static_cast<float>(0.5 * tt * static_cast<double>(distance) - tt + 2.0 / 3.0);
    if (distance < 2.0f) {
        const float u = static_cast<float>(2.0 - static_cast<double>(distance));
        return static_cast<float>(static_cast<double>(u * u * u) * (1.0 / 6.0));
    }
    return 0.0f;
}

PX_Map::Filter PX_Map::get_box_filter() const {
    return box_filter;
}
PX_Map::Filter PX_Map::get_triangle_filter() const {
    return triangle_filter;
}
PX_Map::Filter PX_Map::get_bell_filter() const {
    return bell_filter;
}
PX_Map::Filter PX_Map::get_bspline_filter() const {
    return bspline_filter;
}

void PX_Map::resize(int new_width, int new_height) {
    resize(new_width, new_height, get_default_filter(), get_default_filter_width());
}

// The old picture goes at once: pictures are large, and the collector may take its time.
void PX_Map::resize(int new_width, int new_height, Filter filter, int filter_width) {
    if (new_width < 1 || new_height < 1 || width_ < 1 || height_ < 1)
        std_assert(-1,
                   str_format("An image of %d x %d cannot be resized to %d x %d", width_, height_,
                              new_width, new_height),
                   __FILE__, __LINE__);
    require_pixels(new_width, height_, component_); // the image between the passes
    unsigned char* const result = new_pixels(new_width, new_height, component_);
    if (component_ > 0)
        px_map_scale(pixels_, width_, height_, component_, result, new_width, new_height, filter,
                     filter_width);
    std_release(pixels_);
    pixels_ = result;
    width_ = new_width;
    height_ = new_height;
    touch();
}

void PX_Map::texture_align() {
    const float aligned = 0.0001f;
    // Quotients of single-precision logarithms are whole numbers only nearly; `aligned` is as near
    // as they come for sizes that are powers of two.
    const auto log2_of = [](int size) { return logf(static_cast<float>(size)) / logf(2.0f); };
    const auto rounded = [](float value) {
        return static_cast<float>(std::floor(static_cast<double>(value) + 0.5));
    };
    const float lw = log2_of(width_), lh = log2_of(height_);
    // The largest power is 2^31: no int, and 0 is refused.
    const auto power_of_two = [](float exponent) {
        return exponent > 30 ? 0 : static_cast<int>(powf(2.0f, exponent));
    };
    const float rw = rounded(lw), rh = rounded(lh);
    // Both sizes change if one must, to the nearest powers in the sense of their logarithms.
    if (std::fabs(lw - rw) > aligned || std::fabs(lh - rh) > aligned)
        resize(power_of_two(rw), power_of_two(rh), get_bell_filter(), get_default_filter_width());
}
