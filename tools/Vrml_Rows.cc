#include "tools/Vrml_Rows.h"

#include "std/Std_Format.h"
#include "tools/Vrml_Writer.h"

const Vrml_Rows::Text& Vrml_Rows::format(std::size_t i) {
    const double* const v = &values_[i * width_];
    double row[3] = {v[0], width_ > 1 ? v[1] : 0, width_ > 2 ? v[2] : 0};
    // Texture points lie in a plane: no third number takes part, and the third row moves nothing.
    if (has_place_) {
        for (std::size_t k = 0; k < 2; ++k)
            row[k] = v[0] * place_.m[0][k] + v[1] * place_.m[1][k] + place_.m[3][k];
    }
    char text[3 * VRML_LONGEST_NUMBER + STD_FORMAT_F_MAX];
    char* end = text;
    for (const double number : row) end = vrml_put_number(end, number);
    // By its place, not by a pointer: the text of all rows moves as it grows.
    texts_[i] = {static_cast<std::uint32_t>(all_.size()), static_cast<std::uint32_t>(end - text)};
    all_.append(text, end);
    return texts_[i];
}
