// GLB files as another reader takes them apart. That they keep to the format, its own validator
// tells: see .ci/glb.
#include "wdb/wdb_save_glb.h"

#include "std/Std_URL.h"
#include "tests/Scratch_Folder.h"
#include "tests/wdb/support.h"
#include "wdb/wdb_save.h"

#ifdef NOLT_JSON
#include <rapidjson/document.h>
#include <rapidjson/pointer.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

class Wdb_Save_Glb : public Scratch_Folder_Test {
protected:
    // Saves, and takes the file apart.
    int save(const char* path = "x.glb", const WDB_Glb_Options& options = {}) {
        int result = 0;
        told = reports_of([&] { result = wdb_save_glb(world, path, options); });
        const std::string bytes = file(path);
        if (bytes.size() < 20) return result;
        std::uint32_t head[5];
        std::memcpy(head, bytes.data(), sizeof head);
        EXPECT_EQ(bytes.substr(0, 4) + bytes.substr(16, 4), "glTFJSON");
        EXPECT_EQ(head[2], bytes.size());
        EXPECT_EQ(head[3] % 4, 0u);
        json.Parse(bytes.substr(20, head[3]).c_str());
        EXPECT_FALSE(json.HasParseError());
        data = bytes.size() > 28 + head[3] ? bytes.substr(28 + head[3]) : "";
        return result;
    }
    // What stands at that place of the text half.
    std::string at(const char* place) {
        const rapidjson::Value* const value = rapidjson::Pointer(place).Get(json);
        if (!value) return "nothing";
        rapidjson::StringBuffer text;
        rapidjson::Writer<rapidjson::StringBuffer> writer(text);
        value->Accept(writer);
        return text.GetString();
    }
    // The numbers of an accessor.
    template<class T>
    std::vector<T> numbers(int accessor, std::size_t width) {
        const std::string a = "/accessors/" + std::to_string(accessor);
        const auto number = [&](const std::string& place) {
            const std::string text = at(place.c_str());
            return text == "nothing" ? 0 : std::stoul(text);
        };
        const std::string v = "/bufferViews/" + at((a + "/bufferView").c_str());
        const std::size_t step = number(v + "/byteStride"), count = number(a + "/count");
        const std::size_t start = number(v + "/byteOffset") + number(a + "/byteOffset");
        std::vector<T> all;
        for (std::size_t i = 0; i < count; ++i)
            for (std::size_t k = 0; k < width; ++k) {
                T value;
                std::memcpy(&value,
                            &data.at(start + i * (step ? step : width * sizeof(T)) + k * sizeof(T)),
                            sizeof value);
                all.push_back(value);
            }
        return all;
    }
    WDB_Database world;
    rapidjson::Document json;
    std::string data, told;
};

static WDB_Triangle triangle(float z) {
    return WDB_Triangle(Point(0, 0, z), Point(1, 0, z), Point(0, 1, z));
}

TEST_F(Wdb_Save_Glb, what_nodes_share_stands_once) {
    auto* const list = list_of({triangle(0), triangle(2)});
    list->set_name("two");
    auto* const red = new WDB_Material;
    red->set_diffuse(Color(1, 0.5f, 2));
    red->set_shininess(30);
    auto* const far =
        new WDB_Node("f\xFC\xC3\xBC", HFrame(Frame::translation(0.1f, 0, 0)), list, red, nullptr);
    far->insert_lod(list_of({triangle(0)}), 1);
    far->set_url(new Std_URL("http://h/x"));
    world.put(node_with(list));
    world.put(far);
    EXPECT_EQ(save(), 0) << told;
    EXPECT_EQ(at("/scenes"), "[{\"nodes\":[0,1]}]");
    EXPECT_EQ(at("/nodes/0"), "{\"name\":\"n\",\"mesh\":0}");
    EXPECT_EQ(at("/nodes/1/name"), "\"f\u00fc\u00fc\"");
    EXPECT_EQ(at("/nodes/1/matrix"), "[1,0,0,0,0,1,0,0,0,0,1,0,0.1,0,0,1]");
    EXPECT_EQ(at("/nodes/1/extensions"), "{\"MSFT_lod\":{\"ids\":[2]}}");
    EXPECT_EQ(at("/nodes/1/extras"), "{\"url\":\"http://h/x\"}");
    EXPECT_EQ(at("/nodes/2/mesh"), "2");
    // Two looks of one geometry, and its coarser level.
    EXPECT_EQ(at("/meshes/0/primitives/0"),
              "{\"attributes\":{\"POSITION\":0,\"NORMAL\":1},\"indices\":2,\"material\":0}");
    EXPECT_EQ(at("/meshes/1/primitives/0"),
              "{\"attributes\":{\"POSITION\":0,\"NORMAL\":1},\"indices\":2,\"material\":1}");
    EXPECT_EQ(at("/meshes/3"), "nothing");
    EXPECT_EQ(
        at("/materials/1/pbrMetallicRoughness"),
        "{\"baseColorFactor\":[1,0.21404114,1,1],\"metallicFactor\":0,\"roughnessFactor\":0.5}");
    EXPECT_EQ(at("/accessors/0/min") + at("/accessors/0/max"), "[0,0,0][1,1,2]");
    EXPECT_EQ(numbers<float>(0, 3),
              (std::vector<float>{0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 2, 1, 0, 2, 0, 1, 2}));
    EXPECT_EQ(numbers<std::uint16_t>(2, 1), (std::vector<std::uint16_t>{0, 1, 2, 3, 4, 5}));
}

