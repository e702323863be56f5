// Raster image of 8-bit components: loaded from any URL, saved as an SGI image file, resampled.
//
//     PX_Map* map = new PX_Map("http://host/roof.rgb.gz", 3);      // RGB, whatever the file holds
//     map->texture_align();                                        // sizes become powers of two
//     map->save("roof.rgb");
//
// Component c of pixel (x, y) stands at (y * width + x) * component + c: red, green, blue, alpha
// for 3 and 4 components, grey, alpha for 1 and 2. Row 0 is the first row of the file, the bottom
// of the picture.
//
// Loading never fails for the caller: what cannot be loaded becomes a grey image of 4 by 4 pixels,
// with a message on the standard error stream. Of a damaged or cut file the rows that can be read
// are kept, the others are black, and a report tells how many. The pixels are collected,
// pointer-free memory.
#ifndef IMAGES_PX_MAP_H
#define IMAGES_PX_MAP_H

#include <cstddef>
#include <cstdint>

#include "std/Std_Obj.h"

class Std_Output_File;
class Std_URL;

class PX_Map : public Std_Obj {
    STD_OBJ_CLASS(PX_Map, Std_Obj)

    // Weight at a distance in source pixels.
    using Filter = float (*)(float);

    // All zero.
    // On failure: a fatal report, for sizes that are negative or whose product does not fit an int.
    PX_Map(int width, int height, int component);
    // A copy has pixels of its own.
    PX_Map(const PX_Map& other);
    PX_Map& operator=(const PX_Map& other);
    PX_Map(Std_URL* url, int component);
    PX_Map(const char* url, int component);

    // `component` 0 means as many as the file has, but at most 4; 1 to 4 converts; for more the
    // pixels stay zero. The URL is closed afterwards.
    void load(Std_URL* url, int component);

    // Run-length encoded. A file that bears the name is replaced at the end, and so is a link.
    // On failure: false and a warning, and the old file is as it was; so also for more than 4
    // components.
    bool save(const char* file_name);
    // The same up to Std_Output_File::prepare, for files that get their places together.
    bool save(const char* file_name, Std_Output_File& file);

    // Whether the last load read the whole picture, of a whole document, or the program has
    // completed it; true if there was no load.
    bool is_complete() const { return is_complete_; }
    void set_complete() { is_complete_ = true; }
    // The text of the URL of the last load, or "".
    const char* get_source() const { return source_; }

    int get_width() const { return width_; }
    int get_height() const { return height_; }
    int get_component() const { return component_; }
    // Lifetime: until load or resize. Who writes there says so by touch.
    unsigned char* get_pixels() const { return pixels_; }

    // Another number after each change of the picture: load, resize and texture_align, an
    // assignment, put_pixel_component, touch.
    std::uint64_t get_change_count() const { return change_count_; }
    void touch() { ++change_count_; }

    // Requires: x, y and c inside the image.
    unsigned char get_pixel_component(int x, int y, int c) const { return pixels_[at(x, y) + c]; }
    void put_pixel_component(unsigned char value, int x, int y, int c) {
        pixels_[at(x, y) + c] = value;
        touch();
    }

    // Copy row y, or column x from row 0 up.
    // Requires: room for width * component bytes, or height * component.
    void get_row_in(unsigned char* out, int y) const;
    void get_column_in(unsigned char* out, int x) const;

    // Filters with supports of 0.5, 1, 1.5 and 2 pixels. The default is the triangle, with width 3.
    int get_default_filter_width() const { return 3; }
    Filter get_default_filter() const { return get_triangle_filter(); }
    Filter get_box_filter() const;
    Filter get_triangle_filter() const;
    Filter get_bell_filter() const;
    Filter get_bspline_filter() const;

    // Scales to the new size. `filter_width` is the reach of the filter on either side, in pixels
    // of the source, or of the target where the image shrinks; the image is mirrored at its ends.
    // Weights are not normalised; what leaves 0 to 255 is clamped.
    // On failure: a fatal report, for sizes below 1 or whose product does not fit an int.
    void resize(int new_width, int new_height);
    void resize(int new_width, int new_height, Filter filter, int filter_width);

    // Brings each size to the nearest power of two, in the logarithm, with the bell filter.
    // On failure: a fatal report, as of resize.
    void texture_align();

private:
    std::ptrdiff_t at(int x, int y) const {
        return (static_cast<std::ptrdiff_t>(y) * width_ + x) * component_;
    }
    void load_error(const char* message, int component);
    const char* load_file(int descriptor, int component);

    int width_;
    int height_;
    int component_;
    unsigned char* pixels_;
    const char* source_ = "";
    bool is_complete_ = true;
    std::uint64_t change_count_ = 0;
};

#endif
