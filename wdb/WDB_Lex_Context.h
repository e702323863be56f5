// One open scene file and its current logical line: the lexical half of the reader.
//
//     WDB_Lex_Context lex(url, nullptr);
//     while (!lex.is_eof()) {
//         if (lex.try_get_header("material")) use(lex.get_last_header());
//         ...
//     }
//     lex.close();
//
// Each try_get_ looks whether the current line begins with a keyword, in any case. If not, it
// answers false and nothing moves. If so, it scans the line into a get_last_ slot, moves to the
// next line and answers true; a bad line is reported, passed over and answered by false. A slot
// holds its last good value. Nothing stops the scan.
//
// A logical line is a physical one, or several of which all but the last end in a backslash, each
// without its leading white space. Empty lines and lines that begin with "#" are passed over. A
// logical line, and a name or string in it, have the limits below; what is longer is reported and
// passed over. A physical line that is longer is cut there, and the rest counts as the next line.
// Contexts may be open one inside the other.
#ifndef WDB_WDB_LEX_CONTEXT_H
#define WDB_WDB_LEX_CONTEXT_H

#include <cstddef>

#include "math/Bbox.h"
#include "math/Color.h"
#include "math/Homogeneous.h"
#include "math/Matrix4.h"
#include "std/Std_Filter.h"
#include "std/Std_Scan.h"
#include "wdb/WDB_Line_List.h"
#include "wdb/WDB_Tri_List.h"

class Load_Progress;
class Scene_Input;
class Std_URL;
class Foreign_Document;

class WDB_Lex_Context {
public:
    static constexpr int LONGEST_LINE = 1023;
    static constexpr int LONGEST_NAME = 127;
    static constexpr int MOST_REFERENCES = 12;
    // What names are made of.
    static constexpr char NAME_SET[] = "-_./+*0123456789abcdefghijklmnopqrstuvwxyz"
                                       "ABCDEFGHIJKLMNOPQRSTUVWXYZ";

    // Opens `url`; see open. `progress`, of the load, is told what is read. Once it is cancelled
    // the file ends, and no error is shown any more. Null for none.
    WDB_Lex_Context(Std_URL* url, Std_URL* base, Load_Progress* progress = nullptr);
    WDB_Lex_Context(const WDB_Lex_Context&) = delete;
    WDB_Lex_Context& operator=(const WDB_Lex_Context&) = delete;

    // Opens the URL and reads the first line. Relative URLs in the file are taken against `base`,
    // or against `url` if that is null or invalid. VRML and models (wdb/Foreign_Document.h) are
    // converted by commands first.
    // Requires: that nobody has opened `url`; one that is open gives no lines.
    // On failure: is_open is false; a report, but none for a local file that cannot be read.
    void open(Std_URL* url, Std_URL* base);
    bool is_open() const;
    // Closes the URL and ends a conversion, whose failure is reported. Not done by destruction.
    void close();

    // Once, by open.
    void first_line();
    void next_line();

    Load_Progress* get_progress() const { return progress_; }
    bool is_cancelled() const;

    bool is_eof() const { return current_line_[0] == '\0'; }
    // At the end: whether a file that begins as wdb_save writes it does not end so.
    bool is_cut() const { return is_generated_ && !has_end_mark_; }
    // Whether the first line has a byte that is zero, as no text has: lines end there.
    bool begins_as_data() const { return begins_as_data_; }
    bool is_at_brace() const { return current_line_[0] == '}'; }
    // To the closing line, which stays current, or to the end.
    void skip_until_brace();
    // Unless the closing line is current: shows the error, and skips to it.
    void check_close(const char* error);
    bool current_line_starts_with(const char* keyword) const;
    const char* current_line_after_keyword(const char* keyword) const;
    const char* get_current_line() const { return current_line_; }
    // Physical lines read before the current one.
    int get_line_number() const { return line_number_; }

    // Information reports that name the URL and the line.
    void show_error(const char* message) const;
    void show_error_near(const char* near, const char* message) const;
    // How many were shown, failures to open, convert and close included, and one for a document
    // that is not whole. Kept by close.
    int get_error_count() const { return error_count_; }
    // How many things the converter of the document has named that it left out.
    int get_note_count() const { return note_count_; }

