// Runs the command in an empty folder with small scenes.
#include "tests/Blocks.h"
#include "tests/Scratch_Folder.h"

class Nolt_Check : public Scratch_Folder_Test {
protected:
    int check(const std::string& arguments) { return run("'" NOLT_CHECK "' " + arguments); }
    // The table's lines without those that say 0; of what differs from run to run only the unit.
    std::string table() const {
        std::string text;
        std::istringstream lines(out);
        for (std::string line; std::getline(lines, line);) {
            double measured;
            char unit[3];
            if (std::sscanf(line.c_str(), "  time %lf %2s", &measured, unit) == 2 ||
                std::sscanf(line.c_str(), "  memory %lf %2s", &measured, unit) == 2)
                line = measured >= 0 ? unit : "negative";
            if (!line.ends_with(" 0")) text += line + "\n";
        }
        return text;
    }
};

static const std::string mesh =
    "trianglelist g { triangle p 0 0 0 1 0 0 0 1 0; triangle p 0 0 0 1 0 0 0 0 1 }\n";

TEST_F(Nolt_Check, tables) {
    put_file("picture", "no image");
    put_file("part", unfolded("node p { geometry g }\nnode p { }\n"));
    const std::string standard = "  bounds     -10000 -10000 -10000  10000 10000 10000\n";
    const std::tuple<std::string, std::string, int> rows[] = {
        {"", standard + "s\nMB\n", 0},
        {mesh + "linelist l { line p 0 0 0 1 0 0 }\nmaterial m { }\n"
                "node a { frame t 10 0 0; material m; geometry g l }\nnode b { geometry g }\n"
                "node c { geometry l }\nnode d { material m }\ncamera e { }\nlight f { }\n",
         "  nodes      6\n  shapes     3\n  geometries 2\n  triangles  4\n  lines      1\n"
         "  cameras    1\n  lights     1\n  materials  1\n  bounds     0 0 0  11 1 1\ns\nMB\n",
         0},
        {mesh + "import file { file \"part\" }\n",
         "  nodes      1\n  shapes     1\n  geometries 1\n  triangles  2\n  bounds     0 0 0  1 1 "
         "1\n"
         "  imports    1\n  warnings   1\ns\nMB\n",
         0},
        {"texture t { image \"picture\" }\nnode a { texture t; geometry g }\n",
         "  nodes      1\n  textures   1\n" + standard + "  errors     2\ns\nMB\n", 1},
        {"world w { bbox -1 -1 -1 1 1 1 }\n" + mesh + "node a { frame t 9 0 0; geometry g }\n",
         "  outside    1\n  bounds     1e+30 1e+30 1e+30  -1e+30 -1e+30 -1e+30\ns\nMB\n", 0},
    };
    for (const auto& [scene, should, status] : rows) {
        put_file("t", unfolded(scene));
        EXPECT_EQ(check("t"), status) << err;
        EXPECT_EQ(table(), "t\n" + should) << err;
    }
}

TEST_F(Nolt_Check, names_and_statuses) {
    put_file("good", unfolded(mesh));
    put_file("bad", "rubbish\n");
    put_file("zeros", std::string(3000, '\0') + "\n");
    put_file("vrml", "#VRML V2.0 utf8\nShape { geometry Box { } }\n"); // its converter lies beside
    ASSERT_EQ(std::system("gzip < good | head -c -2 > cut.gz"), 0);
    const std::tuple<const char*, const char*, int> rows[] = {
        {"", "", 2},
        {"-x good", "", 2},
        {"--help", "usage: nolt_check [-q] scene...\n", 0},
        {"--version", "nolt ", 0},
        {"-q good", "", 0},
        {"-q bad", "", 1},
        {"-q zeros", "", 1},
        {"good good", "good\n  nodes      0\n", 0},
        {"vrml", "vrml\n  nodes      1\n", 0},
        {"bad good", "bad\n  nodes      0\n", 1},
        {"cut.gz", "cut.gz\n  nodes      0\n", 1},
        {"-- absent", "absent\n  imports    0\n  errors     1\n", 1},
        {"\"$(printf 'a\\033[m')\"", "a\\x1b[m\n", 1},
        {"good >/dev/full; exit $?; :", "", 1},
    };
    for (const auto& [arguments, begin, status] : rows) {
        EXPECT_EQ(check(arguments), status) << arguments;
        EXPECT_EQ(err.ends_with("usage: nolt_check [-q] scene...\n"), status == 2) << err;
        if (std::string(arguments).starts_with("-q")) {
            EXPECT_EQ(out + (status ? "" : err), "");
        }
        EXPECT_EQ(out.substr(0, std::string(begin).size()), begin) << arguments << err;
    }
}
