#include "tools/Viewer_Painter.h"

#include <algorithm>
#include <compare>
#include <cstddef>

#include "std/Std_Common.h"
#include "std/Std_Line.h"
#include "wdb/WDB_Light.h"
#include "wdb/WDB_Lod_View.h"

static constexpr Color background(0.11f, 0.13f, 0.17f);
static constexpr int most_lamps = 8;

// The numbers of the attributes of a vertex, as in its shader.
enum Attribute : GLuint { POSITION, NORMAL, COLOR, TEXTURE_POINT, PLACE };

static const char* const vertex_source = R"(#version 330 compatibility
uniform mat4 view;
layout(location = 0) in vec3 position;
layout(location = 1) in vec3 normal;
layout(location = 2) in vec3 color;
layout(location = 3) in vec2 texture_point;
layout(location = 4) in vec4 place[3];
out vec3 at, upright;
out vec3 paint;
out vec2 picture_point;

void main() {
    vec4 p = vec4(position, 1.0);
    at = vec3(dot(p, place[0]), dot(p, place[1]), dot(p, place[2]));
    // Normals stay upright on their surface through the transposed inverse, of any length.
    upright = vec3(dot(normal, cross(place[1].xyz, place[2].xyz)),
                   dot(normal, cross(place[2].xyz, place[0].xyz)),
                   dot(normal, cross(place[0].xyz, place[1].xyz)));
    paint = color;
    picture_point = texture_point;
    gl_Position = view * vec4(at, 1.0);
}
)";

// The same sum as in nolt_picture: see Picture_Lighting. The eye is the origin.
static const char* const fragment_source = R"(#version 330 compatibility
uniform sampler2D picture;
uniform vec3 glow, emission;
uniform vec4 shine;
uniform float alpha;
uniform bool is_lit;
uniform int lamp_count;
uniform vec3 lamp_places[8], lamp_colors[8];
in vec3 at, upright;
in vec3 paint;
in vec2 picture_point;

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
    gl_FragColor = vec4(min(sum, 1.0), alpha) * texture(picture, picture_point);
}
)";

bool Viewer_Painter::open() {
    program_ = link_shaders(vertex_source, fragment_source);
    if (!program_ || !dots_.open()) {
        const auto* const version = reinterpret_cast<const char*>(glGetString(GL_VERSION));
        std_write_line("nolt_view: ",
                       str_format("OpenGL 3.3 with its older forms is needed, not %.100s",
                                  version ? version : "none"));
        return false;
    }
    glGenBuffers(1, &places_);
    meshes_.open();
    return true;
}

