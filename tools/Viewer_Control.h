// What mouse and keys do: the camera moves, nodes are picked and moved, the scene is saved.
//
//     Viewer_Control control(window, scene, painter);
//     control.enter(*scene.world());              // and again for each world
//     while (control.handle(event)) {
//         control.advance(seconds);               // in each frame
//         painter.paint(*scene.world(), control.camera(), width, height, control.picked());
//     }
//
// What it does is told by the window's title and on the standard output. The keys stand in `help`.
#ifndef TOOLS_VIEWER_CONTROL_H
#define TOOLS_VIEWER_CONTROL_H

#include <string>

#include "tools/Viewer_Painter.h"
#include "tools/Viewer_Scene.h"
#include "tools/Viewer_Window.h"
#include "wdb/WDB_Camera.h"
#include "wdb/WDB_Database.h"

class Viewer_Control {
public:
    // For the standard output.
    static const char* const help;

    // `save_as` and `picture`: the files that keys write.
    Viewer_Control(Viewer_Window& window, Viewer_Scene& scene, Viewer_Painter& painter,
                   std::string save_as, std::string picture);

    // Puts the camera into the world: at first where all is in view, or where the camera of that
    // name is, later where it was in the world before.
    // On failure: false, if there is no such camera; all is in view then.
    bool enter(WDB_Database& world, const char* camera = nullptr);

    // Requires, but for events of the window and the key that ends: a world that was entered.
    // False: the user wants to leave.
    bool handle(const SDL_Event& event);

    // Flies on as keys are held. Whether anything moves.
    bool advance(double seconds);

    WDB_Camera& camera() { return *camera_; }
    WDB_Node* picked() const { return picked_; }

    // Nodes were moved, and the scene was not saved since.
    bool is_edited() const { return is_edited_; }

    void tell(const char* text);

private:
    bool press(const SDL_Keysym& key);
    void drag(const SDL_MouseMotionEvent& motion);
    void pick(int x, int y);
    void show_all();
    void frame(const Bbox& box);
    void frame_picked();
    void look_through(const WDB_Camera& other);
    void look_through_next();
    void move_picked(const Vector& steps);
    void save();
    void save_picture();
    void set_place(const Frame& frame) { camera_->set_transform(HFrame(frame)); }
    Frame place() const { return toFrame(camera_->get_transform()); }
    float distance() const;

    Viewer_Window& window_;
    Viewer_Scene& scene_;
    Viewer_Painter& painter_;
    const std::string save_as_, picture_;
    WDB_Camera* const camera_;
    WDB_Database* world_ = nullptr;
    WDB_Node* picked_ = nullptr;
    int last_camera_ = -1;          // the instance id of that which was looked through last
    Point centre_ = Point(0, 0, 0); // round which it turns
    float size_ = 1;                // of what was framed last
    bool is_dragged_ = false, is_edited_ = false;
};

#endif
