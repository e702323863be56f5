// Runs the viewer on a screen that nobody sees, by scripts, and looks at what it shows and tells.
// The camera stands at z = 1 and sees -1 to 1 in the plane z = 0.
#include <array>
#include <csignal>
#include <unistd.h>

#include "images/PX_Map.h"
#include "tests/Blocks.h"
#include "tests/Scratch_Folder.h"

class Nolt_View : public Scratch_Folder_Test {
protected:
    void SetUp() override {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        server = fork();
        if (server == 0) {
            dup2(ends[1], STDOUT_FILENO);
            execl(NOLT_XVFB, "Xvfb", "-displayfd", "1", "-nolisten", "tcp", "-screen", "0",
                  "640x480x24", nullptr);
            _exit(1);
        }
        close(ends[1]);
        char number[16] = {};
        const bool is_there = read(ends[0], number, sizeof number - 1) > 0;
        close(ends[0]);
        if (!is_there) GTEST_SKIP() << "Xvfb does not start";
        char screen[16];
        std::snprintf(screen, sizeof screen, ":%d", std::atoi(number));
        setenv("DISPLAY", screen, 1);
        for (const char* setting : {"LIBGL_ALWAYS_SOFTWARE", "MESA_SHADER_CACHE_DISABLE"})
            setenv(setting, "true", 1);
        setenv("SDL_VIDEODRIVER", "x11", 1);
        put_file("x.3d", scene(""));
    }
    void TearDown() override {
        kill(server, SIGTERM);
        waitpid(server, nullptr, 0);
    }

    // What shines of itself, before a red square that hides a green one; the rest from `more`.
    static std::string scene(const std::string& more) {
        return unfolded(
            "material red { diffuse 0 0 0; emission 1 0 0 }\n"
            "material green { diffuse 0 0 0; emission 0 1 0 }\n"
            "material white { diffuse 0 0 0; emission 1 1 1 }\n"
            "trianglelist square { triangle p -1 -1 0 1 -1 0 1 1 0 t 0 0 0 1 0 0 1 1 0\n"
            " triangle p -1 -1 0 1 1 0 -1 1 0 t 0 0 0 1 1 0 0 1 0 }\n"
            "node front { frame s 0.4 0.4 1 t -0.5 -0.5 0; material red; geometry square }\n"
            "node hidden { frame s 0.4 0.4 1 t -0.8 -0.8 -0.2; material green; geometry square "
            "}\n" +
            more + "camera eye { frame t 0 0 1; perspective 90 1 1 100 }\n");
    }
    int view(const std::string& script, const std::string& arguments = "x.3d") {
        put_file("script", script);
        return run("'" NOLT_VIEW "' -size 100x100 -camera eye -picture x.rgb -script script " +
                   arguments);
    }

    pid_t server = -1;
};

// Counted from the upper left.
static void expect_pixel(const char* picture, int x, int y, const std::array<int, 3>& should) {
    const PX_Map map(picture, 3);
    ASSERT_EQ(map.get_width(), 100);
    for (int c = 0; c < 3; ++c)
        EXPECT_NEAR(map.get_pixel_component(x, 99 - y, c), should[std::size_t(c)], 2)
            << picture << ' ' << "rgb"[c] << " at " << x << ' ' << y;
}

static constexpr std::array<int, 3> background = {28, 33, 43}, red = {255, 0, 0},
                                    green = {0, 255, 0}, yellow = {255, 255, 0};

TEST_F(Nolt_View, shows_and_picks) {
    PX_Map picture(8, 8, 3); // yellow below, blue above
    for (int i = 0; i < 8 * 8 * 3; ++i) picture.get_pixels()[i] = (i < 96) == (i % 3 < 2) ? 255 : 0;
    ASSERT_TRUE(picture.save("two.rgb"));
    put_file("x.3d", scene("texture two { image \"two.rgb\" }\n"
                           "node far { frame s 0.4 0.4 1 t 0.5 0.5 0; material white; texture two; "
                           "geometry square }\n"
                           "material glass { diffuse 0 0 0; emission 0 1 0; alpha 0.5 }\n"
                           "node pane { frame s 0.2 0.1 1 t -0.5 -0.3 0.1; material glass; "
                           "geometry square }\n"
                           "linelist wire { line p 0 0.01 0 0.4 0.01 0 }\n"
                           "node wire { material green; geometry wire }\n"));
    EXPECT_EQ(view("key P\nclick 20 85\nclick 50 50\n"), 0) << err;
    const struct {
        int x, y;
        std::array<int, 3> color;
    } rows[] = {{50, 50, background},  {25, 80, red},           {2, 97, green}, {75, 35, yellow},
                {75, 10, {0, 0, 255}}, {25, 66, {128, 128, 0}}, {66, 49, green}};
    for (const auto& r : rows) expect_pixel("x.rgb", r.x, r.y, r.color);
    EXPECT_TRUE(holds(out, "x.3d: 5 shapes, 0 errors\npicture x.rgb\nfront at -0.6 -0.7 "));
    EXPECT_TRUE(holds(out, ", material red\nnothing picked\n"));
    EXPECT_EQ(err, "");
}

