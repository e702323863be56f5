// A window that OpenGL draws into.
//
//     Viewer_Window window;
//     if (!window.open("town.3d", 1280, 720)) return 1;
//     painter.paint(...);
//     window.show();
//
// All of OpenGL is called by the thread that opened the window.
#ifndef TOOLS_VIEWER_WINDOW_H
#define TOOLS_VIEWER_WINDOW_H

#include <SDL.h>

class Viewer_Window {
public:
    Viewer_Window() = default;
    Viewer_Window(const Viewer_Window&) = delete;
    Viewer_Window& operator=(const Viewer_Window&) = delete;
    ~Viewer_Window();

    // On failure: false, after a report.
    bool open(const char* title, int width, int height);

    // In pixels, as the user has made it; at least 1.
    int width() const;
    int height() const;
    float aspect() const { return static_cast<float>(width()) / static_cast<float>(height()); }

    void set_title(const char* title) { SDL_SetWindowTitle(window_, title); }

    // A bar at the lower edge of the picture, of which so much is filled, 0 to 1.
    void draw_bar(double fraction);

    // What was drawn. Waits for the screen, unless that is to be as fast as it can.
    void show() { SDL_GL_SwapWindow(window_); }
    void hurry() { SDL_GL_SetSwapInterval(0); }

    // What was drawn but not yet shown, as a picture; see Picture_File.
    // On failure: the reason; else null.
    const char* save_picture(const char* path) const;

private:
    SDL_Window* window_ = nullptr;
    SDL_GLContext context_ = nullptr;
};

#endif
