#include "wdb/wdb_load.h"

#include <locale.h>
#include <random>

#include "images/PX_Map.h"
#include "scene_support.h"
#include "std/Std_Common.h"
#include "std/Std_Limits.h"
#include "tests/Http_Server.h"
#include "wdb/WDB_Light.h"

using Wdb_Load = Scene_Test;

static const std::string mesh = "trianglelist g {\n triangle p 0 0 0 1 0 0 0 1 0\n}\n";

TEST_F(Wdb_Load, whole_reports) {
    load_text("# nothing\nnode a {\n colour\n}\n");
    EXPECT_EQ(reports, "[t-2]: Error - unknown node field\n[t-2]:         |colour|\n"
                       "End of parsing\nLoaded scene with 1 nodes, 0 materials, 0 textures\n");
    load_text("node a {\n geometry g\n}\n");
    EXPECT_EQ(reports.substr(0, 43), "[t-2]: Error near `g' - unknown geometry\nEn");
    EXPECT_EQ(load("absent"), nullptr);
    EXPECT_EQ(reports, "Cannot open URL absent\n");
}

// Scenes, each with what its load reports and what comes of it: names, or all as it is saved.
TEST_F(Wdb_Load, scenes_of_the_file) {
    for_each_block(TEST_SCENES, [this](std::map<std::string, std::string>& parts) {
        reports_of([&] { ASSERT_TRUE(load_text(parts["text"])); }); // of URLs and images
        EXPECT_EQ(errors(), parts["reports"]);
        std::string names = nodes();
        std::replace(names.begin(), names.end(), ' ', '\n');
        EXPECT_EQ(names, parts["nodes"]);
        if (parts.contains("bounds")) {
            while (world->shape_count() > 0)
                world->remove(node("a")); // an empty world answers them
            const Bbox b = world->get_bbox();
            EXPECT_EQ(str_format("%.5g %.5g %.5g %.5g %.5g %.5g\n", b.min.x, b.min.y, b.min.z,
                                 b.max.x, b.max.y, b.max.z),
                      parts["bounds"]);
        }
        if (parts.contains("saved")) {
            EXPECT_EQ(saved(world), parts["saved"]);
            EXPECT_EQ(saved(world), parts["saved"]) << "a second save starts afresh";
            load("saved");
            EXPECT_EQ(errors(), "");
            const std::string again = saved(world);
            load("saved");
            EXPECT_EQ(saved(world), again) << "from then on nothing changes";
        }
    });
}

TEST_F(Wdb_Load, normals_of_lines) {
    load_text(
        "linelist g {\n line p 0 0 0 1 0 0\n line p 0 0 0 2 0 0 n 0 0 .004 0 0 1 t 0 0 0 0 0 0\n"
        " line p 0 0 0 2 0 0 n 0 0 .003 0 0 1 c 1 0 0\n}\nnode a {\n geometry g\n}");
    const auto* lines = WDB_Line_List::castdown(node("a")->get_geometry());
    ASSERT_EQ(lines->count(), 2);
    EXPECT_EQ((*lines)[1].n0.z, 1);
    EXPECT_TRUE(lines->get_with_colors() && lines->get_with_normals() &&
                lines->get_with_textures());
}

TEST_F(Wdb_Load, progress_after_each_thirtieth_object) {
    std::string text;
    for (int i = 0; i < 60; ++i)
        text += (i % 2 ? "node n" : "material m") + std::to_string(i) + "\n}\n";
    load_text(text);
    EXPECT_EQ(reports, "15 nodes, 0 geometries, 15 materials, 0 textures loaded so far...\n"
                       "30 nodes, 0 geometries, 30 materials, 0 textures loaded so far...\n"
                       "End of parsing\nLoaded scene with 30 nodes, 30 materials, 0 textures\n");
}

