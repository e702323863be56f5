#include "tools/Vrml_Shapes.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

#include "tools/Vrml_Budget.h"
#include "tools/Vrml_Faces.h"
#include "tools/Vrml_Lines.h"
#include "tools/Vrml_Report.h"
#include "tools/Vrml_Sweep.h"
#include "tools/Vrml_Writer.h"

bool Vrml_Shapes::is_shape(std::string_view type) const {
    for (const char* both : {"Sphere", "Cone", "Cylinder", "IndexedFaceSet", "IndexedLineSet"})
        if (type == both) return true;
    return is_vrml1_ ? type == "Cube"
                     : type == "Box" || type == "ElevationGrid" || type == "Extrusion";
}

Vrml_Shapes::Shape Vrml_Shapes::shape(Vrml_Ref node, const Vrml_State& state) {
    for (const char* solid_type : {"Sphere", "Cone", "Cylinder", "Box", "Cube"})
        if (node.type() == solid_type) return solid(node, state);
    // A shape that is used again shares its list, if all that goes into the list is the same.
    const auto [at, is_new] = lists_.try_emplace(key_of(node, state));
    if (is_new) at->second = list(node, state);
    return at->second;
}

// VRML 1.0 has all but the node from its state; in VRML97 that is empty, but for the looks.
Vrml_Shapes::Key Vrml_Shapes::key_of(Vrml_Ref node, const Vrml_State& state) const {
    Key key = {node, state.texture, state.texture_transform};
    if (is_vrml1_)
        key = {node, state.texture, state.texture_transform, state.coordinates, state.normals,
               state.texture_points, state.hints, state.normal_binding, state.material_binding,
               // Lists hold colours of the material only where it varies over them.
               state.material_binding ? state.material : Vrml_Ref()};
    return key;
}

int Vrml_Shapes::parts_of(Vrml_Ref node) {
    const auto is_off = [&](const char* field) { return scene_.has_word(node, field, "FALSE"); };
    if (!is_vrml1_)
        return (is_off("side") ? 0 : VRML_SIDES) | (is_off("top") ? 0 : VRML_TOP) |
               (is_off("bottom") ? 0 : VRML_BOTTOM);
    const auto has = [&](const char* word) { return scene_.has_word(node, "parts", word); };
    if (!scene_.find(node, "parts") || has("ALL")) return VRML_SIDES | VRML_TOP | VRML_BOTTOM;
    return (has("SIDES") ? VRML_SIDES : 0) | (has("TOP") ? VRML_TOP : 0) |
           (has("BOTTOM") ? VRML_BOTTOM : 0);
}

Vrml_Shapes::Shape Vrml_Shapes::solid(Vrml_Ref node, const Vrml_State& state) {
    const bool is_textured = static_cast<bool>(state.texture);
    if (is_textured && state.texture_transform)
        report_.skip("texture transform of a solid", node.type());
    if (is_vrml1_) colors1(node, state, {}); // tells what no solid has
    const auto size = [&](const char* field, std::size_t i) {
        return scene_.number(node, field, i, 2);
    };
    if (node.type() == "Box")
        return box(node, {size("size", 0), size("size", 1), size("size", 2)}, is_textured);
    if (node.type() == "Cube")
        return box(node, {size("width", 0), size("height", 0), size("depth", 0)}, is_textured);
    if (node.type() == "Sphere") {
        const double r = scene_.number(node, "radius", 0, 1);
        if (r > 0 || std::isnan(r))
            return {solids_.sphere(is_textured), Vrml_Place::scaling(r, r, r)};
        report_.skip("Sphere without a size", node.type());
        return {};
    }
    return round_solid(node, is_textured);
}

