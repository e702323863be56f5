#include "wdb/WDB_Lex_Context.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <strings.h>

#include "std/Std_Common.h"
#include "std/Std_Report.h"
#include "std/Std_Space.h"
#include "std/Std_URL.h"
#include "wdb/Foreign_Document.h"
#include "wdb/Load_Progress.h"
#include "wdb/Scene_Forms.h"
#include "wdb/Scene_Input.h"
#include "wdb/Scene_Names.h"

using namespace scene_forms;

WDB_Lex_Context::WDB_Lex_Context(Std_URL* url, Std_URL* base, Load_Progress* progress)
    : last_reference_count_(0), last_float_(0), last_frame_(HFrame::identity()),
      last_projection_(Matrix4::identity()), last_triangle_is_colored_(false),
      last_line_is_colored_(false), last_line_is_lighted_(false), last_line_is_textured_(false),
      progress_(progress) {
    last_header_[0] = last_string_[0] = '\0';
    for (auto& reference : last_references_) reference[0] = '\0';
    last_bbox_.zero();
    last_color_ = Color(0, 0, 0);
    std::memset(current_line_, 0, sizeof current_line_);
    open(url, base);
}

void WDB_Lex_Context::open(Std_URL* url, Std_URL* base) {
    url_ = url;
    base_url_ = base && base->is_valid() ? base : url;
    line_number_ = 0;
    error_count_ = note_count_ = 0;
    input_ = nullptr;
    images_ = nullptr;
    is_generated_ = has_end_mark_ = begins_as_data_ = false;
    clear_line();
    if (!url->is_valid() || url->is_open()) {
        tell_error("Invalid URL");
        return;
    }
    url->open();
    if (!url->is_open()) return;
    if (progress_) progress_->begin_document(url->get_size());
    first_line();
}

bool WDB_Lex_Context::is_cancelled() const {
    return progress_ && progress_->is_cancelled();
}

bool WDB_Lex_Context::is_open() const {
    return url_ && (url_->is_open() || converter_.is_running());
}

void WDB_Lex_Context::close() {
    clear_line();
    if (const int status = converter_.finish())
        tell_error(str_format("[%s-%d]: Error - conversion failed with status %d",
                              url_->get_url_string().chars(), line_number_, status));
    if (url_ && url_->is_open()) url_->close();
    // It has said itself what is missing.
    if (url_ && !url_->is_whole() && !is_cancelled()) ++error_count_;
    drop_input();
    Foreign_Document::remove_images(images_);
    images_ = nullptr;
    line_number_ = 0;
    url_ = nullptr;
}

// A physical line: up to its last line feed or a zero byte, without leading white space.
static void trim(const char** line, std::size_t* length) {
    const char* end = *line + *length;
    if (const void* zero = std::memchr(*line, '\0', *length)) end = static_cast<const char*>(zero);
    if (end > *line && end[-1] == '\n') --end;
    while (*line < end && std_is_space(**line)) ++*line;
    *length = static_cast<std::size_t>(end - *line);
}

// False if the text does not fit; the line then stays as it was. A backslash at the end may stand
// one past the limit: it does not stay.
bool WDB_Lex_Context::append(const char* text, std::size_t length) {
    const bool continues = length > 0 && text[length - 1] == '\\';
    if (length - continues > LONGEST_LINE - line_length_) return false;
    std::memcpy(current_line_ + line_length_, text, length);
    line_length_ += length;
    current_line_[line_length_] = '\0';
    return true;
}

void WDB_Lex_Context::clear_line() {
    line_length_ = 0;
    current_line_[0] = '\0';
}

// What a converter left out, it says in comments: "# nolt_fromvrml: skipped 2: Fog".
void WDB_Lex_Context::take_note(const char* note) {
    std_tell(str_format("[%s]: %s", url_->get_url_string().chars(), note));
    if (const char* const skipped = std::strstr(note, ": skipped "))
        note_count_ +=
            std::clamp(std::atoi(skipped + std::strlen(": skipped ")), 0, INT_MAX - note_count_);
}

// A comment is noted for what is_cut asks, all else forgotten.
void WDB_Lex_Context::drop_line() {
    static const char note_mark[] = "# nolt_from";
    if (converter_.is_running() &&
        std::strncmp(current_line_, note_mark, sizeof note_mark - 1) == 0)
        take_note(current_line_ + 2);
    if (current_line_[0] == '#' && std::strcmp(current_line_, "# -- End of file") == 0)
        has_end_mark_ = true;
    clear_line();
}

