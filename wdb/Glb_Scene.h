// What a GLB file tells of a world: its nodes, and what they share, each with the number by which
// the file names it. Internal.
//
//     Glb_Scene scene(world, options);
//     scene.collect();
//     ... scene.meshes() ...
//     scene.for_each([&](const WDB_Node& node) { ... scene.mesh_of(node, geometry) ... });
//
// Nodes are not kept, as there may be millions of them: each walk meets them again, in one order.
// Memory: that of the largest geometry, and a number for each thing that nodes share.
#ifndef WDB_GLB_SCENE_H
#define WDB_GLB_SCENE_H

#include "base/Gap_List.h"
#include "base/Hash_Set.h"
#include "base/Hash_Table.h"
#include "wdb/Glb_Data.h"
#include "wdb/Glb_Instances.h"
#include "wdb/WDB_Camera.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Light.h"
#include "wdb/WDB_Material.h"
#include "wdb/WDB_Texture.h"
#include "wdb/wdb_save_glb.h"

class Glb_Scene {
public:
    static constexpr int none = -1;

    // A material with a texture, for vertices with colours or without.
    struct Look {
        const WDB_Material* material;
        const WDB_Texture* texture;
        bool has_colors;
    };
    struct Mesh {
        const WDB_Geometry* geometry;
        int shape, look;
    };
    // What has no form there.
    struct Losses {
        int items = 0, places = 0, shears = 0, geometries = 0, views = 0, outside = 0;
        int all() const { return items + places + shears + geometries + views + outside; }
    };

    Glb_Scene(WDB_Database& world, const WDB_Glb_Options& options)
        : world_(world), options_(options) {
        shown_.clear();
    }
    Glb_Scene(const Glb_Scene&) = delete;
    Glb_Scene& operator=(const Glb_Scene&) = delete;

    // Numbers all that is told, and stores what is binary. To be called first.
    void collect();

    // All nodes that are told.
    template<class Visit>
    void for_each(Visit visit) {
        const auto visit_kept = [&](WDB_Node& node, const Bbox&) {
            if (is_kept(node)) visit(node);
        };
        world_.for_each_node(visit_kept);
        world_.for_each_shape(visit_kept);
    }

    // The format wants matrices that are a scale, then a turn, then a move: with rows that stand
    // upright on one another.
    static bool is_decomposable(const HFrame& place);
    // Whether its geometry is written in its place, as no matrix of the format tells that.
    static bool is_moved_along(const WDB_Node& node);

    // Of a geometry of the node; none if nothing of it can be told.
    int mesh_of(const WDB_Node& node, const WDB_Geometry& geometry);
    // The mesh that it shows as one instance of several; else none.
    int instanced_mesh(const WDB_Node& node);

    const Glb_Data& data() const { return data_; }
    const Gap_List<Mesh>& meshes() const { return meshes_; }
    const Gap_List<Look>& looks() const { return looks_; }
    const Gap_List<int>& pictures() const { return pictures_; } // the view of each
    int picture_of(const WDB_Texture& texture);
    const Gap_List<const WDB_Camera*>& cameras() const { return cameras_; }
    const Gap_List<const WDB_Light*>& lights() const { return lights_; }
    Glb_Instances& instances() { return instances_; }
    int instance_views() const { return instance_views_; } // the first of three
    int node_count() const { return nodes_; }
    int level_count() const { return levels_; }  // coarser ones of all nodes
    const Bbox& shown() const { return shown_; } // the box of all shapes
    const Losses& losses() const { return losses_; }

private:
    static bool is_kept(const WDB_Node& node);
    void expect_instances();
    void store_instances();
    void collect(const WDB_Node& node);
    int shape_of(const WDB_Node& node, const WDB_Geometry& geometry);
    int look_of(const WDB_Node& node, bool has_colors);

    WDB_Database& world_;
    const WDB_Glb_Options options_;
    Glb_Data data_;
    // Numbers, by the ids of objects: shapes by geometry, or by node and geometry where that is
    // moved; looks by material and texture; meshes by shape and look; pictures by texture.
    Hash_Table<long, int> shapes_, moved_shapes_, look_numbers_, mesh_numbers_, picture_numbers_;
    Hash_Set<long> textured_; // geometries that some node shows with a texture
    Gap_List<Look> looks_;
    Gap_List<int> pictures_;
    Gap_List<Mesh> meshes_;
    Gap_List<const WDB_Camera*> cameras_;
    Gap_List<const WDB_Light*> lights_;
    Glb_Instances instances_;
    int instance_views_ = none;
    int nodes_ = 0, levels_ = 0;
    Losses losses_;
    Bbox shown_;
};

#endif
