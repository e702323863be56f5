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

#include "base/Gap_List.h"
#include "base/Hash_Set.h"
#include "base/Hash_Table.h"
#include "images/PX_Map.h"
#include "math/Viewer_Moves.h"
#include "std/Std_Common.h"
#include "std/Std_Descriptor.h"
#include "std/Std_Output_File.h"
#include "std/Std_URL.h"
#include "wdb/Glb_Data.h"
#include "wdb/Glb_Instances.h"
#include "wdb/Glb_Json.h"
#include "wdb/WDB_Camera.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Light.h"
#include "wdb/WDB_Material.h"
#include "wdb/WDB_Texture.h"
#include "wdb/wdb_save.h"

namespace {

// One save. The world is walked four times, always in one order: for what is textured; what nodes
// share is collected and its vertices stored; the nodes are written, and then their coarser levels.
// If there are to be instances, they are counted before they are collected.
class Glb_Writer {
public:
    Glb_Writer(WDB_Database& world, const char* path, const WDB_Glb_Options& options)
        : world_(world), path_(path), options_(options) {
        shown_.clear();
    }
    Glb_Writer(const Glb_Writer&) = delete;
    Glb_Writer& operator=(const Glb_Writer&) = delete;

    // As wdb_save_glb.
    int save();

private:
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
    struct Losses {
        int items = 0, places = 0, shears = 0, geometries = 0, views = 0, outside = 0;
        int all() const { return items + places + shears + geometries + views + outside; }
    };
    static constexpr int none = -1;

    template<class Visit>
    void for_each(Visit visit);
    bool is_kept(const WDB_Node& node) const;
    // Whether its geometry is written in its place, as no matrix of the format tells that.
    static bool is_moved_along(const WDB_Node& node);
    void collect(const WDB_Node& node);
    void expect_instances();
    void store_instances();
    // The mesh that it shows as one instance of several; else none.
    int instanced_mesh(const WDB_Node& node);
    int shape_of(const WDB_Node& node, const WDB_Geometry& geometry);
    int look_of(const WDB_Node& node, bool has_colors);
    int mesh_of(const WDB_Node& node, const WDB_Geometry& geometry);

    void write(Glb_Json& json);
    void write_nodes(Glb_Json& json);
    void write_node(Glb_Json& json, const WDB_Node& node);
    void write_instances(Glb_Json& json, int mesh);
    void write_levels(Glb_Json& json, const WDB_Node& node);
    void write_extras(Glb_Json& json, const WDB_Node& node);
    void write_place(Glb_Json& json, const WDB_Node& node);
    void write_meshes(Glb_Json& json);
    void write_attributes(Glb_Json& json, int shape);
    void write_accessors(Glb_Json& json);
    void write_instance_accessors(Glb_Json& json);
    void write_views(Glb_Json& json);
    void write_looks(Glb_Json& json);
    void write_look(Glb_Json& json, const Look& look);
    void write_pictures(Glb_Json& json);
    void write_cameras(Glb_Json& json);
    float intensity(const WDB_Light& light) const;
    void write_lights(Glb_Json& json);
    void write_extensions(Glb_Json& json);
    void tell_losses() const;
    int fail(const char* reason) const;
    int put_together(int json, unsigned long long json_size);

