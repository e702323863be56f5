// VRML files through the reader: with the converter on the PATH, one that fails, and none.
#include "tests/wdb/scene_support.h"
#include "tools/Vrml_Converter.h"

using std::string_literals::operator""s;

class From_VRML : public Scene_Test {
protected:
    From_VRML() {
        std::filesystem::create_directory("bin");
        std::filesystem::create_symlink(NOLT_FROMVRML, "bin/nolt_fromvrml");
        setenv("PATH", (home.string() + "/bin:/usr/bin:/bin").c_str(), 1);
    }
    int convert(const std::string& text, const std::string& arguments = "") {
        put_file("t", text);
        return run("nolt_fromvrml" + arguments + " < t", " > out 2> err");
    }
    // Loads without what the converter says on the standard error stream, which is kept.
    bool load_quietly(const std::string& url) {
        said = reports_of([&] { load(url); });
        return world;
    }
    void put_converter(const std::string& commands) {
        std::filesystem::remove("bin/nolt_fromvrml");
        put_file("bin/nolt_fromvrml", "#!/bin/sh\n" + commands);
        std::filesystem::permissions("bin/nolt_fromvrml", std::filesystem::perms::owner_all);
    }
    // The names without the tails that tell conversions apart.
    std::string names() const {
        std::string text = nodes();
        for (std::size_t at; (at = text.find("_vrml_")) != std::string::npos;) {
            const std::size_t begin = text.rfind('.', at);
            text.erase(begin, text.find_first_of(":, ", at) - begin);
        }
        return text;
    }
    // Each shape with its number of triangles and its box, in thousandths.
    std::string shapes() {
        std::istringstream full(nodes()), brief(names());
        std::string text, name, shown_name;
        while (full >> name && brief >> shown_name) {
            WDB_Node* const n = node(name.substr(0, name.find(':')));
            const Bbox box = n->get_bbox().transformed_by(n->get_transform());
            text += shown_name + " " + std::to_string(triangles(n->get_name())->count());
            for (int i = 0; i < 6; ++i)
                text += str_format(" %ld", std::lround(box[i / 3][i % 3] * 1000));
            text += "\n";
        }
        return text;
    }
    std::string said;
};

static std::string vrml1(const std::string& text) {
    return std::string("#VRML V1.0 ascii\n").append(text);
}

static std::string vrml97(const std::string& text) {
    return std::string("#VRML V2.0 utf8\n").append(text);
}

// A line for each block of a scene, without what is standard in VRML97.
static std::string brief(const std::string& scene) {
    return replaced(folded(scene),
                    {{"frame m 1 0 0 0 1 0 0 0 1 0 0 0; ", ""},
                     {"frame m 1 0 0 0 1 0 0 0 1 ", "frame t "},
                     {" emission 0 0 0; specular 0 0 0;", ""},
                     {"; alpha 1 }", " }"},
                     {"material material { ambient 0.16 0.16 0.16; diffuse 0.8 0.8 0.8; "
                      "shininess 25.6 }\n",
                      ""}});
}

TEST_F(From_VRML, blocks_of_the_file) {
    for_each_block(TEST_SCENES, [this](std::map<std::string, std::string>& parts) {
        const bool is_vrml1 = parts["name"].starts_with("VRML 1.0");
        const bool is_cut = parts["name"].find("cut off") != std::string::npos;
        EXPECT_EQ(convert(is_vrml1 ? vrml1(parts["text"]) : vrml97(parts["text"])), is_cut);
        if (parts.contains("brief")) {
            EXPECT_EQ(brief(out), parts["brief"]);
        }
        EXPECT_EQ(err, parts["said"]);
        load_quietly("t");
        if (parts.contains("world")) {
            EXPECT_EQ(shapes(), parts["world"]);
        }
    });
}

