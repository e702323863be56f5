#include "images/image.h"

#include <fcntl.h>
#include <malloc.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "images/image_internal.h"
#include "tests/Scratch_Folder.h"

using std::string_literals::operator""s;
using Row = std::vector<unsigned short>;

static std::string errors; // what the hook was told

// A file, and a hook that collects errors.
class Image_test : public Scratch_Folder_Test {
protected:
    Image_test() {
        errors.clear();
        i_seterror([](char* message) { errors += message; });
    }
    ~Image_test() override {
        i_setbyteorder(IMAGE_NATIVE_ORDER);
        i_seterror(nullptr);
    }
    std::string bytes() const { return file(path); }
    void put_bytes(const std::string& text) const { put_file(path, text); }
    IMAGE* open_new(unsigned type, unsigned dim, unsigned x, unsigned y, unsigned z) const {
        return iopen(path.c_str(), "w", type, dim, x, y, z);
    }
    const std::string path = "image";
};

// The row on its way through the encoder and back.
static std::string packets(const std::vector<unsigned char>& values) {
    std::string out(2 * values.size() + 1, '\0');
    out.resize(static_cast<std::size_t>(
        img_rle_compact(values.data(), 1, out.data(), 1, static_cast<int>(values.size()))));
    return out;
}

TEST(Image_rle, packets) {
    const std::pair<std::vector<unsigned char>, std::string> rows[] = {
        {std::vector<unsigned char>(300, 'x'), "\x7Ex\x7Ex\x30x\0"s},
        {{'a', 'b', 'c', 'd'}, "\x82\x61\x62\1c\1d\0"s},
        {{'a', 'a', 'b', 'c', 'd', 'd', 'd', 'e'}, "\x84\x61\x61\x62\x63\3d\1e\0"s},
        {{'a'}, "\1a\0"s},
        {{}, "\0"s},
        // 127 left are a packet of 126 and one more.
        {std::vector<unsigned char>(127, 'y'), "\x7Ey\1y\0"s}};
    for (const auto& [values, should] : rows) EXPECT_EQ(packets(values), should);
    // 128 values in literal packets of at most 126, then the last two one by one.
    std::vector<unsigned char> counting(130);
    for (std::size_t i = 0; i < counting.size(); ++i) counting[i] = static_cast<unsigned char>(i);
    const std::string long_literal = packets(counting);
    EXPECT_EQ(long_literal.substr(0, 2) + long_literal.substr(127),
              "\xFE\0\x82\x7E\x7F\1\x80\1\x81\0"s);
}

TEST(Image_rle, every_pair_of_sizes_comes_back) {
    std::mt19937 random(5);
    for (int round = 0; round < 500; ++round) {
        const int count = static_cast<int>(random() % 700);
        std::vector<unsigned short> in(static_cast<std::size_t>(count)), out(in.size() + 8, 0xAAAA);
        for (std::size_t i = 0; i < in.size(); ++i)
            in[i] = i > 0 && random() % 3 ? in[i - 1] : static_cast<unsigned short>(random() % 256);
        for (int size : {1, 2}) {
            std::vector<unsigned short> rle(2 * in.size() + 1);
            const int length = img_rle_compact(in.data(), 2, rle.data(), size, count);
            ASSERT_LE(length, 2 * count + 1);
            EXPECT_EQ(img_rle_expand(rle.data(), size, length, out.data(), 2, count), count);
            ASSERT_TRUE(std::equal(in.begin(), in.end(), out.begin()));
            EXPECT_EQ(out[in.size()], 0xAAAA);
            // Whatever is cut off, nothing is written past the room.
            const int cut = static_cast<int>(random() % static_cast<unsigned>(length + 1));
            img_rle_expand(rle.data(), size, cut, out.data(), 2, count / 2);
            EXPECT_EQ(out[in.size()], 0xAAAA);
            std::vector<unsigned char> bytes(in.begin(), in.end()), again(in.size());
            EXPECT_EQ(img_rle_compact(bytes.data(), 1, rle.data(), size, count), length);
            img_rle_expand(rle.data(), size, length, again.data(), 1, count);
            EXPECT_EQ(again, bytes);
        }
    }
}

