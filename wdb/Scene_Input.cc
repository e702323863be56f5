#include "wdb/Scene_Input.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <unistd.h>

#include "std/Std_Load_Budget.h"
#include "std/Std_URL.h"
#include "wdb/Load_Progress.h"

bool Scene_Input::get_line(std::size_t longest, const char** line, std::size_t* length) {
    const char* feed;
    std::size_t seen = 0;
    for (;;) {
        const std::size_t window = std::min(left(), longest);
        // Only in what has come since: with many short reads the whole would be quadratic.
        feed = static_cast<const char*>(std::memchr(rest() + seen, '\n', window - seen));
        seen = window;
        if (feed || window == longest || !refill()) break;
    }
    *line = rest();
    *length = feed ? static_cast<std::size_t>(feed + 1 - *line) : seen;
    skip(*length);
    return *length > 0;
}

bool Scene_Input::copy_to(int descriptor) {
    while (left() > 0 || refill()) {
        if (!std_store(descriptor, rest(), left())) return false;
        start_ = end_;
    }
    return true;
}

// Moves what is left to the front and reads behind it. False at the end of the file.
bool Scene_Input::refill() {
    std::memmove(block_, rest(), left());
    end_ -= start_;
    start_ = 0;
    std::size_t count = read(block_ + end_, block_size - end_);
    if (progress_) {
        progress_->came(count, url_ != nullptr);
        if (progress_->is_cancelled()) end_ = count = 0;
    }
    end_ += count;
    block_[end_] = '\0'; // where any scan ends
    return count > 0;
}

std::size_t Scene_Input::read(char* to, std::size_t count) {
    if (url_) return url_->read(to, count);
    ssize_t got;
    do got = ::read(fileno(stream_), to, count);
    while (got < 0 && errno == EINTR);
    return got > 0 ? static_cast<std::size_t>(got) : 0;
}
