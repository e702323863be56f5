// VRML text as a tree of nodes, VRML 1.0 and VRML97 alike, without knowing what they mean.
//
//     Vrml_Parser parser(text);
//     for (const Vrml_Node* node : parser.parse()) show(*node);
//
// A name becomes known behind its node, so no node contains itself; USE gives the named node again.
// Prototypes, routes and scripts are passed over. What is wrong ends the reading with a message on
// the standard error stream; what was read stays.
#ifndef TOOLS_VRML_PARSER_H
#define TOOLS_VRML_PARSER_H

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

// Braces in the text, and groups that are reached through USE, are nested no deeper.
inline constexpr int VRML_DEEPEST = 200;

// Counts what is left out.
void vrml_skip(std::string_view what);
// Tells the counts on the standard error stream.
void vrml_show_skipped();

// Names and words are parts of the text.
struct Vrml_Node {
    struct Field {
        std::string_view name, word;
        std::vector<double> numbers;
        std::vector<const Vrml_Node*> nodes;
    };
    std::string_view type, name;
    std::vector<Field> fields;
    std::vector<const Vrml_Node*> children; // of the body, or of the fields that hold children

    const Field* find(std::string_view field_name) const {
        for (const Field& f : fields)
            if (f.name == field_name) return &f;
        return nullptr;
    }
    // Number `i` of a field, or what stands there if the file does not say.
    double number(std::string_view field_name, std::size_t i, double otherwise) const {
        const Field* const f = find(field_name);
        return f && i < f->numbers.size() ? f->numbers[i] : otherwise;
    }
    bool has_word(std::string_view field_name, std::string_view word) const {
        const Field* const f = find(field_name);
        return f && f->word == word;
    }
    const Vrml_Node* node(std::string_view field_name) const {
        const Field* const f = find(field_name);
        return f && !f->nodes.empty() ? f->nodes[0] : nullptr;
    }
};

// Lifetime: the text must outlive the parser, and the parser its nodes.
class Vrml_Parser {
public:
    explicit Vrml_Parser(const std::string& text) : text_(text) { take(); }
    std::vector<const Vrml_Node*> parse();

private:
    bool is_over() const { return token_.empty(); }
    void fail(const char* reason);
    void skip_blanks();
    // The next token: a sign, a word, or a string with the quote in front.
    void take();
    bool is_sign() const;
    bool is_number(double* value) const;
    bool begins_node();
    // Behind the close of what is open here.
    void skip_enclosed();
    void skip_statement();
    bool has_room();
    const Vrml_Node* parse_node(int depth);
    void parse_body(Vrml_Node* node, int depth);
    void parse_field(Vrml_Node* node, int depth);
    void parse_value(Vrml_Node::Field* field, int depth);

    const std::string& text_;
    std::size_t at_ = 0, start_ = 0, objects_ = 0;
    std::string_view token_; // empty at the end
    std::deque<Vrml_Node> nodes_;
    std::unordered_map<std::string_view, const Vrml_Node*> names_;
    Vrml_Node nothing_;
};

#endif
