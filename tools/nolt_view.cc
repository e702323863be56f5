// nolt_view [options] scene
//
// Shows a scene in a window. It uses the library as any program can, through the headers that are
// installed, and is meant to be read:
//
//     nolt_view           the loop: load, events, picture
//     Viewer_Window       a window for OpenGL, by SDL
//     Viewer_Scene        the scene, which is loaded in another thread, and again when it changes
//     Viewer_Control      mouse and keys: the camera, picking, moving, saving
//     Viewer_Painter      finds what is in view, chooses levels of detail, draws
//     Viewer_Dots         all shapes as dots, of which the card draws those that are far
//     Viewer_Meshes       what stands in the memory of the graphics card, and leaves it again
//     Viewer_Script       does what a user would
#include <cstdio>

#include "tools/Tool_Answers.h"

static const char* const usage =
    "usage: nolt_view [-size WxH] [-camera name] [-save edited.3d] [-picture picture.png]\n"
    "       [-coarse N] [-script file] [-frames N] scene";

#ifdef NOLT_VIEWER

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>
#ifdef __GLIBC__
#include <malloc.h>
#endif

#include "math/Viewer_Moves.h"
#include "std/Std_Common.h"
#include "std/Std_Descriptor.h"
#include "std/Std_Line.h"
#include "tools/Load_Messager.h"
#include "tools/Picture_File.h"
#include "tools/Viewer_Control.h"
#include "tools/Viewer_Painter.h"
#include "tools/Viewer_Scene.h"
#include "tools/Viewer_Script.h"
#include "tools/Viewer_Window.h"

static constexpr int wrong_usage = 2;

[[noreturn]] static void fail(const char* message, int status = 1) {
    std_write_line("nolt_view: ", message);
    std::exit(status);
}

namespace {
struct Request {
    const char* scene = nullptr;
    const char* camera = nullptr;
    const char* save_as = nullptr;
    const char* picture = Picture_File::default_name();
    const char* script = nullptr;
    int width = 1280, height = 720;
    int frames = 0;     // to be measured; 0 for a user
    int coarseness = 0; // of all pictures; 0 for what the time allows
};
} // namespace

static Request scan_arguments(int argc, char** argv) {
    Request request;
    for (int i = 1; i < argc; ++i) {
        const std::string name = argv[i];
        if (name[0] != '-' || name == "-") {
            if (request.scene) fail(usage, wrong_usage);
            request.scene = argv[i];
            continue;
        }
        const char* const value = i + 1 < argc ? argv[++i] : nullptr;
        if (!value) fail(usage, wrong_usage);
        char end;
        const auto scan_number = [&](int* number) {
            if (std::sscanf(value, "%6d%c", number, &end) != 1 || *number < 1)
                fail(str_format("%s takes a number from 1 on", name.c_str()), wrong_usage);
        };
        if (name == "-camera") {
            request.camera = value;
        } else if (name == "-save") {
            request.save_as = value;
        } else if (name == "-picture") {
            request.picture = value;
        } else if (name == "-script") {
            request.script = value;
        } else if (name == "-frames") {
            scan_number(&request.frames);
        } else if (name == "-coarse") {
            scan_number(&request.coarseness);
        } else if (name != "-size") {
            fail(usage, wrong_usage);
        } else if (std::sscanf(value, "%5dx%5d%c", &request.width, &request.height, &end) != 2 ||
                   request.width < 1 || request.height < 1) {
            fail("a size is WxH, in pixels", wrong_usage);
        }
    }
    if (!request.scene) fail(usage, wrong_usage);
    return request;
}

namespace {
// What pictures cost, from each to the next.
class Frame_Times {
public:
    explicit Frame_Times(int count) : count_(count) {}

