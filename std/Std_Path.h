// How much of a path names the folder, with the slash behind it: 0 for a bare name. Internal.
#ifndef STD_STD_PATH_H
#define STD_STD_PATH_H

#include <cstddef>
#include <cstring>

inline std::size_t std_folder_length(const char* path) {
    const char* const slash = std::strrchr(path, '/');
    return slash ? static_cast<std::size_t>(slash + 1 - path) : 0;
}

#endif
