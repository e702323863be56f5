#include "tools/Model_Files.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include <assimp/MemoryIOWrapper.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

static std::string real_place(const std::string& path) {
    char* const real = realpath(path.c_str(), nullptr);
    std::string place = real ? real : "";
    std::free(real);
    return place;
}

Model_Files::Model_Files(std::string document, const std::string& suffix, const std::string& folder)
    : document_(std::move(document)), name_(document_name(suffix)),
      folder_(folder.empty() ? folder : real_place(folder)) {}

std::string Model_Files::place_of(const char* path) const {
    if (folder_.empty() || path[0] == '/') return {};
    // Programs write the separators of their own system.
    std::string relative = path;
    for (char& c : relative)
        if (c == '\\') c = '/';
    const std::string place = real_place(folder_ + "/" + relative);
    struct stat status;
    // A pipe or a device could go on for ever.
    const bool is_file = stat(place.c_str(), &status) == 0 && S_ISREG(status.st_mode);
    const std::string inside = folder_ == "/" ? folder_ : folder_ + "/";
    return is_file && place.starts_with(inside) ? place : std::string();
}

bool Model_Files::Exists(const char* path) const {
    return path == name_ || !place_of(path).empty();
}

static unsigned char* read_all(const std::string& place, std::size_t* size) {
    const off_t most_bytes = off_t{1} << 30;
    const int file = open(place.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    struct stat status;
    unsigned char* bytes = nullptr;
    if (file >= 0 && fstat(file, &status) == 0 && status.st_size <= most_bytes) {
        *size = static_cast<std::size_t>(status.st_size);
        bytes = new unsigned char[*size + 1];
        std::size_t at = 0;
        ssize_t got;
        while (at < *size && (got = read(file, bytes + at, *size - at)) > 0)
            at += static_cast<std::size_t>(got);
        *size = at;
    }
    if (file >= 0) close(file);
    return bytes;
}

Assimp::IOStream* Model_Files::Open(const char* path, const char* mode) {
    if (std::strchr(mode, 'w') || std::strchr(mode, 'a')) return nullptr;
    if (path == name_)
        return new Assimp::MemoryIOStream(reinterpret_cast<const std::uint8_t*>(document_.data()),
                                          document_.size());
    const std::string place = place_of(path);
    if (place.empty()) return nullptr;
    std::size_t size = 0;
    const unsigned char* const bytes = read_all(place, &size);
    const bool owns_bytes = true;
    return bytes ? new Assimp::MemoryIOStream(bytes, size, owns_bytes) : nullptr;
}