TEST_F(Wdb_Save_Glb, all_kinds_of_things) {
    WDB_Triangle painted = triangle(0);
    painted.t1 = Point(1, 0.25f, 0);
    painted.c0 = Color(1, 0.5f, 0.02f);
    auto* const list = list_of({painted});
    list->set_with_colors(true);
    PX_Map map(1, 2, 3);
    map.get_pixels()[0] = 7; // the lower row
    auto* const texture = new WDB_Texture(&map);
    world.put(new WDB_Node("t", HFrame::identity(), list, nullptr, texture));
    WDB_Line line(Point(0, 0, 0), Point(1, 1, 1));
    world.put(node_with(lines_of({line})));
    world.put(new WDB_Camera("eye", HFrame(Frame::translation(0, 0, 5)),
                             Matrix4::perspective(0.5f, 1, 100), nullptr, nullptr));
    auto* const light = new WDB_Light("spot", HFrame::identity(), 0.5f, nullptr, nullptr);
    light->set_on(false);
    world.put(light);
    auto* const lamp = new WDB_Material;
    lamp->set_emission(Color(1, 0.5f, 0));
    world.put(new WDB_Light("point", HFrame(Frame::translation(0, 6, 0)), 3, nullptr, lamp));
    // No scale and turn: the geometry goes along.
    world.put(node_with(list_of({triangle(0)}), Frame::shear(0, 0, 1), "sheared"));
    EXPECT_EQ(save(), 0) << told;
    std::string kinds;
    for (int i = 0; at(("/nodes/" + std::to_string(i)).c_str()) != "nothing"; ++i)
        for (const char* kind : {"/name", "/camera", "/matrix", "/mesh"})
            kinds += at(("/nodes/" + std::to_string(i) + kind).c_str()) + ' ';
    EXPECT_NE(kinds.find("\"eye\" 0 [1,0,0,0,0,1,0,0,0,0,1,0,0,0,5,1] nothing"), kinds.npos);
    EXPECT_NE(kinds.find("\"sheared\" nothing nothing 2"), kinds.npos) << kinds;
    EXPECT_EQ(at("/cameras/0/perspective/yfov"), "0.5");
    const std::string lights = at("/extensions/KHR_lights_punctual/lights");
    // The middle of all is at (0.5, 0.5, 0.5).
    EXPECT_NE(lights.find("{\"type\":\"point\",\"color\":[1,0.21404114,0],\"intensity\":96.603"),
              lights.npos)
        << lights;
    EXPECT_NE(lights.find("\"intensity\":0,\"spot\":{\"outerConeAngle\":0.5}"), lights.npos);
    EXPECT_EQ(at("/meshes/1/primitives/0/mode"), "1");
    EXPECT_EQ(numbers<float>(2, 2), (std::vector<float>{0, 1, 1, 0.75f, 0, 1}));
    const auto colors = numbers<float>(3, 3);
    EXPECT_TRUE(colors[0] == 1 && colors[1] == 0.21404114f && colors[2] == 0.02f / 12.92f);
    // The picture, whose last byte but the checks is the last of its lower row.
    EXPECT_EQ(at("/images/0/mimeType"), "\"image/png\"");
    EXPECT_NE(data.find(std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\0\1\0\0\0\2\b\2\0\0\0", 29)),
              data.npos);
    EXPECT_NE(data.find(std::string("\1\b\0\xF7\xFF\0\0\0\0\0\7\0\0", 13)), data.npos);
}

// The product of what the format tells apart, in columns as it has them.
static std::vector<float> product(const float* move, const float* q, const float* scale) {
    const float x = q[0], y = q[1], z = q[2], w = q[3];
    std::vector<float> m = {
        1 - 2 * (y * y + z * z), 2 * (x * y + z * w),     2 * (x * z - y * w),     0,
        2 * (x * y - z * w),     1 - 2 * (x * x + z * z), 2 * (y * z + x * w),     0,
        2 * (x * z + y * w),     2 * (y * z - x * w),     1 - 2 * (x * x + y * y), 0};
    for (std::size_t i = 0; i < m.size(); ++i) m[i] *= scale[i / 4];
    m.insert(m.end(), {move[0], move[1], move[2], 1});
    return m;
}

TEST_F(Wdb_Save_Glb, instances) {
    auto* const list = list_of({triangle(0)});
    const Frame places[] = {
        Frame::translation(1, 2, 3), Frame::scaling(1, 2, 3) * Frame::rotation(0, 3.1f),
        Frame::scaling(-1, 1, 1) * Frame::rotation(1, 3.1f),
        Frame::rotation(2, 3.1f) * Frame::translation(0, 0, 9),
        Frame::rotation(0, 2) * Frame::rotation(1, -2) * Frame::scaling(2, 2, 2)};
    for (const Frame& place : places) {
        auto* const node = node_with(list, place);
        node->insert_lod(list_of({triangle(5)}), 1); // is left out
        world.put(node);
    }
    auto* const red = new WDB_Material;
    world.put(new WDB_Node("single", HFrame::identity(), list, red, nullptr));
    world.put(node_with(list, Frame::shear(0, 0, 1), "sheared"));
    EXPECT_EQ(save("x.glb", {.has_instances = true}), 0) << told;
    EXPECT_EQ(at("/extensionsUsed") + at("/extensionsRequired"),
              R"(["EXT_mesh_gpu_instancing"]["EXT_mesh_gpu_instancing"])");
    std::vector<std::string> nodes;
    for (int i = 0; i < 4; ++i) nodes.push_back(at(("/nodes/" + std::to_string(i)).c_str()));
    std::sort(nodes.begin(), nodes.end());
    EXPECT_EQ(nodes[1], R"({"mesh":0,"extensions":{"EXT_mesh_gpu_instancing":{"attributes":)"
                        R"({"TRANSLATION":6,"ROTATION":7,"SCALE":8}}}})");
    EXPECT_EQ(nodes[2] + nodes[3] + nodes[0],
              R"({"name":"sheared","mesh":2}{"name":"single","mesh":1}nothing)");
    EXPECT_EQ(at("/meshes/3"), "nothing");
    const auto moves = numbers<float>(6, 3), turns = numbers<float>(7, 4),
               scales = numbers<float>(8, 3);
    ASSERT_EQ(moves.size(), 15u);
    // In the order of the world.
    for (const Frame& place : places) {
        const HFrame given(place);
        float least = 1;
        for (std::size_t i = 0; i < 5; ++i) {
            const auto m = product(&moves[3 * i], &turns[4 * i], &scales[3 * i]);
            float worst = 0;
            for (std::size_t k = 0; k < 16; ++k)
                worst = std::max(worst, std::fabs(m[k] - given.to_c()[k]));
            least = std::min(least, worst);
        }
        EXPECT_LT(least, 1e-6f) << place[0].x;
    }
}

TEST_F(Wdb_Save_Glb, what_has_no_form_is_told) {
    const float none = std::numeric_limits<float>::quiet_NaN();
    WDB_Triangle bad = triangle(0);
    world.put(node_with(list_of({triangle(0)}), Frame::identity(), "good"));
    bad.p1.y = none;
    world.put(node_with(list_of({triangle(0), bad}), Frame::translation(1, 0, 0)));
    world.put(node_with(new Odd_Geometry));
    world.put(node_with(list_in({20000, 0, 0}, {20001, 1, 1})));
    auto* const nowhere = new WDB_Node("x", HFrame::identity(), nullptr, nullptr, nullptr);
    HFrame place = HFrame::identity();
    place[0][0] = none;
    nowhere->set_transform(place);
    world.put(nowhere);
    world.put(node_with(nullptr, Frame::shear(1, 2, 3) * Frame::translation(7, 8, 9), "leaning"));
    world.put(new WDB_Camera("flat", HFrame::identity(), Matrix4::identity(), nullptr, nullptr));
    EXPECT_EQ(save(), WDB_SAVE_LOSES);
    for (const char* what : {"1 triangles or lines with", "1 nodes whose place",
                             "1 cameras, lights and bare", "1 geometries of other classes",
                             "1 projections of cameras", "1 shapes outside the bounds"})
        EXPECT_TRUE(holds(told, what)) << told;
    EXPECT_TRUE(holds(at("/nodes"), ",0,0,0,1,0,7,8,9,1]}")) << at("/nodes");
    EXPECT_EQ(save("no/such/folder/x.glb"), EOF);
    EXPECT_TRUE(holds(told, "No such file or directory"));
    const Report_Catcher silence;
    EXPECT_EQ(wdb_save_glb(world, "/dev/full"), EOF);
}
#endif
