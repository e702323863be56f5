// What of a world stands in the memory of the graphics card: the arrays of geometries and the
// pictures of textures. Each is sent when it is first asked for and when it has changed, and given
// back once the collector has dropped what it belongs to.
//
//     const Viewer_Mesh& mesh = meshes.mesh_of(*node->lod_item(level));
//     meshes.bind_picture(node->get_texture());
//     ...
//     meshes.drop_dead();                                     // in each frame
//
// For the thread of the window alone.
#ifndef TOOLS_VIEWER_MESHES_H
#define TOOLS_VIEWER_MESHES_H

#include <cstddef>

#include "std/Std_Dead_List.h"
#include "std/Std_Obj.h"
#include "tools/Viewer_Gl.h"
#include "wdb/WDB_Geometry.h"
#include "wdb/WDB_Node.h"
#include "wdb/WDB_Texture.h"
#include "wdb/WDB_Vertex_Layout.h"

// Lifetime: that of the geometry.
struct Viewer_Mesh {
    GLuint vertices = 0, indices = 0; // buffers
    GLenum mode = GL_TRIANGLES, index_type = GL_UNSIGNED_SHORT;
    GLsizei index_count = 0; // 0 for what cannot be drawn
    bool has_colors = false, is_lit = false, is_textured = false;
    Color color = Color(0, 0, 0); // the mean of its vertices, if it has colours
    int stamp = -1;               // of the geometry, when that was sent
};

class Viewer_Meshes {
public:
    // Requires: a window that is open.
    void open();

    // Of what is neither triangles nor lines: without indices.
    const Viewer_Mesh& mesh_of(WDB_Geometry& geometry);

    // How vertices stand in their buffers.
    static WDB_Vertex_Layout layout();

    // Whether what the node shows hides what is behind it.
    static bool is_opaque(const WDB_Node& node);

    // Null binds a white picture.
    void bind_picture(const WDB_Texture* texture);

    void drop_dead();

private:
    void send(const WDB_Geometry& geometry, Viewer_Mesh* mesh);
    void send_picture(const WDB_Texture& texture);

    // Of buffers and pictures.
    Std_Dead_List dead_buffers_, dead_pictures_;
    GLuint white_ = 0;
};

#endif
