// Any text as VRML, in the converter itself. What comes out is what the scene reader takes: lines
// that fit, names that fit, and numbers of single precision.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>

#include "tools/Vrml_Converter.h"

static void check_numbers(const std::string& numbers) {
    std::istringstream words(numbers);
    for (std::string word; words >> word;) {
        if (word.size() == 1 && std::strchr("pnctm", word[0])) continue;
        if (word.find_first_not_of("0123456789+-.e") != std::string::npos) std::abort();
        char* end;
        if (std::strtof(word.c_str(), &end) > 3.4028235e38f || *end) std::abort();
    }
}

static void check_line(const std::string& line) {
    const std::size_t longest_line = 1023, longest_name = 127;
    std::istringstream words(line);
    std::string keyword, name;
    words >> keyword >> name;
    if (line.size() > longest_line || line.ends_with('\\')) std::abort();
    if (!line.starts_with("  ")) {
        const bool is_name = keyword == "}" || keyword == "import" || name.ends_with(".x_vrml_1");
        if (!is_name || name.size() > longest_name) std::abort();
        return;
    }
    for (const char* with_names : {"material", "texture", "geometry", "url", "file", "image"})
        if (keyword == with_names) return;
    check_numbers(line.substr(2 + keyword.size()));
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static std::FILE* const nowhere = std::fopen("/dev/null", "w");
    char* scene = nullptr;
    std::size_t length = 0;
    std::FILE* const out = open_memstream(&scene, &length);
    if (!nowhere || !out) return 0;
    // Inputs that repeat themselves without an end are to be no slower than others.
    const std::size_t most_work = 20000;
    vrml_convert(std::string(reinterpret_cast<const char*>(data), size),
                 {"x_vrml_1", "", most_work}, out, nowhere);
    std::fclose(out);
    std::istringstream lines(std::string(scene, length));
    std::free(scene);
    for (std::string line; std::getline(lines, line);) check_line(line);
    return 0;
}