// Joins physical lines up to one that does not go on; a joined line that does not fit stays as far
// as it did. False if the file ends first.
bool WDB_Lex_Context::join_lines(bool* fits) {
    *fits = true;
    clear_line();
    for (;;) {
        const char* piece;
        std::size_t length;
        // Stays at the top: a stream may go on for ever.
        if (line_number_ < INT_MAX) ++line_number_;
        if (!input_ || !input_->get_line(LONGEST_LINE, &piece, &length)) return false;
        trim(&piece, &length);
        if (*fits) *fits = append(piece, length);
        // Of a line that is too long only its end counts, to find the one behind it.
        const bool continues = *fits ? line_length_ > 0 && current_line_[line_length_ - 1] == '\\'
                                     : length > 0 && piece[length - 1] == '\\';
        if (!continues) return true;
        if (*fits) current_line_[--line_length_] = '\0';
    }
}

void WDB_Lex_Context::next_line() {
    bool fits;
    while (join_lines(&fits)) {
        const bool is_comment = current_line_[0] == '#';
        if (fits && line_length_ > 0 && !is_comment) return;
        if (!fits && !is_comment) show_error("line too long, skipping it");
        drop_line();
    }
    // What was still to go on when the file ended is a line, as far as it got.
    if (!fits) show_error("line too long, skipping it");
    if (!fits || current_line_[0] == '#') drop_line();
}

static bool begins_as_generated(const char* line, std::size_t length) {
    static const char begin[] = "# -- File ", end[] = " generated by wdb_save";
    const std::size_t begin_length = sizeof begin - 1, end_length = sizeof end - 1;
    return length >= begin_length + end_length && std::memcmp(line, begin, begin_length) == 0 &&
           std::memcmp(line + length - end_length, end, end_length) == 0;
}

void WDB_Lex_Context::first_line() {
    line_number_ = 0;
    clear_line();
    input_ = new (GCAtomic) Scene_Input(url_, progress_);
    const char* piece;
    std::size_t length;
    if (!input_->get_line(LONGEST_LINE, &piece, &length)) return;
    // What has come of the rest stands behind the line.
    if (const char* const format = foreign_format(piece, length + input_->left(), url_)) {
        convert_foreign(format, piece, length);
        return;
    }
    begins_as_data_ = std::memchr(piece, '\0', length) != nullptr;
    trim(&piece, &length);
    // It fits: the limit of a physical line is that of a logical one.
    append(piece, length);
    is_generated_ = begins_as_generated(current_line_, line_length_);
    if (line_length_ > 0 && current_line_[line_length_ - 1] == '\\') {
        current_line_[--line_length_] = '\0';
        join_next_line();
    } else if (line_length_ == 0 || current_line_[0] == '#') {
        next_line();
    }
}

// Unlike later lines, the first one is joined with the next logical line, and not tested for a
// comment any more.
void WDB_Lex_Context::join_next_line() {
    char start[LONGEST_LINE + 1];
    const std::size_t start_length = line_length_;
    std::memcpy(start, current_line_, start_length);
    next_line();
    if (start_length + line_length_ > LONGEST_LINE) {
        show_error("line too long, skipping it");
        next_line();
        return;
    }
    std::memmove(current_line_ + start_length, current_line_, line_length_ + 1);
    std::memcpy(current_line_, start, start_length);
    line_length_ += start_length;
}

void WDB_Lex_Context::skip_until_brace() {
    while (!is_eof() && !is_at_brace()) next_line();
}

void WDB_Lex_Context::check_close(const char* error) {
    if (is_at_brace()) return;
    show_error(error);
    skip_until_brace();
}

bool WDB_Lex_Context::current_line_starts_with(const char* keyword) const {
    return strncasecmp(current_line_, keyword, std::strlen(keyword)) == 0;
}

const char* WDB_Lex_Context::current_line_after_keyword(const char* keyword) const {
    return current_line_ + std::strlen(keyword);
}

void WDB_Lex_Context::tell_error(const char* message) const {
    std_tell(message);
    ++error_count_;
}

void WDB_Lex_Context::show_error(const char* message) const {
    if (is_cancelled()) return;
    const char* const name = url_->get_url_string();
    tell_error(str_format("[%s-%d]: Error - %s", name, line_number_, message));
    std_tell(str_format("[%s-%d]:         |%s|", name, line_number_, current_line_));
}

