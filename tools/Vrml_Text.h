// Small questions about VRML text.
#ifndef TOOLS_VRML_TEXT_H
#define TOOLS_VRML_TEXT_H

#include <initializer_list>
#include <string>
#include <string_view>

// 1 or 2 (VRML97), by the first line; 0 for any other text.
int vrml_version(std::string_view text);

// The first thousand bytes of a token: of a string, which begins with its quote, without that and
// without the escapes; a word as it is.
std::string vrml_string(std::string_view token);

// Whether `name` ends in one of the endings, in any case: ".rgb .sgi".
bool vrml_ends_in(std::string_view name, std::initializer_list<std::string_view> endings);

// Whether a scene file can hold it between quotes.
bool vrml_is_scene_string(std::string_view text);

#endif
