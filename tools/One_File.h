// Whether a command would write over what it reads.
#ifndef TOOLS_ONE_FILE_H
#define TOOLS_ONE_FILE_H

#include <sys/stat.h>
#include <unistd.h>

#include "std/Std_URL.h"

// By what lies behind the names, links followed.
inline bool are_one_file(const char* scene, const char* output) {
    const Std_URL url(scene);
    struct stat of_scene, of_output;
    const auto stat_scene = [&] {
        return url.is_standard_input() ? fstat(STDIN_FILENO, &of_scene)
                                       : stat(url.get_path(), &of_scene);
    };
    return url.is_local() && stat_scene() == 0 && stat(output, &of_output) == 0 &&
           S_ISREG(of_scene.st_mode) && of_scene.st_dev == of_output.st_dev &&
           of_scene.st_ino == of_output.st_ino;
}

#endif
