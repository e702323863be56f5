// Converts VRML 1.0 and VRML97 text on the standard input to a scene file on the standard output.
//
//     nolt_fromvrml [-tmp PREFIX] < town.wrl > town.3d
//
// Takes groups, transforms, DEF and USE, materials, indexed face sets, boxes and spheres. Names the
// rest on the standard error stream. Makes no temporary file, so the prefix is not used.
// Faces count as convex. What a hostile file can cost is bounded: see the limits below.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "tools/Vrml_Parser.h"

static const std::size_t most_bytes = 128u << 20; // of text
static const std::size_t most_work = 20'000'000;  // nodes, fields and indices looked at
static const int most_shapes = 200'000;
static const int most_triangles = 5'000'000;

namespace {
// Rows and origin of an affine map of row vectors: p * A * B means A first.
struct Place {
    double m[4][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}};
};
} // namespace

static Place operator*(const Place& a, const Place& b) {
    Place c;
    for (int i = 0; i < 4; ++i)
        for (int k = 0; k < 3; ++k) {
            c.m[i][k] = i == 3 ? b.m[3][k] : 0;
            for (int j = 0; j < 3; ++j) c.m[i][k] += a.m[i][j] * b.m[j][k];
        }
    return c;
}

static Place translation(const Vrml_Node& n, std::string_view field, double sign) {
    Place p;
    for (std::size_t k = 0; k < 3; ++k) p.m[3][k] = sign * n.number(field, k, 0);
    return p;
}

static Place scaling(double x, double y, double z) {
    Place p;
    p.m[0][0] = x;
    p.m[1][1] = y;
    p.m[2][2] = z;
    return p;
}

static Place scaling(const Vrml_Node& n, std::string_view field) {
    return scaling(n.number(field, 0, 1), n.number(field, 1, 1), n.number(field, 2, 1));
}

// The field holds an axis and an angle in radians.
static Place rotation(const Vrml_Node& n, std::string_view field, double sign) {
    double axis[3] = {n.number(field, 0, 0), n.number(field, 1, 0), n.number(field, 2, 1)};
    const double length = std::hypot(axis[0], axis[1], axis[2]);
    const double angle = sign * n.number(field, 3, 0);
    if (length == 0) return Place();
    for (double& a : axis) a /= length;
    const double s = std::sin(angle), c = std::cos(angle);
    Place p;
    for (int i = 0; i < 3; ++i) {
        const int j = (i + 1) % 3, k = (i + 2) % 3;
        p.m[i][i] = c + axis[i] * axis[i] * (1 - c);
        p.m[i][j] = axis[i] * axis[j] * (1 - c) + axis[k] * s;
        p.m[i][k] = axis[i] * axis[k] * (1 - c) - axis[j] * s;
    }
    return p;
}

static Place transform(const Vrml_Node& n, std::string_view scale_field) {
    return translation(n, "center", -1) * rotation(n, "scaleOrientation", -1) *
           scaling(n, scale_field) * rotation(n, "scaleOrientation", 1) *
           rotation(n, "rotation", 1) * translation(n, "center", 1) *
           translation(n, "translation", 1);
}

static Place matrix_transform(const Vrml_Node& n) {
    Place p;
    for (std::size_t i = 0; i < 4; ++i)
        for (std::size_t k = 0; k < 3; ++k) p.m[i][k] = n.number("matrix", 4 * i + k, p.m[i][k]);
    return p;
}

namespace {
// Walks the nodes and writes what it meets.
class Converter {
public:
    explicit Converter(bool is_vrml1) : is_vrml1_(is_vrml1) {}

    void convert(const std::vector<const Vrml_Node*>& nodes) {
        State state;
        for (const Vrml_Node* node : nodes) visit(*node, state, 0);
    }

private:
    // What earlier nodes have set. VRML97 uses the place and the name only.
    struct State {
        Place place;
        std::string_view name;
        const Vrml_Node *coordinates = nullptr, *material = nullptr;
        bool is_clockwise = false;
    };

    // Nothing more is looked at.
    void give_up(const char* reason) {
        if (work_ < most_work) vrml_skip(reason);
        work_ = most_work;
    }
    // False once the file has cost enough.
    bool spend(std::size_t work) {
        if (work <= most_work - work_) {
            work_ += work;
            return true;
        }
        give_up("all behind the limit of work");
        return false;
    }

