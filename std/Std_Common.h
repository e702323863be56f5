// Small utilities of the whole library: text buffers, angles, raw copies.
#ifndef STD_STD_COMMON_H
#define STD_STD_COMMON_H

inline constexpr bool YES = true;
inline constexpr bool NO = false;

// An empty text in a fresh pointer-free collected buffer of `size` bytes (at
// least one).
char* str_new(int size);

// A copy of `text` in such a buffer, exactly long enough. Null gives null.
char* str_new(const char* text);

// Releases such a buffer early. Null is allowed.
void str_delete(char* text);

// printf into one of 16 static buffers of 512 bytes, in rotation. Longer results
// are cut.
// Lifetime: until the 16th call of the same thread after this one; copy what must last.
char* str_format(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Seconds of a clock that only goes forward.
double std_seconds_now();

float deg_to_rad(float degrees);
float rad_to_deg(float radians);

// Copy the 4 bytes (for short: 2 bytes) of a value as they stand. Either side
// may be unaligned.
void float_to_std(const void* from, void* to);
void std_to_float(const void* from, void* to);
void int_to_std(const void* from, void* to);
void std_to_int(const void* from, void* to);
void short_to_std(const void* from, void* to);
void std_to_short(const void* from, void* to);

#endif
