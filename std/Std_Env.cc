#include "std/Std_Env.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

#include "std/Std_GC.h"

int Std_Env::getenv_value(const char* name) {
    const char* value = std::getenv(name);
    if (!value) return 0;
    if (value[0] != '\0' && std::strchr("0nNfF", value[0])) return 0;
    const long number = std::strtol(value, nullptr, 10);
    return number > 0 ? static_cast<int>(std::min<long>(number, INT_MAX)) : 1;
}

int Std_Env::setenv(const char* name, const char* value, int overwrite) {
    if (!overwrite && std::getenv(name)) return 0;
    // The entry becomes part of the environment, which the collector does not
    // scan: it is never released. Built at its own length, so nothing is cut.
    const std::size_t size = std::strlen(name) + std::strlen(value) + 2;
    char* entry = new (NoGCAtomic) char[size];
    std::snprintf(entry, size, "%s=%s", name, value);
    return ::putenv(entry);
}

void Std_Env::unsetenv(const char* name) {
    // The later entries move down, also those of the same name: an environment may hold one twice.
    const std::size_t length = std::strcspn(name, "=");
    char** kept = environ;
    if (!kept) return;
    for (char** entry = environ; *entry; ++entry) {
        const bool goes = std::strncmp(*entry, name, length) == 0 && (*entry)[length] == '=';
        if (!goes) *kept++ = *entry;
    }
    *kept = nullptr;
}
