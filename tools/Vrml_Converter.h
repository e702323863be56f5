// VRML text as a scene file.
//
//     const bool is_read = vrml_convert(text, {"town_vrml_1", "models"}, stdout, stderr);
#ifndef TOOLS_VRML_CONVERTER_H
#define TOOLS_VRML_CONVERTER_H

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "tools/Vrml_Budget.h"
#include "tools/Vrml_Looks.h"
#include "tools/Vrml_Shapes.h"
#include "tools/Vrml_State.h"

class Vrml_Report;
class Vrml_Writer;

struct Vrml_Options {
    std::string prefix; // its end goes into all names; may be empty
    std::string folder; // of the files that prototypes are taken from; none are, if it is empty
    std::size_t most_work = Vrml_Budget::MOST_WORK;
};

// Writes to `out` what arrives, and tells on `told` what does not.
// On failure: false; nothing of the text could be read, it ends within a node or costs too much, or
// not all could be written.
bool vrml_convert(const std::string& text, const Vrml_Options& options, std::FILE* out,
                  std::FILE* told);

// Walks the nodes and writes what it meets.
class Vrml_Converter {
public:
    Vrml_Converter(bool is_vrml1, Vrml_Scene& scene, Vrml_Writer& out, Vrml_Report& report,
                   Vrml_Budget& budget)
        : is_vrml1_(is_vrml1), scene_(scene), out_(out), report_(report), budget_(budget),
          looks_(is_vrml1, scene, out, report), shapes_(is_vrml1, scene, out, report, budget) {}

    void convert(const std::vector<const Vrml_Node*>& nodes);

private:
    // A shape, and what held for it.
    struct Found {
        Vrml_Ref node;
        Vrml_State state;
    };
    using Level = std::vector<Found>;

    // Of a type of node: what visit does, in the state that the node may change.
    struct Kind {
        std::string_view type;
        void (Vrml_Converter::*visit)(Vrml_Ref node, Vrml_State& state, int depth);
    };

    const Kind* kind_of(std::string_view type) const;
    void visit(Vrml_Ref node, Vrml_State& state, int depth);
    void visit_children(Vrml_Ref node, Vrml_State& state, int depth);
    void visit_transform(Vrml_Ref node, Vrml_State& state, int depth);
    void visit_anchor(Vrml_Ref node, Vrml_State& state, int depth);
    void visit_levels(Vrml_Ref node, Vrml_State& state, int depth);
    void visit_switch(Vrml_Ref node, Vrml_State& state, int depth);
    void visit_shape(Vrml_Ref node, Vrml_State& state, int depth);
    void visit_translation(Vrml_Ref node, Vrml_State& state, int depth);
    void visit_rotation(Vrml_Ref node, Vrml_State& state, int depth);
    void visit_scale(Vrml_Ref node, Vrml_State& state, int depth);
    void visit_matrix(Vrml_Ref node, Vrml_State& state, int depth);
    void visit_texture(Vrml_Ref node, Vrml_State& state, int depth);
    void write_import(Vrml_Ref node, Vrml_State& state, int depth);
    void write_camera(Vrml_Ref node, Vrml_State& state, int depth);
    void write_light(Vrml_Ref node, Vrml_State& state, int depth);
    void pass_by(Vrml_Ref, Vrml_State&, int) {}
    template<Vrml_Ref Vrml_State::*kept>
    void keep(Vrml_Ref node, Vrml_State& state, int) {
        state.*kept = node;
    }

    void set_looks(Vrml_Ref shape, Vrml_State& state);
    void find_shape(Vrml_Ref node, const Vrml_State& state);
    void write_levels(const std::vector<Level>& levels, Vrml_Ref lod);
    void write_node(const Found& finest, const std::vector<Level>& coarser);
    void put_frame(const Vrml_Place& place);
    void put_url(std::string_view token);

    const bool is_vrml1_;
    Vrml_Scene& scene_;
    Vrml_Writer& out_;
    Vrml_Report& report_;
    Vrml_Budget& budget_;
    Vrml_Looks looks_;
    Vrml_Shapes shapes_;
    Level* level_ = nullptr; // where shapes are kept while a level of detail is walked
    bool is_coarse_ = false; // in a level behind the finest, of which only shapes count
};

#endif