// One side may be missing: such boxes serve as floors and walls.
Vrml_Shapes::Shape Vrml_Shapes::box(Vrml_Ref node, const std::array<double, 3>& sides,
                                    bool is_textured) {
    const auto none = std::count(sides.begin(), sides.end(), 0.0);
    if (none > 1 || *std::min_element(sides.begin(), sides.end()) < 0) {
        report_.skip(std::string(node.type()) + " without a size", node.type());
        return {};
    }
    return {solids_.box(is_textured), Vrml_Place::scaling(sides[0], sides[1], sides[2])};
}

Vrml_Shapes::Shape Vrml_Shapes::round_solid(Vrml_Ref node, bool is_textured) {
    const bool is_cone = node.type() == "Cone";
    const double r = scene_.number(node, is_cone ? "bottomRadius" : "radius", 0, 1),
                 h = scene_.number(node, "height", 0, 2);
    const int parts = parts_of(node) & (is_cone ? ~VRML_TOP : ~0);
    const double most = static_cast<double>(FLT_MAX);
    if (parts == 0 || !(r > 0 && h > 0 && r <= most && h <= most)) {
        report_.skip(std::string(node.type()) + " without a part or a size", node.type());
        return {};
    }
    if (!is_cone) return {solids_.cylinder(parts, is_textured), Vrml_Place::scaling(r, h, r)};
    // A cone has lists of its own, which count like others: a file of small text could hold very
    // many.
    const int triangles = 48;
    for (int i = 0; i < triangles; ++i)
        if (!budget_.take_triangle(node.type())) return {};
    return {solids_.cone(r, h, parts, is_textured), Vrml_Place(), std::max(r, h)};
}

Vrml_Shapes::Shape Vrml_Shapes::list(Vrml_Ref node, const Vrml_State& state) {
    Vrml_Sweep sweep;
    Vrml_Face_Set set = face_set(node, state);
    if (node.type() == "IndexedLineSet") return write_lines(node, state, set);
    const bool is_grid = node.type() == "ElevationGrid";
    const bool is_textured = static_cast<bool>(state.texture);
    if (is_grid) sweep = vrml_elevation_grid(scene_, node, is_textured, report_, budget_);
    if (node.type() == "Extrusion")
        sweep = vrml_extrusion(scene_, node, is_textured, report_, budget_);
    if (!sweep.points.empty()) {
        set.points = sweep.points;
        set.coord_index = sweep.coord_index;
    }
    // VRML 1.0 keeps these in the state, VRML97 in the node.
    if (is_vrml1_) {
        set_attributes1(node, state, &set);
    } else {
        set_attributes97(node, is_grid, &set);
    }
    const bool is_spread = is_textured && set.texture_points.binding == Vrml_Attribute::NONE;
    if (is_spread && !sweep.texture_points.empty()) {
        set.texture_points = {Vrml_Attribute::PER_CORNER, sweep.texture_points, 2,
                              sweep.texture_index};
    } else if (is_spread) {
        spread_texture(set);
        set.texture_points = {Vrml_Attribute::PER_CORNER, spread_, 2, set.coord_index};
    }
    Shape written = write_faces(node, state, set,
                                is_grid                ? "grid"
                                : sweep.points.empty() ? "faces"
                                                       : "extrusion");
    if (!sweep.points.empty()) rows_of({}); // they end here, and others may come to lie there
    return written;
}

// Points, index and how faces are meant.
Vrml_Face_Set Vrml_Shapes::face_set(Vrml_Ref node, const Vrml_State& state) {
    Vrml_Face_Set set;
    const Vrml_Ref coordinates =
        is_vrml1_ ? state.coordinates : scene_.node(node, "coord", "Coordinate");
    set.points = scene_.numbers(coordinates, "point");
    set.coord_index = scene_.numbers(node, "coordIndex");
    if (is_vrml1_) {
        set.is_clockwise = scene_.has_word(state.hints, "vertexOrdering", "CLOCKWISE");
        set.is_convex = !scene_.has_word(state.hints, "faceType", "UNKNOWN_FACE_TYPE");
        // The defaults differ: about 29 degrees in VRML 1.0, none in VRML97.
        set.crease_angle = scene_.number(state.hints, "creaseAngle", 0, 0.5);
    } else {
        set.is_clockwise = scene_.has_word(node, "ccw", "FALSE");
        set.is_convex = !scene_.has_word(node, "convex", "FALSE");
        set.crease_angle = scene_.number(node, "creaseAngle", 0, 0);
    }
    return set;
}

