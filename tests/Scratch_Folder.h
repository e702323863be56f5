// A test whose current folder is an empty one, with the temporary folder in it. At the end nothing
// may be left behind: no temporary file, open descriptor or child.
#ifndef TESTS_SCRATCH_FOLDER_H
#define TESTS_SCRATCH_FOLDER_H

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sys/wait.h>

#include "tests/Test.h"

class Scratch_Folder_Test : public ::testing::Test {
protected:
    Scratch_Folder_Test() {
        char name[] = "/tmp/nolt_testXXXXXX";
        home = std::filesystem::path(mkdtemp(name));
        std::filesystem::create_directory(home / "tmp");
        std::filesystem::current_path(home);
        setenv("TMPDIR", (home / "tmp").c_str(), 1);
        open_at_start = open_descriptors();
    }
    ~Scratch_Folder_Test() override {
        EXPECT_TRUE(std::filesystem::is_empty(home / "tmp")) << "temporary files are left";
        EXPECT_EQ(open_descriptors(), open_at_start);
        EXPECT_TRUE(waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD) << "a child is left";
        setenv("TMPDIR", usual.c_str(), 1);
        std::filesystem::current_path("/");
        std::filesystem::remove_all(home);
    }

    static std::ptrdiff_t open_descriptors() {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    }
    static void put_file(const std::filesystem::path& name, const std::string& bytes) {
        std::ofstream(name, std::ios::binary) << bytes;
    }
    static std::string file(const std::filesystem::path& name) {
        std::ifstream in(name, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
    // Gives the status of a tool, or -1 after a signal, and keeps what it says.
    int run(const std::string& command, const char* streams = " >out 2>err </dev/null") {
        const int result = std::system((command + streams).c_str());
        out = file("out");
        err = file("err");
        return WIFEXITED(result) && WEXITSTATUS(result) < 128 ? WEXITSTATUS(result) : -1;
    }

    const std::string usual = ::testing::TempDir(); // for tests that come later
    std::filesystem::path home;
    std::ptrdiff_t open_at_start;
    std::string out, err;
};

#endif
