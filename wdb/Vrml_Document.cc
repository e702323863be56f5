#include "wdb/Vrml_Document.h"

#include <string>
#include <unistd.h>

#include "std/Std_Common.h"
#include "std/Std_Descriptor.h"
#include "std/Std_Filter.h"
#include "std/Std_GC.h"
#include "std/Std_Load_Budget.h"
#include "std/Std_Path.h"
#include "std/Std_Shell.h"
#include "std/Std_URL.h"
#include "wdb/Scene_Input.h"

Vrml_Document::Vrml_Document() : copy_(std_open_nameless()) {}

Vrml_Document::~Vrml_Document() {
    if (is_open()) ::close(copy_);
}

bool Vrml_Document::store(const char* line, std::size_t length, Scene_Input& rest) {
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

std::FILE* Vrml_Document::convert(Std_Filter& filter, const Std_URL* url,
                                  const char* prefix) const {
    std::string command = std_path_to_own_commands();
    command.append("NOLT_VRML_FOLDER=").append(std_shell_argument(folder_of(url)));
    command.append(" nolt_fromvrml -tmp ").append(std_shell_argument(prefix));
    return filter.start(command.c_str(), copy_);
}
