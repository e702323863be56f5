#include "tools/Viewer_Control.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "math/Viewer_Moves.h"
#include "std/Std_Common.h"
#include "std/Std_Line.h"
#include "wdb/WDB_Lod_View.h"
#include "wdb/WDB_Material.h"
#include "wdb/WDB_Pick.h"

const char* const Viewer_Control::help =
    "left button     click: pick; drag: turn round what was picked or framed\n"
    "right button    drag: look about\n"
    "wheel           nearer and farther\n"
    "w s a d e q     fly ahead, back, left, right, up, down; faster with shift\n"
    "h  f  c         all of the scene; what was picked; the next camera of the scene\n"
    "arrows, page up and down\n"
    "                move what was picked along x, z and y; finely with shift\n"
    "ctrl-s  p       save the edited scene; save a picture\n"
    "r  l            read the scene again; levels of detail off and on\n"
    "escape          end the load, or the viewer";

// Of 45 degrees; the planes follow the extent of the world.
static Matrix4 usual_projection() {
    return Matrix4::perspective(0.785f, 1, 1000);
}

Viewer_Control::Viewer_Control(Viewer_Window& window, Viewer_Scene& scene, Viewer_Painter& painter,
                               std::string save_as, std::string picture)
    : window_(window), scene_(scene), painter_(painter), save_as_(std::move(save_as)),
      picture_(std::move(picture)), camera_(new WDB_Camera("nolt_view", HFrame::identity(),
                                                           usual_projection(), nullptr, nullptr)) {}

void Viewer_Control::tell(const char* text) {
    std::puts(std_harmless(text));
    std::fflush(stdout);
    window_.set_title(str_format("%.300s - nolt_view", text));
}

bool Viewer_Control::enter(WDB_Database& world, const char* camera) {
    const bool is_first = !world_;
    const WDB_Camera* const named = camera ? world.find_camera(camera) : nullptr;
    world_ = &world;
    picked_ = nullptr;
    is_edited_ = false;
    world.put(camera_); // which leaves the world before
    if (is_first) show_all();
    if (named) look_through(*named);
    return named || !camera;
}

bool Viewer_Control::handle(const SDL_Event& event) {
    switch (event.type) {
    case SDL_QUIT:
        return false;
    case SDL_KEYDOWN:
        return press(event.key.keysym);
    case SDL_MOUSEBUTTONDOWN:
        is_dragged_ = false;
        break;
    case SDL_MOUSEBUTTONUP:
        if (world_ && !is_dragged_ && event.button.button == SDL_BUTTON_LEFT)
            pick(event.button.x, event.button.y);
        break;
    case SDL_MOUSEMOTION:
        if (world_ && event.motion.state) drag(event.motion);
        break;
    case SDL_MOUSEWHEEL: {
        const float part = 0.1f; // of the way
        set_place(fly_viewer(place(), part * static_cast<float>(event.wheel.y) * distance(), 0, 0));
        break;
    }
    default:
        break;
    }
    return true;
}

// What is not for flying.
bool Viewer_Control::press(const SDL_Keysym& key) {
    if (key.sym == SDLK_ESCAPE) {
        const bool was_loading = scene_.is_loading();
        scene_.end_load();
        return was_loading;
    }
    if (!world_) return true;
    const std::pair<SDL_Keycode, Vector> moves[] = {
        {SDLK_LEFT, {-1, 0, 0}}, {SDLK_RIGHT, {1, 0, 0}},  {SDLK_UP, {0, 0, -1}},
        {SDLK_DOWN, {0, 0, 1}},  {SDLK_PAGEUP, {0, 1, 0}}, {SDLK_PAGEDOWN, {0, -1, 0}},
    };
    for (const auto& [code, steps] : moves)
        // Of its size.
        if (key.sym == code) move_picked(steps * (key.mod & KMOD_SHIFT ? 0.005f : 0.1f));
    if (key.sym == SDLK_s && key.mod & KMOD_CTRL) save();
    if (key.sym == SDLK_h) show_all();
    if (key.sym == SDLK_f) frame_picked();
    if (key.sym == SDLK_c) look_through_next();
    if (key.sym == SDLK_p) save_picture();
    if (key.sym == SDLK_r) scene_.begin_load();
    if (key.sym == SDLK_l) {
        painter_.set_finest(!painter_.is_finest());
        tell(painter_.is_finest() ? "the finest level of all" : "levels of detail");
    }
    return true;
}

bool Viewer_Control::advance(double seconds) {
    const SDL_Keymod mod = SDL_GetModState();
    const auto is_held = [](SDL_Keycode key) {
        return static_cast<float>(SDL_GetKeyboardState(nullptr)[SDL_GetScancodeFromKey(key)]);
    };
    Vector ways(is_held(SDLK_w) - is_held(SDLK_s), is_held(SDLK_d) - is_held(SDLK_a),
                is_held(SDLK_e) - is_held(SDLK_q));
    if (mod & KMOD_CTRL) ways = Vector(0, 0, 0);
    if (!world_ || ways.iszero()) return false;
    // As far as what is looked at in two seconds.
    const float speed = distance() * (mod & KMOD_SHIFT ? 5 : 0.5f);
    const Vector steps = ways * (speed * static_cast<float>(std::min(seconds, 0.1)));
    set_place(fly_viewer(place(), steps.x, steps.y, steps.z));
    return true;
}