void WDB_Lex_Context::show_error_near(const char* near, const char* message) const {
    if (is_cancelled()) return;
    tell_error(str_format("[%s-%d]: Error near `%s' - %s", url_->get_url_string().chars(),
                          line_number_, near, message));
}

// Ends a line that began with its keyword.
bool WDB_Lex_Context::accept(bool is_scanned, const char* error) {
    if (!is_scanned) show_error(error);
    next_line();
    return is_scanned;
}

// Behind the keyword, as the file spells it, and the white space that follows. A keyword that is
// followed by other letters is swallowed with them.
static const char* behind_word(const char* line) {
    line += scene_name_length(line);
    while (std_is_space(*line)) ++line;
    return line;
}

bool WDB_Lex_Context::try_get_header(const char* keyword) {
    if (!current_line_starts_with(keyword)) return false;
    const char* const name = behind_word(current_line_);
    const std::size_t length = scene_name_length(name);
    if (length == 0 || length > LONGEST_NAME) {
        show_error(length == 0 ? "name expected" : "name too long");
        skip_until_brace();
        return false;
    }
    std::memcpy(last_header_, name, length);
    last_header_[length] = '\0';
    next_line();
    return true;
}

bool WDB_Lex_Context::try_get_string(const char* keyword) {
    if (!current_line_starts_with(keyword)) return false;
    const char* text = behind_word(current_line_);
    const bool is_quoted = *text == '"';
    if (is_quoted) ++text;
    const std::size_t length = is_quoted ? std::strcspn(text, "\"") : 0;
    if (length > LONGEST_NAME) return accept(false, "string too long");
    if (length > 0) {
        std::memcpy(last_string_, text, length);
        last_string_[length] = '\0';
    }
    return accept(length > 0, "string expected");
}

bool WDB_Lex_Context::try_get_float(const char* keyword) {
    if (!current_line_starts_with(keyword)) return false;
    float n[6];
    const bool is_scanned = scan_numbers(behind_word(current_line_), n, 1) == 1;
    if (is_scanned) last_float_ = n[0];
    return accept(is_scanned, "number expected");
}

bool WDB_Lex_Context::try_get_color(const char* keyword) {
    if (!current_line_starts_with(keyword)) return false;
    float n[6];
    const bool is_scanned = scan_numbers(behind_word(current_line_), n, 3) == 3;
    if (is_scanned) last_color_ = Color(n[0], n[1], n[2]);
    return accept(is_scanned, "color r,g,b expected");
}

bool WDB_Lex_Context::try_get_bbox(const char* keyword) {
    if (!current_line_starts_with(keyword)) return false;
    float n[6];
    const bool is_scanned = scan_numbers(behind_word(current_line_), n, 6) == 6;
    if (is_scanned) last_bbox_ = Bbox(Point(n[0], n[1], n[2]), Point(n[3], n[4], n[5]));
    return accept(is_scanned, "bbox x0,y0,z0,x1,y1,z1 expected");
}

bool WDB_Lex_Context::try_get_projection(const char* keyword, float scale) {
    if (!current_line_starts_with(keyword)) return false;
    float n[6];
    const int found = scan_numbers(behind_word(current_line_), n, 5);
    if (found >= 4) {
        // The second number, a ratio, is not used.
        last_projection_ = Matrix4::perspective(deg_to_rad(n[0]), n[2] * scale, n[3] * scale);
        last_float_ = found == 5 ? n[4] * scale : 0;
    }
    return accept(found >= 4, "perspective fovy,ratio,near,far,eye_sep expected");
}

bool WDB_Lex_Context::try_get_frame(const char* keyword) {
    if (!current_line_starts_with(keyword)) return false;
    return accept(scan_frame(behind_word(current_line_), &last_frame_),
                  "frame m ... or frame s ... sh ... r ... t ...  expected");
}

static const int numbers_of_triangle = 9; // in a section

bool WDB_Lex_Context::scan_triangle(const char* keyword, float scale) {
    Corner_Sections s;
    if (!scan_sections(current_line_after_keyword(keyword), numbers_of_triangle, &s)) return false;
    last_triangle_ = triangle_of(s, scale);
    last_triangle_is_colored_ = s.colors != 0;
    return true;
}

