// What a load has read so far, by name: the symbol side of the scene reader.
//
//     WDB_Sym_Context sym;
//     try_get_file(lex, sym);                   // fills it; see wdb/wdb_load.h
//     WDB_Database* world = sym.build_database();
//
// Lives for one load. Nothing enters a database before build_database, when the box of the world
// and all transforms are known. Of objects with one name the first stays; the others are reported
// and dropped. Files that are imported fill the same context.
#ifndef WDB_WDB_SYM_CONTEXT_H
#define WDB_WDB_SYM_CONTEXT_H

#include "base/Gap_List.h"
#include "base/Hash_Table.h"
#include "math/Homogeneous.h"
#include "wdb/WDB_Load_Report.h"

class Load_Progress;
class Std_URL;
class WDB_Database;
class WDB_Geometry;
class WDB_Material;
class WDB_Node;
class WDB_Texture;
struct WDB_Line;
struct WDB_Triangle;

class WDB_Sym_Context {
public:
    // Takes nothing any more once `progress`, if it is not null, is cancelled: what comes then was
    // not read to its end.
    explicit WDB_Sym_Context(const Load_Progress* progress = nullptr);
    WDB_Sym_Context(const WDB_Sym_Context&) = delete;
    WDB_Sym_Context& operator=(const WDB_Sym_Context&) = delete;

    // Only the first one is kept.
    void put_database(WDB_Database* database);
    void put_material(WDB_Material* material);
    void put_texture(WDB_Texture* texture);
    void put_geometry(WDB_Geometry* geometry);

    // Gives the node the default URL if it has none, scales its origin by the unit factor and
    // moves it by the current transform.
    void put_node(WDB_Node* node);

    // Null for an unknown name.
    WDB_Material* get_material(const char* name);
    WDB_Texture* get_texture(const char* name);
    WDB_Geometry* get_geometry(const char* name);

    // File units to world units.
    float get_unit_factor() const { return unit_factor_; }
    void set_unit_factor(float factor) { unit_factor_ = factor; }
    const HFrame& get_current_transform() const { return current_transform_; }
    void set_current_transform(const HFrame& transform) { current_transform_ = transform; }
    Std_URL* get_current_default_url() const { return current_default_url_; }
    void set_current_default_url(Std_URL* url) { current_default_url_ = url; }

    // Reports the counts at each thirtieth object.
    void give_load_info();

    // Puts all nodes, in the order of put_node, into `given`, or else into the database that was
    // put, or into a new one that is a little wider than the boxes of all shapes.
    WDB_Database* build_database(WDB_Database* given = nullptr);

    // Back to the start; the objects stay alive where others hold them.
    void wipe_out();

    // Files that are being read, one inside the other. begin_file answers null if `url` may be
    // read now, and otherwise says why not: it is being read already, or there are too many, deep
    // or all in all. Each begin_file that answered null needs an end_file.
    const char* begin_file(const Std_URL* url);
    void end_file();

    // How the load goes so far; the readers count in it. wipe_out leaves it.
    WDB_Load_Report& report() { return report_; }

    // Whether all files that are being read are local.
    bool reads_local_files() const;
    // Whether one is the standard input, of which nobody knows where it comes from.
    bool reads_standard_input() const;

private:
    // Tells one document from another: the file behind a local name, else the text.
    struct Document {
        const char* text;
        unsigned long long device, inode;
        bool is_local, is_input;
    };

    bool is_cancelled() const;

    const Load_Progress* progress_;
    WDB_Database* database_;
    Std_URL* current_default_url_;
    HFrame current_transform_;
    float unit_factor_;
    Hash_Table<const char*, WDB_Material*> materials_;
    Hash_Table<const char*, WDB_Texture*> textures_;
    Hash_Table<const char*, WDB_Geometry*> geometries_;
    Hash_Table<const char*, WDB_Node*> nodes_;
    Gap_List<WDB_Node*> node_list_;
    Gap_List<Document> open_files_;
    int file_count_;
    WDB_Load_Report report_;
    double start_; // of the load: seconds of a steady clock
};

#endif