// To the centre; from close by, a part of its size, so that flying goes on.
float Viewer_Control::distance() const {
    return std::max(dist(toPoint(place()[3]), centre_), 0.1f * size_);
}

void Viewer_Control::drag(const SDL_MouseMotionEvent& motion) {
    is_dragged_ = true;
    // Half a turn for the height of the window; what is seen goes with the mouse.
    const float scale = 3.14f / static_cast<float>(window_.height());
    const float dx = scale * static_cast<float>(motion.xrel);
    const float dy = scale * static_cast<float>(motion.yrel);
    if (motion.state & SDL_BUTTON_LMASK) {
        set_place(orbit_viewer(place(), centre_, -dx, dy));
    } else {
        set_place(turn_viewer(place(), dx, dy));
    }
}

void Viewer_Control::pick(int x, int y) {
    const float tolerance = 0.01f; // for lines
    const auto width = static_cast<float>(window_.width());
    const auto height = static_cast<float>(window_.height());
    // What is seen is picked: the level that is drawn. In a picture so large that is the finest.
    const int scale = painter_.is_finest() ? 1000 : 1;
    const WDB_Lod_View levels(*camera_, scale * window_.width(), scale * window_.height());
    const WDB_Pick pick = camera_->detailed_pick_at_x_y(2 * static_cast<float>(x) / width - 1,
                                                        1 - 2 * static_cast<float>(y) / height,
                                                        window_.aspect(), tolerance, false, levels);
    picked_ = pick.node;
    if (!picked_) {
        tell("nothing picked");
        return;
    }
    centre_ = pick.point;
    const WDB_Material* const material = picked_->get_material();
    tell(str_format("%.100s at %g %g %g, material %.100s", picked_->get_printable_name(),
                    static_cast<double>(pick.point.x), static_cast<double>(pick.point.y),
                    static_cast<double>(pick.point.z),
                    material ? material->get_printable_name() : "none"));
}

static bool is_finite(const Vector& v) {
    return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

void Viewer_Control::show_all() {
    Bbox all;
    all.clear();
    world_->for_each_shape([&](const WDB_Node&, const Bbox& box) {
        if (is_finite(box.size())) all.merge(box);
    });
    if (!all.is_ordered()) return; // an empty world
    // From the front, a little from the right and above: flat things show some of their area.
    set_place(~Frame::lookat(Point(0.35f, 0.45f, 1), Point(0, 0, 0), 0));
    frame(all);
}

void Viewer_Control::frame(const Bbox& box) {
    if (!camera_->fit(box, window_.aspect())) {
        // That of a camera of the scene may be of a kind that fits nothing.
        camera_->set_projection(usual_projection());
        if (!camera_->fit(box, window_.aspect())) return;
    }
    centre_ = box.center();
    size_ = mag(box.size());
}

void Viewer_Control::frame_picked() {
    if (picked_) frame(picked_->get_bbox().transformed_by(picked_->get_transform()));
}

void Viewer_Control::look_through(const WDB_Camera& other) {
    last_camera_ = other.get_instance_id();
    camera_->set_projection(other.get_projection());
    camera_->set_transform(other.get_transform());
    tell(str_format("camera %.100s", other.get_printable_name()));
}

// Walks go by addresses; objects are numbered as they are made, so numbers go by the file.
void Viewer_Control::look_through_next() {
    const WDB_Camera *first = nullptr, *next = nullptr;
    const auto before = [](const WDB_Camera* a, const WDB_Camera* b) {
        return !b || a->get_instance_id() < b->get_instance_id();
    };
    world_->for_each_camera([&](const WDB_Node& node, const Bbox&) {
        const WDB_Camera* const camera = WDB_Camera::const_castdown(&node);
        if (camera == camera_) return;
        if (before(camera, first)) first = camera;
        if (camera->get_instance_id() > last_camera_ && before(camera, next)) next = camera;
    });
    if (!first) {
        tell("the scene has no camera");
    } else {
        look_through(next ? *next : *first);
    }
}

void Viewer_Control::move_picked(const Vector& steps) {
    if (!picked_) return;
    const Bbox box = picked_->get_bbox().transformed_by(picked_->get_transform());
    const Vector by = steps * mag(box.size());
    picked_->set_transform(picked_->get_transform() * Frame::translation(by));
    is_edited_ = true;
    const Point at = toPoint(picked_->get_transform()[3]);
    tell(str_format("%.100s moved to %g %g %g", picked_->get_printable_name(),
                    static_cast<double>(at.x), static_cast<double>(at.y),
                    static_cast<double>(at.z)));
}

void Viewer_Control::save() {
    if (scene_.save(save_as_.c_str(), camera_)) {
        is_edited_ = false;
        tell(str_format("saved %.300s", save_as_.c_str()));
    } else {
        tell(str_format("not saved: %.300s", save_as_.c_str()));
    }
}

void Viewer_Control::save_picture() {
    // What was shown need not be in the buffer any more.
    painter_.paint(*world_, *camera_, window_.width(), window_.height(), picked_);
    const char* const reason = window_.save_picture(picture_.c_str());
    tell(reason ? str_format("cannot write %.200s: %.100s", picture_.c_str(), reason)
                : str_format("picture %.300s", picture_.c_str()));
}
