#include "tools/Viewer_Window.h"

#include <algorithm>
#include <cmath>

#include "images/PX_Map.h"
#include "std/Std_Common.h"
#include "std/Std_Line.h"
#include "tools/Picture_File.h"
#include "tools/Viewer_Gl.h"

Viewer_Window::~Viewer_Window() {
    if (context_) SDL_GL_DeleteContext(context_);
    if (window_) SDL_DestroyWindow(window_);
    SDL_Quit();
}

bool Viewer_Window::open(const char* title, int width, int height) {
    if (SDL_Init(SDL_INIT_VIDEO) == 0) {
        SDL_GL_SetAttribute(SDL_GL_CONTEXT_MAJOR_VERSION, 2);
        SDL_GL_SetAttribute(SDL_GL_CONTEXT_MINOR_VERSION, 1);
        SDL_GL_SetAttribute(SDL_GL_DEPTH_SIZE, 24);
        window_ = SDL_CreateWindow(title, SDL_WINDOWPOS_UNDEFINED, SDL_WINDOWPOS_UNDEFINED, width,
                                   height, SDL_WINDOW_OPENGL | SDL_WINDOW_RESIZABLE);
        context_ = window_ ? SDL_GL_CreateContext(window_) : nullptr;
    }
    if (!context_)
        std_write_line("nolt_view: ", str_format("cannot open a window: %.300s", SDL_GetError()));
    return context_;
}

int Viewer_Window::width() const {
    int size = 0;
    SDL_GL_GetDrawableSize(window_, &size, nullptr);
    return std::max(size, 1);
}

int Viewer_Window::height() const {
    int size = 0;
    SDL_GL_GetDrawableSize(window_, nullptr, &size);
    return std::max(size, 1);
}

void Viewer_Window::draw_bar(double fraction) {
    const int border = 20, thickness = 8;
    const int length = std::max(width() - 2 * border, 1);
    const auto fill = [](int x, int wide, float light) {
        glScissor(x, border, wide, thickness);
        glClearColor(light, light, light, 1);
        glClear(GL_COLOR_BUFFER_BIT);
    };
    glEnable(GL_SCISSOR_TEST);
    fill(border, length, 0.3f);
    fill(border, static_cast<int>(std::lround(length * std::clamp(fraction, 0.0, 1.0))), 0.9f);
    glDisable(GL_SCISSOR_TEST);
}

const char* Viewer_Window::save_picture(const char* path) const {
    if (!Picture_File::can_save(path)) return "this build has no libpng: use a name in .rgb";
    PX_Map map(width(), height(), 3);
    // Row 0 is the lowest for both.
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, map.get_width(), map.get_height(), GL_RGB, GL_UNSIGNED_BYTE,
                 map.get_pixels());
    return Picture_File::save(map, path);
}