void Viewer_Painter::collect(WDB_Database& world, WDB_Camera& camera, int width, int height) {
    // Looks that nothing has shown any more would pile up.
    std::erase_if(opaque_, [](const auto& batch) { return batch.second.empty(); });
    for (auto& [look, places] : opaque_) places.clear();
    clear_.clear();
    shapes_ = dot_count_ = 0;
    items_ = 0;
    const auto coarse = [this](int size) {
        return std::max(static_cast<int>(size / coarseness_), 1);
    };
    const WDB_Lod_View levels(camera, coarse(width), coarse(height));
    const float aspect = static_cast<float>(width) / static_cast<float>(height);
    const Vector back = toVector(camera.get_transform()[2]);
    world.for_each_shape_unordered(&camera, aspect, [&](WDB_Node& node, const Bbox& box) {
        ++shapes_;
        if (dots_.shows(node, box)) {
            ++dot_count_;
            return;
        }
        const int level = is_finest_ ? 0 : levels.level_of(node);
        if (level < 0) return;
        const Viewer_Mesh& mesh = meshes_.mesh_of(*node.lod_item(level));
        if (mesh.index_count == 0) return;
        items_ += mesh.index_count / (mesh.mode == GL_LINES ? 2 : 3);
        const int order = mesh.mode == GL_LINES ? 1 : -mesh.index_count;
        const Look look = {order, &mesh, node.get_material() ? node.get_material() : plain_,
                           mesh.is_textured ? node.get_texture() : nullptr};
        const HFrame& m = node.get_transform();
        const Place place = {{{m[0].x, m[1].x, m[2].x, m[3].x - eye_.x},
                              {m[0].y, m[1].y, m[2].y, m[3].y - eye_.y},
                              {m[0].z, m[1].z, m[2].z, m[3].z - eye_.z}}};
        if (Viewer_Meshes::is_opaque(node)) {
            opaque_[look].push_back(place);
        } else {
            clear_.push_back({dot(eye_ - box.center(), back), look, place});
        }
    });
    // An order of all floats, since NaN would break the other one, and with it the sort.
    std::sort(clear_.begin(), clear_.end(), [](const Clear_Shape& a, const Clear_Shape& b) {
        return std::strong_order(a.distance, b.distance) > 0;
    });
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
    glUniform1i(uniform("lamp_count"), count);
    glUniform3fv(uniform("lamp_places"), count, &places[0].x);
    glUniform3fv(uniform("lamp_colors"), count, &colors[0].r);
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

void Viewer_Painter::draw(const Look& look, const Places& places) {
    const Viewer_Mesh& mesh = *look.mesh;
    const WDB_Material& material = *look.material;
    const Color glow = material.get_ambient() + material.get_emission();
    const Color diffuse = material.get_diffuse(), specular = material.get_specular();
    glUniform3fv(uniform("glow"), 1, &glow.r);
    glUniform3fv(uniform("emission"), 1, &material.get_emission().r);
    glUniform4f(uniform("shine"), specular.r, specular.g, specular.b, material.get_shininess());
    glUniform1f(uniform("alpha"), material.get_alpha());
    glUniform1i(uniform("is_lit"), mesh.is_lit);
    meshes_.bind_picture(look.texture);

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
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(places.size() * sizeof(Place)),
                 places.data(), GL_STREAM_DRAW);
    for (GLuint i = 0; i < 3; ++i) {
        use_attribute(PLACE + i, 4, GL_FLOAT,
                      {.offset = i * sizeof(float[4]), .stride = sizeof(Place)});
        glVertexAttribDivisor(PLACE + i, 1);
    }
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, mesh.indices);
    glDrawElementsInstanced(mesh.mode, mesh.index_count, mesh.index_type, nullptr,
                            static_cast<GLsizei>(places.size()));
}

static float distance2(const float (&columns)[3][4]) {
    return mag2(Vector(columns[0][3], columns[1][3], columns[2][3]));
}

// What is near hides what would cost more to draw.
void Viewer_Painter::draw_opaque() {
    for (auto& [look, places] : opaque_) {
        std::sort(places.begin(), places.end(), [](const Place& a, const Place& b) {
            return std::strong_order(distance2(a.columns), distance2(b.columns)) < 0;
        });
        if (!places.empty()) draw(look, places);
    }
}

// Neighbours in the order that look the same go by one call.
void Viewer_Painter::draw_clear() {
    Places places;
    for (std::size_t i = 0; i < clear_.size(); ++i) {
        places.push_back(clear_[i].place);
        if (i + 1 < clear_.size() && clear_[i + 1].look == clear_[i].look) continue;
        draw(clear_[i].look, places);
        places.clear();
    }
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
    glUniformMatrix4fv(uniform("view"), 1, GL_FALSE, view.to_c());
    send_lamps(world);
    dots_.aim(world, meshes_, light_, view, eye_, width, height, coarseness_);
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LEQUAL);
    dots_.draw();
    collect(world, camera, width, height);
    glUseProgram(program_);
    draw_opaque();
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glDepthMask(GL_FALSE);
    draw_clear();
    glDepthMask(GL_TRUE);
    glDisable(GL_BLEND);
    glUseProgram(0);
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