    void visit(const Vrml_Node& n, State& state, int depth) {
        if (n.type.empty() || !spend(1 + n.fields.size())) return;
        if (depth > VRML_DEEPEST) return vrml_skip("groups nested too deeply");
        const bool is_separator = n.type == "Separator" || n.type == "TransformSeparator";
        State inner = state;
        State& own = is_separator || !is_vrml1_ ? inner : state;
        const std::string_view outer_name = own.name;
        if (!n.name.empty()) own.name = n.name;
        if (!visit_group(n, own, depth) && !visit_shape(n, own) &&
            !(is_vrml1_ && visit_property(n, own)))
            skip_node(n);
        own.name = outer_name;
        if (n.type != "TransformSeparator") return;
        inner.place = state.place; // all else goes on
        state = inner;
    }

    bool visit_group(const Vrml_Node& n, State& state, int depth) {
        static const std::unordered_set<std::string_view> groups = {
            "Separator", "TransformSeparator", "Group", "Anchor", "WWWAnchor",
            "Billboard", "Collision",          "LOD",   "Switch"};
        const bool is_transform = n.type == "Transform" && !is_vrml1_;
        if (!is_transform && !groups.contains(n.type)) return false;
        if (is_transform) state.place = transform(n, "scale") * state.place;
        std::size_t first = 0, end = n.children.size();
        if (n.type == "LOD") end = std::min<std::size_t>(end, 1);
        if (n.type == "Switch") {
            const int all = -3;
            const double which = n.number(is_vrml1_ ? "whichChild" : "whichChoice", 0, -1);
            if (which != all && !(which >= 0 && which < static_cast<double>(end))) return true;
            if (which != all) first = static_cast<std::size_t>(which), end = first + 1;
        }
        for (std::size_t i = first; i < end; ++i) visit(*n.children[i], state, depth + 1);
        return true;
    }

    // Properties of VRML 1.0, which hold for all that follows.
    bool visit_property(const Vrml_Node& n, State& state) {
        Place& place = state.place;
        if (n.type == "Transform") {
            place = transform(n, "scaleFactor") * place;
        } else if (n.type == "Translation") {
            place = translation(n, "translation", 1) * place;
        } else if (n.type == "Rotation") {
            place = rotation(n, "rotation", 1) * place;
        } else if (n.type == "Scale") {
            place = scaling(n, "scaleFactor") * place;
        } else if (n.type == "MatrixTransform") {
            place = matrix_transform(n) * place;
        } else if (n.type == "Material") {
            state.material = &n;
        } else if (n.type == "Coordinate3") {
            state.coordinates = &n;
        } else if (n.type == "ShapeHints") {
            state.is_clockwise = n.has_word("vertexOrdering", "CLOCKWISE");
        } else {
            return false;
        }
        return true;
    }

    bool visit_shape(const Vrml_Node& n, const State& state) {
        if (is_vrml1_) return visit_geometry(n, state);
        if (n.type != "Shape") return false;
        State inner = state;
        const Vrml_Node* const appearance = n.node("appearance");
        if (appearance && spend(appearance->fields.size())) {
            inner.material = appearance->node("material");
            if (inner.material && inner.material->type != "Material") inner.material = nullptr;
            if (appearance->node("texture")) vrml_skip("texture");
        }
        const Vrml_Node* const geometry = n.node("geometry");
        if (geometry && spend(geometry->fields.size()) && !visit_geometry(*geometry, inner))
            skip_node(*geometry);
        return true;
    }

    bool visit_geometry(const Vrml_Node& n, const State& state) {
        if (n.type == "Sphere") {
            const double r = n.number("radius", 0, 1);
            put_node(state, scaling(r, r, r), sphere());
        } else if (n.type == "Cube") {
            put_node(
                state,
                scaling(n.number("width", 0, 2), n.number("height", 0, 2), n.number("depth", 0, 2)),
                box());
        } else if (n.type == "Box") {
            put_node(
                state,
                scaling(n.number("size", 0, 2), n.number("size", 1, 2), n.number("size", 2, 2)),
                box());
        } else if (n.type == "IndexedFaceSet") {
            put_node(state, Place(), face_set(n, state));
        } else {
            return false;
        }
        return true;
    }

    void skip_node(const Vrml_Node& n) {
        static const std::unordered_set<std::string_view> without_shape = {
            "Info", "WorldInfo", "NavigationInfo", "ShapeHints"};
        if (!without_shape.contains(n.type)) vrml_skip(n.type);
    }

