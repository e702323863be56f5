// Text of a scene file on its way to disk: one large block in front of a descriptor.
//
//     Scene_Buffer out;
//     out.open(descriptor);
//     out.text("  Shininess ").number(32.0f).text("\n");      // "  Shininess 32.000000\n"
//     bool complete = out.flush();
//
// Characters are those that fprintf gives for "%s", "%d" and "%f". Nothing is cut. Once a write has
// failed the rest is dropped and flush() says so.
#ifndef WDB_SCENE_BUFFER_H
#define WDB_SCENE_BUFFER_H

#include <cstddef>
#include <cstring>

class Scene_Buffer {
public:
    // Starts on a descriptor, which the caller closes after flush().
    void open(int descriptor);

    // Expanded at the call, where the length of a literal is known.
    Scene_Buffer& text(const char* text) { return bytes(text, std::strlen(text)); }
    Scene_Buffer& bytes(const char* bytes, std::size_t count) {
        if (count > block_size - used_) return bytes_beyond_block(bytes, count);
        std::memcpy(block_ + used_, bytes, count);
        used_ += count;
        return *this;
    }
    Scene_Buffer& integer(long long value);
    Scene_Buffer& number(float value);

    // False, with the errno of the first that failed, if any write since open() has.
    bool flush();

private:
    Scene_Buffer& bytes_beyond_block(const char* bytes, std::size_t count);

    // Makes room for `count` characters and returns where they go; count <= block_size.
    char* reserve(std::size_t count);

    // Large enough that the system calls vanish beside the formatting.
    static constexpr std::size_t block_size = 1u << 16;

    int descriptor_ = -1;
    std::size_t used_ = 0;
    int error_ = 0;
    char block_[block_size];
};

#endif
