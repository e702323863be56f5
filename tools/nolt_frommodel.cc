// Converts a model on the standard input, of any format that assimp reads, to a scene file on the
// standard output.
//
//     nolt_frommodel -as obj [-tmp PREFIX] [-images FOLDER] < chair.obj > chair.3d
//
// The end of the prefix goes into every name, so that the files of one scene do not share any.
// Materials and data beside the model are read from the folder NOLT_MODEL_FOLDER, or from the
// current one without a prefix. A process of its own, with limits of time and memory: what that
// library does with a hostile file ends here.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>

#include <malloc.h>
#include <sys/resource.h>

#include "tools/Read_Input.h"
#include "tools/Tool_Answers.h"

#ifdef NOLT_MODELS
#include <assimp/Importer.hpp>
#include <assimp/config.h>
#include <assimp/postprocess.h>

#include "tools/Importer_Warnings.h"
#include "tools/Model_Converter.h"
#include "tools/Model_Extras.h"
#include "tools/Model_Files.h"
#include "tools/Obj_Text.h"
#endif

namespace {
enum Status { GOOD, FAILED, USAGE, NOT_BUILT };
struct Options {
    std::string suffix, prefix, images, folder = ".";
};
} // namespace

static bool read_options(int argc, char** argv, Options* options) {
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string option = argv[i];
        if (option == "-as") {
            options->suffix = argv[i + 1];
            for (char& c : options->suffix)
                c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        } else if (option == "-tmp") {
            options->prefix = argv[i + 1];
        } else if (option == "-images") {
            options->images = argv[i + 1];
        } else {
            return false;
        }
    }
    const char* const folder = std::getenv("NOLT_MODEL_FOLDER");
    if (folder || !options->prefix.empty()) options->folder = folder ? folder : "";
    return argc % 2 == 1 && !options->suffix.empty() &&
           options->suffix.find('/') == std::string::npos;
}

#ifdef NOLT_MODELS

static const std::size_t most_bytes = std::size_t{1} << 30;

// Sanitizers need more memory than there is.
static void set_limits(std::size_t length) {
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    const rlimit memory = {rlim_t{4} << 30, rlim_t{4} << 30};
    setrlimit(RLIMIT_AS, &memory);
#endif
    // Some readers go round in a small hostile file for a very long time.
    const rlim_t least = 60, most = 600, bytes_a_second = 100000;
    const rlim_t seconds = std::min(least + length / bytes_a_second, most);
    const rlimit time = {seconds, seconds};
    setrlimit(RLIMIT_CPU, &time);
}

static int convert(const Options& options) {
    // Memory that was given back would only have to be asked for again.
    const int much = 1 << 30;
    for (const int threshold : {M_TRIM_THRESHOLD, M_MMAP_THRESHOLD}) mallopt(threshold, much);
    std::string document;
    if (!read_input(&document, most_bytes)) {
        std::fprintf(stderr, "nolt_frommodel: the model is too long\n");
        return FAILED;
    }
    set_limits(document.size());
    int bad_items = 0;
    if (options.suffix == "obj") {
        bad_items = obj_drop_bad_items(&document);
        obj_smooth(&document);
    }
    const bool is_gltf = options.suffix == "glb" || options.suffix == "gltf";
    const std::set<std::string> unknown =
        is_gltf ? unknown_extensions(document) : std::set<std::string>();
    const Importer_Warnings warnings;
    Assimp::Importer importer;
    importer.SetIOHandler(new Model_Files(std::move(document), options.suffix, options.folder));
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, false);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_COLLADA_USE_COLLADA_NAMES, true);
    const unsigned steps =
        aiProcess_Triangulate | aiProcess_SortByPType | aiProcess_TransformUVCoords;
    const aiScene* const scene =
        importer.ReadFile(Model_Files::document_name(options.suffix), steps);
    // The reader tells what it is told in comments of the scene.
    std::FILE* const told = options.prefix.empty() ? stderr : stdout;
    const char* const mark = options.prefix.empty() ? "" : "# ";
    if (!scene) {
        std::string reason = importer.GetErrorString();
        for (char& c : reason)
            if (static_cast<unsigned char>(c) < ' ') c = ' ';
        std::fprintf(told, "%snolt_frommodel: %s\n", mark, reason.c_str());
        return FAILED;
    }
    Vrml_Writer out(stdout, options.prefix);
    Model_Converter converter(*scene, out, is_gltf, options.images, options.folder);
    converter.skip("face with a wrong index or a number that is none", bad_items);
    for (const std::string& name : unknown)
        converter.skip("extension that the file requires: " + name);
    for (const std::string& warning : warnings.all()) converter.skip(warning);
    const bool is_written = converter.convert();
    converter.tell(told, mark);
    if (!is_written) std::perror("nolt_frommodel: cannot write the scene");
    return is_written ? GOOD : FAILED;
}

#else

static int convert(const Options&) {
    std::fprintf(stderr, "nolt_frommodel: built without libassimp-dev, which models need\n");
    return NOT_BUILT;
}

#endif

int main(int argc, char** argv) {
    static const char usage[] =
        "usage: nolt_frommodel -as SUFFIX [-tmp PREFIX] [-images FOLDER] < model > scene";
    if (tool_answers(argc, argv, usage)) return GOOD;
    Options options;
    // Without taking the model apart again.
    if (read_options(argc, argv, &options)) {
        const int status = convert(options);
        std::fflush(nullptr);
        std::_Exit(status);
    }
    std::fprintf(stderr, "%s\n", usage);
    return USAGE;
}