// The line behind the current one, if all of it is in the block and of the plainest form; nothing
// moves otherwise. Such a line would be joined to the same text: in front of a joint stands a
// number, and behind it a letter.
bool WDB_Lex_Context::scan_next_triangle(const char* keyword, float scale) {
    if (!input_) return false;
    const char* const start = input_->rest();
    const char* text = start;
    while (std_is_space(*text) && *text != '\n') ++text;
    const std::size_t length = std::strlen(keyword);
    if (strncasecmp(text, keyword, length) != 0) return false;
    Corner_Sections s;
    const char* const end = scan_plain_sections(text + length, numbers_of_triangle, &s);
    if (!end || *end != '\n' || end - start >= LONGEST_LINE) return false;
    last_triangle_ = triangle_of(s, scale);
    last_triangle_is_colored_ = s.colors != 0;
    const int lines = s.joints + 1;
    line_number_ = line_number_ < INT_MAX - lines ? line_number_ + lines : INT_MAX;
    input_->skip(static_cast<std::size_t>(end + 1 - start));
    return true;
}

bool WDB_Lex_Context::accept_triangle(bool is_scanned) {
    return accept(is_scanned, "triangle p ... n ... c ... t ... expected");
}

bool WDB_Lex_Context::try_get_triangle(const char* keyword, float scale) {
    return current_line_starts_with(keyword) && accept_triangle(scan_triangle(keyword, scale));
}

bool WDB_Lex_Context::try_get_line(const char* keyword, float scale) {
    if (!current_line_starts_with(keyword)) return false;
    const int numbers = 6;
    Corner_Sections s;
    const bool is_scanned = scan_sections(current_line_after_keyword(keyword), numbers, &s);
    if (is_scanned) {
        last_line_ = line_of(s, scale);
        last_line_is_colored_ = s.colors != 0;
        last_line_is_lighted_ = s.has_n;
        last_line_is_textured_ = s.has_t;
    }
    return accept(is_scanned, "line p ... n ... c ... t ... expected");
}

bool WDB_Lex_Context::try_get_references(const char* keyword) {
    if (!current_line_starts_with(keyword)) return false;
    const char* name = behind_word(current_line_);
    int count = 0;
    while (count < MOST_REFERENCES) {
        const std::size_t length = scene_name_length(name);
        if (length == 0) break;
        if (length > LONGEST_NAME) {
            // Costs this name alone.
            show_error("reference name too long");
        } else {
            std::memcpy(last_references_[count], name, length);
            last_references_[count++][length] = '\0';
        }
        name = behind_word(name);
    }
    if (count > 0) last_reference_count_ = count;
    return accept(count > 0, "reference names expected");
}

Std_URL* WDB_Lex_Context::new_relative_url(const Std_URL* url) const {
    return base_url_ && base_url_->is_valid() ? base_url_->composed_with(url)
                                              : new Std_URL(url->get_url_string());
}

// VRML.

const char* WDB_Lex_Context::vrml_prefix(const char* name) const {
    // A thread's own: its scenes have the names that they have without the others.
    static thread_local char prefix[128]; // overwritten by every call
    static thread_local int counter = 0;
    std::snprintf(prefix, sizeof prefix, "%64.96s_vrml_%d", name, ++counter);
    return prefix;
}

// Nothing can be read, and nothing is left to be closed.
void WDB_Lex_Context::abandon() {
    url_->close();
    drop_input();
}

// Without waiting for the collector: a scene may import thousands of files.
void WDB_Lex_Context::drop_input() {
    delete input_;
    input_ = nullptr;
}

void WDB_Lex_Context::convert_foreign(const char* format, const char* first_piece,
                                      std::size_t length) {
    const bool is_vrml = std::strcmp(format, "vrml") == 0;
    std_tell(is_vrml ? "Converting from VRML" : str_format("Converting from a model (%s)", format));
    Foreign_Document document(format);
    if (!document.is_open()) {
        tell_error("Unable to open local tmp file");
        abandon();
        return;
    }
    const bool is_stored = document.store(first_piece, length, *input_);
    abandon();
    if (is_cancelled()) return;
    if (is_stored) {
        start_conversion(document);
    } else {
        tell_error("Problem writing to tmpfile");
    }
}

void WDB_Lex_Context::start_conversion(Foreign_Document& document) {
    const char* prefix = vrml_prefix(base_url_->get_name());
    while (*prefix == ' ') ++prefix;
    std::FILE* const scene = document.convert(converter_, url_, prefix);
    images_ = document.images();
    if (!scene) {
        tell_error(str_format("Unable to run the converter: %s", std::strerror(errno)));
        return;
    }
    input_ = new (GCAtomic) Scene_Input(scene, progress_);
    next_line();
}
