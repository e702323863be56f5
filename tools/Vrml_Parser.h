// VRML text as a tree of nodes, VRML 1.0 and VRML97 alike, without knowing what they mean.
//
//     Vrml_Parser parser(text, is_vrml1, files, report, budget);
//     for (const Vrml_Node* node : parser.parse()) show(*node);
//
// Instances of prototypes are not unfolded: they point at their prototype. Routes and scripts are
// passed over. What is wrong in the text is told and passed over, too; what was read stays. A text
// that ends within a node has failed.
#ifndef TOOLS_VRML_PARSER_H
#define TOOLS_VRML_PARSER_H

#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tools/Vrml_Node.h"
#include "tools/Vrml_Scanner.h"

class Vrml_Budget;
class Vrml_Files;
class Vrml_Report;

class Vrml_Parser {
public:
    // `files` gives the prototypes that lie in other files; it may be null.
    // Lifetime: the text must outlive the parser, and the parser its nodes.
    Vrml_Parser(const std::string& text, bool is_vrml1, Vrml_Files* files, Vrml_Report& report,
                Vrml_Budget& budget)
        : scanner_(text, is_vrml1), files_(files), report_(report), budget_(budget) {}

    // The nodes outside of others and of prototypes. Once.
    std::vector<const Vrml_Node*> parse();

    // Whether there was a node or a prototype.
    bool has_read() const { return !nodes_.empty() || !prototypes_.empty(); }
    // The prototype of that name, the first one if the name is empty; or null.
    // Requires: parse was called.
    const Vrml_Prototype* prototype(std::string_view name) const;

private:
    bool is_over() const { return scanner_.is_over(); }
    std::string_view token() const { return scanner_.token(); }
    void fail(const char* reason);
    void expect_more();
    bool begins_node();
    bool skip_statement();
    bool is_nested_too_deeply(int depth);

    const Vrml_Node* parse_node(int depth);
    const Vrml_Node* parse_use();
    void parse_body(Vrml_Node* node, int depth);
    void take_numbers(std::vector<double>* numbers);
    void parse_field(std::vector<Vrml_Field>* fields, int depth);
    void parse_list(Vrml_Field* field, int depth);
    void parse_value(Vrml_Field* field, int depth);

    bool parse_prototype_statement(int depth);
    void parse_prototype(int depth);
    void parse_external_prototype(int depth);
    void parse_interface(std::vector<Vrml_Field>* fields, bool has_values, int depth);
    void parse_prototype_body(Vrml_Prototype* prototype, int depth);
    void declare(std::string_view name, const Vrml_Prototype* prototype);

    Vrml_Scanner scanner_;
    Vrml_Files* const files_;
    Vrml_Report& report_;
    Vrml_Budget& budget_;
    std::deque<Vrml_Node> nodes_;
    std::deque<Vrml_Prototype> own_prototypes_;
    std::unordered_map<std::string_view, const Vrml_Node*> names_;
    std::unordered_map<std::string_view, const Vrml_Prototype*> prototypes_;
    // What the names stood for before the prototype body that is read declared them.
    std::vector<std::pair<std::string_view, const Vrml_Prototype*>> hidden_;
    std::vector<double> run_; // of numbers, overwritten by each
    const Vrml_Prototype* first_ = nullptr;
    Vrml_Node nothing_;
};

#endif
