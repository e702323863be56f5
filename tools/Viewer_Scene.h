// A scene that is loaded in a thread of its own, and again when its file has changed.
//
//     Viewer_Scene scene("town.3d");
//     scene.begin_load();
//     while (...) {                              // in each frame
//         if (scene.take_loaded() == Viewer_Scene::LOADED) look_at(*scene.world());
//         if (scene.is_loading()) show_bar(scene.progress());
//         if (scene.has_file_changed()) scene.begin_load();
//     }
//
// All but the load itself is for one thread. The world that is shown stays as it is while the next
// one is read.
#ifndef TOOLS_VIEWER_SCENE_H
#define TOOLS_VIEWER_SCENE_H

#include <atomic>
#include <string>
#include <sys/stat.h>
#include <thread>

#include "wdb/WDB_Database.h"
#include "wdb/WDB_Load_Report.h"

class Viewer_Scene {
public:
    // A path or URL; "-" is the standard input, which can be read once.
    explicit Viewer_Scene(const char* url);
    Viewer_Scene(const Viewer_Scene&) = delete;
    Viewer_Scene& operator=(const Viewer_Scene&) = delete;
    // Ends a load that is under way, and waits for that.
    ~Viewer_Scene();

    const char* url() const { return url_.c_str(); }

    // Nothing happens during a load, nor where there is nothing to be read once more.
    void begin_load();
    bool is_loading() const { return loader_.joinable(); }
    // From 0 to 1; 0 where that is not known.
    double progress() const;
    // What has been read by then counts.
    void end_load() { is_cancelled_ = true; }

    // LOADED once for each load that is done: the world is another one, and the report its own.
    // FAILED once for each whose document cannot be read: the world is as before.
    enum State { UNCHANGED, LOADED, FAILED };
    State take_loaded();

    // Once for each state of the file that is another than the one that was read last, when it is
    // not being written just now: true. Of a scene from elsewhere: false. To be asked every now and
    // then.
    bool has_file_changed();

    // Null until a load is done. Its bounds hold all shapes of the scene.
    WDB_Database* world() const { return world_; }
    const WDB_Load_Report& report() const { return report_; }

    // Where an edited scene goes: NAME_edited.3d in the current folder.
    std::string edited_name() const;

    // Without `viewer`, a node that stands in the world for the time of viewing.
    // On failure: false, after a report; so also for a path that names the scene itself.
    bool save(const char* path, WDB_Node* viewer);

private:
    // What tells one state of a file from another.
    struct File_State {
        long long seconds = 0, nanoseconds = 0, size = 0, file = 0;
        bool operator==(const File_State&) const = default;
    };
    File_State file_state() const;
    void load();

    const std::string url_;
    WDB_Database* world_ = nullptr;
    WDB_Load_Report report_;
    File_State read_, seen_;

    // Of the load; all but the atomic ones belong to its thread until it has ended.
    std::thread loader_;
    WDB_Database* loaded_ = nullptr;
    WDB_Load_Report load_report_;
    std::atomic<long long> done_ = 0, total_ = 0;
    std::atomic<bool> is_cancelled_ = false, has_ended_ = false;
};

#endif