    WDB_Database& world_;
    const char* const path_;
    const WDB_Glb_Options options_;
    Glb_Data data_;
    // Numbers, by the ids of objects: shapes by geometry, or by node and geometry where that is
    // moved; looks by material and texture; meshes by shape and look; pictures by texture.
    Hash_Table<long, int> shapes_, moved_shapes_, look_numbers_, mesh_numbers_, picture_numbers_;
    Hash_Set<long> textured_; // geometries that some node shows with a texture
    Gap_List<Look> looks_;
    Gap_List<int> pictures_; // the view of each
    Gap_List<Mesh> meshes_;
    Gap_List<const WDB_Camera*> cameras_;
    Gap_List<const WDB_Light*> lights_;
    Glb_Instances instances_;
    int instance_views_ = none, accessors_ = 0; // the first of three; those of shapes
    int nodes_ = 0, levels_ = 0;
    int cameras_written_ = 0, lights_written_ = 0, levels_written_ = 0;
    Losses losses_;
    Bbox shown_; // of all shapes
};

bool count_one(SUniv* count, const WDB_Node*, const Bbox&) {
    ++*Conv<int*>::from_univ(count);
    return false;
}

// No object has the number 0.
long id_of(const WDB_Obj* object) {
    return object ? object->get_instance_id() : 0;
}

long pair_of(long a, long b) {
    const int bits = 32;
    return a << bits | b;
}

// The number under the key, from `make` if there is none yet.
template<class Make>
int number_of(Hash_Table<long, int>& table, long key, Make make) {
    if (table.find(key)) return *table.found_item();
    const int number = make();
    table.put(number, key);
    return number;
}

bool has_numbers(const HFrame& place) {
    for (int i = 0; i < 16; ++i)
        if (!std::isfinite(place.to_c()[i])) return false;
    return true;
}

// The format wants matrices that are a scale, then a turn, then a move: with rows that stand
// upright on one another.
bool is_decomposable(const HFrame& place) {
    const double slack = 1e-6;
    const Vector4* const rows[] = {&place[0], &place[1], &place[2]};
    const auto product = [&](int i, int k) {
        double sum = 0;
        for (int c = 0; c < 3; ++c)
            sum += static_cast<double>((*rows[i])[c]) * static_cast<double>((*rows[k])[c]);
        return sum;
    };
    for (int i = 0; i < 3; ++i) {
        const int k = (i + 1) % 3;
        const double lengths = std::sqrt(product(i, i) * product(k, k));
        if (!(lengths > 0) || !(std::fabs(product(i, k)) <= slack * lengths)) return false;
    }
    return true;
}

// The same view without its scale and shear.
HFrame upright(const HFrame& place) {
    const HFrame turned(fly_viewer(toFrame(place), 0, 0, 0));
    if (is_decomposable(turned)) return turned;
    return HFrame(Frame::translation(place[3].x, place[3].y, place[3].z));
}

bool is_view(const WDB_Node& node) {
    return WDB_Camera::is_instance(&node) || WDB_Light::is_instance(&node);
}

void write_color(Glb_Json& json, const Color& color, const float* alpha = nullptr) {
    const float rgba[] = {glb_light(color.r), glb_light(color.g), glb_light(color.b),
                          alpha ? glb_unit(*alpha) : 0};
    json.numbers(rgba, alpha ? 4 : 3);
}

// For readers that know of us.
void write_own_color(Glb_Json& json, const char* key, const Color& color) {
    const float rgb[] = {glb_unit(color.r), glb_unit(color.g), glb_unit(color.b)};
    json.Key(key);
    json.numbers(rgb, 3);
}

// The accessors of a shape stand one behind the other.
int accessor_count(const Glb_Data::Shape& shape) {
    return 2 + shape.has_normals + shape.has_texture_points + shape.has_colors;
}

bool can_be_instance(const WDB_Node& node) {
    const HFrame& place = node.get_transform();
    return node.lod_count() > 0 && !is_view(node) && is_decomposable(place) &&
           Glb_Instances::is_place(place);
}

template<class Visit>
void Glb_Writer::for_each(Visit visit) {
    const auto visit_kept = [&](WDB_Node& node, const Bbox&) {
        if (is_kept(node)) visit(node);
    };
    world_.for_each_node(visit_kept);
    world_.for_each_shape(visit_kept);
}

bool Glb_Writer::is_kept(const WDB_Node& node) const {
    return node.get_transform().is_affine() && has_numbers(node.get_transform());
}

bool Glb_Writer::is_moved_along(const WDB_Node& node) {
    return node.lod_count() > 0 && !is_view(node) && !is_decomposable(node.get_transform());
}

void Glb_Writer::expect_instances() {
    if (!options_.has_instances) return;
    for_each([&](const WDB_Node& node) {
        if (!can_be_instance(node)) return;
        const int mesh = mesh_of(node, *node.get_geometry());
        if (mesh != none) instances_.expect(mesh);
    });
    instances_.lay_out();
}

int Glb_Writer::instanced_mesh(const WDB_Node& node) {
    if (instances_.place_count() == 0 || !can_be_instance(node)) return none;
    const int mesh = mesh_of(node, *node.get_geometry());
    return instances_.has(mesh) ? mesh : none;
}

void Glb_Writer::collect(const WDB_Node& node) {
    const int instanced = instanced_mesh(node);
    if (instanced != none) {
        nodes_ += instances_.put(instanced, node.get_transform());
        return;
    }
    ++nodes_;
    losses_.shears += !is_moved_along(node) && !is_decomposable(node.get_transform());
    for (int i = 0; i < node.lod_count(); ++i) mesh_of(node, *node.lod_item(i));
    levels_ += std::max(node.lod_count() - 1, 0);
    if (const WDB_Camera* const camera = WDB_Camera::const_castdown(&node)) {
        if (camera->get_projection().is_std_perspective()) {
            cameras_.insert_last(camera);
        } else {
            ++losses_.views;
        }
    }
    if (const WDB_Light* const light = WDB_Light::const_castdown(&node)) lights_.insert_last(light);
}

int Glb_Writer::shape_of(const WDB_Node& node, const WDB_Geometry& geometry) {
    const bool is_moved = is_moved_along(node);
    const auto add = [&] {
        const int shape =
            data_.add_mesh(geometry, is_moved ? node.get_transform() : HFrame::identity(),
                           textured_.has(id_of(&geometry)), &losses_.items);
        losses_.geometries += shape == none;
        return shape;
    };
    return is_moved ? number_of(moved_shapes_, pair_of(id_of(&node), id_of(&geometry)), add)
                    : number_of(shapes_, id_of(&geometry), add);
}

void Glb_Writer::store_instances() {
    for (std::size_t i = 0; i < data_.shapes().count(); ++i)
        accessors_ += accessor_count(data_.shapes()[i]);
    if (instances_.place_count() == 0) return;
    instance_views_ = data_.add_numbers(instances_.moves());
    data_.add_numbers(instances_.turns());
    data_.add_numbers(instances_.scales());
}

int Glb_Writer::look_of(const WDB_Node& node, bool has_colors) {
    const WDB_Texture* texture = node.get_texture();
    if (texture && texture->get_image()) {
        const int picture = number_of(picture_numbers_, id_of(texture), [&] {
            const int view = data_.add_picture(*texture->get_image());
            if (view == none) return none;
            pictures_.insert_last(view);
            return pictures_.count() - 1;
        });
        if (picture == none) texture = nullptr;
    } else {
        texture = nullptr;
    }
    const Look look = {node.get_material(), texture, has_colors};
    const long key = pair_of(id_of(look.material), id_of(look.texture)) * 2 + has_colors;
    return number_of(look_numbers_, key, [&] {
        looks_.insert_last(look);
        return looks_.count() - 1;
    });
}

int Glb_Writer::mesh_of(const WDB_Node& node, const WDB_Geometry& geometry) {
    const int shape = shape_of(node, geometry);
    if (shape == none) return none;
    const int look = look_of(node, data_.shapes()[static_cast<std::size_t>(shape)].has_colors);
    return number_of(mesh_numbers_, pair_of(shape, look), [&] {
        meshes_.insert_last({&geometry, shape, look});
        return meshes_.count() - 1;
    });
}

// Most nodes are where they are by a matrix; where a geometry was moved itself, nothing is left.
void Glb_Writer::write_place(Glb_Json& json, const WDB_Node& node) {
    if (is_moved_along(node)) return;
    const HFrame& given = node.get_transform();
    const HFrame place = is_decomposable(given) ? given : upright(given);
    if (place.is_identity()) return;
    json.Key("matrix");
    json.numbers(place.to_c(), 16);
}

void Glb_Writer::write_levels(Glb_Json& json, const WDB_Node& node) {
    json.Key("MSFT_lod");
    json.StartObject();
    json.Key("ids");
    json.StartArray();
    for (int i = 1; i < node.lod_count(); ++i) json.Int(nodes_ + levels_written_++);
    json.EndArray();
    json.EndObject();
}

// The accessors of all groups stand behind those of shapes, three of each.
void Glb_Writer::write_instances(Glb_Json& json, int mesh) {
    int accessor = accessors_ + 3 * instances_.group(mesh).number;
    json.StartObject();
    json.key_and_int("mesh", mesh);
    json.Key("extensions");
    json.StartObject();
    json.Key("EXT_mesh_gpu_instancing");
    json.StartObject();
    json.Key("attributes");
    json.StartObject();
    for (const char* const name : {"TRANSLATION", "ROTATION", "SCALE"})
        json.key_and_int(name, accessor++);
    json.EndObject();
    json.EndObject();
    json.EndObject();
    json.EndObject();
}

void Glb_Writer::write_node(Glb_Json& json, const WDB_Node& node) {
    const int instanced = instanced_mesh(node);
    if (instanced != none) {
        if (instances_.begin_node(instanced)) write_instances(json, instanced);
        return;
    }
    json.StartObject();
    if (node.get_name()) json.key_and_text("name", node.get_name());
    write_place(json, node);
    const int mesh = node.lod_count() > 0 ? mesh_of(node, *node.get_geometry()) : none;
    if (mesh != none) json.key_and_int("mesh", mesh);
    const WDB_Camera* const camera = WDB_Camera::const_castdown(&node);
    if (camera && camera->get_projection().is_std_perspective())
        json.key_and_int("camera", cameras_written_++);
    const bool is_light = WDB_Light::is_instance(&node);
    if (is_light || node.lod_count() > 1) {
        json.Key("extensions");
        json.StartObject();
        if (is_light) {
            json.Key("KHR_lights_punctual");
            json.StartObject();
            json.key_and_int("light", lights_written_++);
            json.EndObject();
        }
        if (node.lod_count() > 1) write_levels(json, node);
        json.EndObject();
    }
    write_extras(json, node);
    json.EndObject();
}

void Glb_Writer::write_extras(Glb_Json& json, const WDB_Node& node) {
    const WDB_Light* const light = WDB_Light::const_castdown(&node);
    if (!node.get_url() && !light) return;
    json.Key("extras");
    json.StartObject();
    if (node.get_url()) json.key_and_text("url", node.get_url()->get_url_string());
    if (light) write_own_color(json, "color", light->get_color());
    json.EndObject();
}

void Glb_Writer::write_nodes(Glb_Json& json) {
    if (nodes_ == 0) return;
    json.key_and_int("scene", 0);
    json.Key("scenes");
    json.StartArray();
    json.StartObject();
    json.Key("nodes");
    json.StartArray();
    for (int i = 0; i < nodes_; ++i) json.Int(i);
    json.EndArray();
    json.EndObject();
    json.EndArray();
    json.Key("nodes");
    json.StartArray();
    for_each([&](const WDB_Node& node) { write_node(json, node); });
    for_each([&](const WDB_Node& node) {
        if (instanced_mesh(node) != none) return;
        for (int i = 1; i < node.lod_count(); ++i) {
            json.StartObject();
            write_place(json, node);
            const int mesh = mesh_of(node, *node.lod_item(i));
            if (mesh != none) json.key_and_int("mesh", mesh);
            json.EndObject();
        }
    });
    json.EndArray();
}

void Glb_Writer::write_meshes(Glb_Json& json) {
    if (meshes_.count() == 0) return;
    Plain_Array<int> first_accessors;
    int accessors = 0;
    for (std::size_t i = 0; i < data_.shapes().count(); ++i) {
        first_accessors.push(accessors);
        accessors += accessor_count(data_.shapes()[i]);
    }
    json.Key("meshes");
    json.StartArray();
    for (int i = 0; i < meshes_.count(); ++i) {
        const auto number = static_cast<std::size_t>(meshes_[i].shape);
        const Glb_Data::Shape& shape = data_.shapes()[number];
        int accessor = first_accessors[number];
        json.StartObject();
        if (meshes_[i].geometry->get_name())
            json.key_and_text("name", meshes_[i].geometry->get_name());
        json.Key("primitives");
        json.StartArray();
        json.StartObject();
        json.Key("attributes");
        json.StartObject();
        json.key_and_int("POSITION", accessor++);
        if (shape.has_normals) json.key_and_int("NORMAL", accessor++);
        if (shape.has_texture_points) json.key_and_int("TEXCOORD_0", accessor++);
        if (shape.has_colors) json.key_and_int("COLOR_0", accessor++);
        json.EndObject();
        json.key_and_int("indices", accessor);
        json.key_and_int("material", meshes_[i].look);
        if (shape.is_lines) json.key_and_int("mode", 1);
        json.EndObject();
        json.EndArray();
        json.EndObject();
    }
    json.EndArray();
}

void Glb_Writer::write_accessors(Glb_Json& json) {
    const int unsigned_short = 5123, unsigned_int = 5125, single = 5126;
    if (data_.shapes().count() == 0) return;
    json.Key("accessors");
    json.StartArray();
    for (std::size_t i = 0; i < data_.shapes().count(); ++i) {
        const Glb_Data::Shape& shape = data_.shapes()[i];
        int offset = 0;
        const auto add = [&](const char* type, int numbers) {
            json.StartObject();
            json.key_and_int("bufferView", shape.vertices);
            json.key_and_int("byteOffset", offset);
            json.key_and_int("componentType", single);
            json.key_and_int("count", shape.vertex_count);
            json.key_and_text("type", type);
            if (offset == 0) {
                json.Key("min");
                json.numbers(shape.box.min.to_c(), 3);
                json.Key("max");
                json.numbers(shape.box.max.to_c(), 3);
            }
            json.EndObject();
            offset += numbers * 4;
        };
        add("VEC3", 3);
        if (shape.has_normals) add("VEC3", 3);
        if (shape.has_texture_points) add("VEC2", 2);
        if (shape.has_colors) add("VEC3", 3);
        json.StartObject();
        json.key_and_int("bufferView", shape.indices);
        json.key_and_int("componentType", shape.index_size == 2 ? unsigned_short : unsigned_int);
        json.key_and_int("count", shape.index_count);
        json.key_and_text("type", "SCALAR");
        json.EndObject();
    }
    write_instance_accessors(json);
    json.EndArray();
}

void Glb_Writer::write_instance_accessors(Glb_Json& json) {
    const int single = 5126;
    for (int mesh = 0; mesh < instances_.mesh_count(); ++mesh) {
        if (!instances_.has(mesh)) continue;
        const Glb_Instances::Group& group = instances_.group(mesh);
        int view = instance_views_;
        for (const int numbers : {3, 4, 3}) {
            json.StartObject();
            json.key_and_int("bufferView", view++);
            json.key_and_int("byteOffset", 4LL * numbers * group.first);
            json.key_and_int("componentType", single);
            json.key_and_int("count", group.count);
            json.key_and_text("type", numbers == 3 ? "VEC3" : "VEC4");
            json.EndObject();
        }
    }
}

void Glb_Writer::write_views(Glb_Json& json) {
    const int vertices = 34962, indices = 34963;
    if (data_.views().count() == 0) return;
    json.Key("bufferViews");
    json.StartArray();
    for (std::size_t i = 0; i < data_.views().count(); ++i) {
        const Glb_Data::View& view = data_.views()[i];
        json.StartObject();
        json.key_and_int("buffer", 0);
        json.key_and_int("byteOffset", static_cast<long long>(view.offset));
        json.key_and_int("byteLength", static_cast<long long>(view.size));
        if (view.stride > 0) json.key_and_int("byteStride", view.stride);
        if (view.stride > 0) json.key_and_int("target", vertices);
        if (view.holds_indices) json.key_and_int("target", indices);
        json.EndObject();
    }
    json.EndArray();
    json.Key("buffers");
    json.StartArray();
    json.StartObject();
    json.key_and_int("byteLength", static_cast<long long>(data_.size()));
    json.EndObject();
    json.EndArray();
}

void Glb_Writer::write_look(Glb_Json& json, const Look& look) {
    // The format's own is a white metal that is seen from one side.
    const WDB_Material plain;
    const WDB_Material& m = look.material ? *look.material : plain;
    const float alpha = m.get_alpha();
    // Colours of vertices are multiplied with the base colour, where ours take its place.
    const Color base = look.has_colors ? Color(1, 1, 1) : m.get_diffuse();
    // The exponent of a highlight as the width that it has.
    const float exponent = m.get_shininess() > 0 ? m.get_shininess() : 0;
    json.StartObject();
    if (m.get_name()) json.key_and_text("name", m.get_name());
    json.Key("pbrMetallicRoughness");
    json.StartObject();
    json.Key("baseColorFactor");
    write_color(json, base, &alpha);
    json.key_and_int("metallicFactor", 0);
    json.key_and_number("roughnessFactor", glb_unit(std::sqrt(std::sqrt(2 / (exponent + 2)))));
    if (look.texture) {
        json.Key("baseColorTexture");
        json.StartObject();
        picture_numbers_.find(id_of(look.texture));
        json.key_and_int("index", *picture_numbers_.found_item());
        json.EndObject();
    }
    json.EndObject();
    json.Key("emissiveFactor");
    write_color(json, m.get_emission());
    if (alpha < 1) json.key_and_text("alphaMode", "BLEND");
    json.Key("doubleSided");
    json.Bool(true);
    json.Key("extras");
    json.StartObject();
    write_own_color(json, "ambient", m.get_ambient());
    write_own_color(json, "specular", m.get_specular());
    json.key_and_number("shininess", std::isfinite(exponent) ? exponent : 0);
    json.EndObject();
    json.EndObject();
}

void Glb_Writer::write_looks(Glb_Json& json) {
    if (looks_.count() == 0) return;
    json.Key("materials");
    json.StartArray();
    for (int i = 0; i < looks_.count(); ++i) write_look(json, looks_[i]);
    json.EndArray();
}

void Glb_Writer::write_pictures(Glb_Json& json) {
    if (pictures_.count() == 0) return;
    json.Key("textures");
    json.StartArray();
    for (int i = 0; i < pictures_.count(); ++i) {
        json.StartObject();
        json.key_and_int("source", i);
        json.EndObject();
    }
    json.EndArray();
    json.Key("images");
    json.StartArray();
    for (int i = 0; i < pictures_.count(); ++i) {
        json.StartObject();
        json.key_and_int("bufferView", pictures_[i]);
        json.key_and_text("mimeType", "image/png");
        json.EndObject();
    }
    json.EndArray();
}

void Glb_Writer::write_cameras(Glb_Json& json) {
    if (cameras_.count() == 0) return;
    json.Key("cameras");
    json.StartArray();
    for (int i = 0; i < cameras_.count(); ++i) {
        const Matrix4& m = cameras_[i]->get_projection();
        const float least = 1e-6f, near = m.near_from_std_perspective(),
                    far = m.far_from_std_perspective(),
                    angle = std::fabs(m.fov_from_std_perspective());
        json.StartObject();
        json.key_and_text("type", "perspective");
        json.Key("perspective");
        json.StartObject();
        json.key_and_number("yfov", angle > least ? angle : least);
        json.key_and_number("znear", near > least ? near : least);
        if (std::isfinite(far) && far > near && far > least) json.key_and_number("zfar", far);
        json.EndObject();
        json.EndObject();
    }
    json.EndArray();
}

// Light gets weaker with the square of the distance there, and not at all here: this is as strong
// in the middle of what is shown, but for a light that stands within. A surface gives back the
// share of 1 / pi to each side.
float Glb_Writer::intensity(const WDB_Light& light) const {
    if (!(shown_.min.x <= shown_.max.x)) return 1;
    const auto square = [](const Vector& v) {
        double sum = 0;
        for (int i = 0; i < 3; ++i) sum += static_cast<double>(v[i]) * static_cast<double>(v[i]);
        return sum;
    };
    const Point middle = shown_.center();
    const Vector4& place = light.get_transform()[3];
    const double strength =
        std::numbers::pi *
        std::max(square(Point(place.x, place.y, place.z) - middle), square(shown_.max - middle));
    return std::isfinite(strength)
               ? static_cast<float>(std::min(strength, static_cast<double>(FLT_MAX)))
               : 1;
}

void Glb_Writer::write_lights(Glb_Json& json) {
    json.Key("KHR_lights_punctual");
    json.StartObject();
    json.Key("lights");
    json.StartArray();
    for (int i = 0; i < lights_.count(); ++i) {
        const float angle = lights_[i]->get_angle();
        const bool is_spot = angle > 0 && angle <= std::numbers::pi_v<float> / 2;
        json.StartObject();
        json.key_and_text("type", is_spot ? "spot" : "point");
        json.Key("color");
        write_color(json, lights_[i]->get_color());
        json.key_and_number("intensity", lights_[i]->is_on() ? intensity(*lights_[i]) : 0);
        if (is_spot) {
            json.Key("spot");
            json.StartObject();
            json.key_and_number("outerConeAngle", angle);
            json.EndObject();
        }
        json.EndObject();
    }
    json.EndArray();
    json.EndObject();
}

void Glb_Writer::write_extensions(Glb_Json& json) {
    static const char instancing[] = "EXT_mesh_gpu_instancing";
    const bool has_instances = instances_.place_count() > 0;
    if (lights_.count() == 0 && levels_ == 0 && !has_instances) return;
    json.Key("extensionsUsed");
    json.StartArray();
    if (has_instances) json.String(instancing);
    if (lights_.count() > 0) json.String("KHR_lights_punctual");
    if (levels_ > 0) json.String("MSFT_lod");
    json.EndArray();
    if (has_instances) {
        json.Key("extensionsRequired");
        json.StartArray();
        json.String(instancing);
        json.EndArray();
    }
    if (lights_.count() == 0) return;
    json.Key("extensions");
    json.StartObject();
    write_lights(json);
    json.EndObject();
}

void Glb_Writer::write(Glb_Json& json) {
    json.StartObject();
    json.Key("asset");
    json.StartObject();
    json.key_and_text("version", "2.0");
    json.key_and_text("generator", "wdb_save_glb");
    json.EndObject();
    write_extensions(json);
    write_nodes(json);
    write_meshes(json);
    write_accessors(json);
    write_views(json);
    write_looks(json);
    write_pictures(json);
    write_cameras(json);
    json.EndObject();
}

void Glb_Writer::tell_losses() const {
    const auto tell = [](int count, const char* what) {
        if (count > 0) std_warn(str_format("GLB has no form for %d %s", count, what));
    };
    tell(losses_.items, "triangles or lines with a number that is infinite or none");
    tell(losses_.places, "nodes whose place is not affine or not finite");
    tell(losses_.shears, "cameras, lights and bare nodes with more than a move, turn and scale");
    tell(losses_.geometries, "geometries of other classes, or without anything good");
    tell(losses_.views, "projections of cameras that are no perspective");
    tell(losses_.outside, "shapes outside the bounds of the world");
}

int Glb_Writer::fail(const char* reason) const {
    std_warn(str_format("Cannot write GLB file (%s): %s", reason, path_));
    return EOF;
}

// Both halves, each behind its size and type.
int Glb_Writer::put_together(int json, unsigned long long json_size) {
    const std::uint32_t magic = 0x46546C67, version = 2, json_type = 0x4E4F534A,
                        data_type = 0x004E4942;
    const std::uint64_t header = 12, chunk = 8;
    const std::uint64_t data_size = data_.size();
    const std::uint64_t size = header + chunk + json_size + (data_size > 0 ? chunk + data_size : 0);
    if (size > UINT32_MAX) return fail("the format has no more than 4 GB");
    Std_Output_File file;
    if (!file.open(path_, Std_Output_File::FOLLOW_LINKS)) return fail(std::strerror(errno));
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
                  data_.copy_to(file.descriptor());
    return is_good && file.commit() ? 0 : fail(std::strerror(errno));
}

int Glb_Writer::save() {
    for_each([&](const WDB_Node& node) {
        for (int i = 0; i < node.lod_count() && node.get_texture(); ++i)
            textured_.put(id_of(node.lod_item(i)));
    });
    expect_instances();
    const auto collect_kept = [&](const WDB_Node& node, const Bbox& box) {
        if (is_kept(node)) {
            collect(node);
            if (node.lod_count() > 0) shown_.merge(box);
        } else {
            ++losses_.places;
        }
    };
    world_.for_each_node(collect_kept);
    world_.for_each_shape(collect_kept);
    world_.apply_to_shapes_outside(Conv<int*>::to_univ(&losses_.outside), count_one);
    store_instances();
    const int text = std_open_nameless();
    if (!data_.is_good() || text < 0) return fail(std::strerror(errno));
    Glb_Json json(text);
    write(json);
    const unsigned long long size = json.finish();
    const int result = size > 0 ? put_together(text, size) : fail(std::strerror(errno));
    ::close(text);
    tell_losses();
    return result == 0 && losses_.all() > 0 ? WDB_SAVE_LOSES : result;
}

} // namespace

int wdb_save_glb(WDB_Database& world, const char* path, const WDB_Glb_Options& options) {
    return Glb_Writer(world, path, options).save();
}

#endif
