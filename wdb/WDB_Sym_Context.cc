#include "wdb/WDB_Sym_Context.h"

#include <cstring>
#include <sys/stat.h>

#include "math/Bbox.h"
#include "std/Std_Common.h"
#include "std/Std_Limits.h"
#include "std/Std_Messager.h"
#include "std/Std_Report.h"
#include "std/Std_URL.h"
#include "wdb/Load_Progress.h"
#include "wdb/Secret_Hash.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Line_List.h"
#include "wdb/WDB_Material.h"
#include "wdb/WDB_Node.h"
#include "wdb/WDB_Texture.h"
#include "wdb/WDB_Tri_List.h"

// What is left out because another of its name came before.
static void tell_duplicate(WDB_Load_Report& report, const char* message) {
    std_tell(message);
    ++report.warnings;
}

WDB_Sym_Context::WDB_Sym_Context(const Load_Progress* progress)
    : progress_(progress), database_(nullptr), current_default_url_(nullptr),
      current_transform_(HFrame::identity()), unit_factor_(1.0f), materials_(name_hash, name_equal),
      textures_(name_hash, name_equal), geometries_(name_hash, name_equal),
      nodes_(name_hash, name_equal), file_count_(0), start_(0) {}

bool WDB_Sym_Context::is_cancelled() const {
    return progress_ && progress_->is_cancelled();
}

void WDB_Sym_Context::put_database(WDB_Database* database) {
    if (is_cancelled()) return;
    if (database_) {
        tell_duplicate(report_, "Duplicate database: ignoring new one");
        return;
    }
    database_ = database;
}

// True if the object has been entered.
template<class T>
static bool put_new(Hash_Table<const char*, T*>& table, T* object, const char* kind,
                    WDB_Load_Report& report) {
    if (table.has(object->get_name())) {
        tell_duplicate(report, str_format("Ignoring duplicate %s: %s", kind, object->get_name()));
        return false;
    }
    table.put(object, object->get_name());
    return true;
}

void WDB_Sym_Context::put_material(WDB_Material* material) {
    if (!is_cancelled() && put_new(materials_, material, "material", report_)) give_load_info();
}

void WDB_Sym_Context::put_texture(WDB_Texture* texture) {
    if (!is_cancelled() && put_new(textures_, texture, "texture", report_)) give_load_info();
}

void WDB_Sym_Context::put_geometry(WDB_Geometry* geometry) {
    if (!is_cancelled() && put_new(geometries_, geometry, "geometry", report_)) give_load_info();
}

void WDB_Sym_Context::put_node(WDB_Node* node) {
    if (is_cancelled()) return;
    if (nodes_.has(node->get_name())) {
        tell_duplicate(report_, str_format("Ignoring duplicate node: %s", node->get_name()));
        return;
    }
    if (!node->get_url() && current_default_url_) node->set_url(current_default_url_);
    HFrame transform = node->get_transform();
    // The place alone: corners were scaled as they were read.
    for (int i = 0; i < 3; ++i) transform[3][i] *= unit_factor_;
    // Its own one first, then those of the imports from the inside out.
    node->set_transform(HFrame(transform * current_transform_));
    nodes_.put(node, node->get_name());
    // Beside the table: nodes enter the world in the order of the file.
    node_list_.insert_last(node);
    give_load_info();
}

template<class T>
static T* found(Hash_Table<const char*, T*>& table, const char* name) {
    return table.find(name) ? *table.found_item() : nullptr;
}

WDB_Material* WDB_Sym_Context::get_material(const char* name) {
    return found(materials_, name);
}

WDB_Texture* WDB_Sym_Context::get_texture(const char* name) {
    return found(textures_, name);
}

WDB_Geometry* WDB_Sym_Context::get_geometry(const char* name) {
    return found(geometries_, name);
}

void WDB_Sym_Context::give_load_info() {
    // A line now and then; in between only a sign of life.
    const int interval = 30;
    const int total = nodes_.count() + geometries_.count() + materials_.count() + textures_.count();
    if (total % interval == 0) {
        std_tell(str_format("%d nodes, %d geometries, %d materials, %d textures loaded so far...",
                            nodes_.count(), geometries_.count(), materials_.count(),
                            textures_.count()));
    } else {
        std_refresh_current_messager();
    }
}

static void merge_shape(const WDB_Node* node, Bbox& extent) {
    Homogeneous corners[8];
    node->get_bbox().transform_to(node->get_transform(), corners);
    for (const Homogeneous& corner : corners) extent.merge(toPoint(normalize(corner)));
}