// With so coarse a picture all that is opaque is a dot: a disc as large as its shape.
TEST_F(Nolt_View, dots_follow_what_moves) {
    std::string script = "picture a.rgb\nclick 25 75\n";
    for (int i = 0; i < 6; ++i) script += "key Right\n"; // a tenth of its diagonal each
    EXPECT_EQ(view(script + "frames 2\npicture b.rgb\n", "-coarse 60 x.3d"), 0) << err;
    expect_pixel("a.rgb", 25, 75, red);
    expect_pixel("a.rgb", 8, 58, background); // a corner of the square
    expect_pixel("b.rgb", 59, 75, red);
    expect_pixel("b.rgb", 30, 75, background);
}

TEST_F(Nolt_View, moves_and_saves) {
    const std::string before = file("x.3d");
    const std::string script = "click 25 75\nkey Right\nkey Ctrl-S\nframes 2\npicture y.rgb\n";
    EXPECT_EQ(view(script), 0) << err;
    EXPECT_TRUE(holds(out, "front moved to -0.38"));
    expect_pixel("y.rgb", 48, 75, red);
    EXPECT_EQ(view("", "x_edited.3d"), 0);
    EXPECT_TRUE(holds(out, "2 shapes, 0 errors"));
    EXPECT_FALSE(holds(file("x_edited.3d"), "amera nolt_view"));
    EXPECT_EQ(view(script, "-save ./x.3d x.3d"), 0);
    EXPECT_TRUE(holds(out, "not saved: ./x.3d"));
    EXPECT_EQ(file("x.3d"), before);
}

TEST_F(Nolt_View, reads_again_what_has_changed) {
    put_file("script", "key R\nframes 9\n"); // but not what is there once
    EXPECT_EQ(run("'" NOLT_VIEW "' -script script -", " >out 2>err <x.3d"), 0) << err;
    EXPECT_EQ(out, "-: 2 shapes, 0 errors\n");
    put_file("new.3d",
             "material x {\n color 9\n}\n" + scene("node more { frame s 0.4 0.4 1 t 0.5 0.5 0; "
                                                   "material green; geometry square }\n"));
    put_file("change", "while [ ! -s a.rgb ]; do sleep 0.1; done\nsleep 0.1\ncp new.3d x.3d\n");
    put_file("script", "picture a.rgb\nreloaded\nframes 2\npicture b.rgb\n");
    EXPECT_EQ(
        run("sh change & '" NOLT_VIEW "' -size 100x100 -coarse 60 -camera eye -script script x.3d"),
        0);
    expect_pixel("a.rgb", 75, 25, background);
    expect_pixel("b.rgb", 75, 25, green);
    EXPECT_TRUE(holds(out, "x.3d: 2 shapes, 0 errors\n"));
    EXPECT_TRUE(holds(out, "x.3d: 3 shapes, 1 error\n"));
    EXPECT_TRUE(holds(err, "[x.3d-1]: Error - "));
}

TEST_F(Nolt_View, what_it_refuses) {
    const struct {
        const char *script, *arguments, *report;
        int status;
    } rows[] = {
        {"", "missing.3d", "nolt_view: cannot read the scene missing.3d\n", 1},
        {"jump\n", "x.3d", "script: not understood: jump\n", 2},
        {"key Nokey\n", "x.3d", "script: no key is named Nokey\n", 2},
        {"picture missing/x.rgb\n", "x.3d", "script: cannot write missing/x.rgb: ", 2},
        {"", "-script . x.3d", "cannot read .", 1},
        {"", "-size 9 x.3d", "a size is WxH", 2},
        {"", "x.3d y.3d", "usage: nolt_view ", 2},
    };
    for (const auto& r : rows) {
        EXPECT_EQ(view(r.script, r.arguments), r.status) << r.arguments;
        EXPECT_TRUE(holds(err, r.report));
    }
}
