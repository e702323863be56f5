#include "std/Std_Common.h"

#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <numbers>

#include "std/Std_GC.h"

char* str_new(int size) {
    return new (GCAtomic) char[size > 0 ? static_cast<unsigned>(size) : 1u];
}

char* str_new(const char* text) {
    if (!text) return nullptr;
    const std::size_t size = std::strlen(text) + 1;
    return static_cast<char*>(std::memcpy(new (GCAtomic) char[size], text, size));
}

void str_delete(char* text) {
    std_release(text);
}

char* str_format(const char* format, ...) {
    constexpr int buffer_count = 16;
    constexpr int buffer_size = 512;
    // Overwritten in turn by every call of the thread; all reports pass through here.
    static thread_local char buffers[buffer_count][buffer_size];
    static thread_local int current = 0;

    current = (current + 1) % buffer_count;
    char* text = buffers[current];
    va_list arguments;
    va_start(arguments, format);
    // A format that fails, as for a character that the locale does not know, gives no text at all.
    if (std::vsnprintf(text, buffer_size, format, arguments) < 0) text[0] = '\0';
    va_end(arguments);
    return text;
}

double std_seconds_now() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

float deg_to_rad(float degrees) {
    return static_cast<float>(static_cast<double>(degrees / 180.0f) * std::numbers::pi);
}

float rad_to_deg(float radians) {
    return static_cast<float>((static_cast<double>(radians) / std::numbers::pi) * 180.0);
}

void float_to_std(const void* from, void* to) {
    std::memcpy(to, from, 4);
}
void std_to_float(const void* from, void* to) {
    std::memcpy(to, from, 4);
}
void int_to_std(const void* from, void* to) {
    std::memcpy(to, from, 4);
}
void std_to_int(const void* from, void* to) {
    std::memcpy(to, from, 4);
}
void short_to_std(const void* from, void* to) {
    std::memcpy(to, from, 2);
}
void std_to_short(const void* from, void* to) {
    std::memcpy(to, from, 2);
}