// So do their normals, whatever the shape is made of; and textures are not mirrored on solids, and
// on none repeated.
TEST_F(From_VRML, triangles_look_outwards) {
    const std::string spine = " creaseAngle 2 spine [ 0 -1 0, 0 1 0 ] ";
    const std::string shapes[] = {
        "Box {}",
        "Sphere {}",
        "Cylinder {}",
        "Cone {}",
        "Extrusion {" + spine + "}",
        "Extrusion {" + spine + "ccw FALSE crossSection [ 1 1, -1 1, -1 -1, 1 -1, 1 1 ] }",
        "Extrusion { spine [ -1 0 0, 1 0 0 ] }",
        "Extrusion { spine [ 0 1 0, 0 -1 0 ] orientation [ 0 1 0 0, 0 1 0 1 ] }"};
    for (const std::string& shape : shapes) {
        const std::string texture_of =
            "Shape { appearance Appearance { texture ImageTexture { url \"a.rgb\" } } ";
        ASSERT_EQ(convert(vrml97(texture_of + "geometry " + shape + " }")), 0);
        ASSERT_TRUE(load_quietly("out"));
        const WDB_Tri_List& list = *triangles("shape");
        double volume = 0;
        Bbox texture(list[0].t0, list[0].t0);
        for (int i = 0; i < list.count(); ++i) {
            const WDB_Triangle& t = list[i];
            const Vector face = cross(t.p1 - t.p0, t.p2 - t.p0);
            EXPECT_GT(dot(face, toVector(t.p0)), 0) << shape << i;
            for (const Vector& n : {t.n0, t.n1, t.n2}) EXPECT_GT(dot(n, face), 0) << shape << i;
            for (const Point& p : {t.t0, t.t1, t.t2}) texture.merge(p);
            const Vector s = t.t1 - t.t0, r = t.t2 - t.t0;
            if (shape.ends_with(" {}")) {
                EXPECT_GT(s.x * r.y - s.y * r.x, 0) << shape << i;
            }
            volume += static_cast<double>(dot(face, toVector(t.p0))) / 6;
        }
        EXPECT_GT(volume, 0.9) << shape; // closed, with a unit box at least inside
        EXPECT_EQ(texture, Bbox(Point(0, 0, 0), Point(1, 1, 0))) << shape;
    }
}

// What is written, and whether something is told; and whether the text was whole.
static std::tuple<std::string, bool, bool> converted(const std::string& text,
                                                     std::size_t most_work) {
    std::FILE *const out = std::tmpfile(), *const told = std::tmpfile();
    const bool is_whole = vrml_convert(text, {"", "", most_work}, out, told);
    std::string written(static_cast<std::size_t>(std::ftell(out)), '\0');
    std::rewind(out);
    EXPECT_EQ(std::fread(written.data(), 1, written.size(), out), written.size());
    const bool is_told = std::ftell(told) > 0;
    for (std::FILE* file : {out, told}) std::fclose(file);
    return {written, is_told, is_whole};
}

// The work that each conversion takes: with one less it ends before the rest is written, and says
// so.
TEST(Vrml_Budget, is_just_enough) {
    const std::string faces =
        "geometry IndexedFaceSet { coord Coordinate { point [ 0 0 0, 9 0 0, 9 9 0, 1 2 0 ] } ";
    const std::pair<std::string, std::size_t> rows[] = {
        {vrml97("Group {} Group {}"), 2},
        {vrml97("Group { children [ Group {} Group {} Group {} ] }"), 8},
        {vrml97("Switch { choice [ Group {} Group {} ] } LOD { level [ Group {} ] }"), 8},
        {vrml97("Shape { appearance Appearance { material Material {} } geometry Box {} }"), 7},
        {vrml97("Shape { " + faces + "coordIndex [ 0 1 2 3 ] } }"), 11},
        {vrml97("Shape { " + faces + "convex FALSE coordIndex [ 0 1 2 3 ] } }"), 12},
        {vrml97("Shape { " + faces + "creaseAngle 1 coordIndex [ 0 1 2 -1 2 3 0 ] } }"), 22},
        {vrml97("PROTO P [ field SFVec3f s 1 1 1 ] { Shape { geometry Box { size IS s } } } "
                "P { s 2 2 2 } P {}"),
         18},
        {vrml97("DEF a Transform { children Shape { geometry Sphere { radius 2 } } } USE a USE a"),
         21},
        {vrml1("Separator { Material { diffuseColor [ 1 0 0, 0 1 0 ] } Cube {} } Coordinate3 { "
               "point [ 0 0 0, 1 0 0 ] } IndexedLineSet { coordIndex [ 0 1 ] }"),
         12},
    };
    for (const auto& [text, work] : rows) {
        const auto& [all, all_told, all_whole] = converted(text, work);
        const auto& [less, is_told, is_whole] = converted(text, work - 1);
        EXPECT_FALSE(all_told) << text;
        EXPECT_TRUE(is_told && (less.empty() || less != all)) << text;
    }
}

