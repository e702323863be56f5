#include "wdb/Glb_Json.h"

#include <charconv>
#include <string>

void Glb_Json::number(float value) {
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, value).ptr;
    RawValue(text, static_cast<std::size_t>(end - text), rapidjson::kNumberType);
}

void Glb_Json::numbers(const float* values, int count) {
    StartArray();
    for (int i = 0; i < count; ++i) number(values[i]);
    EndArray();
}

// The length of the UTF-8 character at `c`; 0 if there is none: also for what is longer than it
// has to be, for surrogates, and beyond the last character.
static int utf8_length(const unsigned char* c) {
    const auto follows = [&](int i) { return (c[i] & 0xC0) == 0x80; };
    if (c[0] < 0x80) return 1;
    if (c[0] >= 0xC2 && c[0] < 0xE0) return follows(1) ? 2 : 0;
    if ((c[0] & 0xF0) == 0xE0) {
        const bool is_bad = (c[0] == 0xE0 && c[1] < 0xA0) || (c[0] == 0xED && c[1] >= 0xA0);
        return follows(1) && follows(2) && !is_bad ? 3 : 0;
    }
    if (c[0] >= 0xF0 && c[0] < 0xF5) {
        const bool is_bad = (c[0] == 0xF0 && c[1] < 0x90) || (c[0] == 0xF4 && c[1] >= 0x90);
        return follows(1) && follows(2) && follows(3) && !is_bad ? 4 : 0;
    }
    return 0;
}

void Glb_Json::text(const char* text) {
    std::string good;
    const auto* c = reinterpret_cast<const unsigned char*>(text);
    while (*c) {
        if (const int length = utf8_length(c)) {
            good.append(reinterpret_cast<const char*>(c), static_cast<std::size_t>(length));
            c += length;
        } else {
            good += static_cast<char>(0xC0 | *c >> 6);
            good += static_cast<char>(0x80 | (*c & 0x3F));
            ++c;
        }
    }
    String(good.data(), static_cast<rapidjson::SizeType>(good.size()));
}

unsigned long long Glb_Json::finish() {
    while (size() % 4 != 0) Put(' ');
    return flush() ? size() : 0;
}
