#include "wdb/Document_Kind.h"

#include "tests/Test.h"

TEST(Document_Kind, by_first_bytes) {
    const struct {
        const char *beginning, *kind;
        bool goes_on = false;
    } rows[] = {
        {"\x89PNG\r\n", "a PNG image"},
        {"\xff\xd8\xff\xe0", "a JPEG image"},
        {"\x01\xda\x01\x01", "an SGI image"},
        {"PK\x03\x04\x14", "a ZIP archive"},
        {"glTF\x02", "a glTF scene"},
        {" {\"asset\":{}}", "a glTF scene"},
        {"{\"a\":1}", "a JSON document"},
        {"<?xml version=\"1.0\"?>\n<X3D>", "an X3D scene"},
        {"<!DOCTYPE html>", "an HTML page"},
        {"<svg>", "an XML document"},
        {"v 1 2 3", "an OBJ mesh"},
        {"version 3", "text"},
        {"\xff\xd8", "text"}, // cut
        {"a\x02", "binary data"},
        {"", "text"},
        {"", "binary data", true},
        {"#include <cstdio>", "text"},
    };
    for (const auto& r : rows)
        EXPECT_STREQ(document_kind(r.beginning, r.goes_on), r.kind) << r.beginning;
}
