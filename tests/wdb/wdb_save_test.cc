#include "wdb/wdb_save.h"

#include <pthread.h>
#include <sys/resource.h>

#include "tests/wdb/scene_support.h"

class Wdb_Save : public Scene_Test {
protected:
    Wdb_Save() { world = new WDB_Database; }
    // Keeps what is told on the standard error stream alone.
    int save(WDB_Database& database, const std::string& path, bool is_complete = false) {
        const Report_Catcher silence;
        WDB_Save_Options options;
        options.is_complete = is_complete;
        int result = 0;
        told = reports_of([&] { result = wdb_save(database, path.c_str(), options); });
        return result;
    }
    std::string told;
};

static WDB_Node* node_named(const char* name, const WDB_Geometry* geometry,
                            const WDB_Material* material = nullptr) {
    return new WDB_Node(name, HFrame::identity(), geometry, material, nullptr);
}

// The lines that open blocks or refer to them, in order.
static std::string skeleton(const std::string& text) {
    std::string lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        if (line.find(" {") != std::string::npos || line.substr(0, 5) == "  Mat" ||
            line.substr(0, 5) == "  Geo" || line.substr(0, 3) == "!!!")
            lines += line + "\n";
    return lines;
}

TEST_F(Wdb_Save, unique_names) {
    WDB_Material* const m1 = new WDB_Material;
    WDB_Material* const m2 = new WDB_Material;
    WDB_Tri_List* const list = list_in({0, 0, 0}, {1, 1, 1});
    world->put(node_named("S_3", list, m1));
    world->put(node_named("S", list, m2));
    WDB_Node* const third = node_named("S", list, m1);
    third->insert_lod(new Odd_Geometry, 1);
    loss = WDB_SAVE_LOSES;
    world->put(third);
    world->put(node_named("S", list, m2));
    for (const char* name : {"S_5", "S_04", "T_4", "T", "T", "S"})
        world->put(node_named(name, list, nullptr));
    EXPECT_EQ(skeleton(saved(world)),
              "Material WDB_Obj {\nTriangleList WDB_Obj_1 {\n"
              "Node S_3 {\n  Material WDB_Obj\n  Geometry  WDB_Obj_1\n"
              "Material WDB_Obj_2 {\n"
              "Node S {\n  Material WDB_Obj_2\n  Geometry  WDB_Obj_1\n"
              "!!! Unable to save geometry WDB_Obj of class Odd_Geometry\n"
              "Node S_4 {\n  Material WDB_Obj\n  Geometry  WDB_Obj_1 WDB_Obj_3\n"
              "Node S_5 {\n  Material WDB_Obj_2\n  Geometry  WDB_Obj_1\n"
              "Node S_5_6 {\n  Geometry  WDB_Obj_1\nNode S_04 {\n  Geometry  WDB_Obj_1\n"
              "Node T_4 {\n  Geometry  WDB_Obj_1\nNode T {\n  Geometry  WDB_Obj_1\n"
              "Node T_7 {\n  Geometry  WDB_Obj_1\nNode S_8 {\n  Geometry  WDB_Obj_1\n");
    EXPECT_EQ(reports.substr(0, 64),
              "Saving S_3...\nSaving S...\nSaving S...\nSaving S...\nSaving S_5...\n");
}

TEST_F(Wdb_Save, long_names_are_not_cut) {
    // Longer than any buffer on the way, the writer's block included.
    const std::string name(200000, 'n');
    for (int i = 0; i < 3; ++i)
        world->put(node_named(name.c_str(), list_in({0, 0, 0}, {1, 1, 1}), nullptr));
    const std::string lines = skeleton(saved(world));
    for (const char* end : {" {", "_2 {", "_4 {"}) EXPECT_TRUE(holds(lines, "Node " + name + end));
    EXPECT_EQ(reports.substr(0, 512), "Saving " + name.substr(0, 504) + "\n");
}