    bool try_get_header(const char* keyword); // on failure the whole block is skipped
    bool try_get_string(const char* keyword);
    bool try_get_float(const char* keyword);
    bool try_get_color(const char* keyword);
    bool try_get_bbox(const char* keyword);
    bool try_get_frame(const char* keyword);
    // `scale` multiplies near, far and the eye separation, which becomes the last float.
    bool try_get_projection(const char* keyword, float scale);
    // `scale` multiplies the corners.
    bool try_get_triangle(const char* keyword, float scale);
    // The same for all triangles from here on, up to a line that is none or a bad one:
    // take(triangle, is_colored) is called for each.
    template<class Take>
    void try_get_triangles(const char* keyword, float scale, Take take);
    bool try_get_line(const char* keyword, float scale);
    bool try_get_references(const char* keyword);

    const char* get_last_header() const { return last_header_; }
    const char* get_last_string() const { return last_string_; }
    float get_last_float() const { return last_float_; }
    const Bbox& get_last_bbox() const { return last_bbox_; }
    const Color& get_last_color() const { return last_color_; }
    const HFrame& get_last_frame() const { return last_frame_; }
    const Matrix4& get_last_projection() const { return last_projection_; }
    const WDB_Triangle& get_last_triangle() const { return last_triangle_; }
    bool get_last_triangle_is_colored() const { return last_triangle_is_colored_; }
    const WDB_Line& get_last_line() const { return last_line_; }
    bool get_last_line_is_colored() const { return last_line_is_colored_; }
    bool get_last_line_is_lighted() const { return last_line_is_lighted_; }
    bool get_last_line_is_textured() const { return last_line_is_textured_; }
    int get_last_reference_count() const { return last_reference_count_; }
    const char* get_last_reference(int index) const { return last_references_[index]; }

    // `url` as seen from the base URL. New.
    Std_URL* new_relative_url(const Std_URL* url) const;
    void set_base_url(Std_URL* url) { base_url_ = url; }
    const Std_URL* get_url() const { return url_; }

    // A prefix for temporary files of the converter, another one at each call.
    // Lifetime: until the next call.
    const char* vrml_prefix(const char* name) const;

private:
    bool accept(bool is_scanned, const char* error);
    bool scan_triangle(const char* keyword, float scale);
    bool scan_next_triangle(const char* keyword, float scale);
    bool accept_triangle(bool is_scanned);
    void tell_error(const char* message) const;
    bool append(const char* text, std::size_t length);
    void clear_line();
    void drop_line();
    bool join_lines(bool* fits);
    void join_next_line();
    void convert_foreign(const char* format, const char* first_piece, std::size_t length);
    void take_note(const char* note);
    void start_conversion(Foreign_Document& document);
    void abandon();
    void drop_input();

    Std_URL* url_;
    Std_URL* base_url_;
    int line_number_;
    char current_line_[LONGEST_LINE + 1 + STD_SCAN_MARGIN];
    char last_header_[LONGEST_NAME + 1];
    char last_string_[LONGEST_NAME + 1];
    int last_reference_count_;
    char last_references_[MOST_REFERENCES][LONGEST_NAME + 1];
    float last_float_;
    Bbox last_bbox_;
    Color last_color_;
    HFrame last_frame_;
    Matrix4 last_projection_;
    WDB_Triangle last_triangle_;
    bool last_triangle_is_colored_;
    WDB_Line last_line_;
    bool last_line_is_colored_, last_line_is_lighted_, last_line_is_textured_;
    bool is_generated_, has_end_mark_, begins_as_data_;
    std::size_t line_length_;
    mutable int error_count_;
    int note_count_;     // of what a converter left out
    const char* images_; // of a model, while its scene is read
    Std_Filter converter_;
    Load_Progress* progress_;
    Scene_Input* input_; // what was read of the file and not taken yet
};

// Of a run of triangles only the first is made the current line. The others are taken where they
// lie in the file, for as long as that is possible.
template<class Take>
void WDB_Lex_Context::try_get_triangles(const char* keyword, float scale, Take take) {
    bool is_good = true;
    while (is_good && current_line_starts_with(keyword)) {
        is_good = scan_triangle(keyword, scale);
        for (bool more = is_good; more; more = scan_next_triangle(keyword, scale))
            take(last_triangle_, last_triangle_is_colored_);
        accept_triangle(is_good);
    }
}

#endif
