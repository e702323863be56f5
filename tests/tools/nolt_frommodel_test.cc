// Models through the reader, which runs the converter; and worlds out and in again.
#include "tests/wdb/scene_support.h"
#include "wdb/WDB_Load_Report.h"
#include "wdb/wdb_save_glb.h"

class From_Model : public Scene_Test {
protected:
    From_Model() { setenv("PATH", (folder_ + ":/usr/bin:/bin").c_str(), 1); }
    ~From_Model() override { setenv("PATH", path_.c_str(), 1); }
    // Each node with its material and texture, its triangles or lines, and its box, in the order of
    // the names, which have lost the tails that tell conversions apart.
    std::string load_model(const std::string& name) {
        said = reports_of([&] { world = wdb_load(name.c_str(), nullptr, report); });
        if (!world) return "none";
        std::vector<std::string> lines;
        world->apply(Conv<decltype(lines)*>::to_univ(&lines), describe);
        std::sort(lines.begin(), lines.end());
        std::string text;
        for (const std::string& line : lines) text += line + "\n";
        return text;
    }
    std::string said;
    WDB_Load_Report report;

private:
    static std::string plain(const WDB_Obj* object) {
        const std::string name = object ? object->get_name() : "-";
        return name.substr(0, name.rfind('.'));
    }
    static bool describe(SUniv* user, const WDB_Node* n, const Bbox& box) {
        std::string text = str_format("%s %s", plain(n).c_str(), plain(n->get_material()).c_str());
        if (n->get_texture())
            text += str_format(" %d wide", n->get_texture()->get_image()->get_width());
        if (const auto* t = WDB_Tri_List::const_castdown(n->get_geometry()))
            text += str_format(" %d triangles", t->count());
        if (const auto* l = WDB_Line_List::const_castdown(n->get_geometry()))
            text += str_format(" %d lines", l->count());
        text += str_format(" %g %g %g", double(box.min.x), double(box.min.y), double(box.min.z));
        if (n->get_geometry())
            text +=
                str_format(" to %g %g %g", double(box.max.x), double(box.max.y), double(box.max.z));
        Conv<std::vector<std::string>*>::from_univ(user)->push_back(text);
        return false;
    }
    const std::string path_ = std::getenv("PATH");
    const std::string folder_ = std::filesystem::path(NOLT_FROMMODEL).parent_path();
};

static const std::string quad = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\n";

