// Tables of texts too long for a source: blocks that begin with "=== name", of parts that begin
// with "--- name", behind which a first line may stand. Before the first of these stands the part
// "text"; "name" is that of the block. And scenes with a block in each line, as
// "node a { frame t 1 2 3; material m }".
#ifndef TESTS_BLOCKS_H
#define TESTS_BLOCKS_H

#include <fstream>

#include "tests/Test.h"

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
            parts["name"] = name = line.substr(std::min<std::size_t>(4, line.size()));
            part = "text";
        } else if (line.starts_with("--- ")) {
            const std::size_t end = std::min(line.find(' ', 4), line.size());
            parts[part = line.substr(4, end - 4)];
            if (end < line.size()) parts[part] = line.substr(end + 1) + "\n";
        } else {
            parts[part] += line + "\n";
        }
    }
}

// One pair after the other.
inline std::string replaced(std::string text,
                            std::initializer_list<std::pair<const char*, const char*>> pairs) {
    for (const auto& [from, to] : pairs)
        for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos;
             at += std::strlen(to))
            text.replace(at, std::strlen(from), to);
    return text;
}

inline std::string unfolded(const std::string& text) {
    return replaced(text, {{"{ }", "{\n}"}, {"{ ", "{\n"}, {"; ", "\n"}, {" }", "\n}"}});
}

// All but the first triangle or line of a list have lines of their own.
inline std::string folded(const std::string& text) {
    return replaced(text, {{"\n  triangle", "\n\ttriangle"},
                           {"\n  line", "\n\tline"},
                           {"{\n\t", "{ "},
                           {"{\n  ", "{ "},
                           {"\n  ", "; "},
                           {"\n}", " }"}});
}

#endif
