#include "tools/Viewer_Meshes.h"

#include <algorithm>
#include <cstdint>

#include "images/PX_Map.h"
#include "std/Std_Allocator.h"
#include "wdb/WDB_Line_List.h"
#include "wdb/WDB_Material.h"
#include "wdb/WDB_Mesh_Arrays.h"
#include "wdb/WDB_Tri_List.h"

namespace {
struct Picture {
    GLuint name = 0;
    std::uint64_t change = 0; // the count of the map, when that was sent
};

// What we keep with objects of the world. The addresses are ours alone.
const char mesh_key = 0, picture_key = 0;
} // namespace

void Viewer_Meshes::open() {
    const unsigned char white[3] = {255, 255, 255};
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glGenTextures(1, &white_);
    glBindTexture(GL_TEXTURE_2D, white_);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, 1, 1, 0, GL_RGB, GL_UNSIGNED_BYTE, white);
}

WDB_Vertex_Layout Viewer_Meshes::layout() {
    const std::size_t size = 36;
    WDB_Vertex_Layout layout;
    layout.positions = {.offset = 0, .stride = size};
    layout.normals = {.offset = 12, .stride = size};
    layout.texture_points = {.offset = 24, .stride = size};
    layout.colors = {.offset = 32, .stride = size};
    layout.color_form = WDB_COLOR_BYTES;
    return layout;
}

const Viewer_Mesh& Viewer_Meshes::mesh_of(WDB_Geometry& geometry) {
    auto* mesh = static_cast<Viewer_Mesh*>(geometry.get_user(&mesh_key));
    if (!mesh) {
        mesh = new (GCAtomic) Viewer_Mesh;
        geometry.set_user(mesh, &mesh_key);
        glGenBuffers(1, &mesh->vertices);
        glGenBuffers(1, &mesh->indices);
        dead_buffers_.add(&geometry, mesh->vertices);
        dead_buffers_.add(&geometry, mesh->indices);
    }
    if (mesh->stamp != geometry.get_stamp()) send(geometry, mesh);
    return *mesh;
}

static Color mean_color(const WDB_Mesh_Arrays& arrays) {
    Color sum(0, 0, 0);
    for (std::size_t i = 0; i < arrays.vertex_count(); ++i) sum += arrays.vertices()[i].color;
    return sum * (1 / static_cast<float>(std::max<std::size_t>(arrays.vertex_count(), 1)));
}

void Viewer_Meshes::send(const WDB_Geometry& geometry, Viewer_Mesh* mesh) {
    // What means nothing must not keep corners apart.
    WDB_Mesh_Arrays arrays((geometry.get_with_normals() ? WDB_WITH_NORMALS : 0u) |
                           (geometry.get_with_colors() ? WDB_WITH_COLORS : 0u) |
                           (geometry.get_with_textures() ? WDB_WITH_TEXTURES : 0u));
    arrays.update(geometry);
    Std_Plain_Vector<std::byte> vertices(layout().byte_count(arrays.vertex_count()));
    arrays.copy_vertices(layout(), vertices.data(), vertices.size());
    glBindBuffer(GL_ARRAY_BUFFER, mesh->vertices);
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(vertices.size()), vertices.data(),
                 GL_STATIC_DRAW);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, mesh->indices);
    glBufferData(GL_ELEMENT_ARRAY_BUFFER,
                 static_cast<GLsizeiptr>(arrays.index_count()) * arrays.index_size(),
                 arrays.indices(), GL_STATIC_DRAW);
    mesh->mode = arrays.corners_of_item() == 2 ? GL_LINES : GL_TRIANGLES;
    mesh->index_type = arrays.index_size() == 2 ? GL_UNSIGNED_SHORT : GL_UNSIGNED_INT;
    mesh->index_count = static_cast<GLsizei>(arrays.index_count());
    mesh->has_colors = geometry.get_with_colors();
    mesh->color = mean_color(arrays);
    mesh->is_lit = geometry.get_with_normals();
    mesh->is_textured = geometry.get_with_textures();
    mesh->stamp = geometry.get_stamp();
}

bool Viewer_Meshes::is_opaque(const WDB_Node& node) {
    const WDB_Material* const material = node.get_material();
    const WDB_Texture* const texture = node.get_texture();
    return !(material && material->get_alpha() < 1) &&
           !(texture && texture->get_image()->get_component() % 2 == 0);
}

void Viewer_Meshes::bind_picture(const WDB_Texture* texture) {
    if (!texture) {
        glBindTexture(GL_TEXTURE_2D, white_);
        return;
    }
    auto* picture = static_cast<Picture*>(texture->get_user(&picture_key));
    if (!picture) {
        // Nodes lend their textures for reading. What we keep with one changes nothing that others
        // see.
        auto* const object = const_cast<WDB_Texture*>(texture);
        picture = new (GCAtomic) Picture;
        object->set_user(picture, &picture_key);
        glGenTextures(1, &picture->name);
        dead_pictures_.add(object, picture->name);
        picture->change = texture->get_image()->get_change_count() + 1;
    }
    glBindTexture(GL_TEXTURE_2D, picture->name);
    if (picture->change == texture->get_image()->get_change_count()) return;
    send_picture(*texture);
    picture->change = texture->get_image()->get_change_count();
}

void Viewer_Meshes::send_picture(const WDB_Texture& texture) {
    const PX_Map* map = texture.get_image();
    GLint most = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &most);
    if (map->get_width() > most || map->get_height() > most) {
        auto* const small = new PX_Map(*map);
        small->resize(std::min(map->get_width(), most), std::min(map->get_height(), most));
        map = small;
    }
    const GLenum forms[] = {GL_LUMINANCE, GL_LUMINANCE_ALPHA, GL_RGB, GL_RGBA};
    const GLenum form = forms[map->get_component() - 1];
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_GENERATE_MIPMAP, GL_TRUE);
    glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(form), map->get_width(), map->get_height(), 0,
                 form, GL_UNSIGNED_BYTE, map->get_pixels());
}

void Viewer_Meshes::drop_dead() {
    std::uint64_t payload;
    while (dead_buffers_.take(&payload)) {
        const auto name = static_cast<GLuint>(payload);
        glDeleteBuffers(1, &name);
    }
    while (dead_pictures_.take(&payload)) {
        const auto name = static_cast<GLuint>(payload);
        glDeleteTextures(1, &name);
    }
}
