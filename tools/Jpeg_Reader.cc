// The library leaves its functions by longjmp when something is wrong. It comes out in run; nothing
// that has a destructor lives in the steps that are run.
#include "tools/Jpeg_Reader.h"

#include <csetjmp>
#include <cstdint>
#include <cstring>
#include <vector>

#include <jpeglib.h>
// Behind the other, which it needs.
#include <jerror.h>

#include "tools/Image_Raster.h"

namespace {
class Jpeg_File {
public:
    Jpeg_File(std::FILE* in, Image_Raster& raster, std::string& trouble);
    Jpeg_File(const Jpeg_File&) = delete;
    Jpeg_File& operator=(const Jpeg_File&) = delete;
    ~Jpeg_File() { jpeg_destroy_decompress(&info_); }

    bool read(long long most_pixels);

private:
    bool run(void (Jpeg_File::*step)());
    void create() { jpeg_create_decompress(&info_); }
    void read_header();
    void start();
    void read_rows();
    int orientation() const;
    void tell();
    static Jpeg_File& of(j_common_ptr info) { return *static_cast<Jpeg_File*>(info->client_data); }
    [[noreturn]] static void fail(j_common_ptr info);
    static void note_warning(j_common_ptr info, int level);
    static void stop_endless_scans(j_common_ptr info);

    std::FILE* const in_;
    Image_Raster& raster_;
    std::string& trouble_;
    jpeg_decompress_struct info_ = {};
    jpeg_error_mgr errors_ = {};
    jpeg_progress_mgr progress_ = {};
    std::jmp_buf back_;
    bool is_cut_ = false;
    std::vector<unsigned char> inks_; // a row of four inks
};
} // namespace

Jpeg_File::Jpeg_File(std::FILE* in, Image_Raster& raster, std::string& trouble)
    : in_(in), raster_(raster), trouble_(trouble) {
    info_.err = jpeg_std_error(&errors_);
    info_.client_data = this;
    errors_.error_exit = fail;
    errors_.emit_message = note_warning;
    progress_.progress_monitor = stop_endless_scans;
}

// The first trouble is the one that tells most.
void Jpeg_File::tell() {
    char message[JMSG_LENGTH_MAX];
    errors_.format_message(reinterpret_cast<j_common_ptr>(&info_), message);
    if (trouble_.empty()) trouble_ = message;
}

void Jpeg_File::fail(j_common_ptr info) {
    of(info).tell();
    std::longjmp(of(info).back_, 1); // NOLINT(cert-err52-cpp)
}

// Whether all of the picture came, in spite of that warning. Some programs leave bytes behind the
// data; what is left in front of a place to start anew tells that the data were not understood.
static bool is_harmless(const jpeg_error_mgr& warning) {
    switch (warning.msg_code) {
    case JWRN_ADOBE_XFORM:
    case JWRN_JFIF_MAJOR:
    case JWRN_NOT_SEQUENTIAL:
        return true;
    case JWRN_EXTRANEOUS_DATA: {
        const int marker = warning.msg_parm.i[1], restarts = 8;
        return marker < JPEG_RST0 || marker >= JPEG_RST0 + restarts;
    }
    default:
        return false;
    }
}

void Jpeg_File::note_warning(j_common_ptr info, int level) {
    // Those of 0 and more are traces, no warnings.
    if (level >= 0 || is_harmless(*info->err)) return;
    of(info).tell();
    of(info).is_cut_ |= info->err->msg_code == JWRN_JPEG_EOF;
}

// A small file may say that it goes over a large picture again and again.
void Jpeg_File::stop_endless_scans(j_common_ptr info) {
    const int most_scans = 500;
    if (reinterpret_cast<j_decompress_ptr>(info)->input_scan_number <= most_scans) return;
    of(info).trouble_ = "the picture has too many scans";
    std::longjmp(of(info).back_, 1); // NOLINT(cert-err52-cpp)
}

// False if the step was left early; the trouble is told then.
bool Jpeg_File::run(void (Jpeg_File::*step)()) {
    if (setjmp(back_)) return false; // NOLINT(cert-err52-cpp)
    (this->*step)();
    return true;
}

static const int orientation_marker = JPEG_APP0 + 1;

