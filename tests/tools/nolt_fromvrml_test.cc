// VRML files through the reader: with the converter on the PATH, one that fails, and none.
#include "tests/wdb/scene_support.h"

using std::string_literals::operator""s;

class From_VRML : public Scene_Test {
protected:
    From_VRML() {
        std::filesystem::create_directory("bin");
        std::filesystem::create_symlink(NOLT_FROMVRML, "bin/nolt_fromvrml");
        setenv("PATH", (home.string() + "/bin:/usr/bin:/bin").c_str(), 1);
    }
    // Loads without what the converter says on the standard error stream, which is kept.
    bool load_quietly(const std::string& url) {
        ::testing::internal::CaptureStderr();
        const bool is_loaded = load(url);
        said = ::testing::internal::GetCapturedStderr();
        return is_loaded;
    }
    void put_converter(const std::string& commands) {
        std::filesystem::remove("bin/nolt_fromvrml");
        put_file("bin/nolt_fromvrml", "#!/bin/sh\n" + commands);
        std::filesystem::permissions("bin/nolt_fromvrml", std::filesystem::perms::owner_all);
    }
    std::string said;
};

static std::string vrml1(const std::string& text) {
    return "#VRML V1.0 ascii\n" + text;
}
static std::string vrml97(const std::string& text) {
    return "#VRML V2.0 utf8\n" + text;
}

TEST_F(From_VRML, shapes_and_boxes) {
    const std::string square = "point [ 0 0 0, 2 0 0, 2 1 0, 0 1 0 ]";
    const std::string turned = "rotation 0 0 1 1.5707963 translation 10 0 0 ";
    // One shape each: its node, the number of triangles and its box in the world.
    const struct {
        std::string row, text, node;
        int triangles;
        Bbox box;
    } rows[] = {
        {"box 97", vrml97("Shape { geometry Box { size 2 4 6 } }"), "shape:-,-,box ", 12,
         Bbox(Point(-1, -2, -3), Point(1, 2, 3))},
        {"cube 1.0", vrml1("DEF q Material { diffuseColor 1 0 0 } DEF a Cube { width 4 }"),
         "a:q,-,box ", 12, Bbox(Point(-2, -1, -1), Point(2, 1, 1))},
        {"sphere", vrml1("Translation { translation 1 0 0 } Sphere { radius 3 }"),
         "shape:-,-,sphere ", 528, Bbox(Point(-2, -3, -3), Point(4, 3, 3))},
        {"faces 1.0, Separator",
         vrml1("Coordinate3 { " + square +
               " } Separator { Scale { "
               "scaleFactor 9 9 9 } } Transform { " +
               turned +
               " scaleFactor 1 3 1 } IndexedFaceSet { "
               "coordIndex [ 0 1 2 3 -1 0 1 9 -1 ] }"),
         "shape:-,-,faces ", 2, Bbox(Point(7, 0, 0), Point(10, 2, 0))},
        {"faces 97, nested, USE",
         vrml97("Switch { choice DEF s Shape { appearance Appearance { "
                "material DEF m Material {} } geometry DEF f IndexedFaceSet { coord Coordinate { " +
                square +
                " } coordIndex [ 0, 1, 2, 3 ] color Color { color 1 0 0 } } } }\nROUTE a.b TO c.d\n"
                "PROTO P [ field SFNode x NULL ] { Group { children IS x } }\nTransform { " +
                turned +
                "children [ Script { url \"javascript: } {\" } Group { children USE s } ] }"),
         "s:m,-,f ", 2, Bbox(Point(9, 0, 0), Point(10, 2, 0))},
        {"matrix, DEF and USE",
         vrml1("Separator { DEF m MatrixTransform { matrix 1 0 0 0 0 1 0 0 0 "
               "0 1 0 5 6 7 1 } } USE m USE m Cube {}"),
         "shape:-,-,box ", 12, Bbox(Point(9, 11, 13), Point(11, 13, 15))},
        {"center, ccw",
         vrml97("Transform { center 1 0 0 scale 2 1 1 children Shape { geometry "
                "IndexedFaceSet { ccw FALSE coord Coordinate { " +
                square + " } coordIndex [ 0 1 2 ] } } }"),
         "shape:-,-,faces ", 1, Bbox(Point(-1, 0, 0), Point(3, 1, 0))},
        {"cut off", vrml1("Separator { Cube {} Separator { Sphere { radius"), "shape:-,-,box ", 12,
         Bbox(Point(-1, -1, -1), Point(1, 1, 1))},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.row);
        put_file("t", r.text);
        ASSERT_TRUE(load_quietly("t"));
        const std::string last = "Converting from VRML\n";
        if (r.row == "cut off") { // its last node too
            EXPECT_NE(nodes().find("shape:-,-,box"), std::string::npos);
            continue;
        }
        EXPECT_EQ(errors(), last);
        ASSERT_EQ(nodes(), r.node);
        WDB_Node* const n = node(r.node.substr(0, r.node.find(':')));
        const Bbox box = n->get_bbox().transformed_by(n->get_transform());
        EXPECT_EQ(triangles(n->get_name())->count(), r.triangles);
        EXPECT_TRUE(box.min.is_epsilon_equal(r.box.min, 1e-5f)) << box.min;
        EXPECT_TRUE(box.max.is_epsilon_equal(r.box.max, 1e-5f)) << box.max;
    }
}

