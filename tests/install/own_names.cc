// A program whose other headers have names of ours.
using GC = struct Of_The_Window_System*;
#define NOLT_NO_GC
#define None 0L
#define Bool int
#define True 1
#define False 0
#define Status int
#define Always 2
#define Success 0

#include <nolt/nolt.h>

#if NOLT_VERSION_MAJOR * 100 + NOLT_VERSION_MINOR < 2
#error "no version"
#endif

int main() {
    GC context = nullptr;
    return context == nullptr && new (std_gc) int == nullptr;
}
