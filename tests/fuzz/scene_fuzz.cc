// Whole scenes through wdb_load. What a scene could reach outside is cut off here: commands, other
// folders, the network, deletion. A command line that is not built as it should be ends the run.
//
//     scene_fuzz -fork=1 -ignore_ooms=1 -rss_limit_mb=1000 -dict=scene.dict FOLDER corpus/scene
//
// Nothing is collected under NOLT_PLAIN_HEAP, so a run grows until it is started again.
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include "std/Std_Messager.h"
#include "wdb/WDB_Database.h"
#include "wdb/wdb_load.h"

// The input, and beside it a file that it may import: both lie in memory.
static const int scene = 199, neighbour = 200;
static const char* const scene_path = "/proc/self/fd/199";
static const char* const neighbour_path = "/proc/self/fd/200";
static const char neighbour_text[] = "world w {\n unit 2\n}\nnode p {\n frame t 1 2 3\n}\n"
                                     "import file {\n frame s 2 2 2\n file \"199\"\n}\n";

// One word of a command line, without its quotes. Behind it must follow the end or a blank.
static bool take_word(const char** at, std::string* word) {
    word->clear();
    const char* c = *at;
    bool is_quoted = false;
    for (; *c && (is_quoted || *c != ' '); ++c) {
        if (*c == '\'') {
            is_quoted = !is_quoted;
        } else if (!is_quoted && *c == '\\') {
            if (*++c != '\'') return false;
            *word += *c;
        } else if (!is_quoted && std::strchr("|&;<>()$`\"*?[]#~!{}\n\t", *c)) {
            return false;
        } else {
            *word += *c;
        }
    }
    *at = c;
    return !is_quoted;
}

static bool take(const char** at, const char* text) {
    const std::size_t length = std::strlen(text);
    if (std::strncmp(*at, text, length) != 0) return false;
    *at += length;
    return true;
}

// The file that a command of the library reads. All others are a finding.
static std::string file_of(const char* command) {
    std::string path, prefix;
    const char* at = command;
    bool is_known;
    if (take(&at, "nolt_fromvrml -tmp ")) {
        is_known = take_word(&at, &prefix) && take(&at, " < ") && take_word(&at, &path) && !*at;
    } else {
        is_known = (take(&at, "cat ") || take(&at, "pcat ")) && take_word(&at, &path);
        if (is_known && *at) is_known = take(&at, " | zcat") || take(&at, " | gunzip");
        is_known = is_known && !*at;
    }
    if (!is_known) std::abort();
    return path;
}

static bool is_ours(const std::string& path) {
    return path == scene_path || path == neighbour_path || path.starts_with("/tmp/nolt");
}

extern "C" {
FILE* popen(const char* command, const char*) {
    const std::string path = file_of(command);
    errno = ENOENT;
    return is_ours(path) ? std::fopen(path.c_str(), "r") : nullptr;
}
int pclose(FILE* file) {
    return std::fclose(file);
}
int socket(int, int, int) noexcept {
    errno = EACCES;
    return -1;
}
int unlink(const char* path) noexcept {
    if (std::strncmp(path, "/tmp/nolt", 9) != 0) return 0;
    return unlinkat(AT_FDCWD, path, 0);
}
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
}

namespace {
class Silent : public Std_Messager {
    STD_OBJ_CLASS(Silent, Std_Messager)
    Silent() : Std_Messager(1, 1) {}
    void refresh(const char*) override {}
};
} // namespace

static bool start() {
    static Silent* const silent = new (NoGC) Silent;
    std_set_current_messager(silent);
    unsetenv("TMPDIR");
    for (const int descriptor : {scene, neighbour})
        if (dup2(memfd_create("scene", 0), descriptor) != descriptor) std::abort();
    return write(neighbour, neighbour_text, sizeof neighbour_text - 1) > 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool is_started = start();
    const bool is_vrml = size >= 5 && std::memcmp(data, "#VRML", 5) == 0;
    if (!is_started || ftruncate(scene, 0) != 0 || pwrite(scene, data, size, 0) < 0) std::abort();
    // Only a conversion can fail.
    if (!wdb_load(scene_path, nullptr) && !is_vrml) std::abort();
    return 0;
}
