#include "tools/Picture_File.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <unistd.h>

#ifdef NOLT_PNG
#include <png.h>
#endif

#include "std/Std_Common.h"
#include "std/Std_Output_File.h"

static bool is_sgi(const char* path) {
    const std::string_view name(path);
    return name.ends_with(".rgb") || name.ends_with(".sgi");
}

#ifdef NOLT_PNG

static constexpr bool has_png = true;

// On failure: the reason; else null.
static const char* write_png(const PX_Map& map, std::FILE* file) {
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(map.get_width());
    image.height = static_cast<png_uint_32>(map.get_height());
    image.format = PNG_FORMAT_RGB;
    // Negative: row 0 of the map is the last one of the file.
    const png_int_32 stride = -map.get_width() * map.get_component();
    errno = 0;
    if (png_image_write_to_stdio(&image, file, 0, map.get_pixels(), stride, nullptr))
        return nullptr;
    // The library says no more than "Write Error" where the system knows why.
    return errno != 0 ? std::strerror(errno) : str_format("%s", image.message);
}

static const char* save_png(const PX_Map& map, const char* path) {
    Std_Output_File out;
    if (!out.open(path, Std_Output_File::FOLLOW_LINKS)) return std::strerror(errno);
    const int descriptor = dup(out.descriptor());
    std::FILE* const file = descriptor < 0 ? nullptr : fdopen(descriptor, "wb");
    if (!file) {
        const int error = errno;
        if (descriptor >= 0) close(descriptor);
        return std::strerror(error);
    }
    const char* const complaint = write_png(map, file);
    const bool is_written = std::fclose(file) == 0;
    if (complaint) return complaint;
    return is_written && out.commit() ? nullptr : std::strerror(errno);
}

#else

static constexpr bool has_png = false;

static const char* save_png(const PX_Map&, const char*) {
    return "this build has no libpng";
}

#endif

const char* Picture_File::default_name() {
    return has_png ? "picture.png" : "picture.rgb";
}

bool Picture_File::can_save(const char* path) {
    return has_png || is_sgi(path);
}

const char* Picture_File::save(PX_Map& map, const char* path) {
    if (!is_sgi(path)) return save_png(map, path);
    return map.save(path) ? nullptr : "see above";
}
