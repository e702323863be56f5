#include "wdb/Foreign_Document.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <strings.h>

#include <dirent.h>
#include <unistd.h>

#include "std/Std_Common.h"
#include "std/Std_Descriptor.h"
#include "std/Std_Filter.h"
#include "std/Std_GC.h"
#include "std/Std_Load_Budget.h"
#include "std/Std_Path.h"
#include "std/Std_Shell.h"
#include "std/Std_Space.h"
#include "std/Std_URL.h"
#include "wdb/Scene_Input.h"

// Whether the first line that is no comment opens a block of a scene.
static bool reads_as_scene(std::string_view text) {
    while (!text.empty()) {
        while (!text.empty() && std_is_space(text[0])) text.remove_prefix(1);
        if (!text.empty() && text[0] != '#') break;
        text.remove_prefix(std::min(text.find('\n'), text.size()));
    }
    for (const std::string_view word : {"material", "texture", "trianglelist", "linelist", "node",
                                        "camera", "light", "world", "import", "loading", "!!!"}) {
        const bool is_there =
            text.size() > word.size() && strncasecmp(text.data(), word.data(), word.size()) == 0;
        if (is_there && (std_is_space(text[word.size()]) || word == "!!!")) return true;
    }
    return false;
}

// By the mark that the format has; of some it stands within the first lines.
static const char* marked_format(std::string_view text) {
    if (text.starts_with("glTF")) return "glb";
    if (text.starts_with("Kaydara FBX Binary")) return "fbx";
    if (text.starts_with("ply\n") || text.starts_with("ply\r")) return "ply";
    const std::size_t blanks = text.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
    if (blanks == text.npos) return nullptr;
    const std::size_t first_lines = 4096;
    const std::string_view begin = text.substr(blanks, first_lines);
    const auto holds = [&](const char* mark) { return begin.find(mark) != begin.npos; };
    if (begin[0] == '<' && holds("<COLLADA")) return "dae";
    if (begin[0] == '<' && holds("<X3D")) return "x3d";
    if (begin[0] == '{' && holds("\"asset\"")) return "gltf";
    return begin.starts_with("solid") && holds("facet") ? "stl" : nullptr;
}

static const char* suffix_format(const Std_URL* url) {
    const char* const suffix = url->get_extension();
    for (const char* const known :
         {"obj", "stl",  "gltf", "glb", "dae",  "fbx", "3ds", "x3d", "ply", "blend", "lwo", "lws",
          "ac",  "ase",  "b3d",  "bvh", "cob",  "dxf", "hmp", "ifc", "irr", "lxo",   "md2", "md3",
          "mdl", "ms3d", "nff",  "off", "ogex", "q3d", "smd", "ter", "3mf", "amf",   "xgl", "zgl"})
        if (strcasecmp(suffix, known) == 0) return known;
    return nullptr;
}

const char* foreign_format(const char* begin, std::size_t length, const Std_URL* url) {
    const std::string_view text(begin, length);
    if (text.starts_with("#VRML")) return "vrml";
    if (const char* const format = marked_format(text)) return format;
    const char* const format = suffix_format(url);
    return format && !reads_as_scene(text) ? format : nullptr;
}

Foreign_Document::Foreign_Document(const char* format)
    : format_(format), copy_(std_open_nameless()) {}

bool Foreign_Document::is_vrml() const {
    return std::strcmp(format_, "vrml") == 0;
}

Foreign_Document::~Foreign_Document() {
    if (is_open()) ::close(copy_);
}

bool Foreign_Document::store(const char* line, std::size_t length, Scene_Input& rest) {
    // The line first: it lies in the block that is read into next.
    return std_store(copy_, line, length) && rest.copy_to(copy_) && lseek(copy_, 0, SEEK_SET) == 0;
}

// Where a document may take parts from that lie beside it: nowhere, if it came from elsewhere.
static const char* folder_of(const Std_URL* url) {
    if (!url->is_valid() || !url->is_local() || url->is_standard_input()) return "";
    const char* const path = url->get_path();
    const std::size_t length = std_folder_length(path);
    if (length == 0) return ".";
    char* const folder = str_new(path);
    folder[length == 1 ? 1 : length - 1] = '\0';
    return folder;
}

// In the folder of temporary files. Null if it cannot be made.
static const char* new_folder() {
    const char* const temporary = std::getenv("TMPDIR");
    const std::string name =
        std::string(temporary && *temporary ? temporary : "/tmp") + "/nolt_imagesXXXXXX";
    char* const folder = str_new(name.c_str());
    if (!mkdtemp(folder)) return nullptr;
    // The scene names it, whose own folder may be another than the current one.
    char* const real = realpath(folder, nullptr);
    const char* const place = real ? str_new(real) : folder;
    std::free(real);
    return place;
}

void Foreign_Document::remove_images(const char* folder) {
    if (!folder) return;
    if (DIR* const files = opendir(folder)) {
        while (const dirent* const file = readdir(files))
            if (file->d_name[0] != '.') unlink((std::string(folder) + "/" + file->d_name).c_str());
        closedir(files);
    }
    rmdir(folder);
}

std::FILE* Foreign_Document::convert(Std_Filter& filter, const Std_URL* url, const char* prefix) {
    const char* const folder = std_shell_argument(folder_of(url));
    std::string command = std_path_to_own_commands();
    if (is_vrml()) {
        command.append("NOLT_VRML_FOLDER=").append(folder).append(" nolt_fromvrml -tmp ");
    } else {
        // A scene from elsewhere may name no pictures of this machine.
        if (url->is_local() && !url->is_standard_input()) images_ = new_folder();
        command.append("NOLT_MODEL_FOLDER=").append(folder).append(" nolt_frommodel -as ");
        command.append(format_);
        if (images_) command.append(" -images ").append(std_shell_argument(images_));
        command.append(" -tmp ");
    }
    command.append(std_shell_argument(prefix));
    return filter.start(command.c_str(), copy_);
}
