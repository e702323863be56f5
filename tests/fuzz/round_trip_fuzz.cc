// Scenes that are loaded, saved and loaded again: what was written is read without an error, but
// for lines and names past the reader's limits, and nothing is lost on the second way.
#include <algorithm>

#include "tests/fuzz/scene_in_memory.h"
#include "wdb/WDB_Lex_Context.h"
#include "wdb/wdb_save.h"

static std::string save_to_memory(WDB_Database& world) {
    wdb_save(world, saved_path); // not 0 if an image cannot be written
    std::string text(static_cast<std::size_t>(lseek(saved, 0, SEEK_END)), '\0');
    if (pread(saved, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size()))
        std::abort();
    return text;
}

// Whether a joined line, or a word or text in one, is longer than the reader takes.
static bool is_beyond_limits(const std::string& text) {
    std::size_t line = 0, word = 0;
    bool is_quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool is_joined = text[i] == '\\' && i + 1 < text.size() && text[i + 1] == '\n';
        if (text[i] == '"') is_quoted = !is_quoted;
        line = text[i] == '\n' ? 0 : line + 1;
        const bool ends = text[i] == '\n' || text[i] == '"' || (text[i] == ' ' && !is_quoted);
        word = ends ? 0 : word + 1;
        if (is_joined) ++i, word = 0;
        if (line > WDB_Lex_Context::LONGEST_LINE || word > WDB_Lex_Context::LONGEST_NAME)
            return true;
    }
    return false;
}

// The counters at the end, all lines of them.
static std::string counters_of(const std::string& text) {
    return text.substr(std::min(text.size(), text.rfind("# -- Number of cameras")));
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    WDB_Database* const world = load_from_memory(data, size);
    if (!world) return 0;
    const std::string first = save_to_memory(*world);
    if (is_beyond_limits(first) || first.find("!!!") != std::string::npos) return 0;
    WDB_Database* const again =
        load_from_memory(reinterpret_cast<const std::uint8_t*>(first.data()), first.size());
    const bool is_told = reports()->text.find(": Error") != std::string::npos;
    // Pictures are not there any more, a triangle may have lost its normal to six decimals, and
    // URLs may hold what no string may.
    const bool may_be_told = first.find("Image") != std::string::npos ||
                             first.find("  URL ") != std::string::npos ||
                             reports()->text.find("triangles skipped") != std::string::npos;
    if (is_told && !may_be_told) std::abort();
    // Names of pictures grow with each way, by the folder of the scene.
    if (may_be_told) return 0;
    const std::string second = save_to_memory(*again);
    WDB_Database* const third =
        load_from_memory(reinterpret_cast<const std::uint8_t*>(second.data()), second.size());
    if (counters_of(save_to_memory(*third)) != counters_of(second)) std::abort();
    return 0;
}
