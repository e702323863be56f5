// Does what a user would, as a text tells: for tests, and for pictures without anybody there.
//
//     click 320 240              a click with the left button, in pixels from the upper left
//     drag 320 240 40 -10        the same button is held while the mouse moves by so much
//     wheel 2                    two notches
//     key Page Up                a key by its name in SDL
//     frames 10                  draw so many pictures meanwhile
//     picture a.png              save what the window shows
//     reloaded                   wait until the scene was read again, or could not be
//
// One in a line; what follows "#" is not looked at. The script starts once the scene is there, and
// its end is that of the viewer.
#ifndef TOOLS_VIEWER_SCRIPT_H
#define TOOLS_VIEWER_SCRIPT_H

#include <fstream>
#include <string>

#include "tools/Viewer_Window.h"

class Viewer_Script {
public:
    // On failure: false. "-" is the standard input.
    bool open(const char* path);
    bool is_open() const { return is_open_; }

    // Behind each picture that was drawn but not yet shown: sends the events of the next line.
    // True when the script has ended, or after a report if it holds a line that means nothing, or a
    // picture cannot be saved; then has_failed.
    bool step(const Viewer_Window& window);
    void note_load() { awaits_load_ = false; }
    bool has_failed() const { return has_failed_; }

private:
    bool run(const Viewer_Window& window, const std::string& line);
    bool fail(const std::string& why);

    std::ifstream lines_;
    bool is_open_ = false, has_failed_ = false, awaits_load_ = false;
    int frames_ = 0; // to be waited for
};

#endif