TEST_F(Image_test, all_kinds_in_both_orders_come_back) {
    std::mt19937 random(6);
    for (Image_Byte_Order order : {IMAGE_NATIVE_ORDER, IMAGE_BIG_ENDIAN})
        for (unsigned type : {VERBATIM(1), VERBATIM(2), RLE(1), RLE(2)})
            for (unsigned dim : {1u, 2u, 3u})
                for (unsigned xsize : {1u, 2u, 3u, 300u}) {
                    SCOPED_TRACE(std::to_string(type) + " dim " + std::to_string(dim) + " x " +
                                 std::to_string(xsize));
                    const unsigned ysize = dim < 2 ? 1 : 5, zsize = dim < 3 ? 1 : 3;
                    std::vector<Row> rows(ysize * zsize, Row(xsize));
                    i_setbyteorder(order);
                    IMAGE* image = open_new(type, dim, xsize, 5, 3);
                    for (std::size_t i = rows.size(); i-- > 0;) {
                        for (auto& v : rows[i])
                            v = static_cast<unsigned short>(random() % ((type & 2) ? 65536 : 256) &
                                                            (random() % 2 ? 0xFFFF : 0));
                        ASSERT_EQ(putrow(image, rows[i].data(), static_cast<unsigned>(i % ysize),
                                         static_cast<unsigned>(i / ysize)),
                                  static_cast<int>(xsize));
                    }
                    ASSERT_EQ(iclose(image), 0);
                    image = iopen(path.c_str(), "r");
                    ASSERT_NE(image, nullptr);
                    EXPECT_EQ(image->dim, dim);
                    EXPECT_TRUE(img_is_sound(image));
                    for (std::size_t i = 0; i < rows.size(); ++i) {
                        Row row(xsize);
                        EXPECT_EQ(getrow(image, row.data(), static_cast<unsigned>(i % ysize),
                                         static_cast<unsigned>(i / ysize)),
                                  static_cast<int>(xsize));
                        EXPECT_EQ(row, rows[i]);
                    }
                    iclose(image);
                }
    EXPECT_EQ(errors, "");
}

TEST_F(Image_test, bytes_of_a_file) {
    const auto number = [](unsigned value, int size, bool is_big) {
        std::string text;
        for (int i = 0; i < size; ++i)
            text += static_cast<char>(value >> 8 * (is_big ? size - 1 - i : i));
        return text;
    };
    for (bool is_big : {false, true}) {
        if (!is_big && std::endian::native == std::endian::big) continue;
        i_setbyteorder(is_big ? IMAGE_BIG_ENDIAN : IMAGE_NATIVE_ORDER);
        IMAGE* image = open_new(RLE(1), 2, 4, 2, 7);
        Row row = {4, 4, 4, 5};
        for (int i = 0; i < 2; ++i) putrow(image, row.data(), 1, 0); // the first is waste
        isetcolormap(image, 3);
        iclose(image);
        std::string should;
        for (unsigned value : {474u, 0x0101u, 2u, 4u, 2u, 1u}) should += number(value, 2, is_big);
        for (unsigned value : {4u, 5u, 5u}) should += number(value, 4, is_big); // min, max, waste
        should += "no name" + std::string(73, '\0') + number(3, 4, is_big) + std::string(404, '\0');
        for (unsigned value : {0u, 533u, ~0u, 5u}) should += number(value, 4, is_big);
        EXPECT_EQ(bytes(), should + "\3\4\1\5\0\3\4\1\5\0"s) << is_big;
    }
}

// A disk that fails after so many reads; of none if it is negative.
static int good_reads = -1;
extern "C" ssize_t pread(int file, void* to, std::size_t size, off_t at) {
    if (good_reads == 0) return -1;
    good_reads -= good_reads > 0;
    return syscall(SYS_pread64, file, to, size, at);
}

static std::size_t allocated() {
#if __GLIBC_PREREQ(2, 33)
    return mallinfo2().uordblks;
#else
    return 0;
#endif
}