TEST_F(Wdb_Save, files_that_cannot_be_written) {
    const std::string cannot = "WARNING: Cannot write scene file ";
    EXPECT_EQ(save(*world, std::string(2000, 'd')), EOF);
    EXPECT_TRUE(told.starts_with(cannot + "(File name too long): ddd")) << told;
    EXPECT_EQ(save(*world, "/no/world.3d"), EOF);
    EXPECT_TRUE(told.starts_with(cannot + "(No such file or directory): /no/world.3d in")) << told;
    EXPECT_EQ(save(*world, "/dev/full"), EOF) << "found at the end";
    world->put(node_named(std::string(200000, 'n').c_str(), nullptr));
    EXPECT_EQ(save(*world, "/dev/full"), EOF) << "found on the way";
}

// An old file is there as it was or as it is to be, with its mode, also behind a link; and nothing
// beside.
TEST_F(Wdb_Save, old_files) {
    world->put(node_named("n", list_in({0, 0, 0}, {1, 1, 1})));
    std::filesystem::create_symlink("real", "link");
    std::filesystem::create_symlink("nothing yet", "dangling");
    const std::tuple<const char*, std::string, rlim_t, bool> rows[] = {
        {"link", "real", RLIM_INFINITY, true},
        {"link", "real", 600, false},
        {"dangling", "nothing yet", 600, false},
        {"dangling", "nothing yet", RLIM_INFINITY, true}};
    for (const auto& [path, behind, most_bytes, is_saved] : rows) {
        SCOPED_TRACE(path + std::to_string(most_bytes));
        put_file("real", "old");
        std::filesystem::permissions("real", std::filesystem::perms(0640));
        const rlimit limit = {most_bytes, RLIM_INFINITY}, none = {RLIM_INFINITY, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &limit);
        EXPECT_EQ(save(*world, path), is_saved ? 0 : EOF);
        setrlimit(RLIMIT_FSIZE, &none);
        const bool was_there = behind == std::string("real");
        EXPECT_EQ(file(behind).substr(0, 9), is_saved ? "# -- File" : was_there ? "old" : "");
        EXPECT_EQ(std::filesystem::status("real").permissions(), std::filesystem::perms(0640));
        EXPECT_TRUE(std::filesystem::is_symlink(path));
        EXPECT_EQ(told.substr(0, 51),
                  is_saved ? "" : "WARNING: Cannot write scene file (File too large): ");
        for (const auto& entry : std::filesystem::directory_iterator("."))
            EXPECT_EQ(entry.path().filename().string().find(".nolt"), std::string::npos);
    }
}

