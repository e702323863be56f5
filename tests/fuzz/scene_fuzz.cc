// Whole scenes through wdb_load.
//
// Nothing is collected under NOLT_PLAIN_HEAP, so a run grows until it is started again.
#include "tests/fuzz/scene_in_memory.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    load_from_memory(data, size);
    return 0;
}
