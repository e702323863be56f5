#include "wdb/Load_Progress.h"

#include "wdb/wdb_load.h"

// Programs draw a bar: more calls would show nothing more.
static const long long interval = 64 * 1024;

void Load_Progress::begin_document(long long size) {
    if (size < 0) is_total_known_ = false;
    total_ += size;
}

void Load_Progress::came(std::size_t count, bool is_of_document) {
    since_ += static_cast<long long>(count);
    if (is_of_document) done_ += static_cast<long long>(count);
    if (since_ >= interval || (count == 0 && since_ > 0)) tell();
}

void Load_Progress::tell() {
    since_ = 0;
    if (is_cancelled_) return;
    is_cancelled_ = options_.progress(done_, is_total_known_ ? total_ : 0);
}
