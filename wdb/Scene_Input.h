// The bytes of a scene file on their way to the reader of lines: one large block that is filled
// from a URL or from the output of a command.
//
//     Scene_Input* const input = new (GCAtomic) Scene_Input(url, nullptr);
//     while (input->get_line(1023, &line, &length)) use(line, length);
//     delete input;
//
// The stream's own buffer stays unused: each physical line would be copied once more on its way
// through it. For pointer-free memory: whoever makes one also holds the URL or the stream.
// Internal.
#ifndef WDB_SCENE_INPUT_H
#define WDB_SCENE_INPUT_H

#include <cstddef>
#include <cstdio>

#include "std/Std_GC.h"
#include "std/Std_Scan.h"

class Load_Progress;
class Std_URL;

class Scene_Input : public Std_GC {
public:
    // From an open URL, or from the descriptor of a stream of which nothing has been read.
    // `progress`, if it is not null, hears of the bytes of the URL, and ends the file once it is
    // cancelled: in front of a line that is not whole by then.
    Scene_Input(Std_URL* url, Load_Progress* progress) : url_(url), progress_(progress) {}
    Scene_Input(std::FILE* stream, Load_Progress* progress)
        : stream_(stream), progress_(progress) {}

    // One physical line as fgets reads it: at most `longest` characters, with its line feed if that
    // is among them. False at the end of the file.
    // Requires: longest < block_size. Lifetime: until the next call.
    bool get_line(std::size_t longest, const char** line, std::size_t* length);

    // What has been read and not taken, and how much of it to take. A zero byte and the margin of
    // std_scan_row stand behind it; it may end in the middle of a line.
    // Lifetime: until the next call of another operation.
    const char* rest() const { return block_ + start_; }
    std::size_t left() const { return end_ - start_; }
    void skip(std::size_t count) { start_ += count; }

    // Takes all up to the end of the file. On failure to write: false, with errno.
    bool copy_to(int descriptor);

    static constexpr std::size_t block_size = 256 * 1024;

private:
    bool refill();
    std::size_t read(char* to, std::size_t count);

    Std_URL* url_ = nullptr;
    std::FILE* stream_ = nullptr;
    Load_Progress* progress_;
    std::size_t start_ = 0, end_ = 0;
    char block_[block_size + 1 + STD_SCAN_MARGIN];
};

#endif
