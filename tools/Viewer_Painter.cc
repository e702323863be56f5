#include "tools/Viewer_Painter.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <utility>

#include "images/PX_Map.h"
#include "std/Std_Common.h"
#include "std/Std_Line.h"
#include "wdb/WDB_Light.h"
#include "wdb/WDB_Lod_View.h"

static constexpr Color background(0.11f, 0.13f, 0.17f);
static constexpr int most_lamps = 8;

// The numbers of the attributes of a vertex.
enum Attribute : GLuint { POSITION, NORMAL, COLOR, TEXTURE_POINT, PLACE };

static const char* const vertex_source = R"(#version 120
uniform mat4 view;
attribute vec3 position, normal;
attribute vec3 color;
attribute vec2 texture_point;
attribute vec4 place_x, place_y, place_z;
varying vec3 at, upright;
varying vec3 paint;
varying vec2 picture_point;

void main() {
    vec4 p = vec4(position, 1.0);
    at = vec3(dot(p, place_x), dot(p, place_y), dot(p, place_z));
    // Normals stay upright on their surface through the transposed inverse, of any length.
    upright = vec3(dot(normal, cross(place_y.xyz, place_z.xyz)),
                   dot(normal, cross(place_z.xyz, place_x.xyz)),
                   dot(normal, cross(place_x.xyz, place_y.xyz)));
    paint = color;
    picture_point = texture_point;
    gl_Position = view * vec4(at, 1.0);
}
)";

// The same sum as in nolt_picture: see Picture_Lighting. The eye is the origin.
static const char* const fragment_source = R"(#version 120
uniform sampler2D picture;
uniform vec3 glow, emission;
uniform vec4 shine;
uniform float alpha;
uniform bool is_lit;
uniform int lamp_count;
uniform vec3 lamp_places[8], lamp_colors[8];
varying vec3 at, upright;
varying vec3 paint;
varying vec2 picture_point;

void main() {
    vec3 sum = paint + emission;
    if (is_lit) {
        // Normals tell which side is the front, both sides are seen.
        vec3 face = cross(dFdx(at), dFdy(at));
        vec3 n = upright / max(length(upright), 1e-30);
        if (dot(face, n) < 0.0) n = -n;
        vec3 to_eye = normalize(-at);
        sum = glow;
        for (int i = 0; i < lamp_count; ++i) {
            vec3 to_lamp = normalize(lamp_places[i] - at);
            float facing = dot(n, to_lamp);
            if (facing <= 0.0) continue;
            sum += lamp_colors[i] * paint * facing;
            float mirrored = dot(n, normalize(to_lamp + to_eye));
            if (shine.rgb != vec3(0.0) && mirrored > 0.0)
                sum += lamp_colors[i] * shine.rgb * pow(mirrored, shine.a);
        }
    }
    gl_FragColor = vec4(min(sum, 1.0), alpha) * texture2D(picture, picture_point);
}
)";

static const char* const dot_vertex_source = R"(#version 120
uniform mat4 view;
attribute vec3 place, color;
attribute float size;
varying vec3 paint;

void main() {
    paint = color;
    gl_PointSize = max(size, 1.0);
    gl_Position = view * vec4(place, 1.0);
}
)";

// Darker towards the rim, as things seen from where the light is.
static const char* const dot_fragment_source = R"(#version 120
varying vec3 paint;

void main() {
    vec2 from_middle = 2.0 * gl_PointCoord - 1.0;
    float rim = dot(from_middle, from_middle);
    if (rim > 1.1) discard;
    gl_FragColor = vec4(paint * (1.0 - 0.5 * rim), 1.0);
}
)";

static bool compile(GLuint program, GLenum kind, const char* source) {
    const GLuint shader = glCreateShader(kind);
    glShaderSource(shader, 1, &source, nullptr);
    glCompileShader(shader);
    glAttachShader(program, shader);
    GLint is_compiled = GL_FALSE;
    glGetShaderiv(shader, GL_COMPILE_STATUS, &is_compiled);
    return is_compiled == GL_TRUE;
}

// Their attributes have the numbers in which they stand here. 0 on failure.
static GLuint link(const char* vertex, const char* fragment,
                   std::initializer_list<const char*> attributes) {
    const GLuint program = glCreateProgram();
    GLuint number = 0;
    for (const char* name : attributes) glBindAttribLocation(program, number++, name);
    if (!compile(program, GL_VERTEX_SHADER, vertex) ||
        !compile(program, GL_FRAGMENT_SHADER, fragment))
        return 0;
    GLint is_linked = GL_FALSE;
    glLinkProgram(program);
    glGetProgramiv(program, GL_LINK_STATUS, &is_linked);
    return is_linked == GL_TRUE ? program : 0;
}

