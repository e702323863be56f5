// A picture of 8 bit components on its way to the SGI format.
//
//     Image_Raster raster;
//     if (!raster.resize(640, 480, 3, most_pixels)) return complain();
//     read_into(raster.row(y)), raster.note(y);               // rows from the top
//     raster.turn(6);
//     raster.write_sgi(stdout);
//
// Rows that were not noted are left out of the file, whose reader then knows that they are damaged.
#ifndef TOOLS_IMAGE_RASTER_H
#define TOOLS_IMAGE_RASTER_H

#include <cstddef>
#include <cstdio>
#include <vector>

class Image_Raster {
public:
    // All black, no row noted. False for sizes that the format cannot tell, or that have more
    // pixels.
    bool resize(unsigned width, unsigned height, unsigned components, long long most_pixels);

    unsigned width() const { return width_; }
    unsigned height() const { return height_; }
    unsigned components() const { return components_; }

    // Requires: y < height().
    unsigned char* row(unsigned y) { return bytes_.data() + y * row_size(); }
    void note(unsigned y) { has_come_[y] = 1; }
    unsigned missing_rows() const;

    // As the orientation of a photograph, 1 to 8, says that it is to be looked at; others change
    // nothing. A picture on its side has all of its rows from then on.
    void turn(int orientation);

    // Big-endian, with each row for itself. On failure: false.
    bool write_sgi(std::FILE* out) const;

private:
    std::size_t row_size() const { return std::size_t{width_} * components_; }
    std::size_t encoded_size() const;
    bool write_header(std::FILE* out) const;
    bool write_tables(std::FILE* out) const;
    bool write_row(std::FILE* out, unsigned y, unsigned component) const;

    unsigned width_ = 0, height_ = 0, components_ = 0;
    std::vector<unsigned char> bytes_, has_come_;
};

#endif