TEST_F(Wdb_Load, imports) {
    for (const char* folder : {"d", "d/e", "f"}) std::filesystem::create_directory(folder);
    put_file("t", "world w {\n unit 2\n}\nimport file {\n frame t 1 0 0\n url \"doc.html\"\n"
                  " file \"d/one\"\n file \"d/one\"\n}\nnode last {\n frame t 1 0 0\n}\n");
    put_file("d/one",
             "loading context {\n base \"d/e/x\"\n}\nnode own {\n frame t 0 1 0\n url \"u\"\n}\n"
             "import file {\n frame s 10 10 10\n file \"two.gz\"\n}\nnode plain {\n}\n");
    put_file("d/e/two", "world v {\n unit 4\n}\nnode deep {\n frame t 1 1 1\n}\n" + mesh);
    ASSERT_EQ(std::system("gzip d/e/two"), 0);
    load("t");
    EXPECT_EQ(
        errors(),
        "Importing file: d/one\nImporting file: d/e/two.gz\n"
        "Duplicate database: ignoring new one\nReturning to main file\nReturning to main file\n"
        "Importing file: d/one\nIgnoring duplicate node: own\nImporting file: d/e/two.gz\n"
        "Duplicate database: ignoring new one\nIgnoring duplicate node: deep\n"
        "Ignoring duplicate geometry: g\nReturning to main file\n"
        "Ignoring duplicate node: plain\nReturning to main file\n");
    EXPECT_EQ(nodes(), "deep:-,-@doc.html last:-,- own:-,-@d/e/u plain:-,-@doc.html ");
    const struct {
        const char* name;
        Vector4 origin;
    } rows[] = {{"own", {1, 2, 0, 1}},
                {"deep", {41, 40, 40, 1}},
                {"plain", {1, 0, 0, 1}},
                {"last", {2, 0, 0, 1}}};
    for (const auto& r : rows)
        EXPECT_EQ(bits_of(node(r.name)->get_transform()[3]), bits_of(r.origin)) << r.name;
    // What a wrong header sets stays in force.
    put_file("f/x", "node x {\n}");
    load_text("import it {\n frame t 5 0 0\n url \"q\"\n}\nimport file {\n frame t 1 0 0\n}\n"
              "import file {\n file \"f/x\"\n}\n");
    EXPECT_EQ(nodes(), "x:-,-@q ");
    EXPECT_EQ(node("x")->get_transform()[3].x, 5);
    ASSERT_TRUE(load("f/x", "d/"));
}

TEST_F(Wdb_Load, imports_that_do_not_end) {
    put_file("a", "import file {\n file \"b\"\n}\nnode a {\n}");
    put_file("b", "import file {\n file \"././a\"\n}\nnode b {\n}");
    load("a");
    EXPECT_EQ(nodes(), "a:-,- b:-,- ");
    EXPECT_EQ(errors(), "Importing file: b\n[b-2]: Error near `././a' - file imports itself\n"
                        "Returning to main file\n");
    for (int i = 0; i < 70; ++i)
        put_file(str_format("c%d", i), str_format("import file {\n file \"c%d\"\n}", i + 1));
    load("c0");
    EXPECT_NE(errors().find("[c63-2]: Error near `c64' - imports nested too deeply\n"),
              std::string::npos);
}

TEST_F(Wdb_Load, imports_over_http) {
    const Http_Server server{{"GET /d/top\n", {"import file {\n file \"e/part\"\n}\nnode a {\n}"}},
                             {"GET /d/e/part\n", {"node b {\n url \"u\"\n}"}}};
    ASSERT_TRUE(load(server.host + "d/top"));
    EXPECT_EQ(nodes(), "a:-,- b:-,-@" + server.host + "d/e/u ");
}

static WDB_Texture* checker(const char* name) {
    auto* const map = new PX_Map(2, 2, 3);
    map->put_pixel_component(255, 1, 0, 1);
    auto* const texture = new WDB_Texture(map);
    texture->set_name(name);
    return texture;
}

TEST_F(Wdb_Load, what_does_not_come_back) {
    const Vector up(0, 0, 1);
    WDB_Tri_List* const odd =
        list_of({WDB_Triangle({0, 0, 0}, {1, 0, 0}, {0, 1, 0}, up * 9e-5f, up, up),
                 WDB_Triangle({0, 0, 0}, {1e-7f, 0, 0}, {0, 1, 0}, up, up, up, Color(1, 0, 0))});
    HFrame projective = HFrame::identity();
    projective[0][3] = .5f;
    WDB_Database before(Bbox(Point(-5, -5, -5), Point(5, 5, 5)));
    before.set_name("before");
    auto* const n = new WDB_Node("n", projective, odd, nullptr, checker("x"));
    for (int i = 0; i < 12; ++i) n->insert_lod(odd, 1);
    before.put(n);
    before.put(new WDB_Camera("c", HFrame::identity(), Matrix4::identity(), nullptr, nullptr));
    std::filesystem::create_directory("elsewhere");
    put_file("elsewhere/scene", saved(&before));
    EXPECT_NE(reports_of([&] { load("elsewhere/scene"); }).find("DUMMY"), std::string::npos);
    EXPECT_EQ(errors(), "");
    EXPECT_EQ(node("n")->get_texture()->get_image()->get_width(), 4)
        << "the image stands elsewhere";
    ASSERT_EQ(triangles("n")->count(), 1) << "the normal near zero is gone";
    EXPECT_EQ((*triangles("n"))[0].p1.x, 0);
    EXPECT_EQ((*triangles("n"))[0].c0.r, .5f);
    EXPECT_EQ(node("n")->get_transform()[0].w, 0);
    EXPECT_EQ(node("n")->lod_count(), 12);
    EXPECT_STREQ(world->get_name(), "Anonymous world");
    const Matrix4 standard = Matrix4::perspective(0.7853982f, 2, 20000);
    EXPECT_EQ(bits_of(WDB_Camera::castdown(node("c"))->get_projection()), bits_of(standard));
}

