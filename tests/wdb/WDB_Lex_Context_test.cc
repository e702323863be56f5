#include "wdb/WDB_Lex_Context.h"

#include "tests/wdb/scene_support.h"

using std::string_literals::operator""s;
using Lex_Context = Scene_Test;

TEST_F(Lex_Context, lines) {
    const std::string name(127, 'n');
    // A logical line of `length` characters in two physical ones.
    const auto joined = [&](std::size_t length) {
        return "node a {\t\\\n"s + std::string(length - 9, 'x') + "\n}\nnode b {\n}\n";
    };
    const struct {
        std::string row, text, errors, nodes;
    } rows[] = {
        {"a comment takes the next line with it", "#\nnode a { }\n# \\\nnode b { }\nnode c { }", "",
         "a:-,- c:-,- "},
        {"the first line joins the next logical one", "no\\\n\n#\n  de a { }", "", "a:-,- "},
        {"prefixes, cases, blanks", "\v nOdes* \t a*/+.{\n MATERIALs\tm/2x \n}}",
         "2 `m/2x' unknown material\n", "a*/+.:-,- "},
        {"strings", "node a { url \" a b }\nnode b { url\"c\"d }", "", "a:-,-@a b b:-,-@c "},
        {"1024", "#\n"s + joined(1024), "2 line too long, skipping it |node a {\t|\n", "b:-,- "},
        {"1024 from the first line on", joined(1024), "[t-1]: Error - line too long, skipping it\n",
         "b:-,- "},
        {"longest name", "node " + name + " { }", "", name + ":-,- "},
        {"longer name", "node " + name + "n { }\nnode a { }",
         "0 name too long |node " + name + "n {|\n", "a:-,- "},
        {"longest string", "node a { url \"" + name + "\" }", "", "a:-,-@" + name + " "},
        {"longer string", "node a { url \"" + name + "n\" }",
         "1 string too long |url \"" + name + "n\"|\n", "a:-,- "},
        {"longest reference", "node a { geometry " + name + " }",
         "2 `" + name + "' unknown geometry\n", "a:-,- "},
        {"longer reference", mesh + "node a { geometry " + name + "n g }",
         "4 reference name too long |geometry " + name + "n g|\n", "a:-,-,g "},
        {"12 references", mesh + "node a { geometry g g g g g g g g g g g g x }", "",
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

// All lines of the file t, each with the number of lines before it.
static std::string lines_of_t() {
    Std_URL url("t");
    std::string text;
    WDB_Lex_Context lex(&url, nullptr);
    for (; !lex.is_eof(); lex.next_line())
        text += std::to_string(lex.get_line_number()) + " " + lex.get_current_line() + "\n";
    lex.close();
    return text;
}

TEST_F(Lex_Context, odd_lines) {
    const std::pair<std::string, std::string> rows[] = {
        {"", ""},
        {"\n\n", ""},
        {" a\n\v\t b \r\n", "0 a\n1 b \r\n"},
        {"ab #\n#c\nd", "0 ab #\n2 d\n"},
        {"a\\\n b\\\\\nc\nd", "2 ab\\c\n3 d\n"},
        {"a\0b\nc\0\n\0\nd"s, "0 a\n1 c\n3 d\n"},
        {"#c\\\n#d\na\\\n\\\n#b", "4 #ca#b\n"},
        {"a\\", "1 a\n"},
        {std::string(1024, 'x') + "\ny", "0 "s + std::string(1023, 'x') + "\n1 x\n2 y\n"},
        {"#\nab\\\n"s + std::string(1021, 'x') + "\\\n\nc",
         "3 ab" + std::string(1021, 'x') + "\n4 c\n"},
        {"#\n#"s + std::string(900, 'c') + "\\\n" + std::string(900, 'c') + "\na", "3 a\n"},
    };
    for (const auto& [text, lines] : rows) {
        put_file("t", text);
        const Report_Catcher told;
        EXPECT_EQ(lines_of_t(), lines) << text;
        EXPECT_EQ(told.text, "") << text;
    }
}

TEST_F(Lex_Context, urls_that_are_open_already) {
    put_file("t", "a\n");
    Std_URL url("t");
    url.open();
    const Report_Catcher told;
    WDB_Lex_Context lex(&url, nullptr);
    EXPECT_EQ(shown(told.text, lex.get_current_line(), lex.get_line_number()), "Invalid URL\n  0 ");
    lex.close();
}

TEST_F(Lex_Context, frames) {
    const Frame s = Frame::scaling(2, 3, 4), h = Frame::shear(.1f, .2f, .3f),
                t = Frame::translation(1, 2, -3), x = Frame::rotation(0, deg_to_rad(10)),
                y = Frame::rotation(1, deg_to_rad(-20)), z = Frame::rotation(2, deg_to_rad(30));
    const std::string S = " s 2 3 4", H = " sh .1 .2 .3", R = " r 10 -2e1 30", T = " t 1 2 -3";
    const std::tuple<std::string, Frame> rows[] = {
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
    for (const auto& [text, frame] : rows) {
        load_text("node a {\n frames" + text + "\n}\n");
        EXPECT_EQ(errors(), "");
        EXPECT_EQ(bits_of(node("a")->get_transform()), bits_of(HFrame(frame))) << text;
    }
    for (const char* bad : {"m 1 2 3", "x 1 2 3", "", "r 1 2", "t 1 , 2 3", "s"}) {
        load_text("node a {\n frame "s + bad + "\n}\n");
        EXPECT_EQ(errors().substr(0, 52), "1 frame m ... or frame s ... sh ... r ... t ...  exp");
    }
}

// What the sections of a triangle or line hold, and which of them the file gave.
static std::string described(const float* values, bool is_line, bool has_n, bool has_c,
                             bool has_t) {
    std::string text;
    for (int i = 0; i < (is_line ? 24 : 36); ++i)
        text += str_format(i % (is_line ? 6 : 9) ? " %.9g" : " | %.9g",
                           std::isnan(values[i]) ? NAN : values[i]); // of one sign
    return text + (has_n ? 'n' : '-') + (has_c ? 'c' : '-') + (has_t ? 't' : '-');
}

// Of the next one.
static std::string next(WDB_Lex_Context& lex, bool is_line, float scale) {
    if (!(is_line ? lex.try_get_line("line", scale) : lex.try_get_triangle("triangle", scale)))
        return "";
    if (!is_line)
        return described(lex.get_last_triangle().p0.to_c(), is_line, false,
                         lex.get_last_triangle_is_colored(), false);
    return described(lex.get_last_line().p0.to_c(), is_line, lex.get_last_line_is_lighted(),
                     lex.get_last_line_is_colored(), lex.get_last_line_is_textured());
}

TEST_F(Lex_Context, triangles_and_lines) {
    const std::string p = "p 0 0 0 2 0 0 0 4 0e1", n = "n 1 2 3 4 5 6 7 8 9",
                      c = "c 1 1 1 2 2 2 3 3 3", t = "t 9 8 7 6 5 4 3 2 1", l = "p 1 2 3 4 5 6",
                      d = "n 7 8 9 10 11 12", e = "c 1 1 1 2 2 2", u = "t 6 5 4 3 2 1";
    const std::tuple<bool, std::string, std::string> rows[] = {
        {false, p,
         " | 0 0 0 1 0 0 0 2 0 | 0 0 1 0 0 1 0 0 1 | 0.5 0.5 0.5 0.5 0.5 0.5 0.5 0.5 0.5 | 0 0 1 0 "
         "0 1 0 0 1---"},
        {false, p + "\t" + n + " c 1 2 3 " + t,
         " | 0 0 0 1 0 0 0 2 0 | 1 2 3 4 5 6 7 8 9 | 1 2 3 1 2 3 1 2 3 | 9 8 7 6 5 4 3 2 1-c-"},
        {false, "p 0x0 0 0 2 0 0 0 4 0" + n + c + t,
         " | 0 0 0 1 0 0 0 2 0 | 1 2 3 4 5 6 7 8 9 | 1 1 1 2 2 2 3 3 3 | 9 8 7 6 5 4 3 2 1-c-"},
        {false, "p 0x0 0 0 2 0 0 0 4 0c1 2 3",
         " | 0 0 0 1 0 0 0 2 0 | 0 0 1 0 0 1 0 0 1 | 1 2 3 1 2 3 1 2 3 | 0 0 1 0 0 1 0 0 1-c-"},
        {false, p + c + " x",
         " | 0 0 0 1 0 0 0 2 0 | 0 0 1 0 0 1 0 0 1 | 1 1 1 2 2 2 3 3 3 | 0 0 1 0 0 1 0 0 1-c-"},
        {false, n, ""},
        {true, l,
         " | 0.5 1 1.5 2 2.5 3 | 0 0 -1 0 0 -1 | 0.5 0.5 0.5 0.5 0.5 0.5 | 0 0 -1 0 0 -1---"},
        {true, l + " c 1 2 3 " + u,
         " | 0.5 1 1.5 2 2.5 3 | 0 0 -1 0 0 -1 | 1 2 3 1 2 3 | 6 5 4 3 2 1-ct"},
        {true, "p 1 2 3 4 5 0x6" + d + e + u,
         " | 0.5 1 1.5 2 2.5 3 | 7 8 9 10 11 12 | 1 1 1 2 2 2 | 6 5 4 3 2 1nct"},
        {true, l + e + "n 1", ""},
    };
    const Report_Catcher silence;
    for (const auto& [is_line, text, values] : rows) {
        put_file("t", (is_line ? "#\nline" : "#\ntriangle") + text);
        Std_URL url("t");
        WDB_Lex_Context lex(&url, nullptr);
        EXPECT_EQ(next(lex, is_line, .5f), values) << text;
        lex.close();
    }
}

static std::string random_line(std::mt19937& random) {
    std::istringstream words("1e5 0x1p3 nan inf - +5. .5 1.2.3 7n 1-2 -0 x 1e 8c1 1e-46 c t "
                             "123456789012345678901234567890 0.10000000149011612 16777217");
    const std::vector<std::string> odd(std::istream_iterator<std::string>(words), {});
    const unsigned kind = random() % 4; // a quarter without a fault
    std::string line;
    for (const char letter : {'p', 'n', 'c', 't'}) {
        if (letter != 'p' && random() % 2) continue;
        std::size_t count = letter == 'c' && random() % 2 ? 3 : 9;
        if (kind == 1 && random() % 4 == 0) count += random() % 5 - 2;
        if (random() % 3) line += ' ';
        line += letter;
        for (std::size_t i = 0; i < count; ++i) {
            line += random() % 9 ? " " : i == 0 || random() % 9 ? "\t " : ""; // may run together
            const double value = static_cast<int>(random()) / 4096.0;
            line += kind == 2 && random() % 30 == 0 ? odd[random() % odd.size()].c_str()
                                                    : str_format(random() % 8 ? "%f" : "%g", value);
        }
    }
    const auto at = random() % (line.size() + 1);
    if (kind == 3) line.insert(at, 1, "pnct 0.-"[random() % 8]);
    return line;
}

// Of all triangles up to the next bad line.
static std::string next_run(WDB_Lex_Context& lex, float scale) {
    std::string text;
    lex.try_get_triangles("triangle", scale, [&](const WDB_Triangle& t, bool is_colored) {
        text += described(t.p0.to_c(), false, false, is_colored, false);
    });
    return text;
}

// In several physical lines, where a section begins behind a blank.
static std::string broken(std::string text) {
    for (std::size_t i = 0; i + 1 < text.size(); ++i)
        if (text[i] == ' ' && std::strchr("nct", text[i + 1])) text.insert(i + 1, "\\\n\t");
    return text;
}

// Triangles are also read in runs, and from broken lines: these are taken where they lie in the
// file. What comes is the same.
TEST_F(Lex_Context, random_triangles_in_runs) {
    const Report_Catcher silence;
    std::mt19937 random(5);
    std::string text = "#\n", read[2];
    for (int i = 0; i < 20000; ++i) text.append("triangle").append(random_line(random)) += '\n';
    for (const bool in_runs : {false, true}) {
        if (in_runs) text = broken(text);
        put_file("t", text);
        Std_URL url("t");
        WDB_Lex_Context lex(&url, nullptr);
        while (!lex.is_eof()) read[in_runs] += in_runs ? next_run(lex, .1f) : next(lex, false, .1f);
        EXPECT_EQ(lex.get_line_number(), std::count(text.begin(), text.end(), '\n'));
        lex.close();
    }
    EXPECT_TRUE(read[0] == read[1]);
    EXPECT_GT(std::count(read[0].begin(), read[0].end(), '|'), 4 * 10000);
}
