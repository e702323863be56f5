// 1. A prototype becomes known behind its body, so no body holds an instance of itself, however
//    long the way around. Bodies have names of their own for DEF, and see the prototypes around
//    them.
// 2. Unknown text costs one token: files of any age have some, and what follows is good mostly.
#include "tools/Vrml_Parser.h"

#include <cmath>
#include <utility>

#include "tools/Vrml_Budget.h"
#include "tools/Vrml_Files.h"
#include "tools/Vrml_Report.h"

static const double not_a_number = std::nan("");

std::vector<const Vrml_Node*> Vrml_Parser::parse() {
    std::vector<const Vrml_Node*> nodes;
    while (!is_over()) {
        if (skip_statement() || parse_prototype_statement(0)) continue;
        if (const Vrml_Node* node = parse_node(0)) {
            nodes.push_back(node);
        } else if (!is_over()) {
            // Other systems end a text with a control character.
            const bool is_word = static_cast<unsigned char>(token()[0]) > ' ' &&
                                 !scanner_.is_sign() && !scanner_.is_string() &&
                                 !scanner_.looks_like_number();
            report_.skip("text that is no node", token());
            scanner_.take();
            if (is_word) expect_more(); // it may be the type of a node
        }
    }
    run_ = std::vector<double>();
    return nodes;
}

const Vrml_Prototype* Vrml_Parser::prototype(std::string_view name) const {
    if (name.empty()) return first_;
    const auto at = prototypes_.find(name);
    return at == prototypes_.end() ? nullptr : at->second;
}

void Vrml_Parser::fail(const char* reason) {
    report_.fail(reason, token());
    scanner_.end();
}

// A file that was cut reads well up to its end: only what is still open tells.
void Vrml_Parser::expect_more() {
    if (scanner_.is_cut()) report_.fail("the file ends within a node", scanner_.rest());
}

bool Vrml_Parser::is_nested_too_deeply(int depth) {
    if (depth <= VRML_DEEPEST) return false;
    fail("nested too deeply, skipping the rest");
    return true;
}

bool Vrml_Parser::begins_node() {
    if (is_over() || scanner_.is_sign() || scanner_.is_string()) return false;
    return token() == "DEF" || token() == "USE" || scanner_.is_followed_by_brace();
}

// ROUTE a.b TO c.d, EXPORT a AS b, IMPORT a.b AS c.
bool Vrml_Parser::skip_statement() {
    const bool is_route = token() == "ROUTE";
    if (!is_route && token() != "EXPORT" && token() != "IMPORT") return false;
    if (scanner_.is_followed_by_brace()) return false;
    report_.skip(token(), token());
    scanner_.take_name();
    expect_more();
    scanner_.take();
    if (is_route) expect_more();
    if (token() == (is_route ? "TO" : "AS")) {
        scanner_.take_name();
        expect_more();
        scanner_.take();
    }
    return true;
}

const Vrml_Node* Vrml_Parser::parse_use() {
    scanner_.take_name();
    // A name that is not known yet, as within itself, gives a node without a type, which nobody
    // visits.
    const auto known = names_.find(token());
    const bool is_known = known != names_.end();
    if (!is_known) report_.skip("USE of an unknown name", token());
    expect_more();
    scanner_.take();
    return is_known ? known->second : &nothing_;
}

const Vrml_Node* Vrml_Parser::parse_node(int depth) {
    if (!begins_node()) return nullptr;
    if (token() == "USE") return parse_use();
    std::string_view name;
    if (token() == "DEF") {
        scanner_.take_name();
        name = token();
        scanner_.take();
        expect_more();
        // DEF DEF DEF ... would nest without a brace.
        if (!begins_node() || token() == "DEF" || token() == "USE") return nullptr;
    }
    if (is_nested_too_deeply(depth)) return nullptr;
    if (!budget_.take_object(token())) {
        scanner_.end();
        return nullptr;
    }
    Vrml_Node* const node = &nodes_.emplace_back();
    node->type = token();
    node->name = name;
    if (const auto at = prototypes_.find(node->type); at != prototypes_.end())
        node->prototype = at->second;
    scanner_.take();
    if (node->type == "Script" && !node->prototype) {
        if (!scanner_.skip_enclosed()) expect_more();
    } else {
        scanner_.take();
        parse_body(node, depth);
    }
    // Behind the body: what stands within cannot use the node around it.
    if (!name.empty()) names_[name] = node;
    return node;
}

void Vrml_Parser::parse_body(Vrml_Node* node, int depth) {
    while (!is_over() && token() != "}") {
        if (skip_statement() || parse_prototype_statement(depth)) continue;
        if (begins_node()) {
            const Vrml_Node* const child = parse_node(depth + 1);
            if (child) node->children.push_back(child);
        } else if (scanner_.is_sign() || scanner_.is_string()) {
            report_.skip("text that is no field", token());
            scanner_.take();
        } else if (budget_.take_object(token())) {
            parse_field(&node->fields, depth);
        } else {
            scanner_.end();
        }
    }
    expect_more();
    scanner_.take();
    // Whether anything in it is given by the instance of a prototype: what is not is the same in
    // all instances.
    for (const Vrml_Node* child : node->children) node->depends |= child->depends;
    for (const Vrml_Field& field : node->fields) {
        node->depends |= !field.from.empty();
        for (const Vrml_Node* inner : field.nodes) node->depends |= inner->depends;
    }
}

// All lists of a file are in memory at once: they get no room to grow. The token behind them is
// taken.
void Vrml_Parser::take_numbers(std::vector<double>* numbers) {
    // One run for all, which keeps its memory, and a copy of just the right size.
    run_.clear();
    scanner_.take_numbers(&run_);
    numbers->assign(run_.begin(), run_.end());
    scanner_.take();
}