bool Viewer_Painter::open() {
    program_ =
        link(vertex_source, fragment_source,
             {"position", "normal", "color", "texture_point", "place_x", "place_y", "place_z"});
    dot_program_ = link(dot_vertex_source, dot_fragment_source, {"place", "size", "color"});
    // Instances of a mesh came with 3.3; the shaders are those of 2.1, so that immediate mode is
    // there beside them.
    const auto* const version = reinterpret_cast<const char*>(glGetString(GL_VERSION));
    if (!program_ || !dot_program_ || !version || std::strtof(version, nullptr) < 3.3f) {
        std_write_line("nolt_view: ",
                       str_format("OpenGL 3.3 with its older forms is needed, not %s",
                                  version ? version : "none"));
        return false;
    }
    const std::pair<const char*, GLint*> uniforms[] = {
        {"view", &view_},
        {"glow", &glow_},
        {"emission", &emission_},
        {"shine", &shine_},
        {"alpha", &alpha_},
        {"is_lit", &is_lit_},
        {"lamp_count", &lamp_count_},
        {"lamp_places", &lamp_places_},
        {"lamp_colors", &lamp_colors_},
    };
    for (const auto& [name, place] : uniforms) *place = glGetUniformLocation(program_, name);
    glGenBuffers(1, &places_);
    glGenBuffers(1, &dot_buffer_);
    glEnable(GL_PROGRAM_POINT_SIZE);
    glEnable(GL_POINT_SPRITE);
    meshes_.open();
    return true;
}

std::size_t Viewer_Painter::Look_Hash::operator()(const Look& look) const {
    const std::size_t odd = 0x9e3779b97f4a7c15; // spreads the bits of addresses
    const auto bits = [](const void* p) { return reinterpret_cast<std::uintptr_t>(p) >> 4; };
    return ((bits(look.mesh) * odd ^ bits(look.material)) * odd ^ bits(look.texture)) * odd >> 20;
}

static bool is_opaque(const WDB_Material* material, const WDB_Texture* texture) {
    return !(material && material->get_alpha() < 1) &&
           !(texture && texture->get_image()->get_component() % 2 == 0);
}

std::uint32_t Viewer_Painter::batch_of(const Look& look) {
    const auto [entry, is_new] =
        looks_.try_emplace(look, static_cast<std::uint32_t>(batches_.size()));
    if (is_new) batches_.push_back({look, is_opaque(look.material, look.texture)});
    return entry->second;
}

// `edge` is that in the coarse picture. False for what is too large, or transparent.
bool Viewer_Painter::put_dot(const WDB_Node& node, const Bbox& box, double edge) {
    if (!(edge < 1) || !is_opaque(node.get_material(), node.get_texture())) return false;
    const WDB_Material& material = node.get_material() ? *node.get_material() : *plain_;
    const Viewer_Mesh& mesh = meshes_.mesh_of(*node.lod_item(node.lod_count() - 1));
    Color color = mesh.has_colors ? mesh.color : material.get_diffuse();
    // Of a ball that is lit from the eye, so much on the whole.
    const float facing = 0.9f;
    if (mesh.is_lit) color = color * light_ * facing + material.get_ambient();
    dots_.push_back({box.center() - eye_, static_cast<float>(edge * coarseness_),
                     color + material.get_emission()});
    return true;
}

