#include "wdb/Scene_Items.h"

#include <cmath>
#include <cstddef>
#include <cstring>

#include "std/Std_Format.h"
#include "wdb/Scene_Buffer.h"
#include "wdb/WDB_Lex_Context.h"
#include "wdb/WDB_Line_List.h"
#include "wdb/WDB_Tri_List.h"

namespace {

// One row of a triangle: nine numbers, in three groups.
class Triangle_Row {
public:
    // Formatting costs far more than comparing, and a row often repeats another one.
    void set(const float* values) {
        // By the bits: 0 and -0 are equal numbers but not the same text.
        if (length_ != 0 && std::memcmp(values_, values, sizeof values_) == 0) return;
        std::memcpy(values_, values, sizeof values_);
        char* at = text_;
        for (int i = 0; i < 9; ++i) {
            if (i != 0) *at++ = ' ';
            if (i == 3 || i == 6) *at++ = ' ';
            at = std_format_f(at, values[i]);
        }
        length_ = static_cast<std::size_t>(at - text_);
        float sum = 0; // not a number if one of them is infinite or none
        for (int i = 0; i < 9; ++i) sum += values[i] * 0;
        is_finite_ = sum == 0;
    }
    bool is_finite() const { return is_finite_; }
    // The length of what was written.
    std::size_t write(Scene_Buffer& out, const char* before, const char* after) const {
        out.text(before).bytes(text_, length_).text(after);
        return length_ + std::strlen(before);
    }

private:
    float values_[9];
    std::size_t length_ = 0;
    bool is_finite_ = true;
    char text_[9 * STD_FORMAT_F_MAX + 10]; // 8 blanks and 2 more between the groups
};

// As the reader judges it: so short a normal says nothing.
bool is_too_short(const Vector& normal, float least) {
    return mag2(normal) < least;
}

char* append_ends(char* to, const char* before, const float* first, const float* second,
                  bool* are_finite) {
    to = stpcpy(to, before);
    for (const float* const end : {first, second}) {
        if (end == second) *to++ = ' ';
        for (int i = 0; i < 3; ++i) {
            *to++ = ' ';
            to = std_format_f(to, end[i]);
            *are_finite &= std::isfinite(end[i]);
        }
    }
    return to;
}

} // namespace

Scene_Item_Fault scene_write_triangle(Scene_Buffer& out, const WDB_Triangle& triangle,
                                      bool with_colors) {
    // Corners, normals, colours, texture points: nine contiguous floats each.
    float rows[4][9];
    static_assert(sizeof rows == sizeof triangle);
    std::memcpy(rows, &triangle, sizeof rows);
    // Texture points often are the normals once more, so the row of the colours must not come
    // between the two.
    Triangle_Row row, colors;
    bool are_finite = true;
    std::size_t length = 0;
    const auto write = [&](Triangle_Row& to, const float* values, const char* before,
                           const char* after) {
        to.set(values);
        length += to.write(out, before, after);
        are_finite &= to.is_finite();
    };
    write(row, rows[0], "  Triangle   p ", "\\\n");
    write(row, rows[1], "  n ", "\\\n");
    if (with_colors) write(colors, rows[2], "  c ", "\\\n");
    write(row, rows[3], "  t ", "\n");
    // The reader joins the rows and drops the blanks in front of each.
    const std::size_t blanks = with_colors ? 8 : 6;
    if (!are_finite) return SCENE_ITEM_INFINITE;
    if (length - blanks > WDB_Lex_Context::LONGEST_LINE) return SCENE_ITEM_TOO_LONG;
    const float least = 1e-8f;
    for (const Vector* normal : {&triangle.n0, &triangle.n1, &triangle.n2})
        if (is_too_short(*normal, least)) return SCENE_ITEM_NO_NORMAL;
    return SCENE_ITEM_GOOD;
}

Scene_Item_Fault scene_write_line(Scene_Buffer& out, const WDB_Line& line,
                                  const WDB_Line_List& list) {
    char text[4 * (6 * (STD_FORMAT_F_MAX + 1) + 10)];
    bool are_finite = true;
    char* end = append_ends(text, "  Line   p", &line.p0.x, &line.p1.x, &are_finite);
    if (list.get_with_normals()) end = append_ends(end, "  n", &line.n0.x, &line.n1.x, &are_finite);
    if (list.get_with_colors()) end = append_ends(end, "  c", &line.c0.r, &line.c1.r, &are_finite);
    if (list.get_with_textures())
        end = append_ends(end, "  t", &line.t0.x, &line.t1.x, &are_finite);
    const auto length = static_cast<std::size_t>(end - text);
    out.bytes(text, length).text("\n");
    if (!are_finite) return list.get_with_normals() ? SCENE_ITEM_INFINITE : SCENE_ITEM_MISREAD;
    if (length > WDB_Lex_Context::LONGEST_LINE) return SCENE_ITEM_TOO_LONG;
    const float least = 1e-5f;
    const bool has_zero = is_too_short(line.n0, least) || is_too_short(line.n1, least);
    return list.get_with_normals() && has_zero ? SCENE_ITEM_NO_NORMAL : SCENE_ITEM_GOOD;
}
