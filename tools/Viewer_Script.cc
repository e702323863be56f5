#include "tools/Viewer_Script.h"

#include <cstring>
#include <sstream>

#include "std/Std_Line.h"

static void send_button(Uint32 type, int x, int y) {
    SDL_Event event = {};
    event.type = type;
    event.button.button = SDL_BUTTON_LEFT;
    event.button.x = x;
    event.button.y = y;
    SDL_PushEvent(&event);
}

static void send_drag(int dx, int dy) {
    SDL_Event event = {};
    event.type = SDL_MOUSEMOTION;
    event.motion.state = SDL_BUTTON_LMASK;
    event.motion.xrel = dx;
    event.motion.yrel = dy;
    SDL_PushEvent(&event);
}

static void send_wheel(int notches) {
    SDL_Event event = {};
    event.type = SDL_MOUSEWHEEL;
    event.wheel.y = notches;
    SDL_PushEvent(&event);
}

// "Ctrl-S", "W" and the like. False for a name that no key has.
static bool send_key(std::string name) {
    SDL_Event event = {};
    if (name.starts_with("Ctrl-")) {
        event.key.keysym.mod = KMOD_CTRL;
        name.erase(0, std::strlen("Ctrl-"));
    }
    event.key.keysym.sym = SDL_GetKeyFromName(name.c_str());
    if (event.key.keysym.sym == SDLK_UNKNOWN) return false;
    for (const SDL_EventType type : {SDL_KEYDOWN, SDL_KEYUP}) {
        event.type = type;
        SDL_PushEvent(&event);
    }
    return true;
}

bool Viewer_Script::open(const char* path) {
    lines_.open(std::strcmp(path, "-") == 0 ? "/dev/stdin" : path);
    lines_.peek(); // a folder opens, too
    return is_open_ = lines_.is_open() && !lines_.bad();
}

bool Viewer_Script::step(const Viewer_Window& window) {
    if (awaits_load_ || (frames_ > 0 && --frames_ > 0)) return false;
    std::string line;
    if (!std::getline(lines_, line)) return true;
    return !run(window, line);
}

bool Viewer_Script::fail(const std::string& why) {
    std_write_line("nolt_view: script: ", why.c_str());
    has_failed_ = true;
    return false;
}

bool Viewer_Script::run(const Viewer_Window& window, const std::string& line) {
    std::istringstream words(line.substr(0, line.find('#')));
    std::string what, name;
    if (!(words >> what)) return true;
    int n[4] = {};
    const auto has = [&](int count) {
        for (int i = 0; i < count; ++i) words >> n[i];
        return !words.fail();
    };
    const bool is_drag = what == "drag" && has(4);
    if (is_drag || (what == "click" && has(2))) {
        send_button(SDL_MOUSEBUTTONDOWN, n[0], n[1]);
        if (is_drag) send_drag(n[2], n[3]);
        send_button(SDL_MOUSEBUTTONUP, n[0] + n[2], n[1] + n[3]);
    } else if (what == "wheel" && has(1)) {
        send_wheel(n[0]);
    } else if (what == "frames" && has(1)) {
        frames_ = n[0];
    } else if (what == "reloaded") {
        awaits_load_ = true;
    } else if (what == "key" && std::getline(words >> std::ws, name)) {
        if (!send_key(name)) return fail("no key is named " + name);
    } else if (what == "picture" && words >> name) {
        if (const char* const reason = window.save_picture(name.c_str()))
            return fail("cannot write " + name + ": " + reason);
    } else {
        return fail("not understood: " + line);
    }
    return true;
}
