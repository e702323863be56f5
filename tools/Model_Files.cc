#include "tools/Model_Files.h"

#include <charconv>
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
    : document_(std::move(document)), name_(document_name(suffix)), folder_(folder) {}

std::string percent_decoded(const std::string& path) {
    const int hexadecimal = 16;
    std::string plain;
    for (std::size_t i = 0; i < path.size(); ++i) {
        unsigned char byte = 0;
        const char* const digits = path.data() + i + 1;
        const bool is_escape =
            path[i] == '%' && i + 2 < path.size() &&
            std::from_chars(digits, digits + 2, byte, hexadecimal).ptr == digits + 2;
        plain += is_escape ? static_cast<char>(byte) : path[i];
        if (is_escape) i += 2;
    }
    return plain;
}

std::string model_companion(const std::string& folder, const std::string& path) {
    const std::string around = real_place(folder), place = real_place(folder + "/" + path);
    struct stat status;
    // A pipe or a device could go on for ever.
    const bool is_file = stat(place.c_str(), &status) == 0 && S_ISREG(status.st_mode);
    return is_file && place.starts_with(around == "/" ? around : around + "/") ? place
                                                                               : std::string();
}

std::string Model_Files::place_of(const char* path) const {
    if (folder_.empty() || path[0] == '/') return {};
    // Programs write the separators of their own system.
    std::string relative = path;
    for (char& c : relative)
        if (c == '\\') c = '/';
    const std::string place = model_companion(folder_, relative);
    return place.empty() ? model_companion(folder_, percent_decoded(relative)) : place;
}

bool Model_Files::Exists(const char* path) const {
    return path == name_ || !place_of(path).empty();
}

static unsigned char* read_all(const std::string& place, std::size_t* size) {
    const off_t largest = off_t{1} << 30;
    const int file = open(place.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    struct stat status;
    unsigned char* bytes = nullptr;
    if (file >= 0 && fstat(file, &status) == 0 && status.st_size <= largest) {
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
