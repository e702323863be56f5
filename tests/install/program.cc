// Uses the library by way of a shared object of its own.
#include <cstdlib>
#include <iostream>
#include <new>

#ifdef PROGRAM_HAS_OWN_NEW
#include <nolt/std/Std_Own_New.h>
NOLT_OWN_NEW
#endif

#ifdef PROGRAM_HAS_OPERATORS
// The others go by these.
void* operator new(std::size_t size) {
    return static_cast<char*>(std::malloc(size + 16)) + 16;
}
void operator delete(void* p) noexcept {
    if (p) std::free(static_cast<char*>(p) - 16);
}
#endif

extern "C" bool plugin_works();

int main() {
    delete[] new (std::nothrow) int[5];
    std::cout << (plugin_works() ? "works" : "fails") << std::endl;
}
