#include "tools/Mesh_Export.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <strings.h>
#include <unistd.h>

#include "images/Plain_Png.h"
#include "std/Std_Allocator.h"
#include "std/Std_Common.h"
#include "std/Std_Descriptor.h"
#include "std/Std_Output_File.h"
#include "wdb/WDB_Camera.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Light.h"
#include "wdb/WDB_Material.h"
#include "wdb/WDB_Mesh_Arrays.h"
#include "wdb/WDB_Texture.h"
#include "wdb/WDB_Tri_List.h"

static bool ends_in(std::string_view path, std::string_view suffix) {
    if (path.size() < suffix.size()) return false;
    return strcasecmp(path.substr(path.size() - suffix.size()).data(), suffix.data()) == 0;
}

bool is_mesh_file(const char* path) {
    return ends_in(path, ".obj") || ends_in(path, ".ply") || ends_in(path, ".stl");
}

namespace {

// A triangle list as one node places it.
struct Placed {
    const WDB_Node& node;
    const WDB_Tri_List& list;
    Frame place, upright; // of points, and of normals

    Vector normal(const Vector& n) const {
        Vector v = n * upright;
        v.normalize();
        return v;
    }
};

// Visits all triangle lists in their places, and answers how much else there was.
template<class Visit>
int for_each_list(WDB_Database& world, Visit visit) {
    int others = 0;
    world.for_each_node([&](const WDB_Node& node, const Bbox&) {
        others += WDB_Camera::is_instance(&node) || WDB_Light::is_instance(&node);
    });
    world.for_each_shape([&](const WDB_Node& node, const Bbox&) {
        const auto* const list = WDB_Tri_List::const_castdown(node.get_geometry());
        others += !list;
        if (!list) return;
        Placed placed = {node, *list, toFrame(node.get_transform()), Frame::identity()};
        placed.upright = placed.place;
        if (placed.upright.invert()) placed.upright.transpose();
        placed.upright[3] = Vector(0, 0, 0);
        visit(placed);
    });
    return others;
}

// A file that is written as a stream and gets its place with others.
class Output {
public:
    Output() = default;
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    ~Output() {
        if (stream_) std::fclose(stream_);
    }