TEST_F(From_Model, formats_and_what_arrives) {
    std::filesystem::create_directory("below");
    put_file("below/m.mtl",
             "newmtl red\nKd 1 0 0\nKa .1 .1 .1\nNs 40\nd .5\nmap_Kd C:\\x\\t.rgb\n");
    // Beside the folder of the model, and by a link in it: both are nobody's business.
    std::filesystem::copy("below/m.mtl", "out.mtl");
    std::filesystem::create_symlink("../out.mtl", "below/link.mtl");
    PX_Map(3, 1, 3).save("t.rgb");
    PX_Map(16, 1, 3).save("a b.rgb");
    std::filesystem::create_symlink("../t.rgb", "below/link.rgb");
    put_file("below/l.mtl", "newmtl red\nmap_Kd link.rgb\n");
    // A triangle of numbers that base64 spells in groups: 9 floats of 0 and 1.
    const std::string tri = "AAAAAAAAAAAAAAAAAACAPwAAAAAAAAAAAAAAAAAAgD8AAAAA";
    const std::string gltf =
        R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],"nodes":[)"
        R"({"name":"top","translation":[0.1,0,0],"children":[1,2,3,4]},)"
        R"({"name":"a","mesh":0},{"name":"b","mesh":0,"scale":[-2,1,1]},)"
        R"({"name":"eye","camera":0},)"
        R"({"name":"sun","extensions":{"KHR_lights_punctual":{"light":0}}}],)"
        R"("extensionsUsed":["KHR_lights_punctual"],)"
        R"("extensions":{"KHR_lights_punctual":{"lights":[)"
        R"({"type":"spot","color":[1,0.5,0],"spot":{"outerConeAngle":0.5}}]}},)"
        R"("cameras":[{"type":"perspective",)"
        R"("perspective":{"yfov":0.6,"znear":1,"aspectRatio":2}}],)"
        R"("materials":[{"name":"m","pbrMetallicRoughness":{"baseColorFactor":[1,0.5,0,0.5],)"
        R"("metallicFactor":1,"roughnessFactor":0.5}}],)"
        R"("meshes":[{"primitives":[{"attributes":{"POSITION":0},"material":0}]}],)"
        R"("accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3",)"
        R"("min":[0,0,0],"max":[1,1,0]}],"bufferViews":[{"buffer":0,"byteLength":36}],)"
        R"("buffers":[{"byteLength":36,"uri":"data:application/octet-stream;base64,)" +
        tri + "\"}]}";
    const std::tuple<const char*, std::string, std::string, int> rows[] = {
        {"q.obj", "mtllib below/m.mtl\no q\n" + quad + "usemtl red\nf 1 2 3 4\nl 1 3\n",
         "q red 4 wide 1 lines 0 0 0 to 1 1 0\nq_2 red 4 wide 2 triangles 0 0 0 to 1 1 0\n", 0},
        {"bad.OBJ",
         "o q\n" + quad + "v 0 nan 0\nf 1 2 3\nf 1 2 5\nf 1 2 99\nf 1 2 3/7\nf 1 1 2\np 1\n",
         "q DefaultMaterial 1 triangles 0 0 0 to 1 1 0\n", 5},
        {"smooth.obj",
         "\n" + quad + "v 0 0 1\nv 0 1 1\ns 1\nf 1 2 3 4\nf 1 \\\n 4 -1 -2\ns off\nf 2 3 5\n",
         "defaultobject DefaultMaterial 5 triangles 0 0 0 to 1 1 1\n", 0},
        {"below/l.obj", "mtllib l.mtl\no q\n" + quad + "usemtl red\nf 1 2 3\n",
         "q red 1 triangles 0 0 0 to 1 1 0\n", 1},
        {"below/out.obj",
         "mtllib ../out.mtl\nmtllib link.mtl\no q\n" + quad + "usemtl red\nf 1 2 3\n",
         "q red 1 triangles 0 0 0 to 1 1 0\n", 0},
        {"x",
         "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\n"
         "property float z\nelement face 1\nproperty list uchar int vertex_index\nend_header\n"
         "0 0 0\n1 0 0\n0 1 0\n3 0 1 2\n",
         "node material 1 triangles 0 0 0 to 1 1 0\n", 1},
        {"cloud",
         "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\n"
         "property float z\nend_header\n0 0 0\n1 0 0\n0 1 0\n",
         "", 3},
        {"y",
         "solid s\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 2 0 0\nvertex 0 1 0\n"
         "endloop\nendfacet\nendsolid s\n",
         "s DefaultMaterial 1 triangles 0 0 0 to 2 1 0\n", 0},
        {"z", gltf,
         "a m 1 triangles 0.1 0 0 to 1.1 1 0\nb m 1 triangles -1.9 0 0 to 0.1 1 0\n"
         "eye - 0.1 0 0\nsun sun_color 0.1 0 0\n",
         0},
        {"masked",
         replaced(gltf, {{"\"roughnessFactor\":0.5}",
                          "\"roughnessFactor\":0.5,\"baseColorTexture\":{\"index\":0}},"
                          "\"alphaMode\":\"MASK\""},
                         {"\"scene\":0",
                          "\"textures\":[{\"source\":0}],\"images\":[{\"uri\":\"a%20b.rgb\"}],"
                          "\"extensionsRequired\":[\"EXT_x\",\"KHR_lights_punctual\"],"
                          "\"scene\":0"}}),
         "a m 16 wide 1 triangles 0.1 0 0 to 1.1 1 0\nb m 16 wide 1 triangles -1.9 0 0 to 0.1 1 0\n"
         "eye - 0.1 0 0\nsun sun_color 0.1 0 0\n",
         1},
        // A scene stays one under any name.
        {"s.obj", "# a comment\n\n" + mesh + "node n {\n geometry g\n}\n",
         "n - 1 triangles 0 0 0 to 1 1 0\n", 0},
        {"import.3d", "import file {\n frame t 0 0 5\n file \"q.obj\"\n}\n",
         "q red 4 wide 1 lines 0 0 5 to 1 1 5\nq_2 red 4 wide 2 triangles 0 0 5 to 1 1 5\n", 0},
    };
    for (const auto& [name, text, should, notes] : rows) {
        put_file(name, text);
        EXPECT_EQ(load_model(name), should) << name << said;
        EXPECT_EQ(report.notes, notes) << name << said;
        EXPECT_EQ(report.errors, 0) << name << said;
        if (std::string(name) == "smooth.obj") {
            EXPECT_TRUE(holds(saved(world), "n 0.707107 0.000000 0.707107  0.000000 0.000000 1.0"));
            EXPECT_TRUE(
                holds(file("saved"), "n 0.707107 0.000000 0.707107  1.000000 0.000000 0.0"));
        }
        if (std::string(name) == "masked") {
            EXPECT_TRUE(holds(saved(world), "  Alpha     1.0"));
        }
        if (std::string(name) == "z") {
            EXPECT_EQ(saved(world).find("LineList"), std::string::npos);
            const std::string scene = file("saved");
            for (const char* part :
                 {"  Diffuse   0.500000 0.367678 0.000000\n", "  Specular  1.000000 0.735357 0.0",
                  "  Shininess 30.000000", "  Perspective 34.377468 ", "  Angle 28.647890",
                  "  Emission  1.000000 0.735357 0.000000\n"})
                EXPECT_TRUE(holds(scene, part)) << scene;
        }
    }
}

