// What an importer passes on of the extras and extensions of a node, found without a copy, which
// takes time in powers of how deep they are; and what it does not.
//
//     const aiMetadata* const all = model_extra(node.mMetaData, "extensions");
//     const std::string url = model_text(node.mMetaData, "url");
#ifndef TOOLS_MODEL_EXTRAS_H
#define TOOLS_MODEL_EXTRAS_H

#include <set>
#include <string>
#include <string_view>

#include <assimp/scene.h>

// The group or list of that name; null if there is none, also in none.
const aiMetadata* model_extra(const aiMetadata* extras, const char* name);
// Empty if there is none.
std::string model_text(const aiMetadata* extras, const char* name);
// Leaves the colour as it is if there are no three numbers of that name.
void model_color(const aiMetadata* extras, const char* name, aiColor3D* color);

// Extensions without which a document of glTF, text or binary, is not what it is to be, and which
// the importer passes over in silence.
std::set<std::string> unknown_extensions(std::string_view document);

#endif