// What would not come back as it is, is told once for each object.
TEST_F(Wdb_Save, what_cannot_be_read_back) {
    const WDB_Tri_List* const shape = list_in({0, 0, 0}, {1, 1, 1});
    const auto with_levels = [](int levels, std::size_t name_length) {
        WDB_Node* const n = node_named("many", nullptr);
        for (int i = 0; i < levels; ++i) {
            WDB_Tri_List* const level = list_in({0, 0, 0}, {1, 1, 1});
            level->set_name(std::string(name_length, 'l').append(std::to_string(i)).c_str());
            n->insert_lod(level, i);
        }
        return n;
    };
    const auto with_url = [](const std::string& text) {
        WDB_Node* const n = node_named("n", nullptr);
        n->set_url(new Std_URL(text.c_str()));
        return n;
    };
    // Four rows of zeros have 355 letters, 8 of them blanks to drop; 38 are one large number's, 30
    // that of the last one.
    const auto with_longest_line = [](float first) {
        WDB_Triangle t({0, 0, 0}, {0, 0, 0}, {0, 0, 0}, Color(0, 0, 0));
        for (int i = 0; i < 17; ++i) t.n0.to_c()[i] = i ? 3e38f : first;
        t.n0.to_c()[17] = 1e30f;
        WDB_Tri_List* const list = list_of({t});
        list->set_with_colors(true);
        return node_named("l", list);
    };
    auto* const endless = new WDB_Material;
    endless->set_alpha(INFINITY);
    auto* const off = new WDB_Light("off", HFrame::identity(), 0, nullptr, nullptr);
    off->set_on(false);
    const Point zero(0, 0, 0);
    const auto lines_with = [&](float normal, float all) {
        auto* const list = new WDB_Line_List(1);
        WDB_Line line(zero, zero, Vector(0, 0, 1), Vector(0, 0, normal));
        for (int i = 0; all && i < 24; ++i) line.p0.to_c()[i] = all;
        list->put(line, 0);
        list->set_with_normals(std::isfinite(all));
        list->set_with_colors(true);
        list->set_with_textures(true);
        list->end_editing();
        return node_named("z", list);
    };
    const HFrame slanted(Homogeneous(1, 0, 0, 1), Homogeneous(0, 1, 0, 0), Homogeneous(0, 0, 1, 0),
                         Homogeneous(0, 0, 0, 1));
    const std::string back = "cannot be read back: ",
                      name = back + "its name holds other signs than names do",
                      levels = back + "it has too many levels of detail for a line",
                      text = back + "a text is empty, too long or holds a quote",
                      number = "has a number that is infinite or none";
    const std::pair<WDB_Node*, std::string> rows[] = {
        {node_named(std::string(127, 'n').c_str(), shape), ""},
        {node_named(std::string(128, 'n').c_str(), shape), back + "its name is too long"},
        {node_named("two words", shape), name},
        {node_named("", shape), name},
        {with_levels(12, 1), ""},
        {with_levels(13, 1), levels},
        {with_levels(12, 82), ""},
        {with_levels(11, 90), levels}, // 1024 signs with the blanks in front
        {node_named("e", new WDB_Tri_List(0)), back + "it is empty"},
        {node_named("a", list_of({WDB_Triangle(zero, zero, zero)})),
         back + "an item has no area or no normal"},
        {lines_with(0.0032f, 0), ""},
        {lines_with(1, -3e38f), back + "a line is longer than one of the file"},
        {lines_with(1, INFINITY), back + "a number is infinite or none"},
        {lines_with(0.0031f, 0), back + "an item has no area or no normal"},
        {off, back + "it is off, and the file has no form for that"},
        {new WDB_Camera("c", HFrame::identity(), Matrix4::window(0, 1, 0, 1, 1, 2), nullptr,
                        nullptr),
         back + "its projection is no standard perspective"},
        {new WDB_Node("f", slanted, nullptr, nullptr, nullptr), back + "its frame is not affine"},
        {with_url(std::string(127, 'u')), ""},
        {with_url(std::string(128, 'u')), text},
        {with_url("a\"b"), text},
        {with_url("news://h/x"), back + "its URL is none"},
        {node_named("m", shape, endless), number},
        {new WDB_Node("f", HFrame(Frame::translation(NAN, 0, 0)), nullptr, nullptr, nullptr),
         number},
        {with_longest_line(3e38f), ""},
        {with_longest_line(-3e38f), back + "a triangle is longer than a line"},
        {textured(std::string(124, 't').c_str(), new PX_Map(1, 1, 1)), text},
    };
    for (const auto& [node, warning] : rows) {
        WDB_Database one;
        one.put(node);
        save(one, "saved", true);
        EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), !warning.empty()) << told;
        EXPECT_TRUE(warning.empty() || holds(told, " " + warning + " in "));
    }
}

