#include "std/Std_Load_Budget.h"

#include <algorithm>
#include <cerrno>

#include "std/Std_Descriptor.h"
#include "std/Std_Limits.h"

static thread_local Std_Load_Budget* current = nullptr;

Std_Load_Budget::Std_Load_Budget() : outer_(current) {
    current = this;
}

Std_Load_Budget::~Std_Load_Budget() {
    current = outer_;
}

std::size_t Std_Load_Budget::take(Kind kind, std::size_t count) {
    if (!current) return count;
    const long long limits[] = {std_limits.load_fetched_bytes, std_limits.load_unpacked_bytes,
                                std_limits.load_stored_bytes};
    long long& taken = current->taken_[kind];
    const long long room = std::max(limits[kind] - taken, 0ll);
    const long long allowed = std::min(static_cast<long long>(count), room);
    taken += allowed;
    return static_cast<std::size_t>(allowed);
}

bool std_store(int file, const void* bytes, std::size_t count) {
    if (Std_Load_Budget::take(Std_Load_Budget::STORED, count) == count)
        return std_write_all(file, bytes, count);
    errno = EFBIG;
    return false;
}
