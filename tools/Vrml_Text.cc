#include "tools/Vrml_Text.h"

#include <algorithm>
#include <cctype>

int vrml_version(std::string_view text) {
    if (!text.starts_with("#VRML")) return 0;
    text.remove_prefix(std::string_view("#VRML").size());
    // Some writers leave the V out.
    const std::size_t at = text.find_first_not_of(" \tV");
    if (at == 0 || at == std::string_view::npos || at + 1 >= text.size() || text[at + 1] != '.')
        return 0;
    return text[at] == '1' ? 1 : text[at] == '2' ? 2 : 0;
}

std::string vrml_string(std::string_view token) {
    const std::size_t longest = 1000; // beyond all that a scene can hold
    token = token.substr(0, longest);
    if (token.empty() || token[0] != '"') return std::string(token);
    std::string plain;
    for (std::size_t i = 1; i < token.size(); ++i) {
        if (token[i] == '\\' && i + 1 < token.size()) ++i;
        plain += token[i];
    }
    return plain;
}

bool vrml_ends_in(std::string_view name, std::initializer_list<std::string_view> endings) {
    // Files from systems that tell no case apart end in ".RGB" as often as not.
    const auto is_same = [](char a, char b) {
        return std::tolower(static_cast<unsigned char>(a)) ==
               std::tolower(static_cast<unsigned char>(b));
    };
    return std::any_of(endings.begin(), endings.end(), [&](std::string_view e) {
        return name.size() >= e.size() &&
               std::equal(e.begin(), e.end(), name.end() - static_cast<std::ptrdiff_t>(e.size()),
                          is_same);
    });
}

bool vrml_is_scene_string(std::string_view text) {
    // As the reader of scenes has it, where a quote has no escape and ends the text.
    const std::size_t longest = 127;
    return !text.empty() && text.size() <= longest &&
           std::none_of(text.begin(), text.end(), [](char c) {
               return c == '"' || c == '\\' || std::iscntrl(static_cast<unsigned char>(c));
           });
}