// A picture that was not read stays what it is, in the scene and on the disk.
TEST_F(Wdb_Save, textures) {
    put_file("damaged.rgb", "what the user may still mend");
    put_file("precious", "precious");
    std::filesystem::create_symlink("../precious", "planted.rgb");
    std::filesystem::create_directory("d");
    std::filesystem::create_directory("folder.rgb");
    std::filesystem::create_directory("tmp/other");
    std::filesystem::create_directory_symlink(home / "tmp/other", "d/link");
    WDB_Database textures;
    reports_of([&] { textures.put(textured("damaged", new PX_Map("damaged.rgb", 0))); });
    EXPECT_EQ(save(textures, "saved"), 0);
    EXPECT_TRUE(holds(file("saved"), "Image \"damaged.rgb\""));
    EXPECT_EQ(told.substr(0, 62), "WARNING: Image damaged.rgb was not read and is not written in ");
    EXPECT_EQ(file("damaged.rgb"), "what the user may still mend");
    textures.put(textured("planted", new PX_Map(2, 2, 3)));
    save(textures, "saved");
    EXPECT_EQ(file("precious"), "precious");
    std::uint16_t magic; // in the order of the machine
    std::memcpy(&magic, file("planted.rgb").c_str(), sizeof magic);
    EXPECT_EQ(magic, 0x1DA);
    const std::string here = std::filesystem::current_path();
    const std::tuple<std::string, std::string, std::string> lost[] = {
        {"d/s", "d/t.rgb", "t.rgb"},
        {"d/s", "/x/t.rgb", "file:/x/t.rgb"},
        {"d/s", "t.rgb", "file:" + here + "/t.rgb"},
        {"./s", "./t.rgb", "t.rgb"},
        {here + "/s", here + "/t.rgb", "t.rgb"}};
    for (const auto& [scene, source, name] : lost) {
        WDB_Database one;
        reports_of([&, from = source.c_str()] {
            WDB_Node* const node = textured("t", new PX_Map(from, 0));
            node->set_url(new Std_URL(from));
            one.put(node);
        });
        save(one, scene);
        EXPECT_TRUE(holds(file(scene), "Image \"" + name + "\""));
        EXPECT_TRUE(name != "t.rgb" || holds(file(scene), "URL \"t.rgb\""));
    }
    std::filesystem::current_path("d");
    for (const char* name : {"../x", "/nolt_x", "link/x"}) {
        WDB_Database outside;
        outside.put(textured(name, new PX_Map(2, 2, 3)));
        EXPECT_EQ(save(outside, "s"), WDB_SAVE_LOSES) << name;
    }
    std::filesystem::current_path(home);
    EXPECT_TRUE(std::filesystem::remove("tmp/other")) << "it is empty";
    textures.put(textured("folder", new PX_Map(2, 2, 3)));
    EXPECT_EQ(save(textures, "saved"), EOF);
    EXPECT_FALSE(holds(file("saved"), "folder")) << "the old one stays";
}

// An image takes another name where its own is that of the scene, of another image, of a damaged or
// missing one or, if it came from elsewhere, of any file. The scene names it as it lies to itself.
TEST_F(Wdb_Save, names_of_images) {
    for (const char* name : {"a.rgb", "damaged.rgb", "scene.rgb"}) put_file(name, "old");
    std::filesystem::create_symlink("nowhere", "taken.rgb");
    std::filesystem::create_directory("sub");
    reports_of([&] {
        world->put(textured("first", new PX_Map("damaged.rgb", 0)));
        world->put(
            textured("second", new PX_Map(("file:" + (home / "here.rgb").string()).c_str(), 0)));
        WDB_Node* const far = textured("third", new PX_Map("missing.rgb", 0));
        far->set_transform(HFrame(Frame::translation(1e6f, 0, 0)));
        far->insert_lod(list_in({0, 0, 0}, {1, 1, 1}), 0);
        world->put(far);
        for (const char* name : {"a", "damaged", "scene", "damaged_1", "./a", "here", "missing"}) {
            WDB_Node* const shape = textured(name, new PX_Map(2, 2, 3));
            shape->insert_lod(list_in({0, 0, 0}, {1, 1, 1}), 0); // for the order
            world->put(shape);
        }
        auto* const foreign = new PX_Map("http://127.0.0.1:1/x.rgb", 0);
        foreign->set_complete();
        world->put(textured("taken", foreign));
        WDB_Node* const linked = node_named("linked", nullptr);
        linked->set_url(new Std_URL("sub/b.html"));
        world->put(linked);
    });
    const auto names = [&](const char* scene) {
        EXPECT_EQ(save(*world, scene, true), 0);
        std::set<std::string> found;
        std::istringstream in(replaced(file(scene), {{("file:" + home.string()).c_str(), ""}}));
        for (std::string line; std::getline(in, line);)
            if (line.starts_with("  Image ") || line.starts_with("  URL "))
                found.insert(line.substr(line.find('"')));
        std::string text;
        for (const std::string& name : found) text += name;
        return replaced(text, {{"\"\"", " "}, {"\"", ""}});
    };
    EXPECT_EQ(names("scene.rgb"),
              "./a_1.rgb /here.rgb a.rgb damaged.rgb damaged_1.rgb damaged_1_1.rgb here_1.rgb "
              "missing.rgb missing_1.rgb scene_1.rgb sub/b.html taken_1.rgb");
    EXPECT_EQ(names("sub/s"),
              "/./a_1.rgb /a.rgb /damaged.rgb /damaged_1.rgb /damaged_1_1.rgb /here.rgb "
              "/here_1.rgb /missing.rgb /missing_1.rgb /scene.rgb /taken_2.rgb b.html");
}