// Files go only for a scene that is local all the way up, and only what was read as an image.
TEST_F(Wdb_Load, tmpimages_that_stay) {
    checker("x")->get_image()->save("c.rgb");
    put_file("precious", "precious");
    put_file("t", "texture a {\n tmpimage \"precious\"\n}\ntexture d {\n tmpimage \".\"\n}");
    reports_of([&] { load("t"); });
    EXPECT_NE(reports.find("tmpimage was not read, keeping it: precious"), std::string::npos);
    const Http_Server server{{"GET /t\n", {"texture b {\n tmpimage \"c.rgb\"\n}"}}};
    load_text("import file {\n file \"" + server.host + "t\"\n}");
    EXPECT_NE(reports.find("tmpimage of a scene that is not local, keeping it: c.rgb"),
              std::string::npos);
    for (const char* name : {"precious", "c.rgb"})
        EXPECT_TRUE(std::filesystem::exists(name)) << name;
}

// As under a locale with a decimal comma, which not every machine has.
TEST_F(Wdb_Load, numbers_do_not_hear_the_locale) {
    class Asking : public Std_Messager {
        STD_OBJ_CLASS(Asking, Std_Messager)
        Asking() : Std_Messager(1, 1) {}
        void refresh(const char*) override { during = uselocale(nullptr); }
        locale_t during = nullptr;
    } asking;
    const locale_t before = uselocale(nullptr);
    put_file("t", "x");
    std_set_current_messager(&asking);
    wdb_load("t", nullptr);
    std_set_current_messager(nullptr);
    EXPECT_TRUE(asking.during && asking.during != before);
    EXPECT_EQ(uselocale(nullptr), before);
}

TEST_F(Wdb_Load, limits_of_imports) {
    put_file("e", "");
    const std::string text = "import file {\n file \"e\"\n file \"e\"\n file \"e\"\n";
    std_limits.imports = 2;
    load_text(text + "}\nnode n {\n}");
    EXPECT_EQ(errors(), "Importing file: e\nReturning to main file\nImporting file: e\n"
                        "Returning to main file\n4 `e' too many imports\n");
    EXPECT_EQ(nodes(), "n:-,- ");
    std_limits = Std_Limits();
    std_limits.import_seconds = -1;
    load_text(text + "}\nnode n {\n}");
    EXPECT_NE(reports.find("imports take too long"), std::string::npos);
    std_limits = Std_Limits();
}

// A file of the writer's without its end; other files have none.
TEST_F(Wdb_Load, cut_files) {
    WDB_Database one;
    one.put(node_with(list_in({0, 0, 0}, {1, 1, 1}), Frame::identity(), "n"));
    const std::string whole = saved(&one);
    for (const auto& [text, is_told] :
         {std::pair(whole, false), std::pair(whole.substr(0, 300), true),
          std::pair(whole.substr(whole.find("Tri")), false)}) {
        const std::string told = reports_of([&, t = text] { load_text(t); });
        EXPECT_EQ(told.find("WARNING: [t]: the file was cut, its end is missing in ") == 0,
                  is_told);
    }
}

TEST_F(Wdb_Load, textures) {
    checker("x")->get_image()->save("c.rgb");
    std::filesystem::copy_file("c.rgb", "tmp.rgb");
    load_text("texture a {\n image \"c.rgb\"\n}\ntexture b {\n tmpimage \"tmp.rgb\"\n}\n"
              "node a {\n texture a\n}\nnode b {\n texture b\n}");
    EXPECT_EQ(errors(), "");
    for (const char* name : {"a", "b"})
        EXPECT_EQ(node(name)->get_texture()->get_image()->get_pixel_component(1, 0, 1), 255)
            << name;
    EXPECT_TRUE(std::filesystem::exists("c.rgb"));
    EXPECT_FALSE(std::filesystem::exists("tmp.rgb"));
}

// A good file cut behind every byte, or with one byte changed: no crash, and a report wherever the
// file ends inside a block.
TEST_F(Wdb_Load, cut_and_changed_files) {
    put_file("part", "node p {\n}\n");
    const std::string text = "#x\nworld w {\n unit 2\n}\nmaterial m {\n alpha .5\n}\n" + mesh +
                             "linelist l {\n line p 0 0 0 1 0 0 c 1 0 0\n}\ncamera c {\n frame s 1 "
                             "2 3 t 1 2 3\n perspective"
                             " 45 1 \\\n 2 3\n}\nimport file {\n file \"part\"\n}\nnode a {\n "
                             "material m\n geometry g l\n}\n";
    std::mt19937 random(1);
    reports_of([&] {
        for (std::size_t size = 0; size <= text.size(); ++size) {
            const std::string cut = text.substr(0, size);
            ASSERT_TRUE(load_text(cut));
            const bool is_open = cut.rfind('}') + 1 < cut.rfind('{') + 1;
            EXPECT_TRUE(!is_open || !errors().empty()) << cut;
            std::string changed = text;
            if (size < text.size()) changed[size] = static_cast<char>(random());
            ASSERT_TRUE(load_text(changed));
        }
    });
    EXPECT_EQ(nodes(), "a:m,-,g,l c:-,- p:-,- ");
}
