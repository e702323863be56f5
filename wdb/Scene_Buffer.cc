#include "wdb/Scene_Buffer.h"

#include <charconv>

#include "std/Std_Format.h"

void Scene_Buffer::open(std::FILE* file) {
    file_ = file;
    used_ = 0;
    failed_ = false;
}

Scene_Buffer& Scene_Buffer::bytes_beyond_block(const char* bytes, std::size_t count) {
    while (count > block_size - used_) {
        const std::size_t part = block_size - used_;
        std::memcpy(block_ + used_, bytes, part);
        used_ = block_size;
        flush();
        bytes += part;
        count -= part;
    }
    return this->bytes(bytes, count);
}

Scene_Buffer& Scene_Buffer::integer(long long value) {
    const std::size_t longest = 20; // sign and 19 digits
    char* const at = reserve(longest);
    used_ = static_cast<std::size_t>(std::to_chars(at, at + longest, value).ptr - block_);
    return *this;
}

Scene_Buffer& Scene_Buffer::number(float value) {
    used_ = static_cast<std::size_t>(std_format_f(reserve(STD_FORMAT_F_MAX), value) - block_);
    return *this;
}

Scene_Buffer& Scene_Buffer::numbers(const float* xyz) {
    return number(xyz[0]).text(" ").number(xyz[1]).text(" ").number(xyz[2]);
}

bool Scene_Buffer::flush() {
    if (!failed_ && std::fwrite(block_, 1, used_, file_) != used_) failed_ = true;
    used_ = 0;
    return !failed_;
}

char* Scene_Buffer::reserve(std::size_t count) {
    if (count > block_size - used_) flush();
    return block_ + used_;
}