// Of ten shapes in the default bounds half are lost, and told.
TEST_F(Wdb_Save, shapes_outside_and_lines) {
    WDB_Line_List* const lines =
        lines_of({WDB_Line(Point(0, 0, 0), Point(1, 1, 1), Color(1, 0, 0))});
    lines->set_with_colors(true);
    lines->set_name("lines");
    WDB_Database following(WDB_FOLLOWING);
    for (WDB_Database* w : {world, &following}) {
        const Report_Catcher silence;
        for (int i = 0; i < 10; ++i)
            w->put(node_with(list_in({0, 0, 0}, {1, 1, 1}), Frame::translation(2500.f * i, 0, 0)));
        w->put(node_named("lines", lines));
        w->put(node_with(list_in({0, 0, 0}, {1, 1, 1}), Frame::translation(INFINITY, 0, 0)));
    }
    const char* const lost_where = " outside the bounds of the world are lost, the first is n: ";
    const std::tuple<WDB_Database*, bool, std::string, int> rows[] = {
        {world, false, "6 shapes", 5},
        {world, true, "", 12},
        {&following, false, "1 shapes", 10},
        {&following, true, "", 12}};
    for (const auto& [saving, is_complete, lost, shapes] : rows) {
        EXPECT_EQ(save(*saving, "saved", is_complete), is_complete ? 0 : WDB_SAVE_LOSES);
        EXPECT_TRUE(is_complete || holds(told, lost + lost_where));
        load("saved");
        int reached = 0;
        const auto count = [](SUniv* n, const WDB_Node*, const Bbox&) {
            ++*Conv<int*>::from_univ(n);
            return false;
        };
        world->apply_to_shapes(Conv<int*>::to_univ(&reached), count);
        EXPECT_EQ(reached, shapes);
        const auto* back = WDB_Line_List::const_castdown(world->find_geometry("lines"));
        ASSERT_EQ(back != nullptr, is_complete);
        EXPECT_TRUE(!back || ((*back)[0] == (*lines)[0] && back->get_with_colors()));
    }
}

TEST_F(Wdb_Save, titles_are_one_line) {
    world->put(node_named("n", nullptr));
    for (const std::string& path : {std::string("a\nNode evil {\n}\n#.3d"),
                                    "./" + std::string(500, '/') + std::string(495, '/') + "s"}) {
        EXPECT_EQ(save(*world, path), 0);
        std::filesystem::rename(path, "t");
        load("t");
        EXPECT_EQ(nodes(), "n:-,- ");
    }
}

TEST_F(Wdb_Save, in_a_thread_with_a_small_stack) {
    world->put(node_named("S", list_in({0, 0, 0}, {1, 1, 1}), new WDB_Material));
    world->put(textured("t", new PX_Map(200, 100, 3)));
    std::filesystem::create_symlink("elsewhere", "saved");
    pthread_attr_t small;
    pthread_attr_init(&small);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    // Most of it is taken by thread_locals and by the collector, which clears 16 KB at times.
    pthread_attr_setstacksize(&small, std::max<std::size_t>(PTHREAD_STACK_MIN, 56 * 1024));
#endif
    const auto in_thread = [](void* scene) {
        return wdb_save(*static_cast<WDB_Database*>(scene), "saved") == 0 ? scene : nullptr;
    };
    pthread_t thread;
    void* result = nullptr;
    ASSERT_EQ(pthread_create(&thread, &small, in_thread, world), 0);
    pthread_join(thread, &result);
    EXPECT_EQ(result, world);
    EXPECT_TRUE(holds(file("elsewhere"), "Image \"t.rgb\""));
}

TEST_F(Wdb_Save, counts_beyond_an_int) {
    // Slots count whether put or not; the mesh is written once, as zeros.
    WDB_Tri_List* const list = new WDB_Tri_List(60000);
    list->touch();
    list->end_editing();
    for (int i = 0; i < 40000; ++i) world->put(node_named("S", list, nullptr));
    EXPECT_TRUE(holds(saved(world), "LOD 0 triangles:  2400000000\n"));
}