// In VRML 1.0 an index of its own may be left out, which is -1, for that of the coordinates.
Vrml_Attribute Vrml_Shapes::attribute1(Vrml_Ref node, std::string_view binding,
                                       std::string_view index, std::span<const double> values,
                                       std::span<const double> coord_index) {
    Vrml_Attribute a;
    a.values = values;
    // The parts of a face set are its faces.
    if (binding.starts_with("PER_FACE") || binding.starts_with("PER_PART"))
        a.binding = Vrml_Attribute::PER_FACE;
    if (binding == "PER_VERTEX" || binding == "PER_VERTEX_INDEXED")
        a.binding = Vrml_Attribute::PER_CORNER;
    if (binding == "OVERALL") a.binding = Vrml_Attribute::OVERALL;
    if (!binding.ends_with("_INDEXED")) return a;
    const std::span<const double> own = scene_.numbers(node, index);
    const bool has_own = own.size() > 1 || (own.size() == 1 && own[0] >= 0);
    if (has_own) {
        a.index = own;
    } else if (binding == "PER_VERTEX_INDEXED") {
        a.index = coord_index;
    }
    return a;
}

// A single colour is the material's.
Vrml_Attribute Vrml_Shapes::colors1(Vrml_Ref node, const Vrml_State& state,
                                    std::span<const double> coord_index) {
    const std::string_view binding = scene_.word(state.material_binding, "value");
    const std::span<const double> diffuse = scene_.numbers(state.material, "diffuseColor");
    if (diffuse.size() <= 3 || !binding.starts_with("PER_")) return {};
    const bool is_list = node.type() == "IndexedFaceSet" || node.type() == "IndexedLineSet";
    // Parts of lines are their pieces, which have no number among the faces.
    if (!is_list || (node.type() == "IndexedLineSet" && binding.starts_with("PER_PART"))) {
        report_.skip("several materials of one " + std::string(node.type()), node.type());
        return {};
    }
    return attribute1(node, binding, "materialIndex", diffuse, coord_index);
}

void Vrml_Shapes::set_attributes1(Vrml_Ref node, const Vrml_State& state, Vrml_Face_Set* set) {
    set->colors = colors1(node, state, set->coord_index);
    const std::span<const double> normals = scene_.numbers(state.normals, "vector");
    std::string_view binding = scene_.word(state.normal_binding, "value");
    if (binding.empty() || binding == "DEFAULT") binding = "PER_VERTEX_INDEXED";
    if (!normals.empty())
        set->normals = attribute1(node, binding, "normalIndex", normals, set->coord_index);
    const std::span<const double> points = scene_.numbers(state.texture_points, "point");
    if (!points.empty()) {
        set->texture_points =
            attribute1(node, "PER_VERTEX_INDEXED", "textureCoordIndex", points, set->coord_index);
        set->texture_points.width = 2;
    }
}

Vrml_Attribute Vrml_Shapes::attribute97(Vrml_Ref node, std::string_view field,
                                        std::string_view values, std::string_view index,
                                        std::string_view per_vertex,
                                        std::span<const double> coord_index) {
    Vrml_Attribute a;
    const char* const type = field == "normal"  ? "Normal"
                             : field == "color" ? "Color"
                                                : "TextureCoordinate";
    a.values = scene_.numbers(scene_.node(node, field, type), values);
    if (a.values.empty()) return a;
    const std::span<const double> own = scene_.numbers(node, index);
    if (!per_vertex.empty() && scene_.has_word(node, per_vertex, "FALSE")) {
        a.binding = Vrml_Attribute::PER_FACE;
        a.index = own;
    } else {
        a.binding = Vrml_Attribute::PER_CORNER;
        a.index = own.empty() ? coord_index : own;
    }
    return a;
}

