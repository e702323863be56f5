#include "tools/Model_Extras.h"

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
