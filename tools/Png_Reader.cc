// The library leaves its functions by longjmp when something is wrong. It comes out in run; nothing
// that has a destructor lives in the steps that are run.
#include "tools/Png_Reader.h"

#include <csetjmp>

#include <png.h>

#include "tools/Image_Raster.h"

namespace {
class Png_File {
public:
    Png_File(std::FILE* in, Image_Raster& raster, std::string& trouble)
        : in_(in), raster_(raster), trouble_(trouble),
          png_(png_create_read_struct(PNG_LIBPNG_VER_STRING, this, fail, ignore)),
          info_(png_ ? png_create_info_struct(png_) : nullptr) {}
    Png_File(const Png_File&) = delete;
    Png_File& operator=(const Png_File&) = delete;
    ~Png_File() { png_destroy_read_struct(&png_, &info_, nullptr); }

    bool read(long long most_pixels);

private:
    bool run(void (Png_File::*step)());
    void read_header();
    void read_rows();
    void read_end() { png_read_end(png_, nullptr); }
    // Warnings are about what is no matter here, as text and times.
    static void ignore(png_structp, png_const_charp) {}
    [[noreturn]] static void fail(png_structp png, png_const_charp message) {
        static_cast<Png_File*>(png_get_error_ptr(png))->trouble_ = message;
        png_longjmp(png, 1);
    }

    std::FILE* const in_;
    Image_Raster& raster_;
    std::string& trouble_;
    png_structp png_;
    png_infop info_;
    int passes_ = 0;
};
} // namespace

// False if the step was left early; the trouble is told then.
bool Png_File::run(void (Png_File::*step)()) {
    if (setjmp(png_jmpbuf(png_))) return false; // NOLINT(cert-err52-cpp)
    (this->*step)();
    return true;
}

void Png_File::read_header() {
    // What is read at once is lost at once where the file is cut.
    const std::size_t block = 512;
    png_set_compression_buffer_size(png_, block);
    png_init_io(png_, in_);
    png_read_info(png_, info_);
    png_set_expand(png_); // palettes, less than 8 bits, and the one colour that is transparent
    png_set_scale_16(png_);
    passes_ = png_set_interlace_handling(png_);
    png_read_update_info(png_, info_);
}

void Png_File::read_rows() {
    // Of an interlaced file the last pass but one completes the rows 0, 2, 4 ...
    const int second_to_last = passes_ - 2;
    for (int pass = 0; pass < passes_; ++pass)
        for (unsigned y = 0; y < raster_.height(); ++y) {
            png_read_row(png_, raster_.row(y), nullptr);
            if (pass == passes_ - 1 || (pass == second_to_last && y % 2 == 0)) raster_.note(y);
        }
}

bool Png_File::read(long long most_pixels) {
    if (!info_) {
        trouble_ = "no memory";
        return false;
    }
    if (!run(&Png_File::read_header)) return false;
    if (!raster_.resize(png_get_image_width(png_, info_), png_get_image_height(png_, info_),
                        png_get_channels(png_, info_), most_pixels)) {
        trouble_ = "the picture is too large";
        return false;
    }
    if (run(&Png_File::read_rows)) run(&Png_File::read_end);
    return raster_.missing_rows() < raster_.height();
}

bool png_read(std::FILE* in, long long most_pixels, Image_Raster* raster, std::string* trouble) {
    return Png_File(in, *raster, *trouble).read(most_pixels);
}
