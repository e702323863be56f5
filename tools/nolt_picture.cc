// nolt_picture [-o picture.png] [-size WxH] [-camera name | -from X Y Z] scene
//
// Makes a picture of a scene. It uses the library as any program can, through the headers that are
// installed, and is meant to be read:
//
//     nolt_picture        loads the scene, finds the camera, saves the picture
//     Picture_View        finds a place from which all is in view
//     Picture_Painter     finds what is in view, chooses levels of detail, sets the order
//     Picture_Polygon     carries a triangle to clip space and cuts it
//     Picture_Canvas      depth and colour: draws polygons into samples, and samples into pixels
//     Picture_Facet       what a triangle looks like at a sample
//     Picture_Lighting    the lights of the world
//     Picture_Texture     pixel maps at texture points
//     Picture_File        PNG and SGI images
#include <algorithm>
#include <cctype>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <unistd.h>

#include "std/Std_Common.h"
#include "std/Std_Descriptor.h"
#include "std/Std_Line.h"
#include "tools/Load_Messager.h"
#include "tools/One_File.h"
#include "tools/Picture_File.h"
#include "tools/Picture_Painter.h"
#include "tools/Picture_View.h"
#include "tools/Tool_Answers.h"
#include "wdb/WDB_Camera.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Load_Report.h"
#include "wdb/wdb_load.h"

static const char* const usage =
    "usage: nolt_picture [-o picture.png] [-size WxH] [-camera name | -from X Y Z] scene";

static void tell(const char* message) {
    std_write_line("nolt_picture: ", message);
}

[[noreturn]] static void fail(const char* message, int status = 1) {
    tell(message);
    std::exit(status);
}

[[noreturn]] static void fail_usage(const char* message = usage) {
    const int wrong_usage = 2;
    fail(message, wrong_usage);
}

namespace {
struct Request {
    const char* output = Picture_File::default_name();
    const char* camera = nullptr;
    const char* scene = nullptr;
    int width = 640, height = 480;
    Vector from = Vector(0, 0, 0); // or the direction in which to stand
};
} // namespace

// A picture of the largest size takes 800 MB.
static constexpr int largest_size = 16384;

// A number from 1 to the largest size, which ends where `end` says.
// On failure: 0.
static int scan_size(const char* text, char** end) {
    if (!std::isdigit(static_cast<unsigned char>(*text))) return 0;
    const unsigned long size = std::strtoul(text, end, 10); // ULONG_MAX for what is larger
    return size <= largest_size ? static_cast<int>(size) : 0;
}

static void scan_size(const char* text, Request* request) {
    char* end = nullptr;
    request->width = scan_size(text, &end);
    request->height = request->width > 0 && *end == 'x' ? scan_size(end + 1, &end) : 0;
    if (request->height < 1 || *end)
        fail_usage(
            str_format("a size is WxH, each from 1 to %d, not \"%.100s\"", largest_size, text));
}

// Three numbers, not all 0.
static void scan_direction(char** texts, Request* request) {
    for (int axis = 0; axis < 3; ++axis) {
        char* end = nullptr;
        request->from[axis] = texts[axis] ? std::strtof(texts[axis], &end) : 0;
        if (!texts[axis] || end == texts[axis] || *end || !std::isfinite(request->from[axis]))
            fail_usage("-from takes three numbers, x, y and z");
    }
    if (request->from.iszero()) fail_usage("-from 0 0 0 is no direction");
    // Neither its square nor its root is to be lost.
    const float largest = std::max(
        {std::fabs(request->from.x), std::fabs(request->from.y), std::fabs(request->from.z)});
    request->from = oknormalize(request->from / largest);
}

static Request scan_arguments(int argc, char** argv) {
    Request request;
    for (int i = 1; i < argc; ++i) {
        const char* const name = argv[i];
        // "-" alone is the standard input.
        if (name[0] != '-' || !name[1]) {
            if (request.scene) fail_usage();
            request.scene = name;
            continue;
        }
        const char* const value = i + 1 < argc ? argv[++i] : nullptr;
        if (!value) fail_usage();
        if (!std::strcmp(name, "-o")) {
            request.output = value;
        } else if (!std::strcmp(name, "-size")) {
            scan_size(value, &request);
        } else if (!std::strcmp(name, "-camera")) {
            request.camera = value;
        } else if (!std::strcmp(name, "-from")) {
            scan_direction(argv + i, &request);
            i += 2;
        } else {
            fail_usage();
        }
    }
    if (!request.scene || (request.camera && !request.from.iszero())) fail_usage();
    return request;
}

