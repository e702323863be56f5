#include "wdb/WDB_Lex_Context.h"

#include <cmath>
#include <cstring>
#include <random>

#include "scene_support.h"
#include "std/Std_Common.h"

using std::string_literals::operator""s;
using Lex_Context = Scene_Test;

static const std::string mesh = "trianglelist g {\n triangle p 0 0 0 1 0 0 0 1 0\n}\n";

TEST_F(Lex_Context, lines) {
    const std::string name(127, 'n'), filler(980, 'x');
    // A logical line of `length` characters in two physical ones.
    const auto joined = [&](std::size_t length) {
        return "node a { \\\n"s + std::string(length - 9, 'x') + "\n}\nnode b {\n}\n";
    };
    const struct {
        std::string row, text, errors, nodes;
    } rows[] = {
        {"a comment takes the next line with it", "#\nnode a {\n}\n# \\\nnode b {\n}\nnode c {\n}",
         "", "a:-,- c:-,- "},
        {"the first line joins the next logical one", "no\\\n\n#\n  de a {\n}", "", "a:-,- "},
        {"prefixes, cases, blanks", "\v nOdes* \t a*/+.{\n MATERIALs\tm/2x \n}}",
         "2 `m/2x' unknown "
         "material\n",
         "a*/+.:-,- "},
        {"strings", "node a {\n url \" a b\n}\nnode b {\nurl\"c\"d\n}", "", "a:-,-@a b b:-,-@c "},
        {"1024", "#\n"s + joined(1024), "2 line too long, skipping it |node a { |\n", "b:-,- "},
        {"1024 from the first line on", joined(1024), "[t-1]: Error - line too long, skipping it\n",
         "b:-,- "},
        {"longest name", "node " + name + " {\n}", "", name + ":-,- "},
        {"longer name", "node " + name + "n {\n}\nnode a {\n}",
         "0 name too long |node " + name + "n {|\n", "a:-,- "},
        {"longest string", "node a {\n url \"" + name + "\"\n}", "", "a:-,-@" + name + " "},
        {"longer string", "node a {\n url \"" + name + "n\"\n}",
         "1 string too long |url \"" + name + "n\"|\n", "a:-,- "},
        {"longer reference", mesh + "node a {\n geometry " + name + "n g\n}",
         "4 reference name "
         "too long |geometry " +
             name + "n g|\n",
         "a:-,-,g "},
        {"12 references", mesh + "node a {\n geometry g g g g g g g g g g g g x\n}", "",
         "a:-,-,g,g,g,g,g,g,g,g,g,g,g,g "},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.row);
        ASSERT_TRUE(load_text(r.text));
        const std::size_t shown = r.errors.empty() ? 1 : r.errors.size(); // long reports are cut
        EXPECT_EQ(errors().substr(0, shown), r.errors);
        EXPECT_EQ(nodes(), r.nodes);
    }
}

// Logical lines as fgets and strings without a limit give them.
struct Plain_Lines {
    std::FILE* file;
    int number;
    std::string line;

    bool append() {
        char piece[1024];
        if (!std::fgets(piece, sizeof piece, file)) return false;
        if (char* end = std::strrchr(piece, '\n')) *end = '\0';
        line += piece + std::strspn(piece, " \t\n\v\f\r");
        return true;
    }
    bool takes_backslash() {
        const bool is_there = !line.empty() && line.back() == '\\';
        if (is_there) line.pop_back();
        return is_there;
    }
    void first() {
        if (!append()) return;
        if (takes_backslash()) {
            const std::string start = line;
            next();
            line = start + line;
        } else if (line.empty() || line[0] == '#') {
            next();
        }
    }
    void next() {
        for (line.clear();;) {
            ++number;
            const bool is_over = !append();
            if (!is_over && takes_backslash()) continue;
            if (line[0] == '#') line.clear();
            if (is_over || !line.empty()) return;
        }
    }
};

TEST_F(Lex_Context, lines_as_fgets_reads_them) {
    std::mt19937 random(9);
    const std::string pieces[] = {"\n",     "#c",   "\\",     "\\\n",
                                  "abc",    " \t",  "}\n",    "\\\\\n",
                                  "\0"s,    "\r\n", "ab #\n", std::string(1015, 'x'),
                                  "1234567"};
    int lines = 0;
    for (int i = 0; i < 300; ++i) {
        std::string text;
        for (auto n = random() % 12; n > 0; --n) text += pieces[random() % std::size(pieces)];
        put_file("t", text);
        Std_URL url("t");
        const Report_Catcher silence;
        Plain_Lines plain{std::fopen("t", "r"), 0, ""};
        WDB_Lex_Context lex(&url, nullptr);
        for (plain.first(); plain.line.size() <= 1023; plain.next(), lex.next_line(), ++lines) {
            ASSERT_EQ(lex.get_current_line(), plain.line) << text;
            ASSERT_EQ(lex.get_line_number(), plain.number) << text;
            if (plain.line.empty()) break;
        }
        lex.close();
        std::fclose(plain.file);
    }
    EXPECT_GT(lines, 400);
}

