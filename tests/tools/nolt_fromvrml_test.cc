// VRML files through the reader: with the converter on the PATH, one that fails, and none.
#include <cmath>

#include "std/Std_Common.h"
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
    // All names; the triangles of the first shape and its box.
    std::string first_shape() {
        const std::string all = nodes();
        WDB_Node* const n = node(all.substr(0, all.find(':')));
        const Bbox box = n->get_bbox().transformed_by(n->get_transform());
        const auto shown = [](const Point& p) {
            const auto thousands = [](float f) { return std::lround(f * 1000); };
            return str_format(" %ld %ld %ld", thousands(p.x), thousands(p.y), thousands(p.z));
        };
        return all + str_format("\n%d", triangles(n->get_name())->count()) + shown(box.min) +
               shown(box.max) + "\n";
    }
    std::string said;
};

static std::string vrml1(const std::string& text) {
    return "#VRML V1.0 ascii\n" + text;
}

TEST_F(From_VRML, blocks_of_the_file) {
    for_each_block(TEST_SCENES, [this](std::map<std::string, std::string>& parts) {
        put_file("t", parts["text"]);
        EXPECT_EQ(std::system("nolt_fromvrml < t > out 2> err"), 0);
        if (parts.contains("scene")) {
            EXPECT_EQ(file("out"), parts["scene"]);
        }
        EXPECT_EQ(file("err"), parts["said"]);
        load_quietly("t");
        if (parts.contains("world")) {
            EXPECT_EQ(first_shape(), parts["world"]);
        }
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