void Vrml_Parser::parse_field(std::vector<Vrml_Field>* fields, int depth) {
    Vrml_Field field;
    field.name = token();
    take_numbers(&field.numbers);
    if (!field.numbers.empty()) {
        while (scanner_.looks_like_number()) parse_value(&field, depth);
    } else if (token() == "IS") {
        scanner_.take();
        field.from = token();
        expect_more();
        scanner_.take();
    } else if (token() == "[" || token() == "(") {
        parse_list(&field, depth);
    } else if (!is_over() && token() != "}") {
        parse_value(&field, depth);
    }
    fields->push_back(std::move(field));
}

// Most lists are one run of numbers. What else they hold goes token by token.
void Vrml_Parser::parse_list(Vrml_Field* field, int depth) {
    const std::string_view close = token() == "[" ? "]" : ")";
    take_numbers(&field->numbers);
    while (!is_over() && token() != close) parse_value(field, depth);
    expect_more();
    scanner_.take();
}

void Vrml_Parser::parse_value(Vrml_Field* field, int depth) {
    double number;
    if (scanner_.is_sign()) {
        if (token() != "|") report_.skip("text that is no value", token());
        scanner_.take();
    } else if (begins_node()) {
        if (const Vrml_Node* node = parse_node(depth + 1)) field->nodes.push_back(node);
    } else if (scanner_.is_number(&number)) {
        field->numbers.push_back(number);
        scanner_.take();
    } else if (scanner_.looks_like_number()) {
        field->numbers.push_back(not_a_number); // the numbers behind it keep their places
        scanner_.take();
    } else if (budget_.take_object(token())) {
        field->words.push_back(token());
        scanner_.take();
    } else {
        scanner_.end();
    }
}

bool Vrml_Parser::parse_prototype_statement(int depth) {
    const bool is_external = token() == "EXTERNPROTO";
    if ((!is_external && token() != "PROTO") || scanner_.is_followed_by_brace()) return false;
    if (is_nested_too_deeply(depth)) return true;
    if (!budget_.take_object(token())) {
        scanner_.end();
    } else if (is_external) {
        parse_external_prototype(depth);
    } else {
        parse_prototype(depth);
    }
    return true;
}

void Vrml_Parser::declare(std::string_view name, const Vrml_Prototype* prototype) {
    const Vrml_Prototype*& at = prototypes_[name];
    hidden_.emplace_back(name, at);
    at = prototype;
}

void Vrml_Parser::parse_prototype(int depth) {
    Vrml_Prototype* const prototype = &own_prototypes_.emplace_back();
    scanner_.take_name();
    prototype->name = token();
    expect_more();
    scanner_.take();
    if (token() == "[") parse_interface(&prototype->fields, true, depth);
    expect_more();
    if (token() == "{") parse_prototype_body(prototype, depth);
    declare(prototype->name, prototype);
    if (!first_ && depth == 0) first_ = prototype;
}

void Vrml_Parser::parse_prototype_body(Vrml_Prototype* prototype, int depth) {
    // Names of DEF end with the body, and those outside are not seen in it; prototypes declared
    // within hide others only there.
    std::unordered_map<std::string_view, const Vrml_Node*> names;
    names.swap(names_);
    const std::size_t outer = hidden_.size();
    scanner_.take();
    while (!is_over() && token() != "}") {
        if (skip_statement() || parse_prototype_statement(depth + 1)) continue;
        if (const Vrml_Node* node = parse_node(depth + 1)) {
            prototype->body.push_back(node);
        } else if (!is_over()) {
            report_.skip("text that is no node", token());
            scanner_.take();
        }
    }
    expect_more();
    scanner_.take();
    for (; hidden_.size() > outer; hidden_.pop_back())
        prototypes_[hidden_.back().first] = hidden_.back().second;
    names_.swap(names);
}

// Events have no values: [ field SFBool on TRUE  eventIn SFTime start ].
void Vrml_Parser::parse_interface(std::vector<Vrml_Field>* fields, bool has_values, int depth) {
    scanner_.take();
    while (!is_over() && token() != "]") {
        const bool is_field = token() == "field" || token() == "exposedField" ||
                              token() == "inputOutput" || token() == "initializeOnly";
        if (scanner_.is_sign() || scanner_.is_string()) {
            report_.skip("text that is no field", token());
            scanner_.take();
            continue;
        }
        scanner_.take_name(); // the type of the field
        if (is_over() || token() == "]") break;
        scanner_.take_name();
        if (is_over() || token() == "]") break;
        if (!is_field || !has_values) {
            scanner_.take();
        } else if (budget_.take_object(token())) {
            parse_field(fields, depth);
        } else {
            scanner_.end();
        }
    }
    expect_more();
    scanner_.take();
}

void Vrml_Parser::parse_external_prototype(int depth) {
    scanner_.take_name();
    const std::string_view name = token();
    expect_more();
    scanner_.take();
    std::vector<Vrml_Field> no_fields;
    if (token() == "[") parse_interface(&no_fields, false, depth);
    expect_more();
    Vrml_Field urls;
    if (token() == "[") {
        parse_list(&urls, depth);
    } else if (!is_over()) {
        parse_value(&urls, depth);
    }
    const Vrml_Prototype* found = nullptr;
    // The first that can be had, as the urls are meant.
    for (const std::string_view url : urls.words)
        if (files_ && !found) found = files_->prototype(url);
    if (!found) report_.skip("EXTERNPROTO " + std::string(name), name);
    declare(name, found);
}