TEST_F(Lex_Context, frames) {
    const Frame s = Frame::scaling(2, 3, 4), h = Frame::shear(.1f, .2f, .3f),
                t = Frame::translation(1, 2, -3), x = Frame::rotation(0, deg_to_rad(10)),
                y = Frame::rotation(1, deg_to_rad(-20)), z = Frame::rotation(2, deg_to_rad(30));
    const std::string S = " s 2 3 4", H = " sh .1 .2 .3", R = " r 10 -2e1 30", T = " t 1 2 -3";
    const struct {
        std::string text;
        Frame frame;
    } rows[] = {
        {" m 1 2 3 4 5 6 7 8 9 10 11 12 13",
         Frame(Vector(1, 2, 3), Vector(4, 5, 6), Vector(7, 8, 9), Point(10, 11, 12))},
        {S + H + R + T, s * h * z * y * x * t},
        {S + R + T, s * z * y * x * t},
        {R + T, z * y * x * t},
        {S + T, s * t},
        {S + R, s * z * y * x},
        {T, t},
        {R, z * y * x},
        {S, s},
        {H, h},
        {S + H, s}, // no form of these two: the first that is full
        {S + R + " t 1 2", s * z * y * x},
        {S + " r 10 20", s},
        {T + S, t},
        {" s2 3 4t1 2-3", s * t},
    };
    for (const auto& r : rows) {
        load_text("node a {\n frames" + r.text + "\n}\n");
        EXPECT_EQ(errors(), "");
        EXPECT_EQ(bits_of(node("a")->get_transform()), bits_of(HFrame(r.frame))) << r.text;
    }
    for (const char* bad : {"m 1 2 3", "x 1 2 3", "", "r 1 2", "t 1 , 2 3", "s"}) {
        load_text("node a {\n frame "s + bad + "\n}\n");
        EXPECT_EQ(errors().substr(0, 52), "1 frame m ... or frame s ... sh ... r ... t ...  exp");
    }
}

// What sscanf makes of a line: all forms in their order, each tried if its letters are those of the
// line. The values of the four sections come one behind the other; absent ones are left.
static bool sscanf_sections(const char* text, std::size_t length, float* values, bool* has) {
    const struct {
        const char* parts;
        bool is_single;
    } forms[] = {{"pnct", false}, {"pnct", true}, {"pnt", false}, {"pnc", false},
                 {"pnc", true},   {"pct", false}, {"pct", true},  {"pt", false},
                 {"pc", false},   {"pc", true},   {"pn", false},  {"p", false}};
    const std::string letters = "pnct";
    std::string format;
    format.reserve(200);
    for (const auto& form : forms) {
        format.clear();
        int should = 0;
        bool fits = true;
        for (const char letter : {'p', 'n', 'c', 't'})
            fits &= !std::strchr(form.parts, letter) == !std::strchr(text, letter);
        for (const char* part = form.parts; fits && *part; ++part) {
            const char letter = *part;
            const std::size_t n = letter == 'c' && form.is_single ? 3 : length;
            (format += " ") += letter;
            for (std::size_t i = 0; i < n; ++i) format += " %f";
            should += static_cast<int>(n);
        }
        float f[36];
        if (!fits ||
            should != std::sscanf(text, format.c_str(), f, f + 1, f + 2, f + 3, f + 4, f + 5, f + 6,
                                  f + 7, f + 8, f + 9, f + 10, f + 11, f + 12, f + 13, f + 14,
                                  f + 15, f + 16, f + 17, f + 18, f + 19, f + 20, f + 21, f + 22,
                                  f + 23, f + 24, f + 25, f + 26, f + 27, f + 28, f + 29, f + 30,
                                  f + 31, f + 32, f + 33, f + 34, f + 35))
            continue;
        const float* from = f;
        for (std::size_t k = 0; k < 4; ++k) {
            has[k] = std::strchr(form.parts, letters[k]);
            for (std::size_t i = 0; has[k] && i < length; ++i)
                values[k * length + i] = k == 2 && form.is_single ? from[i % 3] : from[i];
            if (has[k]) from += k == 2 && form.is_single ? 3 : length;
        }
        return true;
    }
    return false;
}