// Grids have no indices of their own.
void Vrml_Shapes::set_attributes97(Vrml_Ref node, bool is_grid, Vrml_Face_Set* set) {
    const auto index = [is_grid](const char* field) { return is_grid ? "" : field; };
    set->normals = attribute97(node, "normal", "vector", index("normalIndex"), "normalPerVertex",
                               set->coord_index);
    set->colors = attribute97(node, "color", "color", index("colorIndex"), "colorPerVertex",
                              set->coord_index);
    set->texture_points =
        attribute97(node, "texCoord", "point", index("texCoordIndex"), "", set->coord_index);
    set->texture_points.width = 2;
}

// Over the longest side of the box of the points, and with the same scale over the second.
void Vrml_Shapes::spread_texture(const Vrml_Face_Set& set) {
    double low[3], size[3];
    std::size_t axis[3] = {0, 1, 2};
    const std::size_t count = budget_.spend(set.points.size() / 3, {}) ? set.points.size() / 3 : 0;
    for (std::size_t k = 0; k < 3; ++k) {
        double high = low[k] = count ? set.points[k] : 0;
        for (std::size_t i = 1; i < count; ++i) {
            low[k] = std::min(low[k], set.points[3 * i + k]);
            high = std::max(high, set.points[3 * i + k]);
        }
        size[k] = high - low[k];
    }
    std::stable_sort(axis, axis + 3,
                     [&](std::size_t a, std::size_t b) { return size[a] > size[b]; });
    const double longest = size[axis[0]] > 0 ? size[axis[0]] : 1;
    spread_.clear();
    for (std::size_t i = 0; i < count; ++i)
        for (std::size_t k = 0; k < 2; ++k)
            spread_.push_back((set.points[3 * i + axis[k]] - low[axis[k]]) / longest);
}

Vrml_Rows& Vrml_Shapes::rows_of(std::span<const double> points) {
    if (points.data() != points_of_rows_.data() || points.size() != points_of_rows_.size()) {
        // Shapes that take turns with two long lists of points would cost the lists each time.
        const std::size_t much = 16;
        if (!budget_.spend(points.size() / much, {})) points = {};
        rows_ = Vrml_Rows(points, 3);
        points_of_rows_ = points;
    }
    return rows_;
}

Vrml_Shapes::Shape Vrml_Shapes::write_faces(Vrml_Ref node, const Vrml_State& state,
                                            const Vrml_Face_Set& set, const char* wish) {
    Vrml_Faces faces(set, rows_of(set.points), node.type(), report_, budget_);
    if (!faces.are_good()) return {};
    if (state.texture_transform)
        faces.set_texture_transform(Vrml_Place::texture_transform(
            scene_, state.texture_transform, is_vrml1_ ? "scaleFactor" : "scale"));
    const std::string name = faces.write(out_, node.node->name.empty() ? wish : node.node->name);
    return {name, Vrml_Place(), faces.extent()};
}

Vrml_Shapes::Shape Vrml_Shapes::write_lines(Vrml_Ref node, const Vrml_State& state,
                                            Vrml_Face_Set set) {
    set.colors = is_vrml1_ ? colors1(node, state, set.coord_index)
                           : attribute97(node, "color", "color", "colorIndex", "colorPerVertex",
                                         set.coord_index);
    Vrml_Lines lines(set, rows_of(set.points), node.type(), report_, budget_);
    if (!lines.are_good()) return {};
    const std::string name = lines.write(out_, node.node->name.empty() ? "lines" : node.node->name);
    return {name, Vrml_Place(), lines.extent()};
}
