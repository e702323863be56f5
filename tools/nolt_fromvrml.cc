// Converts VRML 1.0 and VRML97 text on the standard input to a scene file on the standard output.
//
//     nolt_fromvrml [-tmp PREFIX] < town.wrl > town.3d
//
// The end of the prefix goes into every name, so that the files of one scene do not share any.
// Makes no temporary file. Prototypes of other files are looked for in the folder NOLT_VRML_FOLDER;
// without that in the current one, or nowhere if there is a prefix: then the text may come from
// anywhere.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "tools/Read_Input.h"
#include "tools/Tool_Answers.h"
#include "tools/Vrml_Converter.h"

static const std::size_t most_bytes = std::size_t{128} << 20;

int main(int argc, char** argv) {
    static const char usage[] = "usage: nolt_fromvrml [-tmp PREFIX] < VRML > scene";
    if (tool_answers(argc, argv, usage)) return 0;
    const bool has_prefix = argc == 3 && std::strcmp(argv[1], "-tmp") == 0;
    if (argc != 1 && !has_prefix) {
        std::fprintf(stderr, "%s\n", usage);
        return 2;
    }
    std::string text;
    if (!read_input(&text, most_bytes)) {
        std::fprintf(stderr, "nolt_fromvrml: the file is too long\n");
        return 1;
    }
    Vrml_Options options;
    if (has_prefix) options.prefix = argv[2];
    const char* const folder = std::getenv("NOLT_VRML_FOLDER");
    options.folder = folder ? folder : has_prefix ? "" : ".";
    // The reader tells what it is told in the scene.
    return vrml_convert(text, options, stdout, has_prefix ? stdout : stderr) ? 0 : 1;
}
