// The text half of a GLB file. Internal.
//
//     Glb_Json json(descriptor);
//     json.object([&] {
//         json.key_and_numbers("matrix", frame.to_c(), 16);
//         json.objects("cameras", count, [&](int i) { ... });
//     });
//     const bool is_good = json.finish() > 0;
#ifndef WDB_GLB_JSON_H
#define WDB_GLB_JSON_H

#include <rapidjson/writer.h>

#include "std/Std_GC.h"
#include "wdb/Scene_Buffer.h"

// What the JSON library writes to.
class Glb_Stream {
public:
    using Ch = char;
    explicit Glb_Stream(int descriptor) : buffer_(*new (GCAtomic) Scene_Buffer) {
        buffer_.open(descriptor);
    }
    Glb_Stream(const Glb_Stream&) = delete;
    Glb_Stream& operator=(const Glb_Stream&) = delete;
    ~Glb_Stream() { std_release(&buffer_); }
    void Put(char c) {
        buffer_.bytes(&c, 1);
        ++size_;
    }
    void Flush() {}
    bool flush() { return buffer_.flush(); }
    unsigned long long size() const { return size_; }

private:
    Scene_Buffer& buffer_;
    unsigned long long size_ = 0;
};

class Glb_Json : private Glb_Stream, public rapidjson::Writer<Glb_Stream> {
public:
    explicit Glb_Json(int descriptor)
        : Glb_Stream(descriptor), rapidjson::Writer<Glb_Stream>(static_cast<Glb_Stream&>(*this)) {}

    // The shortest text that reads back to the same bits. Requires: it is finite.
    void number(float value);
    void numbers(const float* values, int count);
    // Bytes that are no UTF-8 are taken for Latin-1.
    void text(const char* text);
    void key_and_text(const char* key, const char* value) {
        Key(key);
        text(value);
    }
    void key_and_number(const char* key, float value) {
        Key(key);
        number(value);
    }
    void key_and_int(const char* key, long long value) {
        Key(key);
        Int64(value);
    }

    void key_and_numbers(const char* key, const float* values, int count) {
        Key(key);
        numbers(values, count);
    }

    // What `fill` writes, in its brackets.
    template<class Fill>
    void object(Fill fill) {
        StartObject();
        fill();
        EndObject();
    }
    template<class Fill>
    void object(const char* key, Fill fill) {
        Key(key);
        object(fill);
    }
    template<class Fill>
    void array(const char* key, Fill fill) {
        Key(key);
        StartArray();
        fill();
        EndArray();
    }
    // An array of so many objects; nothing for none, as the format wants no empty arrays.
    template<class Fill>
    void objects(const char* key, int count, Fill fill) {
        if (count == 0) return;
        array(key, [&] {
            for (int i = 0; i < count; ++i) object([&] { fill(i); });
        });
    }

    // Blanks up to a multiple of 4 bytes, as the format wants it. The size of all so far; 0 if
    // something could not be written, with errno.
    unsigned long long finish();
};

#endif
