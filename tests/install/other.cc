// Brings the C++ library to a program that has none to share, and has it allocate.
#include <sstream>

extern "C" std::size_t other_works() {
    std::ostringstream text;
    text << "a text that is longer than a short one";
    return text.str().size();
}