    // On failure: false, with errno; as finish.
    bool open(const std::string& path) {
        if (!file_.open(path.c_str(), Std_Output_File::FOLLOW_LINKS)) return false;
        const int descriptor = dup(file_.descriptor());
        stream_ = descriptor < 0 ? nullptr : fdopen(descriptor, "wb");
        return stream_ != nullptr;
    }
    Output& bytes(const char* bytes, std::size_t count) {
        if (std::fwrite(bytes, 1, count, stream_) != count && error_ == 0) error_ = errno;
        return *this;
    }
    Output& text(const char* text) { return bytes(text, std::strlen(text)); }
    Output& integer(long long value) { return text(std::to_string(value).c_str()); }
    template<class T>
    void raw(const T& value) {
        char copy[sizeof value];
        std::memcpy(copy, &value, sizeof value);
        bytes(copy, sizeof value);
    }
    void numbers(const float* values, int count) {
        // The shortest text that reads back to the same bits.
        char number[32];
        for (int i = 0; i < count; ++i) {
            const char* const end = std::to_chars(number, number + sizeof number, values[i]).ptr;
            text(" ").bytes(number, static_cast<std::size_t>(end - number));
        }
        text("\n");
    }
    bool finish() {
        const int error = std::fclose(std::exchange(stream_, nullptr)) == 0 ? error_ : errno;
        errno = error;
        return error == 0 && file_.prepare();
    }
    Std_Output_File* file() { return &file_; }

private:
    Std_Output_File file_;
    std::FILE* stream_ = nullptr;
    int error_ = 0; // the first
};

// Where the collector sees what they hold.
using Outputs = std::deque<Output, std_allocator<Output>>;

const char* commit(Outputs& outputs) {
    std::vector<Std_Output_File*> files;
    for (Output& output : outputs) {
        if (!output.finish()) return std::strerror(errno);
        files.push_back(output.file());
    }
    const bool is_done = Std_Output_File::commit_all(files.data(), static_cast<int>(files.size()));
    return is_done ? nullptr : std::strerror(errno);
}

std::uint32_t count_triangles(WDB_Database& world) {
    std::uint32_t count = 0;
    for_each_list(world,
                  [&](const Placed& p) { count += static_cast<std::uint32_t>(p.list.count()); });
    return count;
}

const char* export_stl(WDB_Database& world, const char* path, int* lost) {
    Outputs outputs(1);
    Output& out = outputs[0];
    if (!out.open(path)) return std::strerror(errno);
    const char header[80] = "binary STL";
    out.raw(header);
    out.raw(count_triangles(world));
    *lost = for_each_list(world, [&](const Placed& p) {
        for (const WDB_Triangle& t : p.list) {
            const Point a = t.p0 * p.place, b = t.p1 * p.place, c = t.p2 * p.place;
            out.raw(oknormalize(cross(a, b, c)));
            for (const Point& corner : {a, b, c}) out.raw(corner);
            out.raw(std::uint16_t{0});
        }
    });
    return commit(outputs);
}

std::uint8_t byte_of(float part) {
    const float most = 255;
    return static_cast<std::uint8_t>(part > 0 ? std::lround(std::fmin(part, 1.0f) * most) : 0);
}

const char* export_ply(WDB_Database& world, const char* path, int* lost) {
    Outputs outputs(1);
    Output& out = outputs[0];
    if (!out.open(path)) return std::strerror(errno);
    const std::uint32_t triangles = count_triangles(world);
    out.text("ply\nformat binary_little_endian 1.0\nelement vertex ");
    out.integer(3LL * triangles);
    out.text("\nproperty float x\nproperty float y\nproperty float z\nproperty float nx\n"
             "property float ny\nproperty float nz\nproperty uchar red\nproperty uchar green\n"
             "property uchar blue\nelement face ");
    out.integer(triangles);
    out.text("\nproperty list uchar uint vertex_indices\nend_header\n");
    *lost = for_each_list(world, [&](const Placed& p) {
        const WDB_Material* const m = p.node.get_material();
        const Color plain = m ? m->get_diffuse() : Color(1, 1, 1);
        const auto put = [&](const Point& point, const Vector& normal, const Color& color) {
            out.raw(point * p.place);
            out.raw(p.normal(normal));
            const Color& shown = p.list.get_with_colors() ? color : plain;
            for (int i = 0; i < 3; ++i) out.raw(byte_of(shown[i]));
        };
        for (const WDB_Triangle& t : p.list) {
            put(t.p0, t.n0, t.c0);
            put(t.p1, t.n1, t.c1);
            put(t.p2, t.n2, t.c2);
        }
    });
    for (std::uint32_t i = 0; i < triangles; ++i) {
        out.raw(std::uint8_t{3});
        for (std::uint32_t c = 0; c < 3; ++c) out.raw(3 * i + c);
    }
    return commit(outputs);
}

class Obj_Export {
public:
    explicit Obj_Export(const char* path) : base_(path, std::strlen(path) - std::strlen(".obj")) {}

    const char* save(WDB_Database& world, const char* path, int* lost);

private:
    using Look = std::pair<const WDB_Material*, const WDB_Texture*>;

    std::string file_name(const std::string& rest) const {
        return base_.substr(base_.find_last_of('/') + 1) + rest;
    }
    void put_shape(const Placed& p);
    const std::string& look_of(const WDB_Node& node);
    std::string picture_of(const WDB_Texture& texture);

