// Any text as a URL, its second line as one relative to the first; and its path as a word of a
// shell command, which must come back whole.
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include "std/Std_Shell.h"
#include "std/Std_URL.h"
#include "tests/fuzz/shell_word.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::size_t end = text.find('\n');
    const Std_URL base(text.substr(0, end).c_str());
    const Std_URL relative(end == std::string::npos ? "" : text.c_str() + end + 1);
    const Std_URL* const composed = base.composed_with(&relative);
    std::ostringstream out;
    out << base << relative << composed;
    if (!base.is_valid() && !base.get_path().empty()) std::abort();

    const std::string path = composed->get_path().chars();
    if (word_of(std_shell_argument(path.c_str())) != path) std::abort();
    return 0;
}
