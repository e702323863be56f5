#include "tools/Vrml_Scene.h"

#include <algorithm>

#include "tools/Vrml_Budget.h"
#include "tools/Vrml_Files.h"
#include "tools/Vrml_Report.h"

// Tells once what else the body holds. Null once the budget is spent.
const Vrml_Instance* Vrml_Scene::instance(Vrml_Ref made) {
    const auto at = instances_.find(made);
    if (at != instances_.end()) return &at->second;
    if (!budget_.take_instance(made.node->type)) return nullptr;
    const std::vector<const Vrml_Node*>& body = made.node->prototype->body;
    for (std::size_t i = 1; i < body.size(); ++i) report_.skip(body[i]->type, body[i]->type);
    return &instances_.try_emplace(made, Vrml_Instance{made}).first->second;
}

Vrml_Ref Vrml_Scene::resolved(Vrml_Ref ref) {
    // A prototype may stand for one that stands for another: the first node of the innermost body
    // counts. Ends, since no body holds itself.
    while (ref.node && ref.node->prototype) {
        const std::vector<const Vrml_Node*>& body = ref.node->prototype->body;
        const Vrml_Instance* const in = instance(ref);
        if (!in || body.empty() || !budget_.spend(body.size(), ref.node->type)) return {};
        ref = within(body[0], in);
    }
    return ref;
}

Vrml_Value Vrml_Scene::find(Vrml_Ref ref, std::string_view name) {
    if (!ref) return {};
    const Vrml_Field* field = vrml_find(ref.node->fields, name);
    const Vrml_Instance* in = ref.in;
    // From the field of the body to what its instance was given, or else to the default, and
    // outwards while that is an IS of an outer body.
    while (field && !field->from.empty()) {
        if (!in) return {};
        const Vrml_Ref made = in->made;
        if (!budget_.spend(1 + made.node->fields.size(), made.node->type)) return {};
        if (const Vrml_Field* given = vrml_find(made.node->fields, field->from)) {
            field = given;
            in = made.in;
        } else {
            field = vrml_find(made.node->prototype->fields, field->from);
            in = nullptr;
        }
    }
    return {field, in};
}

double Vrml_Scene::number(Vrml_Ref ref, std::string_view field, std::size_t i, double otherwise) {
    const Vrml_Value v = find(ref, field);
    return v && i < v.field->numbers.size() ? v.field->numbers[i] : otherwise;
}

std::span<const double> Vrml_Scene::numbers(Vrml_Ref ref, std::string_view field) {
    const Vrml_Value v = find(ref, field);
    return v ? std::span<const double>(v.field->numbers) : std::span<const double>();
}

bool Vrml_Scene::has_word(Vrml_Ref ref, std::string_view field, std::string_view word) {
    // Bits of a mask are few; a list of a million words is none.
    const std::size_t most_bits = 8;
    const Vrml_Value v = find(ref, field);
    if (!v) return false;
    const auto begin = v.field->words.begin();
    const auto end =
        begin + static_cast<std::ptrdiff_t>(std::min(v.field->words.size(), most_bits));
    return std::find(begin, end, word) != end;
}

std::string_view Vrml_Scene::word(Vrml_Ref ref, std::string_view field) {
    const Vrml_Value v = find(ref, field);
    return v && !v.field->words.empty() ? v.field->words[0] : std::string_view();
}

std::string Vrml_Scene::url(std::string_view token) const {
    return files_.url(token);
}

Vrml_Ref Vrml_Scene::node(Vrml_Ref ref, std::string_view field) {
    const Vrml_Value v = find(ref, field);
    if (!v || v.field->nodes.empty()) return {};
    const Vrml_Ref found = resolved(within(v.field->nodes[0], v.in));
    if (!found || found.type().empty()) return {};
    // Who asks goes through the fields of what is given out.
    return budget_.spend(1 + found.node->fields.size(), found.node->type) ? found : Vrml_Ref();
}

Vrml_Ref Vrml_Scene::node(Vrml_Ref ref, std::string_view field, std::string_view type) {
    const Vrml_Ref found = node(ref, field);
    if (!found || found.type() == type) return found;
    report_.skip(found.type(), found.type());
    return {};
}

std::vector<Vrml_Ref> Vrml_Scene::children(Vrml_Ref ref) {
    std::vector<Vrml_Ref> found;
    for (const Vrml_Node* child : ref.node->children) found.push_back(within(child, ref.in));
    for (const char* name : {"children", "choice", "level"})
        if (const Vrml_Value v = find(ref, name))
            for (const Vrml_Node* child : v.field->nodes) found.push_back(within(child, v.in));
    // Groups that are used again and again cost their size each time.
    if (!budget_.spend(found.size(), ref.node->type)) found.clear();
    return found;
}