    // A name of the scene format that is not taken yet.
    std::string new_name(std::string_view wish) {
        const std::size_t longest = 100;
        std::string name(wish.substr(0, longest));
        for (char& c : name)
            if (!std::isalnum(static_cast<unsigned char>(c)) && !std::strchr("-_.", c)) c = '_';
        for (std::string base = name; !names_.insert(name).second;)
            name = base + "_" + std::to_string(++name_count_);
        return name;
    }

    void put_node(const State& state, const Place& shape, const std::string& geometry) {
        if (geometry.empty()) return;
        if (++shape_count_ > most_shapes) return give_up("shapes that are too many");
        const std::string material = state.material ? material_name(*state.material) : "";
        const Place place = shape * state.place;
        std::printf("node %s {\n  frame m",
                    new_name(state.name.empty() ? "shape" : state.name).c_str());
        for (const auto& row : place.m) std::printf(" %.9g %.9g %.9g", row[0], row[1], row[2]);
        if (!material.empty()) std::printf("\n  material %s", material.c_str());
        std::printf("\n  geometry %s\n}\n", geometry.c_str());
    }

    static void put_color(const char* keyword, const Vrml_Node& n, const char* field,
                          double otherwise, double factor = 1) {
        std::printf("  %s", keyword);
        for (std::size_t i = 0; i < 3; ++i)
            std::printf(" %.9g", factor * n.number(field, i, otherwise));
        std::printf("\n");
    }

    const std::string& material_name(const Vrml_Node& n) {
        const auto [at, is_new] = materials_.try_emplace(&n);
        if (!is_new) return at->second;
        const double brightest_highlight = 128;
        at->second = new_name(n.name.empty() ? "material" : n.name);
        std::printf("material %s {\n", at->second.c_str());
        if (is_vrml1_) {
            put_color("ambient", n, "ambientColor", 0.2);
        } else {
            put_color("ambient", n, "diffuseColor", 0.8, n.number("ambientIntensity", 0, 0.2));
        }
        put_color("diffuse", n, "diffuseColor", 0.8);
        put_color("emission", n, "emissiveColor", 0);
        put_color("specular", n, "specularColor", 0);
        std::printf("  shininess %.9g\n  alpha %.9g\n}\n",
                    n.number("shininess", 0, 0.2) * brightest_highlight,
                    1 - n.number("transparency", 0, 0));
        return at->second;
    }

    void put_triangle(const double* a, const double* b, const double* c, bool is_round) {
        std::printf("  triangle p");
        for (const double* p : {a, b, c}) std::printf(" %.9g %.9g %.9g", p[0], p[1], p[2]);
        if (is_round) std::printf(" n");
        for (const double* p : {a, b, c})
            if (is_round) std::printf(" %.9g %.9g %.9g", p[0], p[1], p[2]);
        std::printf("\n");
    }

    // Radius 1; the frames of the nodes give the sizes.
    const std::string& sphere() {
        if (!sphere_.empty()) return sphere_;
        const int bands = 12, strips = 24;
        const double pi = 3.141592653589793;
        double p[bands + 1][strips + 1][3];
        for (int i = 0; i <= bands; ++i)
            for (int k = 0; k <= strips; ++k) {
                const double theta = pi * i / bands, phi = 2 * pi * (k % strips) / strips;
                const double ring = i % bands ? std::sin(theta) : 0;
                p[i][k][0] = ring * std::sin(phi);
                p[i][k][1] = std::cos(theta);
                p[i][k][2] = ring * std::cos(phi);
            }
        sphere_ = new_name("sphere");
        std::printf("trianglelist %s {\n", sphere_.c_str());
        for (int i = 0; i < bands; ++i)
            for (int k = 0; k < strips; ++k) {
                if (i != bands - 1) put_triangle(p[i][k], p[i + 1][k], p[i + 1][k + 1], true);
                if (i != 0) put_triangle(p[i][k], p[i + 1][k + 1], p[i][k + 1], true);
            }
        std::printf("}\n");
        return sphere_;
    }

