#include "tools/Vrml_Lines.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

#include "tools/Vrml_Budget.h"
#include "tools/Vrml_Report.h"
#include "tools/Vrml_Writer.h"

Vrml_Lines::Vrml_Lines(const Vrml_Face_Set& set, Vrml_Rows& points, std::string_view where,
                       Vrml_Report& report, Vrml_Budget& budget)
    : set_(set), where_(where), report_(report), budget_(budget), points_(points),
      colors_(set.colors.values, set.colors.width) {
    if (!budget_.spend(set_.coord_index.size(), where_)) return;
    // Points that no line uses may be anything.
    are_good_ = true;
    for (std::size_t i = 0; i < set_.coord_index.size(); ++i)
        for (std::size_t k = 0; k < 3 && is_point(i); ++k) {
            const double size =
                std::fabs(set_.points[3 * static_cast<std::size_t>(set_.coord_index[i]) + k]);
            are_good_ &= size <= static_cast<double>(FLT_MAX);
            extent_ = std::max(extent_, size);
        }
    if (!are_good_) report_.skip("shape beyond single precision", where_);
}

bool Vrml_Lines::is_point(std::size_t place) const {
    return place < set_.coord_index.size() && set_.coord_index[place] >= 0 &&
           set_.coord_index[place] < static_cast<double>(points_.count());
}

// Polylines become their pieces; a wrong index costs the two pieces that it would end.
std::string Vrml_Lines::write(Vrml_Writer& out, std::string_view wish) {
    std::string name;
    std::size_t line = 0, corner = 0;
    int bad = 0;
    for (std::size_t i = 0; i < set_.coord_index.size(); ++i) {
        // Also for what was no number.
        if (!(set_.coord_index[i] >= 0)) {
            ++line;
            continue;
        }
        bad += !is_point(i);
        if (is_point(i) && is_point(i + 1)) {
            if (!budget_.take_triangle(where_)) break;
            if (name.empty()) {
                name = out.new_name(wish);
                out.put("linelist " + name + " {\n");
            }
            write_line(out, i, line, corner);
        }
        ++corner;
    }
    if (!name.empty()) out.put("}\n");
    if (bad > 0) report_.skip("line with wrong indices", where_, bad);
    return name;
}

void Vrml_Lines::write_line(Vrml_Writer& out, std::size_t place, std::size_t line,
                            std::size_t corner) {
    out.put("  line p");
    for (const std::size_t i : {place, place + 1})
        out.put(points_.text(static_cast<std::size_t>(set_.coord_index[i])));
    const std::size_t a = set_.colors.row(line, place, corner),
                      b = set_.colors.row(line, place + 1, corner + 1);
    if (a != Vrml_Attribute::NO_ROW && b != Vrml_Attribute::NO_ROW) {
        out.put(" c");
        out.put(colors_.text(a));
        // One colour for both ends is written once.
        if (a != b) out.put(colors_.text(b));
    }
    out.put("\n");
}
