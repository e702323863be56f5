// Runs the tool in a folder of its own and looks at single pixels, whose colours are known from
// what the scene says. The camera stands at z = 1 and sees -1 to 1 in the plane z = 0.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <vector>

#ifdef NOLT_PNG
#include <png.h>
#endif

#include "images/PX_Map.h"
#include "tests/Blocks.h"

struct Rgb {
    int r, g, b;
};

class Folder {
public:
    Folder() {
        if (!mkdtemp(path_.data())) std::abort();
    }
    ~Folder() { std::filesystem::remove_all(path_); }

    std::string operator/(const char* name) const { return path_ + "/" + name; }
    void write(const char* name, const std::string& text) const {
        std::ofstream(*this / name, std::ios::binary) << text;
    }
    std::string read(const char* name) const {
        std::ifstream file(*this / name, std::ios::binary);
        return std::string((std::istreambuf_iterator<char>(file)), {});
    }
    // The exit status; -1 after a signal.
    int run(const std::string& arguments) const {
        const std::string command = "cd '" + path_ + "' && '" NOLT_PICTURE "' " + arguments;
        const int result = std::system((command + " >out 2>err </dev/null").c_str());
        return WIFEXITED(result) && WEXITSTATUS(result) < 128 ? WEXITSTATUS(result) : -1;
    }

private:
    std::string path_ = ::testing::TempDir() + "picture_XXXXXX";
};

// Of the pixel in that column and row, counted from the upper left.
static void expect_pixel(const PX_Map& map, int x, int y, const Rgb& should) {
    const int row = map.get_height() - 1 - y, near = 2;
    EXPECT_NEAR(map.get_pixel_component(x, row, 0), should.r, near) << "red at " << x << " " << y;
    EXPECT_NEAR(map.get_pixel_component(x, row, 1), should.g, near) << "green at " << x << " " << y;
    EXPECT_NEAR(map.get_pixel_component(x, row, 2), should.b, near) << "blue at " << x << " " << y;
}

static const Rgb background = {28, 33, 43}, white = {255, 255, 255};

// Things that shine of themselves: nothing of the light at the eye is to be added.
#define GLOW(name, rgb) "material " name " {\n diffuse 0 0 0\n emission " rgb "\n}\n"
#define NODE(name, frame, fields) "node " name " {\n frame " frame "\n" fields "\n}\n"
// -1 to 1 in x and y, at z = 0.
#define SQUARE                                                                                     \
    "trianglelist square {\n"                                                                      \
    " triangle p -1 -1 0 1 -1 0 1 1 0 t 0 0 0 1 0 0 1 1 0\n"                                       \
    " triangle p -1 -1 0 1 1 0 -1 1 0 t 0 0 0 1 1 0 0 1 0\n}\n"
#define CAMERA "camera eye {\n frame t 0 0 1\n perspective 90 1 1 100\n}\n"
#define COLORS                                                                                     \
    GLOW("red", "1 0 0") GLOW("green", "0 1 0") GLOW("blue", "0 0 1") GLOW("white", "1 1 1")
TEST(nolt_picture, pixels) {
    const Folder folder;
    PX_Map four(8, 8, 3);
    const Rgb quarters[] = {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, white};
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) {
            const Rgb& color = quarters[y / 4 * 2 + x / 4];
            four.put_pixel_component(static_cast<unsigned char>(color.r), x, y, 0);
            four.put_pixel_component(static_cast<unsigned char>(color.g), x, y, 1);
            four.put_pixel_component(static_cast<unsigned char>(color.b), x, y, 2);
        }
    ASSERT_TRUE(four.save((folder / "four.rgb").c_str()));
    for (const int n : {1, 2, 4}) {
        PX_Map one(1, 1, n);
        for (int c = 0; c < n; ++c) one.get_pixels()[c] = static_cast<unsigned char>(51 * (c + 1));
        ASSERT_TRUE(one.save((folder / (std::to_string(n) + ".rgb").c_str()).c_str()));
    }
    for_each_block(TEST_PICTURES, [&](std::map<std::string, std::string>& parts) {
        folder.write("x.3d", COLORS SQUARE + parts["text"] + CAMERA);
        EXPECT_EQ(folder.run("-o x.rgb -size 24x24 x.3d"), 0) << folder.read("err");
        const PX_Map map((folder / "x.rgb").c_str(), 3);
        ASSERT_EQ(map.get_width(), 24);
        std::istringstream pixels(parts["pixels"]);
        int x, y;
        Rgb should;
        while (pixels >> x >> y >> should.r >> should.g >> should.b)
            expect_pixel(map, x, y, should);
        EXPECT_TRUE(pixels.eof());
    });
}

TEST(nolt_picture, cameras) {
    const Folder folder;
    // The first camera has a body, which it does not see itself.
    const char* const cameras = R"(
trianglelist body {
 triangle p -1 -1 -1 1 -1 -1 0 1 -1
}
camera zz {
 frame t 0 0 1
 geometry body
 perspective 60 1 1 9
}
camera aa {
 frame r 0 180 0 t 0 0 17
 perspective 60 1 1 9
}
camera off {
 frame r 0 90 0 t 0 0 9
 perspective 60 1 1 9
}
)";
    folder.write("x.3d", COLORS SQUARE NODE("n1", "t 0 0 -1", "material red\ngeometry square") NODE(
                             "n2", "r 0 180 0 t 0 0 20", "material blue\ngeometry square") +
                             std::string(cameras));
    folder.write("none.3d", COLORS SQUARE NODE("n", "t 0 0 0", "material red\ngeometry square"));
    const struct {
        const char *arguments, *err;
        Rgb middle;
    } rows[] = {
        {"x.3d", "", {255, 0, 0}}, // the first in the scene
        {"-camera aa x.3d", "", {0, 0, 255}},
        {"-camera off x.3d", "nolt_picture: nothing is in view of the camera \"off\"\n",
         background},
        {"none.3d", "", {255, 0, 0}},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.arguments);
        EXPECT_EQ(folder.run(std::string("-o x.sgi -size 40x20 ") + r.arguments), 0);
        EXPECT_EQ(folder.read("err"), r.err);
        const PX_Map map((folder / "x.sgi").c_str(), 0);
        ASSERT_EQ(map.get_width(), 40);
        ASSERT_EQ(map.get_height(), 20);
        expect_pixel(map, 20, 10, r.middle);
        expect_pixel(map, 1, 10, background);
    }
}