void Viewer_Painter::collect(WDB_Database& world, WDB_Camera& camera, int width, int height) {
    // Looks that nothing shows any more would pile up.
    if (batches_.size() > 2 * static_cast<std::size_t>(shape_count()) + 100) forget();
    for (Batch& batch : batches_) {
        batch.count = 0;
        batch.is_opaque = is_opaque(batch.look.material, batch.look.texture);
    }
    opaque_.clear();
    clear_.clear();
    dots_.clear();
    items_ = 0;
    const auto coarse = [this](int size) {
        return std::max(static_cast<int>(size / coarseness_), 1);
    };
    const WDB_Lod_View levels(camera, coarse(width), coarse(height));
    const float aspect = static_cast<float>(width) / static_cast<float>(height);
    const Vector back = toVector(camera.get_transform()[2]);
    world.for_each_shape_unordered(&camera, aspect, [&](WDB_Node& node, const Bbox& box) {
        if (put_dot(node, box, levels.edge_of(node))) return;
        const int level = is_finest_ ? 0 : levels.level_of(node);
        if (level < 0) return;
        const Viewer_Mesh& mesh = meshes_.mesh_of(*node.lod_item(level));
        if (mesh.index_count == 0) return;
        const std::uint32_t batch =
            batch_of({&mesh, node.get_material(), mesh.is_textured ? node.get_texture() : nullptr});
        ++batches_[batch].count;
        items_ += mesh.index_count / (mesh.mode == GL_LINES ? 2 : 3);
        const HFrame& m = node.get_transform();
        auto& shapes = batches_[batch].is_opaque ? opaque_ : clear_;
        shapes.push_back({batch,
                          dot(eye_ - box.center(), back),
                          {{{m[0].x, m[1].x, m[2].x, m[3].x - eye_.x},
                            {m[0].y, m[1].y, m[2].y, m[3].y - eye_.y},
                            {m[0].z, m[1].z, m[2].z, m[3].z - eye_.z}}}});
    });
    std::sort(clear_.begin(), clear_.end(),
              [](const Shape& a, const Shape& b) { return a.distance > b.distance; });
}

void Viewer_Painter::send_lamps(const WDB_Database& world) {
    Vector places[most_lamps];
    Color colors[most_lamps];
    int count = 0;
    world.for_each_light([&](const WDB_Node& node, const Bbox&) {
        const WDB_Light& light = *WDB_Light::const_castdown(&node);
        if (!light.is_on() || light.get_color() == Color(0, 0, 0)) return false;
        places[count] = toPoint(light.get_transform()[3]) - eye_;
        colors[count] = light.get_color();
        return ++count == most_lamps;
    });
    // As nolt_picture does where nothing shines.
    if (count == 0) places[count] = Vector(0, 0, 0), colors[count++] = Color(1, 1, 1);
    light_ = Color(0, 0, 0);
    for (int i = 0; i < count; ++i) light_ += colors[i];
    glUniform1i(lamp_count_, count);
    glUniform3fv(lamp_places_, count, &places[0].x);
    glUniform3fv(lamp_colors_, count, &colors[0].r);
}

// Those of each batch side by side, and then what is transparent, in its order.
void Viewer_Painter::send_places() {
    std::uint32_t first = 0;
    for (Batch& batch : batches_) {
        batch.first = first;
        if (batch.is_opaque) first += batch.count;
    }
    sorted_.resize(opaque_.size() + clear_.size());
    for (const Shape& shape : opaque_) sorted_[batches_[shape.batch].first++] = shape.place;
    for (const Shape& shape : clear_) sorted_[first++] = shape.place;
    glBindBuffer(GL_ARRAY_BUFFER, places_);
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(sorted_.size() * sizeof(Place)),
                 sorted_.data(), GL_STREAM_DRAW);
}

static const void* offset_of(std::size_t bytes) {
    return reinterpret_cast<const void*>(bytes);
}

static void use_attribute(GLuint number, GLint count, GLenum type,
                          const WDB_Vertex_Attribute& attribute) {
    glEnableVertexAttribArray(number);
    glVertexAttribPointer(number, count, type, type == GL_UNSIGNED_BYTE,
                          static_cast<GLsizei>(attribute.stride), offset_of(attribute.offset));
}

void Viewer_Painter::draw(const Batch& batch, std::uint32_t first, std::uint32_t count) {
    const Viewer_Mesh& mesh = *batch.look.mesh;
    const WDB_Material& material = batch.look.material ? *batch.look.material : *plain_;
    const Color glow = material.get_ambient() + material.get_emission();
    const Color diffuse = material.get_diffuse(), specular = material.get_specular();
    glUniform3fv(glow_, 1, &glow.r);
    glUniform3fv(emission_, 1, &material.get_emission().r);
    glUniform4f(shine_, specular.r, specular.g, specular.b, material.get_shininess());
    glUniform1f(alpha_, material.get_alpha());
    glUniform1i(is_lit_, mesh.is_lit);
    meshes_.bind_picture(batch.look.texture);

    const WDB_Vertex_Layout layout = Viewer_Meshes::layout();
    glBindBuffer(GL_ARRAY_BUFFER, mesh.vertices);
    use_attribute(POSITION, 3, GL_FLOAT, layout.positions);
    use_attribute(NORMAL, 3, GL_FLOAT, layout.normals);
    use_attribute(TEXTURE_POINT, 2, GL_FLOAT, layout.texture_points);
    if (mesh.has_colors) {
        use_attribute(COLOR, 4, GL_UNSIGNED_BYTE, layout.colors);
    } else {
        glDisableVertexAttribArray(COLOR);
        glVertexAttrib3f(COLOR, diffuse.r, diffuse.g, diffuse.b);
    }
    glBindBuffer(GL_ARRAY_BUFFER, places_);
    for (GLuint i = 0; i < 3; ++i) {
        use_attribute(
            PLACE + i, 4, GL_FLOAT,
            {.offset = first * sizeof(Place) + i * sizeof(float[4]), .stride = sizeof(Place)});
        glVertexAttribDivisor(PLACE + i, 1);
    }
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, mesh.indices);
    glDrawElementsInstanced(mesh.mode, mesh.index_count, mesh.index_type, nullptr,
                            static_cast<GLsizei>(count));
}

