#include "tools/Viewer_Dots.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "std/Std_Allocator.h"
#include "wdb/WDB_Material.h"

// What is no dot goes to where it is cut off.
static const char* const dot_vertex_source = R"(#version 330 compatibility
uniform mat4 view;
uniform vec3 eye;
uniform vec2 half_size;
uniform float scale, limit;
layout(location = 0) in vec3 place;
layout(location = 1) in vec2 extent;
layout(location = 2) in vec3 color;
flat out vec3 paint, disc;

void main() {
    vec4 at = view * vec4(place - eye, 1.0);
    bool is_dot = extent.x * scale < limit * at.w;
    float size = max(extent.y * scale / at.w, 1.0);
    paint = color;
    disc = vec3((at.xy / at.w + 1.0) * half_size, 2.0 / max(size, 2.0));
    gl_PointSize = size;
    gl_Position = is_dot ? at : vec4(1.5, 0.0, 0.0, 1.0);
}
)";

// Darker towards the rim, as things seen from where the light is.
static const char* const dot_fragment_source = R"(#version 330 compatibility
flat in vec3 paint, disc;

void main() {
    vec2 from_middle = (gl_FragCoord.xy - disc.xy) * disc.z;
    float rim = dot(from_middle, from_middle);
    if (rim > 1.1) discard;
    gl_FragColor = vec4(paint * (1.0 - 0.5 * rim), 1.0);
}
)";

namespace {
struct Dot {
    Point place;
    float reach; // the longest edge of its box
    float size;  // of a cube that looks as large, on the whole
    GLubyte color[4];
};
} // namespace

Viewer_Dots::~Viewer_Dots() {
    if (world_) world_->remove_listener(this);
}

bool Viewer_Dots::open() {
    program_ = link_shaders(dot_vertex_source, dot_fragment_source);
    if (!program_) return false;
    glGenBuffers(1, &buffer_);
    glGenVertexArrays(1, &array_);
    glBindVertexArray(array_);
    glBindBuffer(GL_ARRAY_BUFFER, buffer_);
    const struct {
        GLint count;
        GLenum type;
        std::size_t offset;
    } attributes[] = {{3, GL_FLOAT, offsetof(Dot, place)},
                      {2, GL_FLOAT, offsetof(Dot, reach)},
                      {4, GL_UNSIGNED_BYTE, offsetof(Dot, color)}};
    GLuint number = 0;
    for (const auto& a : attributes) {
        glEnableVertexAttribArray(number);
        glVertexAttribPointer(number++, a.count, a.type, a.type == GL_UNSIGNED_BYTE, sizeof(Dot),
                              reinterpret_cast<const void*>(a.offset));
    }
    glBindVertexArray(0);
    glEnable(GL_PROGRAM_POINT_SIZE);
    return true;
}

static float reach_of(const Bbox& box) {
    const Vector size = box.size();
    return std::max({size.x, size.y, size.z});
}

// By the mean of the faces of its box, which may stand askew in the world.
static float size_of(const WDB_Node& node) {
    const Vector size = node.get_bbox().size();
    const HFrame& m = node.get_transform();
    const float a = size.x * mag(toVector(m[0]));
    const float b = size.y * mag(toVector(m[1]));
    const float c = size.z * mag(toVector(m[2]));
    return std::sqrt((a * b + b * c + c * a) / 3);
}

void Viewer_Dots::make(Viewer_Meshes& meshes) {
    Std_Plain_Vector<Dot> dots;
    dots.reserve(static_cast<std::size_t>(world_->shape_count()));
    holds_all_ = true;
    const WDB_Material* const plain = new WDB_Material;
    Bbox everywhere;
    everywhere.infinite();
    world_->for_each_shape_unordered(everywhere, [&](WDB_Node& node, const Bbox& box) {
        if (!Viewer_Meshes::is_opaque(node)) {
            holds_all_ = false;
            return;
        }
        const WDB_Material& material = node.get_material() ? *node.get_material() : *plain;
        WDB_Geometry& coarse = *node.lod_item(node.lod_count() - 1);
        Color color =
            coarse.get_with_colors() ? meshes.mesh_of(coarse).color : material.get_diffuse();
        // Of a ball that is lit from the eye, so much on the whole.
        const float facing = 0.9f;
        if (coarse.get_with_normals()) color = color * light_ * facing + material.get_ambient();
        color += material.get_emission();
        Dot dot = {box.center(), reach_of(box), size_of(node), {}};
        // NaN is black.
        for (int i = 0; i < 3; ++i)
            dot.color[i] = static_cast<GLubyte>(255 * std::min(std::max(0.0f, color[i]), 1.0f));
        dots.push_back(dot);
    });
    glBindBuffer(GL_ARRAY_BUFFER, buffer_);
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(dots.size() * sizeof(Dot)), dots.data(),
                 GL_STATIC_DRAW);
    count_ = static_cast<GLsizei>(dots.size());
    is_stale_ = false;
}

void Viewer_Dots::aim(WDB_Database& world, Viewer_Meshes& meshes, const Color& light,
                      const Matrix4& view, const Point& eye, int width, int height, double limit) {
    if (world_ != &world) {
        if (world_) world_->remove_listener(this);
        world.add_listener(this);
        world_ = &world;
        is_stale_ = true;
    }
    if (!(light == light_)) is_stale_ = true;
    light_ = light;
    if (is_stale_) make(meshes);
    view_ = view;
    eye_ = eye;
    half_size_[0] = static_cast<float>(width) / 2;
    half_size_[1] = static_cast<float>(height) / 2;
    scale_ = mag(Vector(view[0].y, view[1].y, view[2].y)) * half_size_[1];
    limit_ = static_cast<float>(limit);
}

bool Viewer_Dots::shows(const WDB_Node& node, const Bbox& box) const {
    const Vector v = box.center() - eye_;
    const float w = (v.x * view_[0].w + v.y * view_[1].w) + v.z * view_[2].w + view_[3].w;
    // Where rounding may decide otherwise on the card, both are drawn rather than none.
    return reach_of(box) * scale_ < 0.999f * limit_ * w &&
           (holds_all_ || Viewer_Meshes::is_opaque(node));
}

void Viewer_Dots::draw() const {
    const auto place_of = [this](const char* name) { return glGetUniformLocation(program_, name); };
    glUseProgram(program_);
    glUniformMatrix4fv(place_of("view"), 1, GL_FALSE, view_.to_c());
    glUniform3fv(place_of("eye"), 1, &eye_.x);
    glUniform2fv(place_of("half_size"), 1, half_size_);
    glUniform1f(place_of("scale"), scale_);
    glUniform1f(place_of("limit"), limit_);
    glBindVertexArray(array_);
    // By lots, so that the first ones are drawn while the next ones are prepared.
    const GLsizei lot = 8192;
    for (GLsizei first = 0; first < count_; first += lot) {
        glDrawArrays(GL_POINTS, first, std::min(lot, count_ - first));
        glFlush();
    }
    glBindVertexArray(0);
}