TEST_F(From_Model, what_cannot_be_read_is_told) {
    put_file("x.glb", "glTF\2\0\0\0");
    EXPECT_EQ(load_model("x.glb"), "");
    EXPECT_EQ(report.errors, 1) << said;
    EXPECT_TRUE(holds(said, "[x.glb]: nolt_frommodel: ")) << said;
    EXPECT_TRUE(holds(said, "conversion failed with status 1")) << said;
    setenv("PATH", "/no/such/folder", 1);
    put_file("q.obj", "o q\n" + quad + "f 1 2 3\n");
    load_model("q.obj");
    EXPECT_TRUE(report.errors == 0 || holds(said, "failed with status 127")) << said;
}

#ifdef NOLT_JSON
TEST_F(From_Model, glb_there_and_back) {
    // Pictures within a model, damaged ones too, leave no file behind: the fixture sees to that.
    PX_Map map(2, 2, 3);
    map.put_pixel_component(200, 1, 0, 2);
    auto* const texture = new WDB_Texture(&map);
    auto* const red = new WDB_Material;
    red->set_name("red");
    red->set_diffuse(Color(1, 0.25f, 0));
    red->set_alpha(0.5f);
    red->set_emission(Color(0.7f, 0.01f, 0.003f));
    WDB_Database given;
    WDB_Triangle t(Point(0, 0, 0), Point(1, 0, 0), Point(0, 1, 0.1f));
    t.t1 = Point(0.5f, 0.75f, 0);
    t.c2 = Color(0.3f, 0.6f, 0.9f);
    auto* const list = list_of({t});
    list->set_with_colors(true);
    const Frame place = Frame::rotation(1, 0.3f) * Frame::translation(0.1f, 2, -3);
    auto* const node = new WDB_Node("n", HFrame(place), list, red, texture);
    node->insert_lod(list_of({t}), 1);
    node->set_url(new Std_URL("http://h/x"));
    given.put(node);
    given.put(new WDB_Camera("eye", HFrame(Frame::translation(0, 0, 9)),
                             Matrix4::perspective(0.7f, 1, 100), nullptr, nullptr));
    auto* const lamp = new WDB_Material;
    lamp->set_emission(Color(0.5f, 0.4f, 0.1f));
    given.put(new WDB_Light("sun", HFrame(Frame::translation(0, 50, 0)), 3, nullptr, lamp));
    ASSERT_EQ(wdb_save_glb(given, "x.glb"), 0);
    load_model("x.glb");
    EXPECT_EQ(report.errors + report.warnings, 0) << said;
    EXPECT_TRUE(holds(said, "skipped 1: coarser level of detail")) << said;
    EXPECT_EQ(world->shape_count(), 1);
    const WDB_Node* n = nullptr;
    world->for_each_shape([&](const WDB_Node& shape, const Bbox&) { n = &shape; });
    ASSERT_TRUE(n && n->get_material() && n->get_texture() && n->get_url());
    EXPECT_STREQ(n->get_url()->get_url_string(), "http://h/x");
    EXPECT_EQ(std::memcmp(n->get_transform().to_c(), HFrame(place).to_c(), sizeof(HFrame)), 0);
    // With colours of its own the geometry has no use for the diffuse one.
    EXPECT_TRUE(n->get_material()->get_diffuse() == Color(1, 1, 1));
    EXPECT_TRUE(n->get_material()->get_emission() == red->get_emission());
    EXPECT_EQ(n->get_material()->get_alpha(), 0.5f);
    const WDB_Triangle& back = (*WDB_Tri_List::const_castdown(n->get_geometry()))[0];
    EXPECT_TRUE(back.p2 == t.p2 && back.t1 == t.t1 && back.c2 == t.c2);
    EXPECT_EQ(n->get_texture()->get_image()->get_pixel_component(1, 0, 2), 200);
    const WDB_Light* light = nullptr;
    world->for_each_light(
        [&](const WDB_Node& l, const Bbox&) { light = WDB_Light::const_castdown(&l); });
    EXPECT_TRUE(light && light->get_color() == lamp->get_emission());
    EXPECT_EQ(world->camera_count(), 1);
    given.put(new WDB_Node("m", HFrame::identity(), list, red, texture));
    // What differs in its look alone is one geometry.
    given.put(new WDB_Node("o", HFrame(Frame::translation(5, 0, 0)), list, lamp, texture));
    ASSERT_EQ(wdb_save_glb(given, "x.glb"), 0);
    load_model("x.glb");
    std::set<const WDB_Geometry*> geometries;
    world->for_each_shape(
        [&](const WDB_Node& shape, const Bbox&) { geometries.insert(shape.get_geometry()); });
    EXPECT_TRUE(world->shape_count() == 3 && geometries.size() == 1);
    ASSERT_EQ(wdb_save_glb(given, "x.glb", {.has_instances = true}), 0);
    load_model("x.glb");
    EXPECT_TRUE(holds(said, "skipped 1: node with instances, of which one is shown")) << said;
}
#endif
