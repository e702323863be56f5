// The view of a world's default camera, for many questions in a row.
//
//     Default_View view(world);
//     for (...) depth = (Point(0, 0, 0) * view.get()).z;
//
// Each question counts as a call of default_camera, as it is one, but they are counted together at
// the end: several threads that pick in one world would wait for one another at its stamp.
// Internal.
#ifndef WDB_DEFAULT_VIEW_H
#define WDB_DEFAULT_VIEW_H

#include "math/Homogeneous.h"
#include "wdb/WDB_Camera.h"
#include "wdb/WDB_Database.h"

class Default_View {
public:
    explicit Default_View(WDB_Database* world) : world_(world) {}
    Default_View(const Default_View&) = delete;
    Default_View& operator=(const Default_View&) = delete;
    ~Default_View() {
        if (questions_ > 1) world_->count_edits(questions_ - 1);
    }

    WDB_Database* world() const { return world_; }
    // World to camera. May add the camera, at the first question.
    const Frame& get() {
        if (questions_++ == 0) view_ = toFrame(world_->default_camera()->get_viewing());
        return view_;
    }

private:
    WDB_Database* const world_;
    Frame view_;
    int questions_ = 0;
};

#endif
