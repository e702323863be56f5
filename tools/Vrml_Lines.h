// Indexed lines as a line list of the scene.
#ifndef TOOLS_VRML_LINES_H
#define TOOLS_VRML_LINES_H

#include <string>
#include <string_view>

#include "tools/Vrml_Face_Set.h"
#include "tools/Vrml_Rows.h"

class Vrml_Budget;
class Vrml_Report;
class Vrml_Writer;

class Vrml_Lines {
public:
    // Points and coordinate index count, and the colours that the set holds: a face is a line with
    // corners. Lifetime: what the set points at must outlive this, and so must `points`, the rows
    // of its points.
    Vrml_Lines(const Vrml_Face_Set& set, Vrml_Rows& points, std::string_view where,
               Vrml_Report& report, Vrml_Budget& budget);

    // False, which is told, if a coordinate is beyond single precision.
    bool are_good() const { return are_good_; }
    double extent() const { return extent_; }

    // The name of the list, made of `wish`; or "", with nothing written, if there are no lines.
    // Requires: are_good. Once.
    std::string write(Vrml_Writer& out, std::string_view wish);

private:
    bool is_point(std::size_t place) const;
    void write_line(Vrml_Writer& out, std::size_t place, std::size_t line, std::size_t corner);

    const Vrml_Face_Set set_;
    const std::string_view where_;
    Vrml_Report& report_;
    Vrml_Budget& budget_;
    bool are_good_ = false;
    double extent_ = 0;
    Vrml_Rows& points_;
    Vrml_Rows colors_;
};

#endif
