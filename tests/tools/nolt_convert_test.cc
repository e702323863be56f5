// Runs the command in an empty folder, and takes its files apart.
#include "tests/Blocks.h"
#include "tests/Scratch_Folder.h"

class Nolt_Convert : public Scratch_Folder_Test {
protected:
    int convert(const std::string& arguments) { return run("'" NOLT_CONVERT "' " + arguments); }
    // The little numbers of a binary file.
    template<class T>
    static std::vector<T> numbers(const std::string& bytes, std::size_t at, std::size_t count) {
        std::vector<T> all(count);
        std::memcpy(all.data(), bytes.substr(at).data(), count * sizeof(T));
        return all;
    }
};

// A mirrored triangle with colours, one outside the bounds, one that gets lost, and a line.
static const std::string scene =
    "world w { bbox -1 -1 -1 9 9 9 }\n"
    "trianglelist g { triangle p 0 0 0 1 0 0 0 1 0 c 1 0 0 0 1 0 0 0 1 }\n"
    "trianglelist h { triangle p 0 0 0 1 0 0 0 1 0; triangle p 0 0 0 9e37 0 0 0 9e37 0 }\n"
    "linelist l { line p 0 0 0 1 0 0 }\nmaterial m { diffuse 1 0.5 0 }\n"
    "node a { frame s -2 1 1; geometry g }\nnode b { frame s 10 10 10 t 50 0 0; material m;\n"
    " geometry h }\nnode c { geometry l }\n";

TEST_F(Nolt_Convert, meshes_of_others) {
    put_file("s", unfolded(scene));
    const char* const told = "nolt_convert: left out 1 lines, cameras and lights\n"
                             "nolt_convert: left out 1 triangles with a number that is infinite";
    for (const char* name : {"o.obj", "o.stl", "o.PLY"}) {
        EXPECT_EQ(convert(std::string("s ") + name), 0) << err;
        EXPECT_TRUE(holds(err, told)) << err;
    }
    // Its front is where it was.
    EXPECT_TRUE(holds(file("o.obj"), "mtllib o.mtl\no a\nusemtl unnamed_1\n"
                                     "v 0 0 0 1 0 0\nvt 0 0\nvn 0 0 1\n"
                                     "v -2 0 0 0 1 0\nvt 0 0\nvn 0 0 1\n"
                                     "v 0 1 0 0 0 1\nvt 0 0\nvn 0 0 1\nf 1/1/1 3/3/3 2/2/2\n"
                                     "o b\nusemtl m_2\nv 50 0 0\n"))
        << file("o.obj");
    EXPECT_TRUE(holds(file("o.mtl"), "newmtl m_2\nKa 0 0 0\nKd 1 0.5 0\n")) << file("o.mtl");
    const std::string stl = file("o.stl"), ply = file("o.PLY");
    ASSERT_EQ(stl.size(), 84u + 2 * 50);
    EXPECT_EQ(numbers<float>(stl, 84, 12),
              (std::vector<float>{0, 0, 1, 0, 0, 0, 0, 1, 0, -2, 0, 0}));
    EXPECT_EQ(numbers<float>(stl, 134, 6), (std::vector<float>{0, 0, 1, 50, 0, 0}));
    const std::size_t at = ply.find("end_header\n") + 11;
    ASSERT_EQ(ply.size(), at + 2 * (3 * 27 + 13));
    EXPECT_EQ(numbers<float>(ply, at + 27, 6), (std::vector<float>{0, 1, 0, 0, 0, 1}));
    EXPECT_EQ(ply.substr(at + 27 + 24, 3), std::string("\0\0\xFF", 3));
    EXPECT_EQ(ply.substr(at + 3 * 27 + 24, 3), std::string("\xFF\x80\0", 3));
}

// More than a process may have open files; and none takes the place of what the scene shows.
TEST_F(Nolt_Convert, many_pictures) {
    const std::string picture("\x01\xDA\0\1\0\2\0\2\0\2\0\1", 12);
    put_file("o_2.png", picture + std::string(512 - 12, '\0') + "abcd");
    std::string many = scene;
    for (int i = 0; i < 60; ++i) {
        const std::string n = std::to_string(i);
        many += "texture t" + n + " { image \"o_2.png\" }\nnode n" + n + " { texture t" + n +
                "; geometry g }\n";
    }
    put_file("s", unfolded(many));
    const std::string before = file("o_2.png");
    EXPECT_EQ(run("ulimit -n 32; '" NOLT_CONVERT "' s o.obj"), 0) << err;
    EXPECT_TRUE(file("o_2.png") == before);
    EXPECT_TRUE(holds(file("o.mtl"), "map_Kd o_1.png\n") &&
                !holds(file("o.mtl"), "map_Kd o_2.png\n") &&
                holds(file("o.mtl"), "map_Kd o_61.png\n"));
    EXPECT_TRUE(file("o_61.png").starts_with("\x89PNG"));
}

TEST_F(Nolt_Convert, statuses) {
    put_file("s", unfolded(scene));
    put_file("s.glb", "");
    put_file("bad", unfolded(scene) + "rubbish\n");
    put_file("others.mtl", "newmtl m\n");
    const std::tuple<const char*, int> rows[] = {
        {"", 2},
        {"s o.xyz", 2},
        {"-instances s o.obj", 2},
        {"-instances s", 2},
        {"s o.3d", 0},
        {"o.3d o.3d", 1},
        {"absent o.stl", 1},
        {"bad o.stl", 1},
        {"s none/o.obj", 1},
        {"s others.obj", 1},
        {"s O.3D", 0},
#ifdef NOLT_JSON
        {"-instances s o.glb", 0},
        {"s s.glb", 0},
#endif
    };
    for (const auto& [arguments, status] : rows) {
        EXPECT_EQ(convert(arguments), status) << arguments << err;
        EXPECT_EQ(holds(err, "usage: nolt_convert"), status == 2) << err;
    }
    EXPECT_EQ(file("others.mtl"), "newmtl m\n");
}
