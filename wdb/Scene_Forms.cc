// Forms are read as sscanf would: white space counts for nothing, and what follows a form may be
// anything. Most lines are plain numbers, for which std_scan_row gives the same at once.
#include "wdb/Scene_Forms.h"

#include <cstring>

#include "std/Std_Common.h"
#include "std/Std_Scan.h"
#include "std/Std_Space.h"

namespace scene_forms {

int scan_numbers(const char* text, float* n, int count) {
    const char* plain = text;
    if (std_scan_row(&plain, n, count)) return count;
    int found = 0;
    while (found < count && std_scan_f(&text, n + found)) ++found;
    return found;
}

// A word and `count` numbers. On failure: false, and nothing is moved.
static bool scan_section(const char** text, const char* word, float* n, int count) {
    const char* p = *text;
    while (std_is_space(*p)) ++p;
    for (; *word; ++p, ++word)
        if (*p != *word) return false;
    for (int i = 0; i < count; ++i)
        if (!std_scan_f(&p, n + i)) return false;
    *text = p;
    return true;
}

// The nine forms of a frame beside the matrix, by the first letters of their parts, with h for
// shear. The numbers of the parts follow each other. The first form that is full wins, so those
// that begin alike stand longest first.
static const char* const frame_forms[] = {"shrt", "srt", "rt", "st", "sr", "t", "r", "s", "h"};

static bool scan_parts(const char* text, const char* parts, float* n) {
    for (; *parts; ++parts, n += 3) {
        const char letter[] = {*parts, '\0'};
        if (!scan_section(&text, *parts == 'h' ? "sh" : letter, n, 3)) return false;
    }
    return true;
}

static bool scan_matrix(const char* text, float* n) {
    const int count = 12;
    if (*text != 'm') return false;
    const char* plain = text + 1;
    if (std_scan_row(&plain, n, count)) return true;
    return scan_section(&text, "m", n, count);
}

static Frame rotation_of(const float* degrees) {
    return Frame::rotation(2, deg_to_rad(degrees[2])) * Frame::rotation(1, deg_to_rad(degrees[1])) *
           Frame::rotation(0, deg_to_rad(degrees[0]));
}

// The factors are taken one by one from the left; a rotation is three of them.
static Frame frame_of(const char* parts, const float* n) {
    Frame frame;
    for (const char* part = parts; *part; ++part, n += 3) {
        // Not from the identity on: a product with it would turn -0 into 0.
        if (*part == 'r' && part == parts) {
            frame = rotation_of(n);
        } else if (*part == 'r') {
            frame = frame * Frame::rotation(2, deg_to_rad(n[2]));
            frame = frame * Frame::rotation(1, deg_to_rad(n[1]));
            frame = frame * Frame::rotation(0, deg_to_rad(n[0]));
        } else {
            const Frame factor = *part == 's'   ? Frame::scaling(n[0], n[1], n[2])
                                 : *part == 'h' ? Frame::shear(n[0], n[1], n[2])
                                                : Frame::translation(n[0], n[1], n[2]);
            frame = part == parts ? factor : frame * factor;
        }
    }
    return frame;
}

bool scan_frame(const char* text, HFrame* frame) {
    float n[12];
    if (scan_matrix(text, n)) {
        *frame = HFrame(Homogeneous(n[0], n[1], n[2], 0), Homogeneous(n[3], n[4], n[5], 0),
                        Homogeneous(n[6], n[7], n[8], 0), Homogeneous(n[9], n[10], n[11], 1));
        return true;
    }
    for (const char* const parts : frame_forms) {
        if (!scan_parts(text, parts, n)) continue;
        *frame = HFrame(frame_of(parts, n));
        return true;
    }
    return false;
}

// Passes white space, and counts joints, where a backslash ends a physical line. In the current
// line there are blanks alone.
static const char* skip_joints(const char* text, Corner_Sections* s) {
    for (;; ++s->joints) {
        while (std_is_space(*text) && *text != '\n') ++text;
        if (text[0] != '\\' || text[1] != '\n') return text;
        text += 2;
    }
}

static bool scan_letter(const char** text, char letter, Corner_Sections* s) {
    *text = skip_joints(*text, s);
    if (**text != letter) return false;
    ++*text;
    return true;
}

const char* scan_plain_sections(const char* text, int length, Corner_Sections* s) {
    s->joints = s->colors = 0;
    if (!scan_letter(&text, 'p', s) || !std_scan_row(&text, s->p, length)) return nullptr;
    s->has_n = scan_letter(&text, 'n', s);
    if (s->has_n && !std_scan_row(&text, s->n, length)) return nullptr;
    if (scan_letter(&text, 'c', s)) {
        const int single_color = 3;
        if (!std_scan_row(&text, s->c, single_color)) return nullptr;
        const bool is_full = std_scan_row(&text, s->c + single_color, length - single_color);
        s->colors = is_full ? length : single_color;
    }
    s->has_t = scan_letter(&text, 't', s);
    if (s->has_t && !std_scan_row(&text, s->t, length)) return nullptr;
    text = skip_joints(text, s);
    return *text == '\0' || *text == '\n' ? text : nullptr;
}

// Whether the text has the sections that `s` names, in full.
static bool scan_form(const char* text, int length, Corner_Sections* s) {
    return scan_section(&text, "p", s->p, length) &&
           (!s->has_n || scan_section(&text, "n", s->n, length)) &&
           (!s->colors || scan_section(&text, "c", s->c, s->colors)) &&
           (!s->has_t || scan_section(&text, "t", s->t, length));
}

bool scan_sections(const char* text, int length, Corner_Sections* s) {
    if (const char* const end = scan_plain_sections(text, length, s); end && *end == '\0')
        return true;
    // The letters that stand anywhere in the line choose the form.
    const auto has = [text](char letter) { return std::strchr(text, letter) != nullptr; };
    if (!has('p')) return false;
    s->has_n = has('n');
    s->has_t = has('t');
    s->colors = has('c') ? length : 0;
    if (scan_form(text, length, s)) return true;
    // The single colour comes second: a full set begins just like it.
    if (s->colors == 0) return false;
    s->colors = 3;
    return scan_form(text, length, s);
}

static Point point_at(const float* f) {
    return Point(f[0], f[1], f[2]);
}
static Vector vector_at(const float* f) {
    return Vector(f[0], f[1], f[2]);
}
static Color color_at(const float* f) {
    return Color(f[0], f[1], f[2]);
}

static Point scaled_point_at(const float* f, float scale) {
    return Point(f[0] * scale, f[1] * scale, f[2] * scale);
}

// Behind the corners come normals, colours and texture points, or what the constructor without
// them puts in their place.
WDB_Triangle triangle_of(const Corner_Sections& s, float scale) {
    const Point p0 = scaled_point_at(s.p, scale), p1 = scaled_point_at(s.p + 3, scale),
                p2 = scaled_point_at(s.p + 6, scale);
    WDB_Triangle t =
        s.has_n ? WDB_Triangle(p0, p1, p2, vector_at(s.n), vector_at(s.n + 3), vector_at(s.n + 6))
                : WDB_Triangle(p0, p1, p2);
    if (s.colors) {
        const bool is_single = s.colors == 3;
        t.c0 = color_at(s.c);
        t.c1 = is_single ? t.c0 : color_at(s.c + 3);
        t.c2 = is_single ? t.c0 : color_at(s.c + 6);
    }
    if (s.has_t) {
        t.t0 = point_at(s.t);
        t.t1 = point_at(s.t + 3);
        t.t2 = point_at(s.t + 6);
    }
    return t;
}

WDB_Line line_of(const Corner_Sections& s, float scale) {
    const Point p0 = scaled_point_at(s.p, scale), p1 = scaled_point_at(s.p + 3, scale);
    WDB_Line l = s.has_n ? WDB_Line(p0, p1, vector_at(s.n), vector_at(s.n + 3)) : WDB_Line(p0, p1);
    if (s.colors) {
        l.c0 = color_at(s.c);
        l.c1 = s.colors == 3 ? l.c0 : color_at(s.c + 3);
    }
    if (s.has_t) {
        l.t0 = point_at(s.t);
        l.t1 = point_at(s.t + 3);
    }
    return l;
}

} // namespace scene_forms