TEST_F(Image_test, refusals) {
    EXPECT_EQ(iopen("/no/such/file", "r"), nullptr);
    EXPECT_EQ(errors, "");
    IMAGE* image = open_new(RLE(1), 3, 10, 4, 2);
    Row row(10, 7);
    EXPECT_EQ(getrow(image, row.data(), 0, 0), -1);
    EXPECT_EQ(putrow(image, row.data(), 4, 0), -1);
    putrow(image, row.data(), 1, 1);
    iclose(image);
    image = iopen(path.c_str(), "r");
    EXPECT_EQ(putrow(image, row.data(), 0, 0), -1);
    EXPECT_EQ(getrow(image, row.data(), 0, 0), -1) << "never written";
    EXPECT_EQ(getrow(image, row.data(), 1, 1), 10);
    EXPECT_EQ(getrow(image, row.data(), 1, 2), -1);
    EXPECT_FALSE(img_is_sound(image));
    iclose(image);
    const std::string good = bytes();
    EXPECT_EQ(errors, "img_seek: row number out of range\nimg_seek: row number out of range\n");

    const std::tuple<int, std::string, const char*, const char*> rows[] = {
        {-1, good, "r+", "iopen: read/write mode not supported\n"},
        {-1, good.substr(0, 151), "r", "iopen: error on read of image header\n"},
        {-1, good.substr(0, 520), "r", "iopen: error on read of rowstart\n"},
        {-1, std::string(512, 'x'), "r", "iopen: bad magic in image file 7878\n"},
        {0, good, "r", "iopen: error on read of image header\n"},
        {1, good, "r", "iopen: error on read of rowstart\n"},
        {2, good, "r", "iopen: error on read of rowsize\n"},
    };
    for (const auto& [reads, text, mode, error] : rows) {
        put_bytes(text);
        const std::size_t before = allocated();
        for (int i = 0; i < 300; ++i) {
            errors.clear();
            good_reads = reads;
            EXPECT_EQ(iopen(path.c_str(), mode), nullptr) << error;
            good_reads = -1;
            EXPECT_EQ(errors, error);
        }
        EXPECT_LT(allocated() - before, 4000u) << error << ": memory stays behind";
    }
    const std::size_t before = allocated();
    for (int i = 0; i < 300; ++i) {
        image = iopen(path.c_str(), "r");
        getrow(image, row.data(), 1, 1);
        iclose(image);
        std::free(image); // which is left to us
    }
    EXPECT_LT(allocated() - before, 4000u) << "memory stays behind a close";
    errors.clear();
    EXPECT_EQ(iopen("/no/such/folder/x", "w", RLE(1), 1, 1), nullptr);
    EXPECT_EQ(iopen("/dev/full", "w", RLE(1), 1, 1), nullptr);
    EXPECT_EQ(errors, "iopen: can't open output file /no/such/folder/x\n"
                      "iopen: error on write of image header\n");
    EXPECT_EQ(open_new(RLE(1), 3, 1, 65535, 65535), nullptr);
    i_seterror(nullptr);
    EXPECT_FATAL(iopen(path.c_str(), "w+"), "^iopen: read/write");
}

// Nothing but a header, of 152 bytes, and tables: such files can be opened.
TEST_F(Image_test, weird_types) {
    const std::tuple<unsigned, std::size_t, const char*, const char*> rows[] = {
        {VERBATIM(3), 152, "putrow: weird bpp\n", "getrow: weird bpp\n"},
        {RLE(0), 520, "putrow: weird bpp\n", "getrow: weird bpp\n"},
        {0x0201, 152, "putrow: weird image type\n", "img_seek: weird image type\n"}};
    for (const auto& [type, size, put_error, get_error] : rows) {
        errors.clear();
        IMAGE* image = open_new(type, 1, 4, 1, 1);
        Row row(4);
        EXPECT_EQ(putrow(image, row.data(), 0, 0), -1);
        iclose(image);
        EXPECT_EQ(bytes().size(), size);
        ASSERT_TRUE(image = iopen(path.c_str(), "r"));
        EXPECT_EQ(getrow(image, row.data(), 0, 0), -1);
        iclose(image);
        EXPECT_EQ(errors, std::string(put_error) + get_error);
    }
}
