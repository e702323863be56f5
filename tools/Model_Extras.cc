#include "tools/Model_Extras.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

// The own search of the importer takes the beginning of a name for the whole.
static const aiMetadataEntry* entry_of(const aiMetadata* extras, const char* name) {
    for (unsigned i = 0; extras && i < extras->mNumProperties; ++i)
        if (std::strcmp(extras->mKeys[i].C_Str(), name) == 0 && extras->mValues[i].mData)
            return &extras->mValues[i];
    return nullptr;
}

const aiMetadata* model_extra(const aiMetadata* extras, const char* name) {
    const aiMetadataEntry* const entry = entry_of(extras, name);
    return entry && entry->mType == AI_AIMETADATA ? static_cast<const aiMetadata*>(entry->mData)
                                                  : nullptr;
}

std::string model_text(const aiMetadata* extras, const char* name) {
    const aiMetadataEntry* const entry = entry_of(extras, name);
    if (!entry || entry->mType != AI_AISTRING) return {};
    return static_cast<const aiString*>(entry->mData)->C_Str();
}

// Whole numbers are of another kind.
static bool read_number(const aiMetadataEntry& entry, float* number) {
    if (!entry.mData) return false;
    if (entry.mType == AI_DOUBLE) {
        *number = static_cast<float>(*static_cast<const double*>(entry.mData));
    } else if (entry.mType == AI_FLOAT) {
        *number = *static_cast<const float*>(entry.mData);
    } else if (entry.mType == AI_INT32) {
        *number = static_cast<float>(*static_cast<const std::int32_t*>(entry.mData));
    } else if (entry.mType == AI_UINT64) {
        *number = static_cast<float>(*static_cast<const std::uint64_t*>(entry.mData));
    } else {
        return false;
    }
    return true;
}

void model_color(const aiMetadata* extras, const char* name, aiColor3D* color) {
    const aiMetadata* const list = model_extra(extras, name);
    if (!list || list->mNumProperties != 3) return;
    aiColor3D read;
    if (read_number(list->mValues[0], &read.r) && read_number(list->mValues[1], &read.g) &&
        read_number(list->mValues[2], &read.b))
        *color = read;
}

// The text of a binary document, which comes first in it.
static std::string_view text_of(std::string_view document) {
    const std::size_t head = 20, size_at = 12;
    if (!document.starts_with("glTF") || document.size() < head) return document;
    std::uint32_t size;
    std::memcpy(&size, document.data() + size_at, sizeof size);
    return document.substr(head, size);
}

std::set<std::string> unknown_extensions(std::string_view document) {
    static const char key[] = "\"extensionsRequired\"";
    std::set<std::string> unknown;
    const std::string_view text = text_of(document);
    const std::size_t at = text.find(key);
    if (at == text.npos) return unknown;
    const std::size_t begin = std::min(text.find('[', at), text.size());
    std::string_view list = text.substr(begin, text.find(']', begin) - begin);
    const std::size_t most = 50;
    for (std::size_t quote; (quote = list.find('"')) != list.npos && unknown.size() < most;) {
        list.remove_prefix(quote + 1);
        const std::string name(list.substr(0, list.find('"')));
        list.remove_prefix(std::min(name.size() + 1, list.size()));
        const bool is_known = name.starts_with("KHR_materials_") || name == "KHR_lights_punctual" ||
                              name == "KHR_texture_transform" || name == "EXT_mesh_gpu_instancing";
        const bool is_word = std::all_of(name.begin(), name.end(),
                                         [](unsigned char c) { return c > ' ' && c < 0x7F; });
        if (!is_known && is_word) unknown.insert(name.substr(0, 100));
    }
    return unknown;
}
