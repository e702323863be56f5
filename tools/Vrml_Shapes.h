// Geometry nodes as lists of the scene: each list is written once for all places that use it.
//
//     Vrml_Shapes shapes(is_vrml1, scene, out, report, budget);
//     const Vrml_Shapes::Shape shape = shapes.shape(node, state);
//     if (!shape.list.empty()) put_node(shape.frame * state.place, shape.list);
#ifndef TOOLS_VRML_SHAPES_H
#define TOOLS_VRML_SHAPES_H

#include <array>
#include <map>
#include <string>
#include <vector>

#include "tools/Vrml_Face_Set.h"
#include "tools/Vrml_Place.h"
#include "tools/Vrml_Rows.h"
#include "tools/Vrml_Solids.h"
#include "tools/Vrml_State.h"

class Vrml_Budget;
class Vrml_Report;
class Vrml_Writer;

class Vrml_Shapes {
public:
    struct Shape {
        std::string list; // name of a triangle or line list; empty if nothing is left of it
        Vrml_Place frame; // of the list within the node
        double extent = 1;
    };

    Vrml_Shapes(bool is_vrml1, Vrml_Scene& scene, Vrml_Writer& out, Vrml_Report& report,
                Vrml_Budget& budget)
        : is_vrml1_(is_vrml1), scene_(scene), out_(out), report_(report), budget_(budget),
          solids_(out) {}

    // Whether a node of that type is a shape here.
    bool is_shape(std::string_view type) const;

    // Writes what it needs, and tells what does not arrive.
    // Requires: is_shape of the node's type.
    Shape shape(Vrml_Ref node, const Vrml_State& state);

private:
    using Key = std::array<Vrml_Ref, 10>; // the node, and all that changes its list
    Key key_of(Vrml_Ref node, const Vrml_State& state) const;

    Shape solid(Vrml_Ref node, const Vrml_State& state);
    Shape box(Vrml_Ref node, const std::array<double, 3>& sides, bool is_textured);
    Shape round_solid(Vrml_Ref node, bool is_textured);
    int parts_of(Vrml_Ref node);
    Shape list(Vrml_Ref node, const Vrml_State& state);

    Vrml_Face_Set face_set(Vrml_Ref node, const Vrml_State& state);
    Vrml_Attribute colors1(Vrml_Ref node, const Vrml_State& state,
                           std::span<const double> coord_index);
    void set_attributes1(Vrml_Ref node, const Vrml_State& state, Vrml_Face_Set* set);
    void set_attributes97(Vrml_Ref node, bool is_grid, Vrml_Face_Set* set);
    Vrml_Attribute attribute1(Vrml_Ref node, std::string_view binding, std::string_view index,
                              std::span<const double> values, std::span<const double> coord_index);
    Vrml_Attribute attribute97(Vrml_Ref node, std::string_view field, std::string_view values,
                               std::string_view index, std::string_view per_vertex,
                               std::span<const double> coord_index);
    void spread_texture(const Vrml_Face_Set& set);

    Vrml_Rows& rows_of(std::span<const double> points);
    Shape write_faces(Vrml_Ref node, const Vrml_State& state, const Vrml_Face_Set& set,
                      const char* wish);
    Shape write_lines(Vrml_Ref node, const Vrml_State& state, Vrml_Face_Set set);

    const bool is_vrml1_;
    Vrml_Scene& scene_;
    Vrml_Writer& out_;
    Vrml_Report& report_;
    Vrml_Budget& budget_;
    Vrml_Solids solids_;
    std::map<Key, Shape> lists_;
    // Texts of the points used last: in VRML 1.0 many shapes after each other share their points.
    Vrml_Rows rows_;
    std::span<const double> points_of_rows_;
    std::vector<double> spread_; // texture points where the file gives none
};

#endif