// Drawn in many bands, the picture is the same as in one.
TEST(nolt_picture, bands) {
    const Folder folder;
    folder.write("x.3d", COLORS SQUARE NODE("n1", "r 0 0 20 t 0 0 0", "geometry square")
                             NODE("n2", "t 0 0.2 -1", "material red\ngeometry square")
                                 NODE("n3", "s 0.5 0.5 0.5 t 0 -0.5 0.1",
                                      "material blue\ngeometry square") CAMERA);
    EXPECT_EQ(folder.run("-o wide.rgb -size 16384x30 x.3d"), 0);
    EXPECT_EQ(folder.run("-o small.rgb -size 30x30 x.3d"), 0);
    const PX_Map wide((folder / "wide.rgb").c_str(), 3), small((folder / "small.rgb").c_str(), 3);
    for (int y = 0; y < 30; ++y) {
        const Rgb should = {small.get_pixel_component(15, y, 0),
                            small.get_pixel_component(15, y, 1),
                            small.get_pixel_component(15, y, 2)};
        expect_pixel(wide, 8192, 29 - y, should);
    }
}

#ifdef NOLT_PNG
TEST(nolt_picture, the_png_is_the_same_picture) {
    const Folder folder;
    folder.write("x.3d", COLORS SQUARE NODE("n", "r 0 0 20 t 0.3 0.2 0", "geometry square") CAMERA);
    EXPECT_EQ(folder.run("-o x.rgb -size 31x20 x.3d"), 0);
    EXPECT_EQ(folder.run("-size 31x20 x.3d"), 0);
    const PX_Map map((folder / "x.rgb").c_str(), 3);
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    ASSERT_TRUE(png_image_begin_read_from_file(&image, (folder / "picture.png").c_str()));
    ASSERT_EQ(image.width, 31u);
    ASSERT_EQ(image.height, 20u);
    image.format = PNG_FORMAT_RGB;
    std::vector<unsigned char> pixels(PNG_IMAGE_SIZE(image));
    ASSERT_TRUE(png_image_finish_read(&image, nullptr, pixels.data(), -31 * 3, nullptr));
    EXPECT_TRUE(std::equal(pixels.begin(), pixels.end(), map.get_pixels()));
}
#endif

TEST(nolt_picture, what_gives_no_picture) {
    const Folder folder;
    folder.write("x.3d", COLORS SQUARE NODE("n", "t 0 0 0", "geometry square") CAMERA);
    folder.write("empty.3d", CAMERA);
    const std::string size = "nolt_picture: a size is WxH, each from 1 to 16384, not \"";
    const struct {
        const char* arguments;
        std::string report;
        int status = 1;
    } rows[] = {
        {"", "usage: nolt_picture ", 2},
        {"x.3d y.3d", "usage: nolt_picture ", 2},
        {"x.3d -o", "usage: nolt_picture ", 2},
        {"-z 1 x.3d", "usage: nolt_picture ", 2},
        {"missing.3d", "cannot read the scene missing.3d\n"},
        {". ", "cannot read the scene .\n"},
        {"empty.3d", "nothing to see in empty.3d\n"},
        {"-camera nobody x.3d", "the scene has no camera \"nobody\"\n"},
        {"-o missing/x.rgb x.3d", "cannot write missing/x.rgb: "},
        {"-o missing/x.png x.3d", ""}, // without libpng there is another reason
    };
    for (const auto& [arguments, report, status] : rows) {
        EXPECT_EQ(folder.run(arguments), status) << arguments;
        const std::string err = folder.read("err");
        EXPECT_NE(err.find("nolt_picture: " + report), std::string::npos)
            << arguments << ": " << err;
        EXPECT_FALSE(std::filesystem::exists(folder / "picture.png")) << arguments;
    }
    for (const char* text : {"0x9", "9x0", "-9x9", "9x-9", "9", "9x", "x9", "9x9x9", "9 x9",
                             "16385x1", "1x99999999999999999999", "4294967297x1", "''"}) {
        EXPECT_EQ(folder.run("-size '" + std::string(text) + "' x.3d"), 2) << text;
        EXPECT_EQ(folder.read("err").rfind(size, 0), 0u) << text;
    }
    // What is wrong in the scene is told, and the rest shown.
    folder.write("bad.3d",
                 "material x {\n color 9\n}\n" SQUARE NODE("n", "t 0 0 0", "geometry square"));
    EXPECT_EQ(folder.run("-o x.rgb bad.3d"), 0);
    const std::string err = folder.read("err");
    EXPECT_EQ(err.rfind("INFO   : [bad.3d-1]: Error - ", 0), 0u) << err;
    EXPECT_NE(err.find("nolt_picture: 1 error in bad.3d: the picture shows the rest\n"),
              std::string::npos);
}
