// Tables of texts too long for a source: blocks that begin with "=== name", of parts that begin
// with "--- name". Before the first of these stands the part "text".
#ifndef TESTS_BLOCKS_H
#define TESTS_BLOCKS_H

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <string>

template<class Check>
void for_each_block(const char* path, Check check) {
    std::map<std::string, std::string> parts;
    std::string name, part;
    std::ifstream lines(path);
    for (std::string line; !lines.eof();) {
        std::getline(lines, line);
        if (line.starts_with("=== ") || lines.eof()) {
            SCOPED_TRACE(name);
            if (!name.empty()) check(parts);
            parts.clear();
            name = line.substr(std::min<std::size_t>(4, line.size()));
            part = "text";
        } else if (line.starts_with("--- ")) {
            part = line.substr(4);
        } else {
            parts[part] += line + "\n";
        }
    }
}

#endif
