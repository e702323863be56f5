#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

#include "images/image_internal.h"
#include "std/Std_Descriptor.h"

bool img_badrow(const IMAGE* image, unsigned y, unsigned z) {
    return y >= image->ysize || z >= image->zsize;
}

// Of the tables. False for a weird dimension.
static bool find_entry(const IMAGE* image, unsigned y, unsigned z, std::size_t& entry) {
    switch (image->dim) {
    case 1:
        entry = 0;
        return true;
    case 2:
        entry = y;
        return true;
    case 3:
        entry = y + static_cast<std::size_t>(z) * image->ysize;
        return true;
    default:
        return false;
    }
}

int img_seek(IMAGE* image, unsigned y, unsigned z) {
    if (img_badrow(image, y, z)) {
        i_errhdlr("img_seek: row number out of range\n");
        return -1;
    }
    image->x = 0;
    image->y = static_cast<unsigned short>(y);
    image->z = static_cast<unsigned short>(z);
    if (!is_verbatim(image) && !is_rle(image)) {
        i_errhdlr("img_seek: weird image type\n");
        return -1;
    }
    std::size_t entry;
    if (!find_entry(image, y, z, entry)) {
        i_errhdlr("img_seek: weird dim\n");
        return -1;
    }
    // Verbatim rows lie in the order of the tables.
    const std::size_t row = static_cast<std::size_t>(image->xsize) * bytes_per_channel(image);
    const off_t offset = is_rle(image) ? static_cast<off_t>(image->rowstart[entry])
                                       : image_data_start + static_cast<off_t>(entry * row);
    return img_optseek(image, offset) ? 0 : -1;
}

int img_getrowsize(const IMAGE* image, unsigned y, unsigned z) {
    std::size_t entry;
    if (img_badrow(image, y, z) || !find_entry(image, y, z, entry)) return -1;
    return static_cast<int>(image->rowsize[entry]);
}

void img_setrowsize(IMAGE* image, unsigned count, unsigned y, unsigned z) {
    std::size_t entry;
    if (img_badrow(image, y, z) || !find_entry(image, y, z, entry)) return;
    unsigned int& size = image->rowsize[entry];
    image->rowstart[entry] = image->rleend;
    if (size != UINT32_MAX) image->wastebytes += size;
    size = count;
    image->rleend += count;
}

// Transfers name their place themselves, so that a seek costs nothing.
bool img_optseek(IMAGE* image, off_t offset) {
    image->offset = offset;
    return offset >= 0;
}

// After a failure the place is unknown, and everything fails until the next seek.
static bool advance(IMAGE* image, ssize_t done, std::size_t count) {
    const bool is_full = done >= 0 && static_cast<std::size_t>(done) == count;
    image->offset = is_full ? image->offset + static_cast<off_t>(count) : -1;
    return is_full;
}

bool img_read(IMAGE* image, void* buffer, std::size_t count) {
    return advance(image, pread(image->file, buffer, count, image->offset), count);
}

namespace {
// A piece of the file in memory.
template<std::size_t Room>
struct Piece {
    static constexpr std::size_t room = Room;
    off_t start;
    std::size_t length;
    unsigned char bytes[Room];
};
} // namespace

static const std::size_t read_step = 32768;

// The rows of a channel lie one behind the other, mostly, but those of the channels do not.
struct Image_Transfers {
    Piece<2 * read_step> ahead[4];
    bool is_holding;
    Piece<262144> held;
};

// Null if there is no memory: all goes well without, but slower.
static Image_Transfers* transfers_of(IMAGE* image) {
    if (!image->transfers)
        image->transfers = static_cast<Image_Transfers*>(std::calloc(1, sizeof(Image_Transfers)));
    return image->transfers;
}

// Pieces begin at full steps, so that rows may be read backwards, too.
const void* img_read_row(IMAGE* image, std::size_t count) {
    Image_Transfers* const transfers = transfers_of(image);
    // A piece holds any row that is not longer than a step, wherever it begins in it.
    if (!transfers || count > read_step)
        return img_read(image, image->tmpbuf, count) ? image->tmpbuf : nullptr;
    // One piece a channel: a reader takes row y of all channels before row y + 1 of any.
    auto& ahead = transfers->ahead[image->z % 4];
    const off_t from = image->offset, to = from + static_cast<off_t>(count);
    if (from < ahead.start || to > ahead.start + static_cast<off_t>(ahead.length)) {
        ahead.start = from - from % static_cast<off_t>(read_step);
        const ssize_t got = pread(image->file, ahead.bytes, ahead.room, ahead.start);
        ahead.length = static_cast<std::size_t>(std::max<ssize_t>(got, 0));
    }
    const bool is_there = to <= ahead.start + static_cast<off_t>(ahead.length);
    if (!advance(image, is_there ? static_cast<ssize_t>(count) : -1, count)) return nullptr;
    return ahead.bytes + (from - ahead.start);
}

