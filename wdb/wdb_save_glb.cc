#include "wdb/wdb_save_glb.h"

#include <cstdio>

#include "std/Std_Report.h"

#ifndef NOLT_JSON

int wdb_save_glb(WDB_Database&, const char*, const WDB_Glb_Options&) {
    std_warn("Cannot write GLB: built without rapidjson (Debian: rapidjson-dev)");
    return EOF;
}

#else

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <numbers>
#include <unistd.h>

#include "math/Viewer_Moves.h"
#include "std/Std_Common.h"
#include "std/Std_Descriptor.h"
#include "std/Std_Output_File.h"
#include "std/Std_URL.h"
#include "wdb/Glb_Json.h"
#include "wdb/Glb_Scene.h"
#include "wdb/wdb_save.h"

namespace {

// The text half of a file, of what the scene has numbered.
class Glb_Text {
public:
    Glb_Text(Glb_Scene& scene, int descriptor) : scene_(scene), json_(descriptor) {}
    Glb_Text(const Glb_Text&) = delete;
    Glb_Text& operator=(const Glb_Text&) = delete;

    // The size; 0 if something could not be written, with errno.
    unsigned long long write();

private:
    void number_accessors();
    void write_extensions();
    void write_lights();
    void write_nodes();
    void write_node(const WDB_Node& node);
    void write_place(const WDB_Node& node);
    void write_mesh_of(const WDB_Node& node, int level);
    void write_node_extensions(const WDB_Node& node);
    void write_extras(const WDB_Node& node);
    void write_instances(int mesh);
    void write_mesh(const Glb_Scene::Mesh& mesh);
    void write_accessors();
    // Without an offset for none.
    void write_accessor(int view, long long offset, int component, long long count,
                        const char* type, const Bbox* box = nullptr);
    void write_accessors_of(const Glb_Data::Shape& shape);
    void write_views();
    void write_look(const Glb_Scene::Look& look);
    void write_color(const char* key, const Color& color, const float* alpha = nullptr);
    void write_own_color(const char* key, const Color& color);
    void write_camera(const WDB_Camera& camera);
    void write_light(const WDB_Light& light);
    float intensity(const WDB_Light& light) const;

