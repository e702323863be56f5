// What a conversion leaves out: each kind once, with its count and first line.
//
//     report.add_text(text, "");
//     report.skip("Fog", node.type);           // a part of the text, which tells the line
//     report.show(stderr);                     // nolt_fromvrml: skipped 2: Fog, first in line 7
#ifndef TOOLS_VRML_REPORT_H
#define TOOLS_VRML_REPORT_H

#include <cstdio>
#include <map>
#include <string>
#include <string_view>
#include <vector>

class Vrml_Report {
public:
    // `name` is shown with the lines of this text; the main file has none.
    // Lifetime: the text must outlive the report.
    void add_text(std::string_view text, const std::string& name);

    // Counts so many more of a kind. `where` lies in one of the texts, or nowhere.
    void skip(std::string_view what, std::string_view where, int count = 1);
    // Something that ends the reading of a text or the conversion; told once each.
    void fail(std::string_view reason, std::string_view where);

    bool has_failures() const { return !failures_.empty(); }
    bool has_skipped() const { return !kinds_.empty(); }

    // In alphabetical order, failures first, each line behind `mark`.
    void show(std::FILE* out, const char* mark = "") const;

private:
    struct Text {
        std::string_view text;
        std::string name;
    };
    struct Kind {
        int count = 0;
        const char* first = nullptr;
    };
    using Lines = std::map<const char*, std::string>;
    Lines find_lines() const;

    std::vector<Text> texts_;
    std::map<std::string, Kind, std::less<>> kinds_, failures_;
};

#endif
