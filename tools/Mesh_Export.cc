#include "tools/Mesh_Export.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <strings.h>
#include <unistd.h>

#include "images/PX_Map.h"
#include "images/Plain_Png.h"
#include "math/Finite.h"
#include "std/Std_Allocator.h"
#include "std/Std_Common.h"
#include "std/Std_Descriptor.h"
#include "std/Std_Output_File.h"
#include "tools/One_File.h"
#include "wdb/WDB_Camera.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Light.h"
#include "wdb/WDB_Material.h"
#include "wdb/WDB_Mesh_Arrays.h"
#include "wdb/WDB_Texture.h"
#include "wdb/WDB_Tri_List.h"

bool path_ends_in(std::string_view path, std::string_view suffix) {
    if (path.size() < suffix.size()) return false;
    return strcasecmp(path.substr(path.size() - suffix.size()).data(), suffix.data()) == 0;
}

bool is_mesh_file(const char* path) {
    return path_ends_in(path, ".obj") || path_ends_in(path, ".ply") || path_ends_in(path, ".stl");
}

namespace {

using Wide_Vector = std::array<double, 3>;

Wide_Vector crossed(const Vector& a, const Vector& b) {
    const auto part = [&](int i, int k) {
        return static_cast<double>(a[i]) * static_cast<double>(b[k]) -
               static_cast<double>(a[k]) * static_cast<double>(b[i]);
    };
    return {part(1, 2), part(2, 0), part(0, 1)};
}

// Of length 1, or upwards if it has no direction.
Vector unit_of(const Wide_Vector& v) {
    const double length = std::hypot(v[0], v[1], v[2]);
    if (!(length > 0) || !std::isfinite(length)) return Vector(0, 0, 1);
    return Vector(static_cast<float>(v[0] / length), static_cast<float>(v[1] / length),
                  static_cast<float>(v[2] / length));
}

// A triangle list as one node places it.
class Placed {
public:
    Placed(const WDB_Node& shown_by, const WDB_Tri_List& shown)
        : node(shown_by), list(shown),
          place_(toFrame(shown_by.get_transform())), sides_{crossed(place_[1], place_[2]),
                                                            crossed(place_[2], place_[0]),
                                                            crossed(place_[0], place_[1])} {
        const Vector axis = place_[0];
        is_mirrored_ = sides_[0][0] * static_cast<double>(axis.x) +
                           sides_[0][1] * static_cast<double>(axis.y) +
                           sides_[0][2] * static_cast<double>(axis.z) <
                       0;
    }

    const WDB_Node& node;
    const WDB_Tri_List& list;

