// The blocks of a scene file that list triangles and lines.
#include "math/Geometry.h"
#include "wdb/Item_Pile.h"
#include "wdb/WDB_Lex_Context.h"
#include "wdb/WDB_Line_List.h"
#include "wdb/WDB_Sym_Context.h"
#include "wdb/WDB_Tri_List.h"
#include "wdb/wdb_load.h"

namespace {
enum Normals { AS_THEY_ARE, TOO_SHORT, SCALED };
} // namespace

static const float nearly_unit = 0.99f; // squared length; longer ones are not touched

// Brings normals to unit length if any of them is shorter; too short for that is a squared length
// below `floor`.
template<int Count>
static Normals mend_normals(Vector* const (&normals)[Count], float floor) {
    bool all_unit = true, any_zero = false;
    for (const Vector* n : normals) {
        const float square = mag2(*n);
        if (square < nearly_unit) all_unit = false;
        if (square < floor) any_zero = true;
    }
    if (all_unit) return AS_THEY_ARE;
    // What is left of so short a vector is mostly rounding: scaled up, it would point anywhere.
    if (any_zero) return TOO_SHORT;
    for (Vector* n : normals) n->normalize();
    return SCALED;
}

static WDB_Tri_List* new_tri_list(const char* name, Item_Pile<WDB_Triangle>& pile,
                                  bool with_colors) {
    auto* const list = new WDB_Tri_List(pile.count(), [&](WDB_Triangle* to) { pile.pour(to); });
    list->begin_editing();
    list->set_name(name);
    list->set_with_colors(with_colors);
    list->end_editing();
    return list;
}

void try_get_trilist(WDB_Lex_Context& lex, WDB_Sym_Context& sym) {
    if (!lex.try_get_header("trianglelist")) return;
    const float floor = 1e-8f;
    bool any_colored = false;
    Item_Pile<WDB_Triangle> triangles;
    // Dropped without a word: a large mesh may have thousands that have no area, and so no normal.
    const auto take = [&](WDB_Triangle triangle, bool is_colored) {
        if (mend_normals<3>({&triangle.n0, &triangle.n1, &triangle.n2}, floor) == TOO_SHORT) return;
        triangles.push(triangle);
        any_colored |= is_colored;
    };
    // A bad triangle ends this, and the rest of the block goes with it.
    lex.try_get_triangles("triangle", sym.get_unit_factor(), take);
    lex.check_close("Unknown trilist field");
    if (triangles.count() == 0) {
        lex.show_error("empty triangle list or all triangles skipped");
    } else {
        sym.put_geometry(new_tri_list(lex.get_last_header(), triangles, any_colored));
    }
}

static WDB_Line_List* new_line_list(const char* name, Item_Pile<WDB_Line>& pile, bool with_colors,
                                    bool with_normals, bool with_textures) {
    auto* const list = new WDB_Line_List(pile.count(), [&](WDB_Line* to) { pile.pour(to); });
    list->begin_editing();
    list->set_name(name);
    list->set_with_colors(with_colors);
    list->set_with_normals(with_normals);
    list->set_with_textures(with_textures);
    list->end_editing();
    return list;
}

// Appends the last line, with normals that are good.
static void append_line(const WDB_Lex_Context& lex, Item_Pile<WDB_Line>& lines) {
    const float floor = 1e-5f;
    WDB_Line line = lex.get_last_line();
    switch (mend_normals<2>({&line.n0, &line.n1}, floor)) {
    case TOO_SHORT:
        lex.show_error_near("last line", "skipping because of zero-length normal");
        return;
    case SCALED:
        lex.show_error_near("last line", "non-unit normal renormalized");
        break;
    case AS_THEY_ARE:
        break;
    }
    lines.push(line);
}

void try_get_linelist(WDB_Lex_Context& lex, WDB_Sym_Context& sym) {
    if (!lex.try_get_header("linelist")) return;
    bool any_colored = false, any_lighted = false, any_textured = false;
    Item_Pile<WDB_Line> lines;
    while (lex.try_get_line("line", sym.get_unit_factor())) {
        // Those of lines that are dropped count, too.
        any_colored |= lex.get_last_line_is_colored();
        any_lighted |= lex.get_last_line_is_lighted();
        any_textured |= lex.get_last_line_is_textured();
        append_line(lex, lines);
    }
    lex.check_close("Unknown linelist field");
    if (lines.count() == 0) {
        lex.show_error("empty line list or skipped all lines");
    } else {
        sym.put_geometry(
            new_line_list(lex.get_last_header(), lines, any_colored, any_lighted, any_textured));
    }
}