    // From -0.5 to 0.5.
    const std::string& box() {
        if (!box_.empty()) return box_;
        box_ = new_name("box");
        std::printf("trianglelist %s {\n", box_.c_str());
        for (int axis = 0; axis < 3; ++axis)
            for (const double side : {-0.5, 0.5}) {
                double p[4][3]; // counter-clockwise from outside
                for (int i = 0; i < 4; ++i) {
                    const double u = i == 0 || i == 3 ? -0.5 : 0.5, v = i < 2 ? -0.5 : 0.5;
                    p[i][axis] = side;
                    p[i][(axis + 1) % 3] = side > 0 ? u : v;
                    p[i][(axis + 2) % 3] = side > 0 ? v : u;
                }
                put_triangle(p[0], p[1], p[2], false);
                put_triangle(p[0], p[2], p[3], false);
            }
        std::printf("}\n");
        return box_;
    }

    // Empty if nothing is left of it.
    const std::string& face_set(const Vrml_Node& n, const State& state) {
        const Vrml_Node* const coordinates = is_vrml1_ ? state.coordinates : n.node("coord");
        const bool is_clockwise = is_vrml1_ ? state.is_clockwise : n.has_word("ccw", "FALSE");
        const auto [at, is_new] = faces_.try_emplace({&n, coordinates, is_clockwise});
        std::string& name = at->second;
        if (!is_new || !coordinates || !spend(coordinates->fields.size())) return name;
        const Vrml_Node::Field* const index = n.find("coordIndex");
        const Vrml_Node::Field* const points = coordinates->find("point");
        if (!index || !points || !spend(index->numbers.size())) return name;
        for (const char* field : {"color", "normal", "texCoord"})
            if (n.node(field)) vrml_skip(std::string("IndexedFaceSet.") + field);
        if (n.has_word("convex", "FALSE")) vrml_skip("convex FALSE (faces are cut as if convex)");
        put_faces(n, index->numbers, points->numbers, is_clockwise, &name);
        if (!name.empty()) std::printf("}\n");
        return name;
    }

    void put_faces(const Vrml_Node& n, const std::vector<double>& index,
                   const std::vector<double>& points, bool is_clockwise, std::string* name) {
        const std::size_t point_count = points.size() / 3;
        const double count = static_cast<double>(point_count);
        for (std::size_t start = 0, end; start < index.size(); start = end + 1) {
            bool is_valid = true;
            for (end = start; end < index.size() && index[end] >= 0; ++end)
                is_valid &= index[end] < count;
            if (end - start < 3 || !is_valid) {
                vrml_skip("face with wrong indices");
                continue;
            }
            const auto point = [&](std::size_t i) {
                return &points[3 * static_cast<std::size_t>(index[i])];
            };
            for (std::size_t i = start + 1; i + 1 < end; ++i) {
                if (++triangle_count_ > most_triangles)
                    return give_up("triangles that are too many");
                if (name->empty()) {
                    *name = new_name(n.name.empty() ? "faces" : n.name);
                    std::printf("trianglelist %s {\n", name->c_str());
                }
                put_triangle(point(start), point(is_clockwise ? i + 1 : i),
                             point(is_clockwise ? i : i + 1), false);
            }
        }
    }

    const bool is_vrml1_;
    std::size_t work_ = 0;
    int shape_count_ = 0, triangle_count_ = 0, name_count_ = 0;
    std::string sphere_, box_; // names, once written
    std::unordered_set<std::string> names_;
    std::unordered_map<const Vrml_Node*, std::string> materials_;
    std::map<std::tuple<const Vrml_Node*, const Vrml_Node*, bool>, std::string> faces_;
};
} // namespace

static bool read_input(std::string* text) {
    char block[65536];
    std::size_t got;
    while ((got = std::fread(block, 1, sizeof block, stdin)) > 0) {
        if (text->size() + got > most_bytes) {
            std::fprintf(stderr, "nolt_fromvrml: the file is too long\n");
            return false;
        }
        text->append(block, got);
    }
    return true;
}

int main(int argc, char** argv) {
    const bool has_prefix = argc == 3 && std::strcmp(argv[1], "-tmp") == 0;
    if (argc != 1 && !has_prefix) {
        std::fprintf(stderr, "usage: nolt_fromvrml [-tmp PREFIX] < VRML > scene\n");
        return 2;
    }
    std::string text;
    if (!read_input(&text)) return 1;
    const bool is_vrml1 = text.starts_with("#VRML V1.0");
    if (!is_vrml1 && !text.starts_with("#VRML V2.0")) {
        std::fprintf(stderr, "nolt_fromvrml: neither VRML 1.0 nor VRML97\n");
        return 1;
    }
    Vrml_Parser parser(text);
    Converter(is_vrml1).convert(parser.parse());
    vrml_show_skipped();
    return std::fflush(stdout) == 0 ? 0 : 1;
}