// What fails is seen again when the image is closed.
static bool write_at(IMAGE* image, const void* buffer, std::size_t count, off_t offset) {
    if (std_write_all_at(image->file, buffer, count, offset)) return true;
    image->flags |= IMAGE_ERROR;
    return false;
}

static bool write_held(IMAGE* image) {
    auto& held = image->transfers->held;
    const std::size_t length = held.length;
    held.length = 0;
    return length == 0 || write_at(image, held.bytes, length, held.start);
}

// Only bytes that follow one another are gathered; a row elsewhere sends what is held on its way.
static bool hold_back(IMAGE* image, const void* buffer, std::size_t count) {
    auto& held = image->transfers->held;
    const bool follows = image->offset == held.start + static_cast<off_t>(held.length);
    if (!follows || count > held.room - held.length) {
        if (!write_held(image)) return false;
        held.start = image->offset;
    }
    if (count > held.room) return write_at(image, buffer, count, image->offset);
    std::memcpy(held.bytes + held.length, buffer, count);
    held.length += count;
    return true;
}

bool img_write(IMAGE* image, const void* buffer, std::size_t count) {
    const bool is_holding = image->transfers && image->transfers->is_holding;
    const bool is_full = is_holding ? hold_back(image, buffer, count)
                                    : write_at(image, buffer, count, image->offset);
    return advance(image, is_full ? static_cast<ssize_t>(count) : -1, count);
}

void img_hold_writes(IMAGE* image) {
    if (Image_Transfers* const transfers = transfers_of(image)) transfers->is_holding = true;
}

bool img_release_writes(IMAGE* image) {
    if (!image->transfers) return true;
    image->transfers->is_holding = false;
    return write_held(image);
}

// An encoded row of xsize values has at least a count and a value for each 127 of them.
static bool is_row_sound(const IMAGE* image, std::size_t entry, std::size_t file_size) {
    const std::size_t longest_packet = 127;
    const std::size_t start = image->rowstart[entry], size = image->rowsize[entry];
    // Less cannot hold the row; more than the work row can take was never written by anybody.
    const std::size_t packets = (image->xsize + longest_packet - 1) / longest_packet;
    return size >= 2 * packets * bytes_per_channel(image) && size <= img_work_row_size(image) &&
           start <= file_size && size <= file_size - start;
}

// Sizes that can be, of a type that is known; the file is a plain one of `file_size` bytes.
static bool is_header_sound(const IMAGE* image, std::size_t* file_size) {
    struct stat status;
    if (fstat(image->file, &status) != 0 || !S_ISREG(status.st_mode)) return false;
    *file_size = static_cast<std::size_t>(status.st_size);
    const unsigned bpp = bytes_per_channel(image);
    return image->xsize != 0 && table_entries(image) != 0 && (bpp == 1 || bpp == 2) &&
           image->dim >= 1 && image->dim <= 3 && (is_verbatim(image) || is_rle(image));
}

static std::size_t count_sound_rows(const IMAGE* image, std::size_t file_size) {
    const std::size_t planes = image->dim < 3 ? 1 : image->zsize;
    const std::size_t rows = planes * image->ysize;
    // Rows of one size need no table: the length of the file tells how many there are.
    if (is_verbatim(image)) {
        const std::size_t row = std::size_t{image->xsize} * bytes_per_channel(image);
        const auto start = static_cast<std::size_t>(image_data_start);
        return file_size < start ? 0 : std::min(rows, (file_size - start) / row);
    }
    std::size_t sound = 0; // rows may share their bytes
    for (std::size_t entry = 0; entry < rows; ++entry)
        sound += is_row_sound(image, entry, file_size);
    return sound;
}

bool img_is_sound(const IMAGE* image) {
    std::size_t file_size;
    return is_header_sound(image, &file_size) &&
           count_sound_rows(image, file_size) ==
               std::size_t{image->ysize} * (image->dim < 3 ? 1 : image->zsize);
}

bool img_has_rows(const IMAGE* image) {
    std::size_t file_size;
    return is_header_sound(image, &file_size) && count_sound_rows(image, file_size) > 0;
}
