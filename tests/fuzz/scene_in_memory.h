// What the fuzz targets of scenes share: a scene in memory, and nothing that it could reach
// outside. Other files, commands, the network and deletion are cut off here; a command line that is
// not built as it should be ends the run.
#ifndef TESTS_FUZZ_SCENE_IN_MEMORY_H
#define TESTS_FUZZ_SCENE_IN_MEMORY_H

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <string>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

#include "std/Std_Messager.h"
#include "tests/fuzz/shell_word.h"
#include "wdb/WDB_Database.h"
#include "wdb/wdb_load.h"

// The input, a file that it may import, and one to save into: all lie in memory.
static const int scene = 199, neighbour = 200, saved = 201;
static const char* const scene_path = "/proc/self/fd/199";
[[maybe_unused]] static const char* const saved_path = "/proc/self/fd/201";
static const char neighbour_text[] = "world w {\n unit 2\n}\nnode p {\n frame t 1 2 3\n}\n"
                                     "import file {\n frame s 2 2 2\n file \"199\"\n}\n";

static bool is_known(const std::string& line) {
    // What makes the shell tell the status of the command.
    static const std::string before = "(", behind = "\n) 3>&-; echo $? >&3";
    if (!line.starts_with(before) || !line.ends_with(behind)) return false;
    const std::string inner =
        line.substr(before.size(), line.size() - before.size() - behind.size());
    const char* const command = inner.c_str();
    for (const char* unpack : {"zcat", "gunzip", "pcat"})
        if (inner == unpack) return true;
    static const std::string curl = "curl --disable ";
    if (inner.starts_with(curl)) {
        word_of(std::strstr(command, " -- ") + 4);
        return true;
    }
    // PATH=...... NOLT_VRML_FOLDER=... nolt_fromvrml -tmp ...: a word behind each of these.
    const std::vector<std::string> vrml = {"PATH=${PATH:+$PATH:}",
                                           " NOLT_VRML_FOLDER=", " nolt_fromvrml -tmp "},
                                   image = {vrml[0], " nolt_fromimage -pixels "};
    const char* end = command;
    for (const std::string& part : std::strstr(command, image[1].c_str()) ? image : vrml) {
        const char* const begin = std::strstr(end, part.c_str());
        if (!begin || (end == command && begin != command)) return false;
        if (begin != command) word_of(std::string(end, begin).c_str());
        end = begin + part.size();
    }
    word_of(end);
    return true;
}

extern "C" {
int posix_spawn(pid_t*, const char*, const posix_spawn_file_actions_t*, const posix_spawnattr_t*,
                char* const arguments[], char* const[]) {
    if (!is_known(arguments[2])) std::abort();
    return ENOENT;
}
int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const unsigned mode = va_arg(arguments, unsigned);
    va_end(arguments);
    const bool is_ours =
        std::strncmp(path, "/proc/self/fd/", 14) == 0 || std::strcmp(path, "/tmp") == 0;
    errno = ENOENT;
    return is_ours ? static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode)) : -1;
}
int socket(int, int, int) noexcept {
    errno = EACCES;
    return -1;
}
int unlink(const char*) noexcept {
    return 0;
}
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
}

// Keeps what it is told since the text was emptied.
class Reports_Kept : public Std_Messager {
    STD_OBJ_CLASS(Reports_Kept, Std_Messager)
    Reports_Kept() : Std_Messager(1, 1) {}
    void refresh(const char* line) override {
        if (line && text.size() < 100000) text += std::string(line) + "\n";
    }
    std::string text;
};

static Reports_Kept* reports() {
    static Reports_Kept* const kept = [] {
        auto* const made = new (NoGC) Reports_Kept;
        std_set_current_messager(made);
        unsetenv("TMPDIR");
        for (const int descriptor : {scene, neighbour, saved})
            if (dup2(memfd_create("scene", 0), descriptor) != descriptor) std::abort();
        if (write(neighbour, neighbour_text, sizeof neighbour_text - 1) < 0) std::abort();
        return made;
    }();
    return kept;
}

// Null only if a conversion failed.
static WDB_Database* load_from_memory(const std::uint8_t* data, std::size_t size) {
    reports()->text.clear();
    const bool is_vrml = size >= 5 && std::memcmp(data, "#VRML", 5) == 0;
    // A scene may import what was saved before: that is to be nothing.
    if (ftruncate(saved, 0) != 0 || ftruncate(scene, 0) != 0 || pwrite(scene, data, size, 0) < 0)
        std::abort();
    WDB_Database* const world = wdb_load(scene_path, nullptr);
    if (!world && !is_vrml) std::abort();
    return world;
}

#endif