    const std::string base_; // without the suffix
    Outputs outputs_;
    std::map<Look, std::string> looks_;
    std::map<const WDB_Texture*, std::string> pictures_;
    WDB_Mesh_Arrays arrays_{WDB_WITH_NORMALS | WDB_WITH_TEXTURES};
    long long vertices_ = 0;
    int error_ = 0;
};

// Of what is not a blank: names end there.
std::string word_of(const char* name) {
    std::string word = name ? name : "";
    for (char& c : word)
        if (static_cast<unsigned char>(c) <= ' ') c = '_';
    return word.empty() ? "unnamed" : word;
}

std::string Obj_Export::picture_of(const WDB_Texture& texture) {
    const auto [at, is_new] = pictures_.try_emplace(&texture);
    if (!is_new || !texture.get_image()) return at->second;
    const Std_Plain_Vector<unsigned char> png = plain_png(*texture.get_image());
    if (png.empty()) return at->second;
    const std::string rest = str_format("_%zu.png", pictures_.size());
    Output& out = outputs_.emplace_back();
    if (error_ == 0 && !out.open(base_ + rest)) error_ = errno;
    if (error_ == 0) out.bytes(reinterpret_cast<const char*>(png.data()), png.size());
    return at->second = file_name(rest);
}

const std::string& Obj_Export::look_of(const WDB_Node& node) {
    const WDB_Material standard;
    const auto [at, is_new] = looks_.try_emplace(Look(node.get_material(), node.get_texture()));
    if (!is_new) return at->second;
    const WDB_Material& m = node.get_material() ? *node.get_material() : standard;
    at->second = word_of(m.get_name()) + str_format("_%zu", looks_.size());
    const std::string picture = node.get_texture() ? picture_of(*node.get_texture()) : "";
    Output& out = outputs_[1];
    out.text("newmtl ").text(at->second.c_str()).text("\n");
    const std::pair<const char*, const Color*> colors[] = {{"Ka", &m.get_ambient()},
                                                           {"Kd", &m.get_diffuse()},
                                                           {"Ks", &m.get_specular()},
                                                           {"Ke", &m.get_emission()}};
    for (const auto& [keyword, color] : colors) {
        out.text(keyword);
        out.numbers(&color->r, 3);
    }
    const float shininess = m.get_shininess(), alpha = m.get_alpha();
    out.text("Ns");
    out.numbers(&shininess, 1);
    out.text("d");
    out.numbers(&alpha, 1);
    if (!picture.empty()) out.text("map_Kd ").text(picture.c_str()).text("\n");
    return at->second;
}

void Obj_Export::put_shape(const Placed& p) {
    const std::string& look = look_of(p.node); // may open files, which moves nothing
    Output& out = outputs_[0];
    arrays_.update(p.list);
    out.text("o ").text(word_of(p.node.get_name()).c_str()).text("\nusemtl ").text(look.c_str());
    out.text("\n");
    for (std::size_t i = 0; i < arrays_.vertex_count(); ++i) {
        const WDB_Vertex& v = arrays_.vertices()[i];
        const Point point = v.position * p.place;
        const Vector normal = p.normal(v.normal);
        out.text("v");
        out.numbers(point.to_c(), 3);
        out.text("vt");
        out.numbers(v.texture_point.to_c(), 2);
        out.text("vn");
        out.numbers(normal.to_c(), 3);
    }
    for (std::size_t i = 0; i < arrays_.index_count(); ++i) {
        const long long number = vertices_ + 1 + arrays_.index(i);
        out.text(i % 3 == 0 ? "f " : " ").integer(number).text("/").integer(number);
        out.text("/").integer(number);
        if (i % 3 == 2) out.text("\n");
    }
    vertices_ += static_cast<long long>(arrays_.vertex_count());
}

const char* Obj_Export::save(WDB_Database& world, const char* path, int* lost) {
    for (const std::string& name : {std::string(path), base_ + ".mtl"})
        if (!outputs_.emplace_back().open(name)) return std::strerror(errno);
    outputs_[0].text("mtllib ").text(file_name(".mtl\n").c_str());
    *lost = for_each_list(world, [&](const Placed& p) {
        if (error_ == 0) put_shape(p);
    });
    return error_ == 0 ? commit(outputs_) : std::strerror(error_);
}

} // namespace

const char* mesh_export(WDB_Database& world, const char* path, int* lost) {
    if (ends_in(path, ".stl")) return export_stl(world, path, lost);
    if (ends_in(path, ".ply")) return export_ply(world, path, lost);
    return Obj_Export(path).save(world, path, lost);
}
