// The image files of one save: written beside their places while the scene is, and put there
// together with it at the end. Internal.
//
//     Scene_Pictures pictures(world, "town.3d");
//     out.text(pictures.add(image, "roof").c_str());      // "roof.rgb"
//     ...
//     if (!scene.prepare() || !pictures.commit_with(scene)) complain(errno);
#ifndef WDB_SCENE_PICTURES_H
#define WDB_SCENE_PICTURES_H

#include <list>
#include <set>
#include <string>

#include "std/Std_Allocator.h"
#include "std/Std_Output_File.h"

class PX_Map;
class WDB_Database;

class Scene_Pictures {
public:
    Scene_Pictures(const WDB_Database& world, const char* scene);

    // Writes the picture as `name` with ".rgb", in the working folder or below it, or, where that
    // is the scene or what the scene goes on to name, under another name. What was read from
    // elsewhere than this machine takes the place of no file at all.
    // The answer is what names the file in the scene. On failure: a warning.
    std::string add(PX_Map* image, const char* name);

    // What names `source`, a document as this program sees it, in the scene: there, local names are
    // taken against the scene's folder.
    std::string name_of(const char* source) const;
    // The same for what may as well be meant against some other document.
    std::string name_below(const char* source) const;

    // Whether no picture was refused a place.
    bool are_inside() const { return are_inside_; }

    // Puts all in place, the scene last, or nothing. The scene is prepared.
    // On failure: false, with errno; so also if a picture could not be written.
    bool commit_with(Std_Output_File& scene);

private:
    std::string free_name(const PX_Map* image, const std::string& name);
    bool is_kept(const std::string& file);
    void find_kept();

    const WDB_Database& world_;
    std::string folder_, scene_;  // of the scene, up to the slash; as place_of has it
    bool is_here_;                // that is the working folder
    std::set<std::string> taken_; // places of this save
    std::set<std::string> kept_;  // places of what the scene names and does not hold
    bool knows_kept_ = false;
    bool are_inside_ = true;
    bool are_written_ = true;
    std::list<Std_Output_File, std_allocator<Std_Output_File>> files_;
};

#endif