    Glb_Scene& scene_;
    Glb_Json json_;
    Plain_Array<int> first_accessors_; // of the shapes
    int accessors_ = 0;                // of all of them
    int cameras_written_ = 0, lights_written_ = 0, levels_written_ = 0;
};

const char instancing[] = "EXT_mesh_gpu_instancing";
const int unsigned_short = 5123, unsigned_int = 5125, single = 5126; // types of components

// The same view without its scale and shear.
HFrame upright(const HFrame& place) {
    const HFrame turned(fly_viewer(toFrame(place), 0, 0, 0));
    if (Glb_Scene::is_decomposable(turned)) return turned;
    return HFrame(Frame::translation(place[3].x, place[3].y, place[3].z));
}

void Glb_Text::write_color(const char* key, const Color& color, const float* alpha) {
    const float rgba[] = {glb_light(color.r), glb_light(color.g), glb_light(color.b),
                          alpha ? glb_unit(*alpha) : 0};
    json_.key_and_numbers(key, rgba, alpha ? 4 : 3);
}

// For readers that know of us.
void Glb_Text::write_own_color(const char* key, const Color& color) {
    const float rgb[] = {glb_unit(color.r), glb_unit(color.g), glb_unit(color.b)};
    json_.key_and_numbers(key, rgb, 3);
}

// Those of a shape stand one behind the other, in the order of shapes; those of instances behind
// all of them, three of each group.
void Glb_Text::number_accessors() {
    const Plain_Array<Glb_Data::Shape>& shapes = scene_.data().shapes();
    for (std::size_t i = 0; i < shapes.count(); ++i) {
        const Glb_Data::Shape& shape = shapes[i];
        first_accessors_.push(accessors_);
        accessors_ += 2 + shape.has_normals + shape.has_texture_points + shape.has_colors;
    }
}

// Most nodes are where they are by a matrix; where a geometry was moved itself, nothing is left.
void Glb_Text::write_place(const WDB_Node& node) {
    if (Glb_Scene::is_moved_along(node)) return;
    const HFrame& given = node.get_transform();
    const HFrame place = Glb_Scene::is_decomposable(given) ? given : upright(given);
    if (!place.is_identity()) json_.key_and_numbers("matrix", place.to_c(), 16);
}

void Glb_Text::write_mesh_of(const WDB_Node& node, int level) {
    if (level >= node.lod_count()) return;
    const int mesh = scene_.mesh_of(node, *node.lod_item(level));
    if (mesh != Glb_Scene::none) json_.key_and_int("mesh", mesh);
}

void Glb_Text::write_instances(int mesh) {
    int accessor = accessors_ + 3 * scene_.instances().group(mesh).number;
    json_.key_and_int("mesh", mesh);
    json_.object("extensions", [&] {
        json_.object(instancing, [&] {
            json_.object("attributes", [&] {
                for (const char* const name : {"TRANSLATION", "ROTATION", "SCALE"})
                    json_.key_and_int(name, accessor++);
            });
        });
    });
}

void Glb_Text::write_node_extensions(const WDB_Node& node) {
    const bool is_light = WDB_Light::is_instance(&node);
    if (!is_light && node.lod_count() < 2) return;
    json_.object("extensions", [&] {
        if (is_light)
            json_.object("KHR_lights_punctual",
                         [&] { json_.key_and_int("light", lights_written_++); });
        if (node.lod_count() < 2) return;
        json_.object("MSFT_lod", [&] {
            json_.array("ids", [&] {
                for (int i = 1; i < node.lod_count(); ++i)
                    json_.Int(scene_.node_count() + levels_written_++);
            });
        });
    });
}

void Glb_Text::write_extras(const WDB_Node& node) {
    const WDB_Light* const light = WDB_Light::const_castdown(&node);
    if (!node.get_url() && !light) return;
    json_.object("extras", [&] {
        if (node.get_url()) json_.key_and_text("url", node.get_url()->get_url_string());
        if (light) write_own_color("color", light->get_color());
    });
}

void Glb_Text::write_node(const WDB_Node& node) {
    const int instanced = scene_.instanced_mesh(node);
    if (instanced != Glb_Scene::none) {
        if (scene_.instances().begin_node(instanced))
            json_.object([&] { write_instances(instanced); });
        return;
    }
    json_.object([&] {
        if (node.get_name()) json_.key_and_text("name", node.get_name());
        write_place(node);
        write_mesh_of(node, 0);
        const WDB_Camera* const camera = WDB_Camera::const_castdown(&node);
        if (camera && camera->get_projection().is_std_perspective())
            json_.key_and_int("camera", cameras_written_++);
        write_node_extensions(node);
        write_extras(node);
    });
}

// All nodes, and behind them their coarser levels.
void Glb_Text::write_nodes() {
    if (scene_.node_count() == 0) return;
    json_.key_and_int("scene", 0);
    json_.objects("scenes", 1, [&](int) {
        json_.array("nodes", [&] {
            for (int i = 0; i < scene_.node_count(); ++i) json_.Int(i);
        });
    });
    json_.array("nodes", [&] {
        scene_.for_each([&](const WDB_Node& node) { write_node(node); });
        scene_.for_each([&](const WDB_Node& node) {
            if (scene_.instanced_mesh(node) != Glb_Scene::none) return;
            for (int i = 1; i < node.lod_count(); ++i) {
                json_.object([&] {
                    write_place(node);
                    write_mesh_of(node, i);
                });
            }
        });
    });
}

void Glb_Text::write_mesh(const Glb_Scene::Mesh& mesh) {
    const auto number = static_cast<std::size_t>(mesh.shape);
    const Glb_Data::Shape& shape = scene_.data().shapes()[number];
    int accessor = first_accessors_[number];
    if (mesh.geometry->get_name()) json_.key_and_text("name", mesh.geometry->get_name());
    json_.objects("primitives", 1, [&](int) {
        json_.object("attributes", [&] {
            json_.key_and_int("POSITION", accessor++);
            if (shape.has_normals) json_.key_and_int("NORMAL", accessor++);
            if (shape.has_texture_points) json_.key_and_int("TEXCOORD_0", accessor++);
            if (shape.has_colors) json_.key_and_int("COLOR_0", accessor++);
        });
        json_.key_and_int("indices", accessor);
        json_.key_and_int("material", mesh.look);
        if (shape.is_lines) json_.key_and_int("mode", 1);
    });
}

void Glb_Text::write_accessor(int view, long long offset, int component, long long count,
                              const char* type, const Bbox* box) {
    json_.object([&] {
        json_.key_and_int("bufferView", view);
        if (offset >= 0) json_.key_and_int("byteOffset", offset);
        json_.key_and_int("componentType", component);
        json_.key_and_int("count", count);
        json_.key_and_text("type", type);
        if (!box) return;
        json_.key_and_numbers("min", box->min.to_c(), 3);
        json_.key_and_numbers("max", box->max.to_c(), 3);
    });
}

void Glb_Text::write_accessors_of(const Glb_Data::Shape& shape) {
    long long offset = 0;
    const auto add = [&](const char* type, int numbers) {
        write_accessor(shape.vertices, offset, single, shape.vertex_count, type,
                       offset == 0 ? &shape.box : nullptr);
        offset += numbers * 4;
    };
    add("VEC3", 3);
    if (shape.has_normals) add("VEC3", 3);
    if (shape.has_texture_points) add("VEC2", 2);
    if (shape.has_colors) add("VEC3", 3);
    write_accessor(shape.indices, Glb_Scene::none,
                   shape.index_size == 2 ? unsigned_short : unsigned_int, shape.index_count,
                   "SCALAR");
}

void Glb_Text::write_accessors() {
    const Plain_Array<Glb_Data::Shape>& shapes = scene_.data().shapes();
    if (shapes.count() == 0) return;
    json_.array("accessors", [&] {
        for (std::size_t i = 0; i < shapes.count(); ++i) write_accessors_of(shapes[i]);
        const Glb_Instances& instances = scene_.instances();
        for (int mesh = 0; mesh < instances.mesh_count(); ++mesh) {
            if (!instances.has(mesh)) continue;
            const Glb_Instances::Group& group = instances.group(mesh);
            int view = scene_.instance_views();
            for (const int numbers : {3, 4, 3})
                write_accessor(view++, 4LL * numbers * group.first, single, group.count,
                               numbers == 3 ? "VEC3" : "VEC4");
        }
    });
}

void Glb_Text::write_views() {
    const int vertices = 34962, indices = 34963;
    const Plain_Array<Glb_Data::View>& views = scene_.data().views();
    json_.objects("bufferViews", static_cast<int>(views.count()), [&](int i) {
        const Glb_Data::View& view = views[static_cast<std::size_t>(i)];
        json_.key_and_int("buffer", 0);
        json_.key_and_int("byteOffset", static_cast<long long>(view.offset));
        json_.key_and_int("byteLength", static_cast<long long>(view.size));
        if (view.stride > 0) json_.key_and_int("byteStride", view.stride);
        if (view.stride > 0) json_.key_and_int("target", vertices);
        if (view.holds_indices) json_.key_and_int("target", indices);
    });
    json_.objects("buffers", views.count() > 0 ? 1 : 0, [&](int) {
        json_.key_and_int("byteLength", static_cast<long long>(scene_.data().size()));
    });
}

void Glb_Text::write_look(const Glb_Scene::Look& look) {
    // The format's own is a white metal that is seen from one side.
    const WDB_Material plain;
    const WDB_Material& m = look.material ? *look.material : plain;
    const float alpha = m.get_alpha();
    // Colours of vertices are multiplied with the base colour, where ours take its place.
    const Color base = look.has_colors ? Color(1, 1, 1) : m.get_diffuse();
    // The exponent of a highlight as the width that it has.
    const float exponent = m.get_shininess() > 0 ? m.get_shininess() : 0;
    if (m.get_name()) json_.key_and_text("name", m.get_name());
    json_.object("pbrMetallicRoughness", [&] {
        write_color("baseColorFactor", base, &alpha);
        json_.key_and_int("metallicFactor", 0);
        json_.key_and_number("roughnessFactor", glb_unit(std::sqrt(std::sqrt(2 / (exponent + 2)))));
        if (look.texture)
            json_.object("baseColorTexture",
                         [&] { json_.key_and_int("index", scene_.picture_of(*look.texture)); });
    });
    write_color("emissiveFactor", m.get_emission());
    if (alpha < 1) json_.key_and_text("alphaMode", "BLEND");
    json_.Key("doubleSided");
    json_.Bool(true);
    json_.object("extras", [&] {
        write_own_color("ambient", m.get_ambient());
        write_own_color("specular", m.get_specular());
        json_.key_and_number("shininess", std::isfinite(exponent) ? exponent : 0);
    });
}

void Glb_Text::write_camera(const WDB_Camera& camera) {
    const Matrix4& m = camera.get_projection();
    const float least = 1e-6f, near = m.near_from_std_perspective(),
                far = m.far_from_std_perspective(), angle = std::fabs(m.fov_from_std_perspective());
    json_.key_and_text("type", "perspective");
    json_.object("perspective", [&] {
        json_.key_and_number("yfov", angle > least ? angle : least);
        json_.key_and_number("znear", near > least ? near : least);
        if (std::isfinite(far) && far > near && far > least) json_.key_and_number("zfar", far);
    });
}

// Light gets weaker with the square of the distance there, and not at all here: this is as strong
// in the middle of what is shown, but for a light that stands within. A surface gives back the
// share of 1 / pi to each side.
float Glb_Text::intensity(const WDB_Light& light) const {
    const Bbox& shown = scene_.shown();
    if (!(shown.min.x <= shown.max.x)) return 1;
    const auto square = [](const Vector& v) {
        double sum = 0;
        for (int i = 0; i < 3; ++i) sum += static_cast<double>(v[i]) * static_cast<double>(v[i]);
        return sum;
    };
    const Point middle = shown.center();
    const Vector4& place = light.get_transform()[3];
    const double strength =
        std::numbers::pi *
        std::max(square(Point(place.x, place.y, place.z) - middle), square(shown.max - middle));
    return std::isfinite(strength)
               ? static_cast<float>(std::min(strength, static_cast<double>(FLT_MAX)))
               : 1;
}

void Glb_Text::write_light(const WDB_Light& light) {
    const float angle = light.get_angle();
    const bool is_spot = angle > 0 && angle <= std::numbers::pi_v<float> / 2;
    json_.key_and_text("type", is_spot ? "spot" : "point");
    write_color("color", light.get_color());
    json_.key_and_number("intensity", light.is_on() ? intensity(light) : 0);
    if (is_spot) json_.object("spot", [&] { json_.key_and_number("outerConeAngle", angle); });
}

void Glb_Text::write_extensions() {
    const bool has_instances = scene_.instances().place_count() > 0;
    const int lights = scene_.lights().count();
    if (lights == 0 && scene_.level_count() == 0 && !has_instances) return;
    json_.array("extensionsUsed", [&] {
        if (has_instances) json_.String(instancing);
        if (lights > 0) json_.String("KHR_lights_punctual");
        if (scene_.level_count() > 0) json_.String("MSFT_lod");
    });
    if (has_instances) json_.array("extensionsRequired", [&] { json_.String(instancing); });
    if (lights == 0) return;
    json_.object("extensions", [&] {
        json_.object("KHR_lights_punctual", [&] {
            json_.objects("lights", lights, [&](int i) { write_light(*scene_.lights()[i]); });
        });
    });
}

unsigned long long Glb_Text::write() {
    number_accessors();
    json_.object([&] {
        json_.object("asset", [&] {
            json_.key_and_text("version", "2.0");
            json_.key_and_text("generator", "wdb_save_glb");
        });
        write_extensions();
        write_nodes();
        json_.objects("meshes", scene_.meshes().count(),
                      [&](int i) { write_mesh(scene_.meshes()[i]); });
        write_accessors();
        write_views();
        json_.objects("materials", scene_.looks().count(),
                      [&](int i) { write_look(scene_.looks()[i]); });
        const int pictures = scene_.pictures().count();
        json_.objects("textures", pictures, [&](int i) { json_.key_and_int("source", i); });
        json_.objects("images", pictures, [&](int i) {
            json_.key_and_int("bufferView", scene_.pictures()[i]);
            json_.key_and_text("mimeType", "image/png");
        });
        json_.objects("cameras", scene_.cameras().count(),
                      [&](int i) { write_camera(*scene_.cameras()[i]); });
    });
    return json_.finish();
}

void tell(const Glb_Scene::Losses& losses) {
    const auto tell_of = [](int count, const char* what) {
        if (count > 0) std_warn(str_format("GLB has no form for %d %s", count, what));
    };
    tell_of(losses.items, "triangles or lines with a number that is infinite or none");
    tell_of(losses.places, "nodes whose place is not affine or not finite");
    tell_of(losses.shears, "cameras, lights and bare nodes with more than a move, turn and scale");
    tell_of(losses.geometries, "geometries of other classes, or without anything good");
    tell_of(losses.views, "projections of cameras that are no perspective");
    tell_of(losses.outside, "shapes outside the bounds of the world");
}

int fail(const char* path, const char* reason) {
    std_warn(str_format("Cannot write GLB file (%s): %s", reason, path));
    return EOF;
}

// Both halves, each behind its size and type.
int put_together(const char* path, int json, unsigned long long json_size, const Glb_Data& data) {
    const std::uint32_t magic = 0x46546C67, version = 2, json_type = 0x4E4F534A,
                        data_type = 0x004E4942;
    const std::uint64_t header = 12, chunk = 8;
    const std::uint64_t data_size = data.size();
    const std::uint64_t size = header + chunk + json_size + (data_size > 0 ? chunk + data_size : 0);
    if (size > UINT32_MAX) return fail(path, "the format has no more than 4 GB");
    Std_Output_File file;
    if (!file.open(path, Std_Output_File::FOLLOW_LINKS)) return fail(path, std::strerror(errno));
    const auto put = [&](std::initializer_list<std::uint32_t> numbers) {
        return std_write_all(file.descriptor(), numbers.begin(), numbers.size() * 4);
    };
    static_assert(std::endian::native == std::endian::little, "as the format is");
    const auto json_length = static_cast<std::uint32_t>(json_size);
    bool is_good =
        put({magic, version, static_cast<std::uint32_t>(size), json_length, json_type}) &&
        std_copy_all(json, file.descriptor());
    if (data_size > 0)
        is_good = is_good && put({static_cast<std::uint32_t>(data_size), data_type}) &&
                  data.copy_to(file.descriptor());
    return is_good && file.commit() ? 0 : fail(path, std::strerror(errno));
}

} // namespace

int wdb_save_glb(WDB_Database& world, const char* path, const WDB_Glb_Options& options) {
    Glb_Scene scene(world, options);
    scene.collect();
    const int text = std_open_nameless();
    if (!scene.data().is_good() || text < 0) return fail(path, std::strerror(errno));
    const unsigned long long size = Glb_Text(scene, text).write();
    const int result =
        size > 0 ? put_together(path, text, size, scene.data()) : fail(path, std::strerror(errno));
    ::close(text);
    tell(scene.losses());
    return result == 0 && scene.losses().all() > 0 ? WDB_SAVE_LOSES : result;
}

#endif