    // Behind each picture. True after the last one, when all has been told.
    bool end_picture(const Viewer_Painter& painter) {
        const double now = std_seconds_now();
        const double taken = 1000 * (now - last_); // ms
        last_ = now;
        // The first ones send what is kept, and find out how coarse to be.
        if (warm_up_-- > 0) cpu_start_ = std::clock();
        if (warm_up_ >= -1) return false;
        times_.push_back(taken);
        if (static_cast<int>(times_.size()) < count_) return false;
        std::sort(times_.begin(), times_.end());
        std::printf("%d shapes in view, %d of them dots; %lld triangles and lines\n",
                    painter.shape_count(), painter.dot_count(), painter.item_count());
        std::printf("%d pictures, ms: best %.1f, median %.1f, worst %.1f; all threads %.1f\n",
                    count_, times_.front(), times_[times_.size() / 2], times_.back(),
                    1000.0 * static_cast<double>(std::clock() - cpu_start_) / CLOCKS_PER_SEC /
                        count_);
        return true;
    }

private:
    const int count_;
    int warm_up_ = 8;
    std::vector<double> times_;
    double last_ = 0;
    std::clock_t cpu_start_ = 0;
};

// Leaves out besides what a save tells of each thing that it writes.
class View_Messager : public Load_Messager {
    STD_OBJ_CLASS(View_Messager, Load_Messager)

    void refresh(const char* text) override {
        if (!text || !std::string(text).starts_with("Saving ")) Load_Messager::refresh(text);
    }
};

class Viewer {
public:
    explicit Viewer(const Request& request)
        : request_(request), scene_(request.scene),
          control_(window_, scene_, painter_,
                   request.save_as ? request.save_as : scene_.edited_name(), request.picture),
          times_(request.frames) {}

    // The exit status.
    int run() {
        if (request_.script && !script_.open(request_.script))
            fail(str_format("cannot read %.300s", request_.script));
        if (!window_.open(scene_.url(), request_.width, request_.height) || !painter_.open())
            return 1;
        if (is_automatic()) window_.hurry();
        scene_.begin_load();
        while (take_events() && look_after_scene() && draw()) {
        }
        return status_;
    }

private:
    bool is_automatic() const { return request_.frames > 0 || script_.is_open(); }

    // Waits for one where nothing else is to be done. False at the end.
    bool take_events() {
        // ms, until the bar is longer, or the file may have changed.
        const int patience = scene_.is_loading() ? 30 : 100;
        SDL_Event event;
        const bool waits = !is_automatic() && !is_busy_;
        bool has_event = waits ? SDL_WaitEventTimeout(&event, patience) : SDL_PollEvent(&event);
        is_busy_ = false;
        for (; has_event; has_event = SDL_PollEvent(&event)) {
            if (!control_.handle(event)) return false;
            // A mouse that only passes changes nothing.
            if (event.type != SDL_MOUSEMOTION || event.motion.state != 0) is_busy_ = true;
        }
        return true;
    }

    // False if there is nothing to show and never will be.
    bool look_after_scene() {
        const Viewer_Scene::State state = scene_.take_loaded();
        if (state == Viewer_Scene::FAILED) {
            const char* const complaint = str_format("cannot read the scene %.300s", scene_.url());
            if (!scene_.world()) {
                std_write_line("nolt_view: ", complaint);
                status_ = 1;
                return false;
            }
            control_.tell(complaint);
            script_.note_load();
            is_busy_ = true; // the bar goes
        }
        if (state == Viewer_Scene::LOADED) enter();
        const double now = std_seconds_now();
        if (now - last_look_ < 0.3) return true;
        last_look_ = now;
        if (!scene_.has_file_changed()) return true;
        if (control_.is_edited()) {
            control_.tell("the file has changed: r reads it again, and drops what was moved");
        } else {
            scene_.begin_load();
        }
        return true;
    }

    void enter() {
        const WDB_Load_Report& report = scene_.report();
        if (!control_.enter(*scene_.world(), has_world_ ? nullptr : request_.camera))
            control_.tell(str_format("the scene has no camera \"%.200s\"", request_.camera));
        control_.tell(str_format("%.200s: %d shapes, %d error%s%s", scene_.url(),
                                 scene_.world()->shape_count(), report.errors,
                                 report.errors == 1 ? "" : "s",
                                 report.is_cancelled ? ", not read to its end" : ""));
        if (has_world_) script_.note_load();
        has_world_ = is_busy_ = true;
    }

