// A face set as a triangle list of the scene.
//
//     Vrml_Faces faces(set, node.type, report, budget);
//     if (faces.are_good()) name = faces.write(out, "faces");
#ifndef TOOLS_VRML_FACES_H
#define TOOLS_VRML_FACES_H

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "tools/Vrml_Cutter.h"
#include "tools/Vrml_Face_Set.h"
#include "tools/Vrml_Normals.h"
#include "tools/Vrml_Place.h"
#include "tools/Vrml_Rows.h"

class Vrml_Budget;
class Vrml_Report;
class Vrml_Writer;

class Vrml_Faces {
public:
    // Finds the faces that are good, and tells the others. `where` is what reports name the line
    // of. Lifetime: what the set points at must outlive this, and so must `points`, the rows of its
    // points.
    Vrml_Faces(const Vrml_Face_Set& set, Vrml_Rows& points, std::string_view where,
               Vrml_Report& report, Vrml_Budget& budget);

    // Whether there are any, and all their points are within single precision, which is told.
    bool are_good() const { return are_good_; }
    // No coordinate is larger.
    double extent() const { return extent_; }

    void set_texture_transform(const Vrml_Place& place) { texture_points_.set_transform(place); }

    // The name of the list, made of `wish`; or "", with nothing written, if all faces are without
    // area. Requires: are_good. Once.
    std::string write(Vrml_Writer& out, std::string_view wish);

private:
    struct Corner {
        std::size_t place, number; // in the coordinate index, and among all corners
    };
    using Corners = std::array<Corner, 3>;

    void find_faces();
    bool are_points_good();
    void straighten_normals();
    void write_face(Vrml_Writer& out, const Vrml_Face& face);
    bool write_triangle(Vrml_Writer& out, const Vrml_Face& face, const Corners& corners);
    bool write_normals(Vrml_Writer& out, const Vrml_Face& face, const Corners& corners,
                       const double* flat, bool is_flat_needed);
    bool is_zero(std::size_t normal) const;
    void write_rows(Vrml_Writer& out, std::string_view letter, const Vrml_Attribute& attribute,
                    Vrml_Rows& rows, const Vrml_Face& face, const Corners& corners);
    std::size_t point(std::size_t place) const {
        return static_cast<std::size_t>(set_.coord_index[place]);
    }

    Vrml_Face_Set set_;
    const std::string_view where_;
    Vrml_Report& report_;
    Vrml_Budget& budget_;
    bool are_good_ = false;
    double extent_ = 0;
    std::vector<Vrml_Face> faces_;
    Vrml_Normals smooth_;
    Vrml_Cutter cutter_;
    std::vector<double> straight_normals_;
    Vrml_Rows& points_;
    Vrml_Rows normals_, colors_, texture_points_;
    std::vector<Vrml_Cutter::Point> corners_; // of the face that is cut
    // To be told.
    int empty_faces_ = 0, bad_normals_ = 0, bad_colors_ = 0, bad_texture_points_ = 0;
    std::string_view wish_;
    std::string name_; // once the list is begun
};

#endif