// 1.02 times as wide as the extent on each axis.
// Shapes at the rim must not come to lie outside by rounding, where no walk would reach them.
static Bbox widened(const Bbox& extent) {
    Bbox box;
    for (int axis = 0; axis < 3; ++axis) {
        const float low = extent.min[axis], high = extent.max[axis];
        // Halved before they are added: the sum might overflow.
        const float centre = low * 0.5f + high * 0.5f;
        const float half = (high - low) * 0.51f;
        box.min[axis] = centre - half;
        box.max[axis] = centre + half;
    }
    return box;
}

// Bounds that fit let the tree split where the shapes are: in the default ones a small scene would
// lie in a cell or two.
static WDB_Database* new_database_around(const Gap_List<WDB_Node*>& nodes) {
    Bbox extent;
    extent.clear();
    bool has_shape = false;
    for (int i = 0; i < nodes.count(); ++i) {
        if (!nodes[i] || nodes[i]->lod_count() == 0) continue;
        has_shape = true;
        merge_shape(nodes[i], extent);
    }
    return has_shape ? new WDB_Database(widened(extent)) : new WDB_Database;
}

static void take_from(WDB_Database* other, WDB_Node* node) {
    const bool was_editing = other->is_editing();
    if (!was_editing) other->begin_editing();
    other->remove(node);
    if (!was_editing) other->end_editing();
}

static void put_once(WDB_Database* database, WDB_Node* node) {
    if (!node) {
        std_tell("NULL Node - should not happen");
        return;
    }
    WDB_Database* const other = node->get_world();
    if (other == database) {
        std_tell(str_format("Duplicate node %s in list - should not happen", node->get_name()));
        return;
    }
    if (other) {
        std_tell(str_format("Node %s in another database - should not happen", node->get_name()));
        // It cannot be in two worlds.
        take_from(other, node);
    }
    database->put(node);
}

WDB_Database* WDB_Sym_Context::build_database(WDB_Database* given) {
    // Only now do all nodes have their final place.
    if (given) database_ = given;
    if (!database_) database_ = new_database_around(node_list_);
    const bool was_editing = database_->is_editing();
    if (!was_editing) database_->begin_editing();
    for (int i = 0; i < node_list_.count(); ++i) put_once(database_, node_list_[i]);
    if (!was_editing) database_->end_editing();
    std_tell(str_format("Loaded scene with %d nodes, %d materials, %d textures", nodes_.count(),
                        materials_.count(), textures_.count()));
    return database_;
}

void WDB_Sym_Context::wipe_out() {
    current_transform_ = HFrame::identity();
    unit_factor_ = 1.0f;
    database_ = nullptr;
    current_default_url_ = nullptr;
    materials_.wipe_out();
    textures_.wipe_out();
    geometries_.wipe_out();
    nodes_.wipe_out();
    node_list_.wipe_out();
    open_files_.wipe_out();
    file_count_ = 0;
}

const char* WDB_Sym_Context::begin_file(const Std_URL* url) {
    const int most_open = 64; // each holds a descriptor, and perhaps a process
    Document document = {str_new(url->get_url_string().chars()), 0, 0, url->is_local(),
                         url->is_standard_input()};
    struct stat status;
    // Many names may lead to one file; device and inode tell.
    if (document.is_local && stat(url->get_path(), &status) == 0) {
        document.device = status.st_dev;
        document.inode = status.st_ino;
    }
    for (int i = 0; i < open_files_.count(); ++i) {
        const Document& other = open_files_[i];
        const bool is_same = document.inode != 0
                                 ? document.inode == other.inode && document.device == other.device
                                 : std::strcmp(document.text, other.text) == 0;
        if (is_same) return "file imports itself";
    }
    if (open_files_.count() >= most_open) return "imports nested too deeply";
    // The document itself is among those counted.
    if (file_count_ > std_limits.imports) return "too many imports";
    // Imports share one time, however many files they are spread over.
    if (file_count_ == 0) start_ = std_seconds_now();
    if (std_seconds_now() - start_ > std_limits.import_seconds) return "imports take too long";
    ++file_count_;
    open_files_.insert_last(document);
    return nullptr;
}

void WDB_Sym_Context::end_file() {
    open_files_.remove(open_files_.count() - 1);
}

bool WDB_Sym_Context::reads_local_files() const {
    for (int i = 0; i < open_files_.count(); ++i)
        if (!open_files_[i].is_local) return false;
    return true;
}

bool WDB_Sym_Context::reads_standard_input() const {
    for (int i = 0; i < open_files_.count(); ++i)
        if (open_files_[i].is_input) return true;
    return false;
}