// A cut goes unseen only where nothing is open.
TEST(Vrml_Convert, cut_files) {
    const std::string statements[] = {
        "DEF a Group { children [ Shape { geometry Box { size 1 2 3 } } Cone { parts (ALL) } ] }",
        "USE a",
        "PROTO P [ field SFVec3f s 1 1 1 ] { Shape { geometry Box { size IS s } } }",
        "P { s 2 2 2 }",
        "EXTERNPROTO Q [ field SFBool on ] [ \"no\" ]",
        "Script { url \"x }\" field SFInt32 i 1 }",
        "ROUTE a.b TO c",
        "\x1a"};
    for (std::string before : {vrml97(""), vrml1("")})
        for (const std::string& statement : statements) {
            for (std::size_t size = 0; size <= statement.size(); ++size) {
                const std::string text = before + statement.substr(0, size);
                const auto& [written, is_told, is_whole] = converted(text, Vrml_Budget::MOST_WORK);
                EXPECT_EQ(is_whole, size == 0 || size == statement.size()) << text;
                EXPECT_TRUE(is_whole || is_told) << text;
            }
            before += statement + "\n";
        }
}

TEST_F(From_VRML, what_costs_too_much_ends) {
    // Each thing names the one before ten times.
    std::string uses = "DEF a0 Shape { geometry Sphere {} }\n",
                prototypes = "PROTO a0 [] { Shape { geometry Sphere {} } }\n";
    for (int i = 1; i < 60; ++i) {
        const std::string name = str_format(" a%d ", i), before = str_format(" a%d ", i - 1);
        uses.append("DEF").append(name).append("Group {");
        prototypes.append("PROTO").append(name).append("[] { Group {");
        for (int k = 0; k < 10; ++k) {
            uses.append(" USE").append(before);
            prototypes.append(before).append("{}");
        }
        uses += "}\n";
        prototypes += "} }\n";
    }
    std::string braces, numbers, ears;
    for (int i = 0; i < 1000000; ++i) braces += "Group{";
    for (int i = 0; i < 100000; ++i) numbers += "1 0 0 ";
    for (int i = 0; i < 30000; ++i) // a comb
        ears += std::to_string(i) + (i % 2 ? " 9 0 " : " 1 0 ");
    std::string index = "30000 30001 ";
    for (int i = 29999; i >= 0; --i) index += std::to_string(i) + " ";
    // Shapes that are too much alone cost nothing else.
    const std::pair<std::string, int> bombs[] = {
        {vrml97(uses), 1},
        {vrml97(prototypes + "a59 {}"), 1},
        {vrml1(braces), 1},
        {vrml1("A { b [ " + braces), 1},
        {vrml97("Shape { geometry Extrusion { spine [ " + numbers + "] crossSection [ " + numbers +
                "] } }"),
         0},
        {vrml97("Shape { geometry IndexedFaceSet { convex FALSE coord Coordinate { point [ " +
                ears + "30000 0 0 0 0 0 ] } coordIndex [ " + index + "] } }"),
         0}};
    for (const auto& [bomb, status] : bombs) {
        put_file("t", bomb);
        EXPECT_EQ(run("ulimit -t 60; nolt_fromvrml < t", " > out 2> err"), status)
            << bomb.substr(0, 50);
        EXPECT_NE(err + out, "");
        EXPECT_LT(out.size(), 50000000u);
    }
}

