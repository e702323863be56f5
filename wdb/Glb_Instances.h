// Nodes of a GLB file that show one mesh in many places, as EXT_mesh_gpu_instancing has them: one
// node with a list of places. Internal.
//
//     instances.expect(mesh);              // for each node
//     instances.lay_out();
//     if (instances.has(mesh)) instances.put(mesh, node.get_transform());
//     if (instances.begin_node(mesh)) ... instances.group(mesh).first ...
//
// Memory: 40 bytes for each place.
#ifndef WDB_GLB_INSTANCES_H
#define WDB_GLB_INSTANCES_H

#include "base/Plain_Array.h"
#include "math/Homogeneous.h"

class Glb_Instances {
public:
    // Those of one mesh, as they lie in the lists.
    struct Group {
        int first, count;
        int number; // of the groups, in the order of meshes
        int placed; // of them
        bool has_node;
    };

    // Whether the lists can have the place of a node: its three parts are finite. Requires: its
    // rows stand upright on one another, and none is zero.
    static bool is_place(const HFrame& place);

    // One more node shows that mesh.
    void expect(int mesh);
    void lay_out();

    // Whether two nodes at least show that mesh. For no mesh: false.
    bool has(int mesh) const;
    // True for the first of its mesh. Requires: has(mesh), and not more often than expected.
    bool put(int mesh, const HFrame& place);
    // Whether the node of that mesh is yet to be written, which it is by now.
    bool begin_node(int mesh);
    const Group& group(int mesh) const { return groups_[static_cast<std::size_t>(mesh)]; }

    int place_count() const { return places_; }
    int mesh_count() const { return static_cast<int>(groups_.count()); }
    // For each place its move, its turn as a quaternion whose real part is the last, and its scale,
    // which comes first.
    const Plain_Array<float>& moves() const { return moves_; }
    const Plain_Array<float>& turns() const { return turns_; }
    const Plain_Array<float>& scales() const { return scales_; }

private:
    Plain_Array<Group> groups_; // by mesh
    int places_ = 0;
    Plain_Array<float> moves_, turns_, scales_;
};

#endif
