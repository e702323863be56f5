#include "tools/Vrml_Parser.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>

static const std::size_t most_objects = 4'000'000; // nodes and fields in memory

// What was left out, and how often.
static std::map<std::string, int> skipped;

void vrml_skip(std::string_view what) {
    const std::size_t most_kinds = 50, longest = 60;
    std::string shown(what.substr(0, longest));
    for (char& c : shown) // a terminal may show them
        if (!std::isprint(static_cast<unsigned char>(c))) c = '?';
    const bool is_known = skipped.contains(shown);
    ++skipped[is_known || skipped.size() < most_kinds ? shown : "other things"];
}

void vrml_show_skipped() {
    for (const auto& [what, count] : skipped)
        std::fprintf(stderr, "nolt_fromvrml: skipped %d: %s\n", count, what.c_str());
}

std::vector<const Vrml_Node*> Vrml_Parser::parse() {
    std::vector<const Vrml_Node*> nodes;
    while (!is_over()) {
        if (token_ == "PROTO" || token_ == "EXTERNPROTO" || token_ == "ROUTE") {
            skip_statement();
        } else if (const Vrml_Node* node = parse_node(0)) {
            nodes.push_back(node);
        } else if (!is_over()) {
            fail("node expected");
        }
    }
    return nodes;
}

void Vrml_Parser::fail(const char* reason) {
    int line = 1;
    for (std::size_t i = 0; i < start_; ++i) line += text_[i] == '\n';
    std::fprintf(stderr, "nolt_fromvrml: line %d: %s, skipping the rest\n", line, reason);
    at_ = text_.size();
    token_ = {};
}

void Vrml_Parser::skip_blanks() {
    bool in_comment = false;
    for (; at_ < text_.size(); ++at_) {
        const char c = text_[at_];
        if (c == '\n') in_comment = false;
        if (c == '#') in_comment = true;
        if (!in_comment && c != ',' && !std::isspace(static_cast<unsigned char>(c))) return;
    }
}

void Vrml_Parser::take() {
    skip_blanks();
    start_ = at_;
    if (at_ >= text_.size()) {
        token_ = {};
    } else if (text_[at_] == '"') {
        for (++at_; at_ < text_.size() && text_[at_] != '"'; ++at_)
            if (text_[at_] == '\\') ++at_;
        at_ = std::min(at_, text_.size());
        token_ = std::string_view(text_).substr(start_, at_ - start_);
        if (at_ < text_.size()) ++at_;
    } else if (std::strchr("{}[]()|", text_[at_])) {
        token_ = std::string_view(text_).substr(at_++, 1);
    } else {
        at_ = std::min(text_.find_first_of(" \t\r\n\v\f,{}[]()|\"#", at_), text_.size());
        token_ = std::string_view(text_).substr(start_, at_ - start_);
    }
}

bool Vrml_Parser::is_sign() const {
    return token_.size() == 1 && std::strchr("{}[]()|", token_[0]);
}

bool Vrml_Parser::is_number(double* value) const {
    if (!std::isdigit(static_cast<unsigned char>(token_[0])) && !std::strchr("+-.", token_[0]))
        return false;
    char* end;
    *value = std::strtod(token_.data(), &end);
    if (!std::isfinite(*value)) *value = 0;
    return end == token_.data() + token_.size();
}

bool Vrml_Parser::begins_node() {
    if (is_over() || is_sign() || token_[0] == '"') return false;
    if (token_ == "DEF" || token_ == "USE") return true;
    skip_blanks();
    return at_ < text_.size() && text_[at_] == '{';
}

void Vrml_Parser::skip_enclosed() {
    int open = 0;
    do {
        open += token_ == "{" || token_ == "[";
        open -= token_ == "}" || token_ == "]";
        take();
    } while (open > 0 && !is_over());
}

void Vrml_Parser::skip_statement() {
    vrml_skip(token_);
    const bool is_proto = token_ == "PROTO", is_route = token_ == "ROUTE";
    take();
    take();
    if (is_route) { // ROUTE a.b TO c.d
        take();
        take();
        return;
    }
    if (token_ == "[") skip_enclosed();
    if (is_proto ? token_ == "{" : token_ == "[") {
        skip_enclosed();
    } else if (!is_proto) {
        take();
    }
}

bool Vrml_Parser::has_room() {
    if (++objects_ <= most_objects) return true;
    fail("too many nodes");
    return false;
}

const Vrml_Node* Vrml_Parser::parse_node(int depth) {
    if (!begins_node()) return nullptr;
    std::string_view name;
    if (token_ == "USE") {
        take();
        const auto known = names_.find(token_);
        if (known == names_.end()) vrml_skip("USE of an unknown name");
        if (!is_over()) take();
        return known == names_.end() ? &nothing_ : known->second;
    }
    if (token_ == "DEF") {
        take();
        name = token_;
        take();
    }
    if (!begins_node() || token_ == "DEF" || token_ == "USE") return nullptr;
    if (depth > VRML_DEEPEST) fail("nested too deeply");
    if (is_over() || !has_room()) return nullptr;
    Vrml_Node* const node = &nodes_.emplace_back();
    node->type = token_;
    node->name = name;
    take();
    if (node->type == "Script") {
        skip_enclosed();
    } else {
        take();
        parse_body(node, depth);
    }
    if (!name.empty()) names_[name] = node;
    return node;
}

void Vrml_Parser::parse_body(Vrml_Node* node, int depth) {
    while (!is_over() && token_ != "}") {
        if (token_ == "ROUTE" || token_ == "PROTO" || token_ == "EXTERNPROTO") {
            skip_statement();
        } else if (begins_node()) {
            if (const Vrml_Node* child = parse_node(depth + 1)) node->children.push_back(child);
        } else if (is_sign() || token_[0] == '"') {
            fail("field expected");
        } else if (has_room()) {
            parse_field(node, depth);
        }
    }
    if (!is_over()) take();
}

void Vrml_Parser::parse_field(Vrml_Node* node, int depth) {
    Vrml_Node::Field field;
    field.name = token_;
    take();
    if (!is_over() && (token_ == "[" || token_ == "(")) {
        take();
        while (!is_over() && token_ != "]" && token_ != ")") parse_value(&field, depth);
        if (!is_over()) take();
    } else if (!is_over() && token_ != "}") {
        parse_value(&field, depth);
        double more;
        while (!field.numbers.empty() && !is_over() && is_number(&more)) {
            field.numbers.push_back(more);
            take();
        }
    }
    if (field.name == "children" || field.name == "choice" || field.name == "level")
        node->children.insert(node->children.end(), field.nodes.begin(), field.nodes.end());
    node->fields.push_back(std::move(field));
}

void Vrml_Parser::parse_value(Vrml_Node::Field* field, int depth) {
    double number;
    if (token_ == "|") {
        take();
    } else if (is_sign()) {
        fail("value expected");
    } else if (is_number(&number)) {
        field->numbers.push_back(number);
        take();
    } else if (begins_node()) {
        if (const Vrml_Node* node = parse_node(depth + 1)) field->nodes.push_back(node);
    } else {
        field->word = token_;
        take();
    }
}