TEST_F(From_VRML, files_that_belong_together) {
    std::filesystem::create_directory("sub");
    put_file("sub/lib.wrl", vrml97("PROTO Ball [] { Box {} } PROTO Box1 [ field SFVec3f s 1 1 1 ] "
                                   "{ Shape { geometry Box { size IS s } } }"));
    put_file("sub/a.wrl",
             vrml97("EXTERNPROTO Block [ field SFVec3f s ] [ \"no.wrl\" \"lib.wrl#Box1\" ]\n"
                    "DEF x Block { s 2 2 2 } Transform { translation 5 0 0 children "
                    "Inline { url \"b.wrl\" } }"));
    put_file("sub/b.wrl", vrml97("DEF x Shape { geometry Box {} }"));
    load_quietly("sub/a.wrl");
    EXPECT_EQ(names(), "x:material,-,box x:material,-,box ") << errors();
    EXPECT_EQ(said, "");
    load_text("import file {\n frame t 0 9 0\n file \"sub/b.wrl\"\n file \"sub/b.wrl\"\n}");
    EXPECT_EQ(names(), "x:material,-,box x:material,-,box ") << errors();
    // What stands in a file of prototypes is meant from there.
    put_file(
        "sub/sign.wrl",
        vrml97(
            "PROTO Sign [] { Group { children [ Inline { url \"b.wrl\" } Shape { geometry Box {} "
            "appearance Appearance { texture ImageTexture { url \"a.gif\" } } } ] } }"));
    EXPECT_EQ(convert(vrml97("EXTERNPROTO Sign [] \"sub/sign.wrl\" Sign {}")), 0);
    EXPECT_TRUE(holds(out, "file \"sub/b.wrl\""));
    EXPECT_TRUE(holds(err, "PNG: sub/a.gif"));
    // Text that came from elsewhere takes nothing from here.
    std::filesystem::current_path("sub");
    EXPECT_EQ(convert(file("a.wrl"), " -tmp x"), 0);
    EXPECT_TRUE(holds(out, "\n# nolt_fromvrml: skipped 1: EXTERNPROTO Block, line 2\n"));
    EXPECT_EQ(convert(file("b.wrl"), " -tmp abcdefghijklmnopqrstuvwxyz"), 0);
    EXPECT_TRUE(holds(out, "node x.cdefghijklmnopqrstuvwxyz {"));
    EXPECT_EQ(convert(file("a.wrl")), 0);
    EXPECT_EQ(err, "");
}

TEST_F(From_VRML, status_and_lines) {
    const std::string neither = "neither VRML 1.0 nor VRML97\n";
    const std::tuple<std::string, std::string, int> rows[] = {
        {"#VRML V2.0 utf8\n", "", 0},
        {"#VRML V3.0 utf8\n", neither, 1},
        {"Text V2.0 utf8\n", neither, 1},
        {vrml97("PROTO P [] { Group {} } ROUTE a.b TO c.d"), "skipped 1: ROUTE, line 2\n", 0},
        {vrml97("] 7"), "skipped 2: text that is no node, first in line 2\n", 1},
        {"#VRML V2.0 utf8\r# a comment\rFog {}\rSound {}\r",
         "skipped 1: Fog, line 3\nskipped 1: Sound, line 4\n", 0},
        {"#VRML V2.0 utf8\r\n\r\nFog {}\r\n", "skipped 1: Fog, line 3\n", 0}};
    for (const auto& [text, told, status] : rows) {
        EXPECT_EQ(convert(text), status) << text;
        EXPECT_EQ(replaced(err, {{"nolt_fromvrml: ", ""}}), told);
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
    const std::tuple<const char*, int, const char*> rows[] = {
        {"exec 0<&-\necho 'node a {'\nexit 3\n", 3, "a:-,- "},
        {"echo 'node a {'\nkill -9 $$\n", 137, "a:-,- "},
        {"exit 127", 127, ""}};
    for (const auto& [commands, status, left] : rows) {
        put_converter(commands);
        ASSERT_TRUE(load_quietly("t"));
        EXPECT_TRUE(
            holds(reports, str_format(": Error - conversion failed with status %d\n", status)));
        EXPECT_EQ(nodes(), left);
    }
    std::filesystem::remove("bin/nolt_fromvrml");
    ASSERT_TRUE(load_quietly("t"));
    const bool is_installed = std::filesystem::exists(NOLT_BINDIR "/nolt_fromvrml");
    EXPECT_TRUE(is_installed || holds(reports, "failed with status 127"));
    setenv("TMPDIR", "/no/such/folder", 1);
    EXPECT_FALSE(load("t"));
    EXPECT_EQ(reports, "Converting from VRML\nUnable to open local tmp file\nCannot open URL t\n");
    put_file("t", "#vrml\nnode a {\n}");
    ASSERT_TRUE(load("t"));
    EXPECT_EQ(nodes(), "a:-,- ") << "a comment";
}