void Jpeg_File::read_header() {
    const unsigned longest_marker = 0xFFFF;
    info_.progress = &progress_;
    jpeg_stdio_src(&info_, in_);
    jpeg_save_markers(&info_, orientation_marker, longest_marker);
    jpeg_read_header(&info_, TRUE);
    if (info_.jpeg_color_space == JCS_GRAYSCALE) {
        info_.out_color_space = JCS_GRAYSCALE;
    } else if (info_.jpeg_color_space == JCS_CMYK || info_.jpeg_color_space == JCS_YCCK) {
        info_.out_color_space = JCS_CMYK;
    } else {
        info_.out_color_space = JCS_RGB;
    }
}

void Jpeg_File::start() {
    jpeg_start_decompress(&info_);
    // The whole of a progressive file has been read by now: what came of it is in every row.
    is_cut_ = false;
}

// Inks are stored as what is left of white, so that two of them over each other are a product.
static void mix(const unsigned char* inks, unsigned char* colors, unsigned width) {
    const unsigned black = 3, white = 255;
    for (unsigned x = 0; x < width; ++x, inks += 4)
        for (unsigned i = 0; i < 3; ++i)
            *colors++ = static_cast<unsigned char>((inks[i] * inks[black] + white / 2) / white);
}

void Jpeg_File::read_rows() {
    const bool has_inks = info_.out_color_space == JCS_CMYK;
    for (unsigned y = 0; y < raster_.height(); ++y) {
        JSAMPROW row = has_inks ? inks_.data() : raster_.row(y);
        if (jpeg_read_scanlines(&info_, &row, 1) != 1) return;
        // Behind the end of the file the library makes rows up.
        if (is_cut_) {
            std::memset(raster_.row(y), 0, std::size_t{raster_.width()} * raster_.components());
            continue;
        }
        if (has_inks) mix(inks_.data(), raster_.row(y), raster_.width());
        raster_.note(y);
    }
}

// Reads numbers in the byte order of a block of Exif.
namespace {
struct Exif_Bytes {
    const unsigned char* bytes;
    std::size_t size;
    bool is_little;

    std::uint32_t number(std::size_t at, unsigned width) const {
        if (at > size || size - at < width) return 0;
        std::uint32_t value = 0;
        for (unsigned i = 0; i < width; ++i)
            value = value << 8 | bytes[at + (is_little ? width - 1 - i : i)];
        return value;
    }
};
} // namespace

// 1 if the file does not tell.
int Jpeg_File::orientation() const {
    static const char mark[] = "Exif\0"; // and one zero more
    const std::size_t entry_size = 12;
    const std::uint32_t tag = 0x0112;
    for (const auto* m = info_.marker_list; m; m = m->next) {
        if (m->marker != orientation_marker || m->data_length < sizeof mark ||
            std::memcmp(m->data, mark, sizeof mark) != 0)
            continue;
        const unsigned char* const bytes = m->data + sizeof mark;
        const std::size_t size = m->data_length - sizeof mark;
        const Exif_Bytes exif = {bytes, size, size > 0 && bytes[0] == 'I'};
        const std::size_t directory = exif.number(4, 4);
        const std::uint32_t entries = exif.number(directory, 2);
        for (std::size_t i = 0; i < entries; ++i) {
            const std::size_t entry = directory + 2 + i * entry_size;
            if (exif.number(entry, 2) == tag) return static_cast<int>(exif.number(entry + 8, 2));
        }
    }
    return 1;
}

bool Jpeg_File::read(long long most_pixels) {
    if (!run(&Jpeg_File::create) || !run(&Jpeg_File::read_header)) return false;
    const unsigned components = info_.out_color_space == JCS_GRAYSCALE ? 1 : 3;
    if (!raster_.resize(info_.image_width, info_.image_height, components, most_pixels)) {
        trouble_ = "the picture is too large";
        return false;
    }
    inks_.resize(4 * std::size_t{raster_.width()});
    if (!run(&Jpeg_File::start)) return false;
    run(&Jpeg_File::read_rows);
    if (raster_.missing_rows() == raster_.height()) return false;
    raster_.turn(orientation());
    return true;
}

bool jpeg_read(std::FILE* in, long long most_pixels, Image_Raster* raster, std::string* trouble) {
    return Jpeg_File(in, *raster, *trouble).read(most_pixels);
}
