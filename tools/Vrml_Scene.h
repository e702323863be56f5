// Fields of nodes as they are where the node stands: a node within a prototype means something else
// in each instance, for its fields may be those of the instance (IS).
//
//     Vrml_Scene scene(report, budget);
//     const Vrml_Ref shape = scene.resolved({node, nullptr});    // what an instance stands for
//     const double r = scene.number(scene.node(shape, "geometry"), "radius", 0, 1);
//
// Nothing is unfolded in memory: an instance is remembered once for each place where it means
// something else, and looking up costs work of the budget.
#ifndef TOOLS_VRML_SCENE_H
#define TOOLS_VRML_SCENE_H

#include <compare>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/Vrml_Node.h"

class Vrml_Budget;
class Vrml_Files;
class Vrml_Report;
struct Vrml_Instance;

// A node and the instance whose fields it may take, null where that makes no difference.
struct Vrml_Ref {
    const Vrml_Node* node = nullptr;
    const Vrml_Instance* in = nullptr;

    explicit operator bool() const { return node != nullptr; }
    auto operator<=>(const Vrml_Ref&) const = default;
    std::string_view type() const { return node ? node->type : std::string_view(); }
};

// An instance of a prototype, where it stands.
struct Vrml_Instance {
    Vrml_Ref made;
};

// A field and what its nodes stand in.
struct Vrml_Value {
    const Vrml_Field* field = nullptr;
    const Vrml_Instance* in = nullptr;

    explicit operator bool() const { return field != nullptr; }
};

class Vrml_Scene {
public:
    // `files` are those that prototypes came from.
    Vrml_Scene(const Vrml_Files& files, Vrml_Report& report, Vrml_Budget& budget)
        : files_(files), report_(report), budget_(budget) {}

    // The node that a chain of instances stands for, `ref` itself for all other nodes. Tells the
    // nodes of prototypes that show nothing. On failure: nothing, for an empty prototype and once
    // the budget is spent.
    Vrml_Ref resolved(Vrml_Ref ref);

    // The field, where it comes from in the end. On failure: nothing.
    Vrml_Value find(Vrml_Ref ref, std::string_view field);

    // Number `i`, or what stands there if the file does not say.
    double number(Vrml_Ref ref, std::string_view field, std::size_t i, double otherwise);
    std::span<const double> numbers(Vrml_Ref ref, std::string_view field);
    // Whether the field holds the word, alone or among others.
    bool has_word(Vrml_Ref ref, std::string_view field, std::string_view word);
    // The first word or string of the field, or "".
    std::string_view word(Vrml_Ref ref, std::string_view field);
    // What a token says as a URL for the main file.
    std::string url(std::string_view token) const;
    // The first node of the field, resolved. On failure: nothing, also where USE named no node.
    Vrml_Ref node(Vrml_Ref ref, std::string_view field);
    // The same if it is of that type; another one is told.
    Vrml_Ref node(Vrml_Ref ref, std::string_view field, std::string_view type);
    // The nodes of a group, in order, not resolved.
    std::vector<Vrml_Ref> children(Vrml_Ref ref);

private:
    static Vrml_Ref within(const Vrml_Node* node, const Vrml_Instance* in) {
        return {node, node->depends ? in : nullptr};
    }
    const Vrml_Instance* instance(Vrml_Ref made);

    const Vrml_Files& files_;
    Vrml_Report& report_;
    Vrml_Budget& budget_;
    std::map<Vrml_Ref, Vrml_Instance> instances_;
};

#endif
