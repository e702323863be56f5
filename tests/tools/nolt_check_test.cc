// Runs the command in an empty folder with small scenes.
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

static const std::string mesh = "trianglelist g {\n triangle p 0 0 0 1 0 0 0 1 0\n"
                                " triangle p 0 0 0 1 0 0 0 0 1\n}\n";

TEST_F(Nolt_Check, tables) {
    put_file("picture", "no image");
    put_file("part", "node p {\n geometry g\n}\nnode p {\n}\n");
    const struct {
        const char* row;
        std::string scene;
        const char* table;
        int status;
    } rows[] = {
        {"empty", "", "  bounds     -10000 -10000 -10000  10000 10000 10000\ns\nMB\n", 0},
        {"all kinds",
         mesh + "linelist l {\n line p 0 0 0 1 0 0\n}\nmaterial m {\n}\n"
                "node a {\n frame t 10 0 0\n material m\n geometry g l\n}\n"
                "node b {\n geometry g\n}\nnode c {\n geometry l\n}\nnode d {\n material m\n}\n"
                "camera e {\n}\nlight f {\n}\n",
         "  nodes      6\n  shapes     3\n  geometries 2\n  triangles  4\n  lines      1\n"
         "  cameras    1\n  lights     1\n  materials  1\n  bounds     0 0 0  11 1 1\ns\nMB\n",
         0},
        {"imports and names", mesh + "import file {\n file \"part\"\n}\n",
         "  nodes      1\n  shapes     1\n  geometries 1\n  triangles  2\n  bounds     0 0 0  1 1 "
         "1\n"
         "  imports    1\n  warnings   1\ns\nMB\n",
         0},
        {"faults", "texture t {\n image \"picture\"\n}\nnode a {\n texture t\n geometry g\n}\n",
         "  nodes      1\n  textures   1\n  bounds     -10000 -10000 -10000  10000 10000 10000\n"
         "  errors     2\ns\nMB\n",
         1},
        {"outside",
         "world w {\n bbox -1 -1 -1 1 1 1\n}\n" + mesh +
             "node a {\n frame t 9 0 0\n geometry g\n}\n",
         "  outside    1\n", 0},
    };
    for (const auto& r : rows) {
        put_file("t", r.scene);
        EXPECT_EQ(check("t"), r.status) << r.row;
        const std::string whole = "t\n" + std::string(r.table), part = r.table;
        if (std::string(r.row) == "outside")
            EXPECT_NE(table().find(part), std::string::npos) << table();
        else
            EXPECT_EQ(table(), whole) << r.row << "\n" << err;
    }
}

TEST_F(Nolt_Check, names_and_statuses) {
    put_file("good", mesh);
    put_file("bad", "rubbish\n");
    const std::tuple<const char*, const char*, int> rows[] = {
        {"", "", 2},
        {"-x good", "", 2},
        {"good good", "good\n  nodes      0\n", 0},
        {"bad good", "bad\n  nodes      0\n", 1},
        {"-- absent", "absent\n  imports    0\n  errors     1\n", 1},
        {"\"$(printf 'a\\033[m')\"", "a\\x1b[m\n", 1},
        {"good >/dev/full; exit $?; :", "", 1},
    };
    for (const auto& [arguments, begin, status] : rows) {
        EXPECT_EQ(check(arguments), status) << arguments;
        EXPECT_EQ(err.ends_with("usage: nolt_check scene...\n"), status == 2) << err;
        EXPECT_EQ(out.substr(0, std::string(begin).size()), begin) << arguments << err;
    }
}