// The walk goes by addresses. Objects are numbered as they are made, so numbers go by the file.
static bool prefer_first(SUniv* user, const WDB_Node* node, const Bbox&) {
    const WDB_Node*& first = *Conv<const WDB_Node**>::from_univ(user);
    if (!first || node->get_instance_id() < first->get_instance_id()) first = node;
    return false;
}

static WDB_Camera* camera_of(WDB_Database& world, const Request& request) {
    if (request.camera) {
        if (WDB_Camera* const named = world.find_camera(request.camera)) return named;
        fail(str_format("the scene has no camera \"%.200s\"", request.camera));
    }
    const float aspect = static_cast<float>(request.width) / static_cast<float>(request.height);
    if (!request.from.iszero()) return Picture_View(world).camera(request.from, aspect);
    const WDB_Node* first = nullptr;
    world.apply_to_cameras(Conv<const WDB_Node**>::to_univ(&first), prefer_first);
    if (first) return WDB_Camera::castdown(const_cast<WDB_Node*>(first));
    return Picture_View(world).camera(Picture_View::usual_direction, aspect);
}

// A line on a terminal that changes as the picture grows, once it has taken a second.
static void show_progress(double fraction) {
    static const auto start = std::chrono::steady_clock::now();
    static bool is_shown = false;
    if (!isatty(STDERR_FILENO)) return;
    if (!is_shown && std::chrono::steady_clock::now() - start < std::chrono::seconds(1)) return;
    is_shown = fraction < 1;
    if (is_shown) {
        std::fprintf(stderr, "\rpainting: %2.0f %%", 100 * fraction);
    } else {
        std::fprintf(stderr, "\r               \r");
    }
}

// No walk finds what stands outside the bounds that a scene gives its world: that world as it is,
// or one whose bounds hold all.
static WDB_Database* with_all(WDB_Database* world) {
    WDB_Database::List<WDB_Node> outside;
    const auto add = [&](WDB_Node& node, const Bbox&) { outside.push_back(&node); };
    const WDB_Visit visit(add);
    world->apply_to_shapes_outside(visit.user(), visit.callback());
    if (outside.empty()) return world;
    auto* const all = new WDB_Database(WDB_FOLLOWING);
    for (const auto& nodes : {world->nodes(), world->shapes(), outside})
        for (WDB_Node* node : nodes) all->put(node);
    return all;
}

// Ends the process if there is nothing to see.
static WDB_Database* load(const char* scene) {
    std_set_current_messager(new Load_Messager);
    WDB_Load_Report report;
    WDB_Database* const world = wdb_load(scene, nullptr, report);
    std_set_current_messager(nullptr);
    if (!world) fail(str_format("cannot read the scene %.400s", scene));
    if (world->shape_count() == 0) fail(str_format("nothing to see in %.400s", scene));
    if (report.errors > 0)
        tell(str_format("%d error%s in %.400s: the picture shows the rest", report.errors,
                        report.errors == 1 ? "" : "s", scene));
    return with_all(world);
}

int main(int argc, char** argv) {
    // A file that may not grow is an error to report, not a signal.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    std_take_standard_descriptors();

    if (tool_answers(argc, argv, usage)) return 0;
    const Request request = scan_arguments(argc, argv);
    if (!Picture_File::can_save(request.output))
        fail("this build has no libpng: name a picture that ends in .rgb");
    if (are_one_file(request.scene, request.output))
        fail("the picture would take the place of the scene");
    WDB_Database* const world = load(request.scene);
    WDB_Camera* const camera = camera_of(*world, request);
    Picture_Painter painter(*world, *camera, request.width, request.height);
    if (painter.shape_count() == 0)
        tell(str_format("nothing is in view of the camera \"%.200s\"", camera->get_name()));
    PX_Map* const picture = painter.paint(show_progress);
    if (const char* const reason = Picture_File::save(*picture, request.output))
        fail(str_format("cannot write %.300s: %.150s", request.output, reason));
}
