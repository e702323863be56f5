// What the lines of a scene are made of, behind their keywords: the forms that the reader looks for
// in a text that ends with a zero byte. Nothing here knows of files. Internal.
#ifndef WDB_SCENE_FORMS_H
#define WDB_SCENE_FORMS_H

#include "math/Homogeneous.h"
#include "wdb/WDB_Line_List.h"
#include "wdb/WDB_Tri_List.h"

namespace scene_forms {

// How many of up to six numbers, separated by white space, stand at `text`. There is room for six.
int scan_numbers(const char* text, float* n, int count);

// "m ...", or a product of "s ...", "sh ...", "r ..." and "t ...".
// On failure: false, and the frame stays.
bool scan_frame(const char* text, HFrame* frame);

// Triangles and lines: up to four sections, each a letter and its numbers. Sections of points,
// normals and texture points have the full length, colours that or three.
struct Corner_Sections {
    float p[9], n[9], c[9], t[9];
    bool has_n = false, has_t = false;
    int colors = 0; // numbers in c: 0, 3 or all
    int joints = 0; // of the physical lines that hold them
};

// The sections of a line, of `length` numbers each.
bool scan_sections(const char* text, int length, Corner_Sections* s);

// A line of nothing but plain sections, up to a zero byte or, where it lies in the file, a line
// feed, which is returned. On failure: null; what is different in any way is left to scan_sections.
const char* scan_plain_sections(const char* text, int length, Corner_Sections* s);

// What sections of 9 or 6 numbers say, the points times `scale`.
WDB_Triangle triangle_of(const Corner_Sections& s, float scale);
WDB_Line line_of(const Corner_Sections& s, float scale);

} // namespace scene_forms

#endif