    // False at the end of a script, or of a measurement.
    bool draw() {
        const double now = std_seconds_now();
        if (control_.advance(now - last_picture_)) is_busy_ = true;
        last_picture_ = now;
        if (request_.frames > 0 && scene_.world()) orbit(), is_busy_ = true;
        // The picture stays, and each is good enough.
        if (!is_automatic() && !is_busy_ && !is_coarse_ && !scene_.is_loading()) return true;
        if (scene_.world()) {
            paint();
        } else {
            painter_.clear(window_.width(), window_.height());
        }
        if (scene_.is_loading()) window_.draw_bar(scene_.progress());
        bool is_over = scene_.world() && script_.is_open() && script_.step(window_);
        if (script_.has_failed()) status_ = wrong_usage;
        window_.show();
        if (request_.frames > 0 && scene_.world() && times_.end_picture(painter_)) is_over = true;
        return !is_over;
    }

    // While something moves, were it the bar, pictures are as coarse as they have to be to come in
    // time.
    void paint() {
        const double coarsest = 16;
        // Seconds. With half the coarseness a picture may take five times as long.
        const double too_long = 0.04, short_time = 0.008;
        const bool is_given = request_.coarseness > 0 || script_.is_open();
        const double given = std::max(request_.coarseness, 1);
        is_coarse_ = !is_given && (is_busy_ || scene_.is_loading()) && coarseness_ > 1;
        painter_.set_coarseness(is_given ? given : is_coarse_ ? coarseness_ : 1);
        const double start = std_seconds_now();
        painter_.paint(*scene_.world(), control_.camera(), window_.width(), window_.height(),
                       control_.picked());
        glFinish();
        const double taken = std_seconds_now() - start;
        if (taken > too_long) coarseness_ = std::min(coarseness_ * taken / too_long, coarsest);
        if (taken < short_time) coarseness_ = std::max(coarseness_ / 2, 1.0);
    }

    void orbit() {
        WDB_Camera& camera = control_.camera();
        const Frame place = toFrame(camera.get_transform());
        const float step = 0.01f; // radians
        camera.set_transform(
            HFrame(orbit_viewer(place, scene_.world()->get_bbox().center(), step, 0)));
    }

    const Request request_;
    Viewer_Window window_; // first to come and last to go, as the others use its OpenGL
    Viewer_Scene scene_;
    Viewer_Painter painter_;
    Viewer_Control control_;
    Viewer_Script script_;
    Frame_Times times_;
    bool is_busy_ = true, has_world_ = false, is_coarse_ = false;
    double coarseness_ = 1; // of pictures while something moves
    int status_ = 0;
    double last_look_ = 0, last_picture_ = 0; // seconds
};
} // namespace

// An OpenGL that draws in memory takes many megabytes for each picture. Where these go back to the
// system in between, to get them again costs more than to draw.
static void keep_memory() {
#ifdef __GLIBC__
    mallopt(M_TRIM_THRESHOLD, 1 << 29);
    mallopt(M_MMAP_THRESHOLD, 1 << 25);
#endif
}

int main(int argc, char** argv) {
    // A file that may not grow is an error to report, not a signal.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    keep_memory();
    std_take_standard_descriptors();
    if (tool_answers(argc, argv, usage)) {
        if (std::strcmp(argv[1], "--help") == 0) std::puts(Viewer_Control::help);
        return 0;
    }
    const Request request = scan_arguments(argc, argv);
    std_set_current_messager(new View_Messager);
    return Viewer(request).run();
}

#else

int main(int argc, char** argv) {
    if (tool_answers(argc, argv, usage)) return 0;
    std::fprintf(stderr, "nolt_view: built without libsdl2-dev or libgl-dev, which it needs\n");
    return 3;
}

#endif
