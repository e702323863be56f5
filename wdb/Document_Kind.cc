#include "wdb/Document_Kind.h"

#include <cstring>
#include <initializer_list>

static bool has(const char* text, const char* part) {
    return std::strstr(text, part) != nullptr;
}

static bool starts(const char* text, const char* mark) {
    return std::strncmp(text, mark, std::strlen(mark)) == 0;
}

// The kinds of XML, by what their first lines name.
static const char* markup_kind(const char* text) {
    if (has(text, "<X3D")) return "an X3D scene";
    if (has(text, "<COLLADA")) return "a Collada scene";
    if (has(text, "<html") || has(text, "<HTML") || has(text, "<!DOCTYPE html") ||
        has(text, "<!doctype html"))
        return "an HTML page";
    return "an XML document";
}

const char* document_kind(const char* beginning, bool goes_on) {
    struct Mark {
        const char *mark, *kind;
    };
    for (const Mark& k : std::initializer_list<Mark>{
             {"\x89PNG", "a PNG image"},
             {"\xff\xd8\xff", "a JPEG image"},
             {"\x01\xda", "an SGI image"},
             {"GIF8", "a GIF image"},
             {"PK\x03\x04", "a ZIP archive"},
             {"\x7f"
              "ELF",
              "a program (ELF)"},
             {"%PDF", "a PDF document"},
             {"glTF", "a glTF scene"},
             {"solid", "an STL mesh"},
             {"ply", "a PLY mesh"},
             {"mtllib", "an OBJ mesh"},
             {"v ", "an OBJ mesh"},
             {"vn ", "an OBJ mesh"},
         })
        if (starts(beginning, k.mark)) return k.kind;
    const char* const text = beginning + std::strspn(beginning, " \t\r\n");
    if (*text == '<') return markup_kind(text);
    if (*text == '{') return has(text, "\"asset\"") ? "a glTF scene" : "a JSON document";
    for (const char* p = beginning; *p; ++p)
        if (static_cast<unsigned char>(*p) < 8) return "binary data";
    return goes_on ? "binary data" : "text";
}