// Neighbours in the order that look the same go by one call.
void Viewer_Painter::draw_clear() {
    auto first = static_cast<std::uint32_t>(opaque_.size());
    for (std::size_t i = 0, end; i < clear_.size(); first += end - i, i = end) {
        for (end = i + 1; end < clear_.size() && clear_[end].batch == clear_[i].batch;) ++end;
        draw(batches_[clear_[i].batch], first, static_cast<std::uint32_t>(end - i));
    }
}

void Viewer_Painter::draw_dots(const Matrix4& view) {
    if (dots_.empty()) return;
    glUseProgram(dot_program_);
    glUniformMatrix4fv(glGetUniformLocation(dot_program_, "view"), 1, GL_FALSE, view.to_c());
    for (GLuint i = 3; i < 7; ++i) glDisableVertexAttribArray(i);
    for (GLuint i = PLACE; i < PLACE + 3; ++i) glVertexAttribDivisor(i, 0);
    glBindBuffer(GL_ARRAY_BUFFER, dot_buffer_);
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(dots_.size() * sizeof(Dot)), dots_.data(),
                 GL_STREAM_DRAW);
    use_attribute(0, 3, GL_FLOAT, {.offset = offsetof(Dot, place), .stride = sizeof(Dot)});
    use_attribute(1, 1, GL_FLOAT, {.offset = offsetof(Dot, size), .stride = sizeof(Dot)});
    use_attribute(2, 3, GL_FLOAT, {.offset = offsetof(Dot, color), .stride = sizeof(Dot)});
    glDrawArrays(GL_POINTS, 0, static_cast<GLsizei>(dots_.size()));
}

void Viewer_Painter::clear(int width, int height) {
    glViewport(0, 0, width, height);
    glClearColor(background.r, background.g, background.b, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

void Viewer_Painter::paint(WDB_Database& world, WDB_Camera& camera, int width, int height,
                           const WDB_Node* marked) {
    meshes_.drop_dead();
    clear(width, height);
    eye_ = toPoint(camera.get_transform()[3]);
    Frame turn = toFrame(camera.get_viewing());
    turn[3] = Vector(0, 0, 0);
    const float aspect = static_cast<float>(width) / static_cast<float>(height);
    const Matrix4 view = turn * camera.get_render_projection(aspect);
    glUseProgram(program_);
    // Row vectors of ours, columns of theirs: the same sixteen numbers.
    glUniformMatrix4fv(view_, 1, GL_FALSE, view.to_c());
    send_lamps(world);
    collect(world, camera, width, height);
    send_places();
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LEQUAL);             // lines on a surface
    for (const Batch& batch : batches_) // each has moved its first behind its last
        if (batch.is_opaque && batch.count > 0) draw(batch, batch.first - batch.count, batch.count);
    draw_dots(view);
    glUseProgram(program_);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glDepthMask(GL_FALSE);
    draw_clear();
    glDepthMask(GL_TRUE);
    glDisable(GL_BLEND);
    glUseProgram(0);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glLoadMatrixf(view.to_c());
    if (marked) mark(*marked);
}

// The edges of its box, also where they are hidden.
void Viewer_Painter::mark(const WDB_Node& node) {
    const Frame place = toFrame(node.get_transform());
    const Bbox& box = node.get_bbox();
    const auto corner = [&](int i) {
        const Vector p = Point(box[i & 1].x, box[i >> 1 & 1].y, box[i >> 2 & 1].z) * place - eye_;
        glVertex3f(p.x, p.y, p.z);
    };
    glDisable(GL_DEPTH_TEST);
    glColor3f(1, 0.8f, 0.2f);
    glBegin(GL_LINES);
    for (int i = 0; i < 8; ++i)
        for (const int axis : {1, 2, 4})
            if (!(i & axis)) corner(i), corner(i | axis);
    glEnd();
}