static std::string random_line(std::mt19937& random, std::size_t length) {
    static const char* const odd[] = {"1e5",      "0x1p3",
                                      "nan",      "inf",
                                      "-",        "+5.",
                                      ".5",       "1.2.3",
                                      "7n",       "1-2",
                                      "-0",       "x",
                                      "1e",       "123456789012345678901234567890",
                                      "8c1",      "0.10000000149011612",
                                      "16777217", "1e-46",
                                      "c",        "t"};
    static std::vector<std::string> plain;
    while (plain.size() < 10000) {
        char number[50];
        const double value = static_cast<int>(random()) / 4096.0;
        std::snprintf(number, sizeof number, random() % 8 ? "%f" : "%g", value);
        plain.push_back(number);
    }
    const unsigned kind = random() % 4; // a quarter without a fault
    std::string line;
    line.reserve(800);
    for (const char letter : {'p', 'n', 'c', 't'}) {
        if (letter != 'p' && random() % 2) continue;
        std::size_t count = letter == 'c' && random() % 2 ? 3 : length;
        if (kind == 1 && random() % 4 == 0) count += random() % 5 - 2;
        if (random() % 3) line += ' ';
        line += letter;
        for (std::size_t i = 0; i < count; ++i) {
            line += random() % 9 ? " " : i == 0 || random() % 9 ? "\t " : ""; // may run together
            line += kind == 2 && random() % 30 == 0 ? odd[random() % std::size(odd)]
                                                    : plain[random() % plain.size()];
        }
    }
    if (kind == 3) line.insert(random() % (line.size() + 1), 1, "pnct 0.-"[random() % 8]);
    return line;
}

// A million lines of both kinds, most of twenty numbers and more.
TEST_F(Lex_Context, triangles_and_lines_as_sscanf_reads_them) {
#if defined(__OPTIMIZE__) && !defined(__SANITIZE_ADDRESS__)
    const int rounds = 25;
#else
    const int rounds = 1;
#endif
    const float scale = 0.1f;
    const Report_Catcher silence;
    std::mt19937 random(5);
    int accepted = 0;
    for (int round = 0; round < 2 * rounds; ++round) {
        const bool is_line = round % 2;
        const std::size_t length = is_line ? 6 : 9;
        std::vector<std::string> lines(20000);
        std::string text = "#\n";
        for (std::string& line : lines) {
            line = random_line(random, length);
            text += (is_line ? "line" : "triangle") + line + "\n";
        }
        put_file("t", text);
        Std_URL url("t");
        WDB_Lex_Context lex(&url, nullptr);
        for (const std::string& line : lines) {
            float should[36], does[36];
            bool has[4];
            const bool fits = sscanf_sections(line.c_str(), length, should, has);
            ASSERT_EQ(is_line ? lex.try_get_line("line", scale)
                              : lex.try_get_triangle("triangle", scale),
                      fits)
                << line;
            if (!fits) continue;
            ++accepted;
            if (is_line) {
                std::memcpy(does, &lex.get_last_line(), sizeof(WDB_Line));
                ASSERT_EQ(lex.get_last_line_is_lighted(), has[1]);
                ASSERT_EQ(lex.get_last_line_is_textured(), has[3]);
            } else {
                std::memcpy(does, &lex.get_last_triangle(), sizeof(WDB_Triangle));
            }
            ASSERT_EQ(is_line ? lex.get_last_line_is_colored() : lex.get_last_triangle_is_colored(),
                      has[2]);
            for (std::size_t i = 0; i < length; ++i) {
                should[i] *= scale;
                if (!has[1] && is_line) should[length + i] = i % 3 == 2 ? -1.0f : 0.0f;
                if (!has[1] && !is_line) should[length + i] = does[length + i]; // by constructor
                if (!has[2]) should[2 * length + i] = 0.5f;
                if (!has[3]) should[3 * length + i] = should[length + i];
            }
            for (std::size_t i = 0; i < 4 * length; ++i)
                ASSERT_TRUE(std::memcmp(does + i, should + i, sizeof *does) == 0 ||
                            (std::isnan(does[i]) && std::isnan(should[i])))
                    << line << ", value " << i << ": " << does[i] << ", not " << should[i];
        }
        EXPECT_TRUE(lex.is_eof());
        lex.close();
    }
    EXPECT_GT(accepted, rounds * 10000);
}
