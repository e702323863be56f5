// Runs the tool in a folder of its own and looks at single pixels, whose colours are known from
// what the scene says. The camera stands at z = 1 and sees -1 to 1 in the plane z = 0.
#ifdef NOLT_PNG
#include <png.h>
#endif

#include <array>

#include "images/PX_Map.h"
#include "tests/Blocks.h"
#include "tests/Scratch_Folder.h"

using Rgb = std::array<int, 3>;

class Nolt_Picture : public Scratch_Folder_Test {
protected:
    int draw(const std::string& arguments) { return run("'" NOLT_PICTURE "' " + arguments); }
};

// Of the pixel in that column and row, counted from the upper left.
static void expect_pixel(const PX_Map& map, int x, int y, const Rgb& should) {
    const int row = map.get_height() - 1 - y, near = 2;
    for (int c = 0; c < 3; ++c)
        EXPECT_NEAR(map.get_pixel_component(x, row, c), should[std::size_t(c)], near)
            << "rgb"[c] << " at " << x << " " << y;
}

static const Rgb background = {28, 33, 43};

// Things that shine of themselves, as nothing of the light at the eye is to be added; and -1 to 1
// in x and y, at z = 0.
static const std::string things =
    unfolded("material red { diffuse 0 0 0; emission 1 0 0 }\nmaterial green { diffuse 0 0 0; "
             "emission 0 1 0 }\n"
             "material blue { diffuse 0 0 0; emission 0 0 1 }\nmaterial white { diffuse 0 0 0; "
             "emission 1 1 1 }\n"
             "trianglelist square { triangle p -1 -1 0 1 -1 0 1 1 0 t 0 0 0 1 0 0 1 1 0\n"
             " triangle p -1 -1 0 1 1 0 -1 1 0 t 0 0 0 1 1 0 0 1 0 }\n");

static std::string scene(const std::string& text) {
    return things + unfolded(text + "camera eye { frame t 0 0 1; perspective 90 1 1 100 }\n");
}

TEST_F(Nolt_Picture, pixels) {
    PX_Map four(8, 8, 3);
    for (int i = 0; i < 8 * 8 * 3; ++i) { // quarters of red, green, blue and white
        const int quarter = i / 96 * 2 + i / 12 % 2;
        four.get_pixels()[i] = quarter == 3 || quarter == i % 3 ? 255 : 0;
    }
    ASSERT_TRUE(four.save("four.rgb"));
    for (const int n : {1, 2, 4}) {
        PX_Map one(1, 1, n);
        for (int c = 0; c < n; ++c) one.get_pixels()[c] = static_cast<unsigned char>(51 * (c + 1));
        ASSERT_TRUE(one.save((std::to_string(n) + ".rgb").c_str()));
    }
    std::string coarse = "trianglelist coarse {\n";
    for (int i = 0; i < 15; ++i)
        coarse +=
            "triangle p -1 -1 0 1 -1 0 1 1 0 c 1 0 0\ntriangle p -1 -1 0 1 1 0 -1 1 0 c 1 0 0\n";
    coarse += "}\n";
    for_each_block(TEST_PICTURES, [&](std::map<std::string, std::string>& parts) {
        put_file("x.3d", scene(coarse + parts["text"]));
        EXPECT_EQ(draw("-o x.rgb -size 24x24 x.3d"), 0) << err;
        const PX_Map map("x.rgb", 3);
        ASSERT_EQ(map.get_width(), 24);
        std::istringstream pixels(parts["pixels"]);
        int x, y;
        Rgb should;
        while (pixels >> x >> y >> should[0] >> should[1] >> should[2])
            expect_pixel(map, x, y, should);
        EXPECT_TRUE(pixels.eof());
    });
}

TEST_F(Nolt_Picture, cameras) {
    // The first camera has a body, which it does not see itself.
    put_file("x.3d", things + unfolded(R"(node n1 { frame t 0 0 -1; material red; geometry square }
node n2 { frame r 0 180 0 t 0 0 20; material blue; geometry square }
trianglelist body { triangle p -1 -1 -1 1 -1 -1 0 1 -1 }
camera zz { frame t 0 0 1; geometry body; perspective 60 1 1 9 }
camera aa { frame r 0 180 0 t 0 0 17; perspective 60 1 1 9 }
camera off { frame r 0 90 0 t 0 0 9; perspective 60 1 1 9 }
)"));
    put_file("none.3d", things + unfolded("node n { material red; geometry square }\n"));
    const std::tuple<const char*, const char*, Rgb> rows[] = {
        {"x.3d", "", {255, 0, 0}}, // the first in the scene
        {"-camera aa x.3d", "", {0, 0, 255}},
        {"-camera off x.3d", "nolt_picture: nothing is in view of the camera \"off\"\n",
         background},
        {"none.3d", "", {255, 0, 0}},
    };
    for (const auto& [arguments, told, middle] : rows) {
        SCOPED_TRACE(arguments);
        EXPECT_EQ(draw(std::string("-o x.sgi -size 40x20 ") + arguments), 0);
        EXPECT_EQ(err, told);
        const PX_Map map("x.sgi", 0);
        ASSERT_EQ(map.get_width(), 40);
        ASSERT_EQ(map.get_height(), 20);
        expect_pixel(map, 20, 10, middle);
        expect_pixel(map, 1, 10, background);
    }
}

// What is drawn reaches two opposite sides of the picture but for a border, and none of the others
// is passed, whatever its form, direction and place; also beyond the bounds of its world.
TEST_F(Nolt_Picture, all_is_in_view) {
    const auto row = [](int count, const char* geometry) {
        std::string text;
        for (int i = 0; i < count; ++i)
            text += "node n" + std::to_string(i) + " { frame t " + std::to_string(3 * i) +
                    " 0 0; material red; geometry " + geometry + " }\n";
        return things + unfolded(text);
    };
    const std::string board = "trianglelist board { triangle p -1 0 -1 1 0 -1 1 0 1\n"
                              " triangle p -1 0 -1 1 0 1 -1 0 1 }\n";
    const struct {
        const char* arguments;
        std::string text;
        bool fills_width, fills_height;
        int least; // of 4800 pixels that show something
    } rows[] = {
        {"", row(10, "square"), true, false, 200},
        {"-from 0 0 1", row(10, "square"), true, false, 200},
        {"-from 1 0 0.3", row(10, "square"), false, true, 200},
        {"-from 0 5 0", unfolded(board) + row(2, "board"), true, false, 1300},
        {"", unfolded(board) + row(1, "board"), true, false, 700},
        {"", unfolded("world { bounds -2 -2 -2 2 2 2 }\n") + row(3, "square"), true, false, 900},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.arguments + r.text.substr(0, 20));
        put_file("x.3d", r.text);
        EXPECT_EQ(draw(std::string("-o x.rgb -size 80x60 ") + r.arguments + " x.3d"), 0) << err;
        const PX_Map map("x.rgb", 3);
        int left = 80, right = -1, low = 60, high = -1, shown = 0;
        for (int y = 0; y < 60; ++y)
            for (int x = 0; x < 80; ++x)
                if (map.get_pixel_component(x, y, 0) > 100) {
                    left = std::min(left, x), right = std::max(right, x);
                    low = std::min(low, y), high = std::max(high, y);
                    ++shown;
                }
        EXPECT_GE(shown, r.least);
        EXPECT_TRUE(left > 0 && right < 79 && low > 0 && high < 59);
        EXPECT_EQ(left < 4 && right > 75, r.fills_width) << left << ' ' << right;
        EXPECT_EQ(low < 4 && high > 55, r.fills_height) << low << ' ' << high;
    }
}