TEST_F(From_VRML, blocks_of_the_file) {
    for_each_block(TEST_SCENES, [this](std::map<std::string, std::string>& parts) {
        put_file("t", parts["text"]);
        EXPECT_EQ(std::system("nolt_fromvrml < t > out 2> err"), 0);
        EXPECT_EQ(file("out"), parts["scene"]);
        EXPECT_EQ(file("err"), parts["said"]);
    });
}

// Normals look outwards, whatever the shape is made of.
TEST_F(From_VRML, triangles_look_outwards) {
    for (const char* text : {"Cube {}", "Sphere {}"}) {
        put_file("t", vrml1(text));
        load_quietly("t");
        const WDB_Tri_List& list = *triangles("shape");
        for (int i = 0; i < list.count(); ++i) {
            const WDB_Triangle& t = list[i];
            EXPECT_GT(dot(cross(t.p1 - t.p0, t.p2 - t.p0), toVector(t.p0)), 0) << text << i;
            EXPECT_GT(dot(t.n1, toVector(t.p1)), 0) << text << i;
        }
    }
}

TEST_F(From_VRML, what_costs_too_much_ends) {
    std::string laughs = "DEF a0 Group { Sphere {} }\n", braces;
    for (int i = 1; i < 60; ++i) {
        laughs += "DEF a" + std::to_string(i) + " Group { ";
        for (int k = 0; k < 10; ++k) laughs += "USE a" + std::to_string(i - 1) + " ";
        laughs += "}\n";
    }
    for (int i = 0; i < 1000000; ++i) braces += "Group{";
    const std::string bombs[] = {vrml1(laughs), vrml1(braces), vrml1("A { b [ " + braces)};
    for (const std::string& bomb : bombs) {
        put_file("t", bomb);
        ASSERT_EQ(std::system("nolt_fromvrml < t 2> err | wc -c > size"), 0);
        EXPECT_NE(file("err"), "");
        EXPECT_LT(std::stol(file("size")), 50000000);
    }
}

TEST_F(From_VRML, what_the_reader_hands_over) {
    // Tells what it was given as scene text, of which line 2 is wrong.
    put_converter("[ \"$1\" = -tmp ] || exit\ncat > copy\nprintf '\\nx\\nnode %s {\\n}\\n}\\nnode "
                  "b {\\n}' \"$2\"\n");
    const std::string text =
        "#VRML V9.9 anything\r\nline two\\\n\n" + std::string(5000, 'v') + "\n";
    const std::string name = "it's $(touch bad); a";
    put_file(name + ".wrl", text);
    ASSERT_TRUE(load(name + ".wrl"));
    EXPECT_EQ(file("copy"), text);
    EXPECT_EQ(errors(), "Converting from VRML\n[" + name +
                            ".wrl-2]: Error - confused by earlier errors, "
                            "skipping until brace\n[" +
                            name + ".wrl-2]:         |x|\n");
    EXPECT_EQ(nodes(), "b:-,- ");
    EXPECT_FALSE(std::filesystem::exists("bad"));
    // Inside an import, packed, with the prefix of a long name cut.
    put_converter("cat > copy\necho \"node $2 {\"\necho }\n");
    put_file("v.wrl", text);
    ASSERT_EQ(std::system("gzip v.wrl"), 0);
    load_text("import file {\n frame t 1 0 0\n file \"v.wrl.gz\"\n}");
    EXPECT_EQ(nodes().substr(0, 7), "v_vrml_") << errors();
    put_file(std::string(200, 'w') + ".wrl", text);
    load(std::string(200, 'w') + ".wrl");
    EXPECT_EQ(nodes().substr(0, 103), std::string(96, 'w') + "_vrml_" + nodes()[102]);
}

TEST_F(From_VRML, converters_that_fail) {
    put_file("t", vrml1("Cube {}"));
    put_converter("exec 0<&-\necho 'node a {'\nexit 3\n");
    const auto failed = [](int status) {
        return "[t-2]: Error - conversion failed with status " + std::to_string(status);
    };
    ASSERT_TRUE(load("t"));
    EXPECT_NE(reports.find(failed(3)), std::string::npos) << reports;
    EXPECT_EQ(nodes(), "a:-,- ");
    put_converter("echo 'node a {'\nkill -9 $$\n");
    ASSERT_TRUE(load_quietly("t"));
    EXPECT_NE(reports.find(failed(137)), std::string::npos) << reports;
    EXPECT_EQ(nodes(), "a:-,- ");
    std::filesystem::remove("bin/nolt_fromvrml");
    ASSERT_TRUE(load_quietly("t"));
    EXPECT_NE(reports.find("Error - conversion failed with status 127"), std::string::npos);
    EXPECT_EQ(nodes(), "");
    setenv("TMPDIR", "/no/such/folder", 1);
    EXPECT_FALSE(load("t"));
    EXPECT_EQ(reports, "Converting from VRML\nUnable to open local tmp file\nCannot open URL t\n");
    put_file("t", "#vrml\nnode a {\n}");
    ASSERT_TRUE(load("t"));
    EXPECT_EQ(nodes(), "a:-,- ") << "a comment";
}
