#include "tools/Viewer_Scene.h"

#include <cstdio>

#include "std/Std_Line.h"
#include "std/Std_URL.h"
#include "tools/One_File.h"
#include "wdb/WDB_Node.h"
#include "wdb/wdb_load.h"
#include "wdb/wdb_save.h"

Viewer_Scene::Viewer_Scene(const char* url) : url_(url) {}

Viewer_Scene::~Viewer_Scene() {
    end_load();
    if (loader_.joinable()) loader_.join();
}

void Viewer_Scene::begin_load() {
    if (is_loading() || (world_ && Std_URL(url_.c_str()).is_standard_input())) return;
    // Before the load: who writes meanwhile has it read again.
    read_ = seen_ = file_state();
    done_ = total_ = 0;
    is_cancelled_ = has_ended_ = false;
    loader_ = std::thread([this] { load(); });
}

void Viewer_Scene::load() {
    WDB_Load_Options options;
    options.progress = [this](long long done, long long total) {
        done_ = done;
        total_ = total;
        return is_cancelled_.load();
    };
    // No walk finds what stands outside the bounds that a scene gives its world, so the world is
    // ours, and has bounds that follow.
    options.world = new WDB_Database(WDB_FOLLOWING);
    loaded_ = wdb_load(url_.c_str(), nullptr, options, load_report_);
    // The first look sorts a world, which the first frame need not wait for.
    if (loaded_) loaded_->visible_shape_count(Matrix4::identity());
    has_ended_ = true;
}

double Viewer_Scene::progress() const {
    const auto total = static_cast<double>(total_.load());
    return total > 0 ? static_cast<double>(done_.load()) / total : 0;
}

Viewer_Scene::State Viewer_Scene::take_loaded() {
    if (!is_loading() || !has_ended_) return UNCHANGED;
    loader_.join();
    if (!loaded_) return FAILED;
    world_ = loaded_;
    loaded_ = nullptr;
    report_ = load_report_;
    return LOADED;
}

Viewer_Scene::File_State Viewer_Scene::file_state() const {
    const Std_URL url(url_.c_str());
    struct stat state;
    if (!url.is_local() || url.is_standard_input() || stat(url.get_path(), &state) != 0) return {};
    return {state.st_mtim.tv_sec, state.st_mtim.tv_nsec, state.st_size,
            static_cast<long long>(state.st_ino)};
}

bool Viewer_Scene::has_file_changed() {
    if (is_loading()) return false;
    const File_State now = file_state();
    const bool is_still = now == seen_;
    seen_ = now;
    // What has gone may come back, as from an editor that moves files about.
    if (!is_still || now == read_ || now == File_State()) return false;
    read_ = now;
    return true;
}

std::string Viewer_Scene::edited_name() const {
    std::string name = url_.substr(url_.rfind('/') + 1);
    for (const char* packed : {".gz", ".Z", ".z"})
        if (name.ends_with(packed)) name.erase(name.rfind('.'));
    if (const std::size_t dot = name.rfind('.'); dot != std::string::npos && dot > 0)
        name.erase(dot);
    return (name.empty() || name[0] == '-' ? "scene" : name) + "_edited.3d";
}

bool Viewer_Scene::save(const char* path, WDB_Node* viewer) {
    if (are_one_file(url_.c_str(), path)) {
        std_write_line("nolt_view: ", "the edited scene would take the place of the scene");
        return false;
    }
    WDB_Save_Options options;
    options.is_complete = true;
    world_->remove(viewer);
    const int result = wdb_save(*world_, path, options);
    world_->put(viewer);
    return result != EOF;
}
