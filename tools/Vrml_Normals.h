// Smooth normals of a face set: at each corner the mean of the faces there whose direction is
// within the crease angle of the corner's own face, each by its angle.
#ifndef TOOLS_VRML_NORMALS_H
#define TOOLS_VRML_NORMALS_H

#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "tools/Vrml_Face_Set.h"

class Vrml_Budget;
class Vrml_Report;

class Vrml_Normals {
public:
    Vrml_Normals(Vrml_Report& report, Vrml_Budget& budget) : report_(report), budget_(budget) {}

    // Makes them. Of a corner whose face has no smooth neighbour the normal is the face's own.
    void make(const Vrml_Face_Set& set, std::span<const Vrml_Face> faces, std::string_view where);

    bool is_made() const { return !rows_.empty(); }
    std::span<const double> values() const { return values_; }
    // The row of values for the corner at `place` in the coordinate index; NO_ROW where the face is
    // flat.
    std::size_t row(std::size_t place) const {
        return rows_[place] == FLAT ? Vrml_Attribute::NO_ROW : rows_[place];
    }

private:
    using Vector = std::array<float, 3>;
    static constexpr std::uint32_t FLAT = 0xFFFFFFFF;

    void measure_faces(const Vrml_Face_Set& set, std::span<const Vrml_Face> faces);
    void sort_corners(const Vrml_Face_Set& set, std::span<const Vrml_Face> faces);
    void smooth_point(std::span<const std::uint32_t> corners, float least_cosine);
    bool is_flat_around(std::span<const std::uint32_t> corners) const;

    Vrml_Report& report_;
    Vrml_Budget& budget_;
    std::vector<Vector> directions_;              // of the faces; zero for such without area
    std::vector<float> angles_;                   // by place
    std::vector<std::uint32_t> face_of_;          // by place
    std::vector<std::uint32_t> starts_, corners_; // places by point, a run for each
    std::vector<std::uint32_t> rows_;             // by place
    std::vector<double> values_;
};

#endif