    // The corner to write as number 0, 1 or 2, so that a mirrored triangle keeps its front.
    unsigned corner(unsigned number) const { return is_mirrored_ ? (3 - number) % 3 : number; }
    Point point(const Point& p) const { return p * place_; }
    // Stands upright on what the place makes of the face.
    Vector normal(const Vector& n) const {
        const double front = is_mirrored_ ? -1 : 1;
        const double parts[] = {static_cast<double>(n.x), static_cast<double>(n.y),
                                static_cast<double>(n.z)};
        Wide_Vector v = {};
        for (std::size_t i = 0; i < 3; ++i)
            for (std::size_t k = 0; k < 3; ++k) v[k] += front * parts[i] * sides_[i][k];
        return unit_of(v);
    }
    bool is_good(const WDB_Triangle& t) const {
        return is_finite(point(t.p0)) && is_finite(point(t.p1)) && is_finite(point(t.p2));
    }

private:
    Frame place_;
    Wide_Vector sides_[3]; // what stands upright on two axes, for each third one
    bool is_mirrored_ = false;
};

// Visits all triangle lists in their places, and answers how many nodes show something else.
template<class Visit>
int for_each_list(WDB_Database& world, Visit visit) {
    int others = 0;
    world.for_each_node([&](const WDB_Node& node, const Bbox&) {
        others += WDB_Camera::is_instance(&node) || WDB_Light::is_instance(&node);
    });
    const auto visit_shape = [&](const WDB_Node& node, const Bbox&) {
        const auto* const list = WDB_Tri_List::const_castdown(node.get_geometry());
        others += !list;
        if (list) visit(Placed(node, *list));
    };
    world.for_each_shape(visit_shape);
    const WDB_Visit outside(visit_shape);
    world.apply_to_shapes_outside(outside.user(), outside.callback());
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
        static_assert(std::endian::native == std::endian::little, "as the formats are");
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
    // Closes the file, which gets its place with others. Once more does nothing.
    bool finish() {
        if (!stream_) return true;
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

std::uint32_t count_triangles(WDB_Database& world, Mesh_Losses* lost) {
    std::uint32_t count = 0;
    lost->nodes = for_each_list(world, [&](const Placed& p) {
        for (const WDB_Triangle& t : p.list) {
            const bool is_good = p.is_good(t);
            count += is_good;
            lost->triangles += !is_good;
        }
    });
    return count;
}

const char* export_stl(WDB_Database& world, const char* path, Mesh_Losses* lost) {
    Outputs outputs(1);
    Output& out = outputs[0];
    if (!out.open(path)) return std::strerror(errno);
    const char header[80] = "binary STL";
    out.raw(header);
    out.raw(count_triangles(world, lost));
    for_each_list(world, [&](const Placed& p) {
        for (const WDB_Triangle& t : p.list) {
            if (!p.is_good(t)) continue;
            const Point all[] = {p.point(t.p0), p.point(t.p1), p.point(t.p2)};
            const Point corners[] = {all[p.corner(0)], all[p.corner(1)], all[p.corner(2)]};
            out.raw(unit_of(crossed(corners[1] - corners[0], corners[2] - corners[0])));
            for (const Point& corner : corners) out.raw(corner);
            out.raw(std::uint16_t{0});
        }
    });
    return commit(outputs);
}

float unit(float part) {
    return part > 0 ? std::fmin(part, 1.0f) : 0; // also for what is no number
}

std::uint8_t byte_of(float part) {
    const float most = 255;
    return static_cast<std::uint8_t>(std::lround(unit(part) * most));
}

const char* export_ply(WDB_Database& world, const char* path, Mesh_Losses* lost) {
    Outputs outputs(1);
    Output& out = outputs[0];
    if (!out.open(path)) return std::strerror(errno);
    const std::uint32_t triangles = count_triangles(world, lost);
    out.text("ply\nformat binary_little_endian 1.0\nelement vertex ");
    out.integer(3LL * triangles);
    out.text("\nproperty float x\nproperty float y\nproperty float z\nproperty float nx\n"
             "property float ny\nproperty float nz\nproperty uchar red\nproperty uchar green\n"
             "property uchar blue\nelement face ");
    out.integer(triangles);
    out.text("\nproperty list uchar uint vertex_indices\nend_header\n");
    for_each_list(world, [&](const Placed& p) {
        const WDB_Material* const m = p.node.get_material();
        const Color plain = m ? m->get_diffuse() : WDB_Material().get_diffuse();
        for (const WDB_Triangle& t : p.list) {
            if (!p.is_good(t)) continue;
            const Point* const points[] = {&t.p0, &t.p1, &t.p2};
            const Vector* const normals[] = {&t.n0, &t.n1, &t.n2};
            const Color* const colors[] = {&t.c0, &t.c1, &t.c2};
            for (unsigned number = 0; number < 3; ++number) {
                const unsigned i = p.corner(number);
                out.raw(p.point(*points[i]));
                out.raw(p.normal(*normals[i]));
                const Color& shown = p.list.get_with_colors() ? *colors[i] : plain;
                for (int part = 0; part < 3; ++part) out.raw(byte_of(shown[part]));
            }
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

    const char* save(WDB_Database& world, const char* path, Mesh_Losses* lost);

private:
    using Look = std::pair<const WDB_Material*, const WDB_Texture*>;

    std::string file_name(const std::string& rest) const {
        return base_.substr(base_.find_last_of('/') + 1) + rest;
    }
    void put_shape(const Placed& p, Mesh_Losses* lost);
    void put_faces(const Placed& p, Mesh_Losses* lost);
    const std::string& look_of(const WDB_Node& node);
    std::string picture_of(const WDB_Texture& texture);
    bool is_source(const std::string& path) const;

    const std::string base_; // without the suffix
    Outputs outputs_;
    std::map<Look, std::string> looks_;
    std::map<const WDB_Texture*, std::string> pictures_;
    WDB_Mesh_Arrays arrays_;
    std::set<std::string> sources_; // of pictures
    long long vertices_ = 0;
    int last_picture_ = 0, error_ = 0;
};

// Of what is not a blank: names end there.
std::string word_of(const char* name) {
    std::string word = name ? name : "";
    for (char& c : word)
        if (static_cast<unsigned char>(c) <= ' ') c = '_';
    return word.empty() ? "unnamed" : word;
}

bool Obj_Export::is_source(const std::string& path) const {
    return access(path.c_str(), F_OK) == 0 &&
           std::any_of(sources_.begin(), sources_.end(), [&](const std::string& source) {
               return !source.empty() && are_one_file(source.c_str(), path.c_str());
           });
}

std::string Obj_Export::picture_of(const WDB_Texture& texture) {
    const auto [at, is_new] = pictures_.try_emplace(&texture);
    if (!is_new || !texture.get_image()) return at->second;
    const Std_Plain_Vector<unsigned char> png = plain_png(*texture.get_image());
    if (png.empty()) return at->second;
    // Never in place of a picture that the world was read from.
    std::string rest;
    do {
        rest = str_format("_%d.png", ++last_picture_);
    } while (is_source(base_ + rest));
    Output& out = outputs_.emplace_back();
    if (error_ == 0 && !out.open(base_ + rest)) error_ = errno;
    if (error_ == 0) out.bytes(reinterpret_cast<const char*>(png.data()), png.size());
    // There may be more pictures than a process may have open files.
    if (error_ == 0 && !out.finish()) error_ = errno;
    return at->second = file_name(rest);
}

const std::string& Obj_Export::look_of(const WDB_Node& node) {
    const WDB_Material standard;
    const auto [at, is_new] = looks_.try_emplace(Look(node.get_material(), node.get_texture()));
    if (!is_new) return at->second;
    const WDB_Material& m = node.get_material() ? *node.get_material() : standard;
    at->second =
        word_of(node.get_material() ? m.get_name() : nullptr) + str_format("_%zu", looks_.size());
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

void Obj_Export::put_faces(const Placed& p, Mesh_Losses* lost) {
    Output& out = outputs_[0];
    for (std::size_t i = 0; i < arrays_.index_count(); i += 3) {
        bool is_good = true;
        for (std::size_t c = 0; c < 3; ++c)
            is_good &= is_finite(p.point(arrays_.vertices()[arrays_.index(i + c)].position));
        lost->triangles += !is_good;
        if (!is_good) continue;
        out.text("f");
        for (unsigned c = 0; c < 3; ++c) {
            const long long number = vertices_ + 1 + arrays_.index(i + p.corner(c));
            out.text(" ").integer(number).text("/").integer(number).text("/").integer(number);
        }
        out.text("\n");
    }
}

void Obj_Export::put_shape(const Placed& p, Mesh_Losses* lost) {
    const std::string& look = look_of(p.node); // may open files, which moves nothing
    Output& out = outputs_[0];
    arrays_.update(p.list);
    out.text("o ").text(word_of(p.node.get_name()).c_str()).text("\nusemtl ").text(look.c_str());
    out.text("\n");
    for (std::size_t i = 0; i < arrays_.vertex_count(); ++i) {
        const WDB_Vertex& v = arrays_.vertices()[i];
        const Point placed = p.point(v.position);
        // Nothing refers to one of numbers that are none.
        const Point point = is_finite(placed) ? placed : Point(0, 0, 0);
        const Vector normal = p.normal(v.normal);
        const bool has_texture_point =
            std::isfinite(v.texture_point.x) && std::isfinite(v.texture_point.y);
        const Point texture_point = has_texture_point ? v.texture_point : Point(0, 0, 0);
        out.text("v");
        if (p.list.get_with_colors()) {
            const float both[] = {point.x,          point.y,          point.z,
                                  unit(v.color[0]), unit(v.color[1]), unit(v.color[2])};
            out.numbers(both, 6);
        } else {
            out.numbers(point.to_c(), 3);
        }
        out.text("vt");
        out.numbers(texture_point.to_c(), 2);
        out.text("vn");
        out.numbers(normal.to_c(), 3);
    }
    put_faces(p, lost);
    vertices_ += static_cast<long long>(arrays_.vertex_count());
}

const char* Obj_Export::save(WDB_Database& world, const char* path, Mesh_Losses* lost) {
    for_each_list(world, [&](const Placed& p) {
        if (p.node.get_texture()) sources_.insert(p.node.get_texture()->get_image()->get_source());
    });
    // Materials without a mesh beside them are those of another one, perhaps of the scene.
    const std::string materials = base_ + ".mtl";
    if (access(path, F_OK) != 0 && access(materials.c_str(), F_OK) == 0)
        return "its .mtl is there already, and belongs to another file";
    for (const std::string& name : {std::string(path), materials})
        if (!outputs_.emplace_back().open(name)) return std::strerror(errno);
    outputs_[0].text("mtllib ").text(file_name(".mtl\n").c_str());
    lost->nodes = for_each_list(world, [&](const Placed& p) {
        if (error_ == 0) put_shape(p, lost);
    });
    return error_ == 0 ? commit(outputs_) : std::strerror(error_);
}

} // namespace

const char* mesh_export(WDB_Database& world, const char* path, Mesh_Losses* lost) {
    if (path_ends_in(path, ".stl")) return export_stl(world, path, lost);
    if (path_ends_in(path, ".ply")) return export_ply(world, path, lost);
    return Obj_Export(path).save(world, path, lost);
}