// Drawn in many bands, the picture is the same as in one.
TEST_F(Nolt_Picture, bands) {
    put_file("x.3d", scene("node n1 { frame r 0 0 20 t 0 0 0; geometry square }\n"
                           "node n2 { frame t 0 0.2 -1; material red; geometry square }\n"
                           "node n3 { frame s 0.5 0.5 0.5 t 0 -0.5 0.1; material blue; geometry "
                           "square }\n"));
    EXPECT_EQ(draw("-o wide.rgb -size 16384x30 x.3d"), 0);
    EXPECT_EQ(draw("-o small.rgb -size 30x30 x.3d"), 0);
    const PX_Map wide("wide.rgb", 3), small("small.rgb", 3);
    for (int y = 0; y < 30; ++y) {
        const Rgb should = {small.get_pixel_component(15, y, 0),
                            small.get_pixel_component(15, y, 1),
                            small.get_pixel_component(15, y, 2)};
        expect_pixel(wide, 8192, 29 - y, should);
    }
}

#ifdef NOLT_PNG
TEST_F(Nolt_Picture, the_png_is_the_same_picture) {
    put_file("x.3d", scene("node n { frame r 0 0 20 t 0.3 0.2 0; geometry square }\n"));
    EXPECT_EQ(draw("-o x.rgb -size 31x20 x.3d"), 0);
    EXPECT_EQ(draw("-size 31x20 x.3d"), 0);
    const PX_Map map("x.rgb", 3);
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    ASSERT_TRUE(png_image_begin_read_from_file(&image, "picture.png"));
    ASSERT_EQ(image.width, 31u);
    ASSERT_EQ(image.height, 20u);
    image.format = PNG_FORMAT_RGB;
    std::vector<unsigned char> pixels(PNG_IMAGE_SIZE(image));
    ASSERT_TRUE(png_image_finish_read(&image, nullptr, pixels.data(), -31 * 3, nullptr));
    EXPECT_TRUE(std::equal(pixels.begin(), pixels.end(), map.get_pixels()));
}
#endif

TEST_F(Nolt_Picture, what_gives_no_picture) {
    put_file("x.3d", scene("node n { geometry square }\n"));
    put_file("empty.3d", scene(""));
    std::filesystem::create_symlink("x.3d", "link.rgb");
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
        {"-o link.rgb file:./x.3d", "the picture would take the place of the scene\n"},
        {"-o missing/x.rgb x.3d", "cannot write missing/x.rgb: "},
        {"-o missing/x.png x.3d", ""}, // without libpng there is another reason
    };
    for (const auto& [arguments, report, status] : rows) {
        EXPECT_EQ(draw(arguments), status) << arguments;
        EXPECT_TRUE(holds(err, "nolt_picture: " + report));
        EXPECT_FALSE(std::filesystem::exists("picture.png")) << arguments;
    }
    EXPECT_EQ(run("'" NOLT_PICTURE "' -o link.rgb -", " >out 2>err <x.3d"), 1);
    for (const char* text : {"0x9", "9x0", "-9x9", "9x-9", "9", "9x", "x9", "9x9x9", "9 x9",
                             "16385x1", "1x99999999999999999999", "4294967297x1", "''"}) {
        EXPECT_EQ(draw("-size '" + std::string(text) + "' x.3d"), 2) << text;
        EXPECT_EQ(err.rfind(size, 0), 0u) << text;
    }
    // What is wrong in the scene is told, and the rest shown.
    put_file("bad.3d", "material x {\n color 9\n}\n" + scene("node n { geometry square }\n"));
    EXPECT_EQ(draw("-o x.rgb bad.3d"), 0);
    EXPECT_EQ(err.rfind("INFO   : [bad.3d-1]: Error - ", 0), 0u) << err;
    EXPECT_TRUE(holds(err, "nolt_picture: 1 error in bad.3d: the picture shows the rest\n"));
}
