#include "wdb/Scene_Buffer.h"

#include <cerrno>
#include <charconv>

#include "std/Std_Descriptor.h"
#include "std/Std_Format.h"

void Scene_Buffer::open(int descriptor) {
    descriptor_ = descriptor;
    used_ = 0;
    error_ = 0;
}

Scene_Buffer& Scene_Buffer::bytes_beyond_block(const char* bytes, std::size_t count) {
    // Each turn sends a full block, and flush empties it also where it fails: so this ends.
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
    // Formatted where it stays, without a copy.
    char* const at = reserve(longest);
    used_ = static_cast<std::size_t>(std::to_chars(at, at + longest, value).ptr - block_);
    return *this;
}

Scene_Buffer& Scene_Buffer::number(float value) {
    used_ = static_cast<std::size_t>(std_format_f(reserve(STD_FORMAT_F_MAX), value) - block_);
    return *this;
}

bool Scene_Buffer::flush() {
    // The first failure is the reason; nothing behind a hole in the file is worth a write.
    if (error_ == 0 && !std_write_all(descriptor_, block_, used_)) error_ = errno;
    used_ = 0;
    errno = error_;
    return error_ == 0;
}

char* Scene_Buffer::reserve(std::size_t count) {
    if (count > block_size - used_) flush();
    return block_ + used_;
}
