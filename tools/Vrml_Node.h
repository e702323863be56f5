// What a VRML file says, as the parser keeps it: nodes with fields, and prototypes.
//
// Nodes are shared (USE) and lie in their parser; names and words are parts of the text, by whose
// address a report finds the line. No node contains itself: a name becomes known behind its node.
#ifndef TOOLS_VRML_NODE_H
#define TOOLS_VRML_NODE_H

#include <string_view>
#include <vector>

// Braces in the text, and groups that are reached through USE, are nested no deeper.
inline constexpr int VRML_DEEPEST = 200;

struct Vrml_Node;

struct Vrml_Field {
    std::string_view name;
    std::string_view from;               // the prototype's field that it IS, if any
    std::vector<double> numbers;         // NaN for what looks like a number and is none
    std::vector<std::string_view> words; // strings with the quote in front
    std::vector<const Vrml_Node*> nodes;
};

// The field of that name, the first if there are several; or null.
inline const Vrml_Field* vrml_find(const std::vector<Vrml_Field>& fields, std::string_view name) {
    for (const Vrml_Field& f : fields)
        if (f.name == name) return &f;
    return nullptr;
}

struct Vrml_Prototype {
    std::string_view name;
    std::vector<Vrml_Field> fields;     // with the values that instances need not give
    std::vector<const Vrml_Node*> body; // the first is what an instance stands for
};

struct Vrml_Node {
    std::string_view type, name;
    std::vector<Vrml_Field> fields;
    std::vector<const Vrml_Node*> children;    // of the body itself, not of its fields
    const Vrml_Prototype* prototype = nullptr; // of which this is an instance
    bool depends = false; // it or a node within takes a field from the prototype around it
};

#endif
